// All block traffic goes through buffers in memory. A buffer holds a group of consecutive blocks,
// which are read and written with one file operation; a group is read at most once while it stays
// in memory. The cache grows to its limit first; then the least recently used buffer is written
// back, if it was changed, and reused.
//
// What is written of a group is its prefix up to the last block in use. Never-used (all-zero)
// blocks may stand anywhere in a group, so the prefix is kept as a position and not as a count of
// used blocks: a count would leave out a used block that follows an unused one.
//
// Blocks are found by kind and key through short chains, one per hash value, whose links lie
// beside the buffers and are built from nothing but blocks that are in memory. A chain per kind in
// key order would do as well for a model whose blocks lie in order; in an old model, whose blocks
// lie in any order, every block of every group read would be carried past thousands of others to
// its place in such a chain. Nothing ever needs the cached blocks in order: neighbours are found
// in the index on disk. Kinds that no model has (a damaged kind byte) are counted as in use, so
// that they are written back as they were, but never chained. An index block is only chained in an
// index block's place and under its own number; otherwise a damaged block elsewhere could pass
// itself off as the index of a whole run.
//
// Whether a remembered place still holds the wanted block is always decided by the block's header:
// every hint is checked, none is trusted. An emptied buffer keeps its bytes but has no block in
// use, and a place outside the blocks in use never matches.

#include "database/block_cache.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "database/block_hints.h"
#include "database/database_file.h"
#include "database/engine_memory.h"
#include "database/header_record.h"
#include "database/settings.h"
#include "database/working_file.h"
#include "shell/messages.h"
#include "shell/paths.h"

namespace mod2neu {

namespace {

constexpr int kMaxBlocksPerBuffer = 100;
constexpr int kFewestMinBuffers = 5;
constexpr int kMostBuffers = 1024;
constexpr int kNeededBuffers = 6;
constexpr BlockPlace kNoPlace;

struct BlockSlot {
    bool chained = false;
    BlockPlace next;
    BlockPlace previous;
};

struct CacheState {
    std::unique_ptr<CacheBuffer[]> buffers;
    std::unique_ptr<BlockSlot[]> slots;  // blocksPerBuffer for every buffer
    std::unique_ptr<BlockPlace[]> chains;
    int chainBits = 0;
    unsigned blocksPerBuffer = 1;
    int maxBuffers = 0;
    int bufferCount = 0;
    std::uint32_t useClock = 0;
    bool locked = false;
    bool fileLeftClosed = false;
    bool changed = false;
    std::array<BlockPlace, kEntityTypeCount> lastLocated{};
};

CacheState cache;

std::size_t GroupBytes() {
    return std::size_t{cache.blocksPerBuffer} * kBlockSize;
}

BlockSlot& SlotAt(BlockPlace place) {
    return cache.slots[place.buffer * cache.blocksPerBuffer + place.slot];
}

BlockPlace& ChainOf(EntityType kind, BlockKey key) {
    const std::uint64_t packed = std::uint64_t{static_cast<std::uint32_t>(key.database)} << 32 |
                                 static_cast<std::uint32_t>(key.firstId);
    constexpr std::uint64_t kGoldenRatio = 0x9E3779B97F4A7C15;
    const std::uint64_t hash = (packed + kind * kGoldenRatio) * kGoldenRatio;
    return cache.chains[hash >> (64 - cache.chainBits)];
}

bool IsInUse(BlockPlace place) {
    return place.buffer < cache.bufferCount && place.slot < cache.buffers[place.buffer].blocksInUse;
}

bool AllocateTables() {
    const auto buffers = static_cast<std::size_t>(cache.maxBuffers);
    const std::size_t slots = buffers * cache.blocksPerBuffer;
    cache.chainBits = static_cast<int>(std::bit_width(slots));
    cache.buffers = TryAllocate<CacheBuffer>(buffers);
    cache.slots = TryAllocate<BlockSlot>(slots);
    cache.chains = TryAllocate<BlockPlace>(std::size_t{1} << cache.chainBits);
    return cache.buffers != nullptr && cache.slots != nullptr && cache.chains != nullptr &&
           InitBlockHints();
}

// Stops early when memory is short but the buffers are enough to work with.
bool AllocateFirstBuffers(int minBuffers) {
    while (cache.bufferCount < minBuffers && AddCacheBuffer()) {
    }
    if (cache.bufferCount < minBuffers && cache.bufferCount < kNeededBuffers) {
        const auto missing =
            static_cast<std::int64_t>(GroupBytes()) * (kNeededBuffers - cache.bufferCount);
        ShowMessage(MessageId::kOperationMemory, {missing});
        return false;
    }
    return true;
}

bool IsChainable(const std::uint8_t* block, std::uint32_t number) {
    const EntityType kind = KindOfBlock(block);
    if (kind == kIndexBlock) {
        return IsIndexBlockPlace(number) &&
               KeyOfBlock(block) == BlockKey{1, static_cast<std::int32_t>(number)};
    }
    return IsRecordKind(kind);
}

// Reads the buffer's group. False when nothing could be read; the buffer is all zeros then.
bool FillBuffer(CacheBuffer& buffer) {
    const std::int64_t size = ReadWorkingFile(buffer.groupStart, buffer.data.get(), GroupBytes());
    const auto blocks = static_cast<std::size_t>(std::max<std::int64_t>(size, 0)) / kBlockSize;
    std::memset(buffer.data.get() + blocks * kBlockSize, 0, GroupBytes() - blocks * kBlockSize);
    buffer.blocksPresent = static_cast<std::uint16_t>(blocks);
    return size > 0;
}

// Counts and chains the blocks that have just been read.
void AdmitBlocks(std::uint16_t index) {
    CacheBuffer& buffer = cache.buffers[index];
    for (std::uint16_t slot = 0; slot < buffer.blocksPresent; ++slot) {
        const std::uint8_t* block = buffer.data.get() + slot * kBlockSize;
        if (KindOfBlock(block) != kNeverUsed) {
            buffer.blocksInUse = static_cast<std::uint16_t>(slot + 1);
            if (IsChainable(block, buffer.groupStart + slot)) {
                LinkCachedBlock({index, slot});
            }
        }
    }
}

bool FindGroup(std::uint32_t groupStart, std::uint16_t& buffer) {
    const CacheBuffer* begin = cache.buffers.get();
    const CacheBuffer* end = begin + cache.bufferCount;
    const CacheBuffer* found = std::find_if(begin, end, [&](const CacheBuffer& candidate) {
        return candidate.groupStart == groupStart;
    });
    buffer = static_cast<std::uint16_t>(found - begin);
    return found != end;
}

bool ReportWriteFailure() {
    const std::string reason = SystemErrorText();
    ShowMessage(MessageId::kWriteDatabase, {reason});
    return false;
}

bool WriteIfDirty(CacheBuffer& buffer) {
    if (!buffer.dirty) {
        return true;
    }
    cache.changed = true;
    if (buffer.blocksInUse > 0 && !WriteWorkingFile(buffer.groupStart, buffer.data.get(),
                                                    std::size_t{buffer.blocksInUse} * kBlockSize)) {
        return ReportWriteFailure();
    }
    buffer.dirty = false;
    return true;
}

void EmptyBuffer(std::uint16_t index) {
    for (std::uint16_t slot = 0; slot < cache.blocksPerBuffer; ++slot) {
        UnlinkCachedBlock({index, slot});
    }
    cache.buffers[index].blocksInUse = 0;
    cache.buffers[index].blocksPresent = 0;
    cache.buffers[index].groupStart = 0;
}

bool WriteHeaderRecord() {
    return WriteWorkingFile(0, DeclaredPlace(kDeclareHeaderRecord),
                            static_cast<std::size_t>(DeclaredHeaderSize())) ||
           ReportWriteFailure();
}

bool WriteAllBuffers() {
    for (int i = 0; i < cache.bufferCount; ++i) {
        if (!WriteIfDirty(cache.buffers[static_cast<std::size_t>(i)])) {
            return false;
        }
    }
    return WriteHeaderRecord();
}

// Writes and empties every buffer as far as possible and forgets all places in them.
void EmptyAllBuffers() {
    for (int i = 0; i < cache.bufferCount; ++i) {
        // A failed write has been shown; there is nobody left to act on it.
        static_cast<void>(WriteBack(i));
    }
    cache.lastLocated.fill({});
    ClearBlockHints();
}

}  // namespace

bool InitCache(bool newDatabase) {
    ResetCache();
    if (newDatabase) {
        SetGenerationStamp(0);
    }
    const DatabaseSettings& settings = CurrentDatabaseSettings();
    cache.blocksPerBuffer =
        static_cast<unsigned>(std::clamp(settings.BlocksPerBuffer, 1, kMaxBlocksPerBuffer));
    int minBuffers = std::max(settings.MinBuffers, kFewestMinBuffers);
    cache.maxBuffers = std::min(std::max(settings.MaxBuffers, minBuffers), kMostBuffers);
    minBuffers = std::min(minBuffers, cache.maxBuffers);
    if (!AllocateTables()) {
        ShowMessage(MessageId::kStartupMemory);
        ResetCache();
        return false;
    }
    if (!AllocateFirstBuffers(minBuffers)) {
        ResetCache();
        return false;
    }
    ShowMessage(MessageId::kCacheAllocated,
                {std::int64_t{cache.bufferCount}, std::int64_t{cache.blocksPerBuffer},
                 std::int64_t{kBlockSize}});
    return true;
}

bool LockCache() {
    if (cache.buffers == nullptr) {
        return false;
    }
    if (cache.fileLeftClosed) {
        if (!ReopenWorkingFile() || !ReadHeaderRecord()) {
            return false;
        }
        cache.fileLeftClosed = false;
    }
    cache.locked = true;
    return true;
}

bool EnsureCacheLocked() {
    return cache.locked || LockCache();
}

bool UnlockCache(bool closeFile) {
    if (!cache.locked) {
        return true;
    }
    // Failed writes have been shown; the file is given up or closed in any case.
    static_cast<void>(WriteBack(kAllBuffers));
    if (closeFile) {
        EmptyAllBuffers();
    }
    CloseWorkingFile();
    if (!closeFile) {
        ReopenWorkingFile();
    }
    cache.fileLeftClosed = closeFile;
    cache.locked = false;
    return true;
}

bool FreeCache() {
    if (!UnlockCache(false)) {
        return false;
    }
    ResetCache();
    return true;
}

void ResetCache() {
    FreeBlockHints();
    cache = {};
}

bool ReadBlockGroup(bool required, std::uint32_t block, BlockPlace& place) {
    if (block < kFirstIndexBlock || !EnsureCacheLocked()) {
        return false;
    }
    place.slot = static_cast<std::uint16_t>((block - kFirstIndexBlock) % cache.blocksPerBuffer);
    const std::uint32_t groupStart = block - place.slot;
    if (!FindGroup(groupStart, place.buffer)) {
        if (!GetFreeBuffer(place.buffer)) {
            return false;
        }
        CacheBuffer& buffer = cache.buffers[place.buffer];
        buffer.groupStart = groupStart;
        if (FillBuffer(buffer)) {
            AdmitBlocks(place.buffer);
        } else if (required) {
            buffer.groupStart = 0;
        }
    }
    return !required || IsBlockPresent(place);
}

bool GetFreeBuffer(std::uint16_t& buffer) {
    std::uint32_t smallest = 0xFFFFFFFF;
    buffer = 0;
    for (int i = 0; i < cache.bufferCount; ++i) {
        const CacheBuffer& candidate = cache.buffers[static_cast<std::size_t>(i)];
        if (candidate.blocksInUse == 0) {
            buffer = static_cast<std::uint16_t>(i);
            return true;
        }
        if (candidate.lastUse < smallest) {
            smallest = candidate.lastUse;
            buffer = static_cast<std::uint16_t>(i);
        }
    }
    if (cache.bufferCount < cache.maxBuffers && AddCacheBuffer()) {
        buffer = static_cast<std::uint16_t>(HighestBuffer());
        return true;
    }
    return WriteBack(buffer);
}

bool AddCacheBuffer() {
    auto data = TryAllocate<std::uint8_t>(GroupBytes());
    if (data == nullptr) {
        cache.maxBuffers = cache.bufferCount;
        return false;
    }
    cache.buffers[static_cast<std::size_t>(cache.bufferCount)].data = std::move(data);
    ++cache.bufferCount;
    return true;
}

bool WriteBack(int buffer) {
    if (!EnsureCacheLocked()) {
        return false;
    }
    if (buffer == kAllBuffers) {
        return WriteAllBuffers();
    }
    if (!WriteIfDirty(cache.buffers[static_cast<std::size_t>(buffer)])) {
        return false;
    }
    EmptyBuffer(static_cast<std::uint16_t>(buffer));
    return true;
}

bool FindCachedBlock(EntityType kind, BlockKey key, BlockPlace& place) {
    for (place = ChainOf(kind, key); place != kNoPlace; place = SlotAt(place).next) {
        const std::uint8_t* block = BlockAt(place);
        if (KindOfBlock(block) == kind && KeyOfBlock(block) == key) {
            return true;
        }
    }
    return false;
}

void LinkCachedBlock(BlockPlace place) {
    const std::uint8_t* block = BlockAt(place);
    BlockPlace& chain = ChainOf(KindOfBlock(block), KeyOfBlock(block));
    if (chain != kNoPlace) {
        SlotAt(chain).previous = place;
    }
    SlotAt(place) = {.chained = true, .next = chain, .previous = kNoPlace};
    chain = place;
}

void UnlinkCachedBlock(BlockPlace place) {
    BlockSlot& slot = SlotAt(place);
    if (!slot.chained) {
        return;
    }
    const std::uint8_t* block = BlockAt(place);
    if (slot.previous != kNoPlace) {
        SlotAt(slot.previous).next = slot.next;
    } else {
        ChainOf(KindOfBlock(block), KeyOfBlock(block)) = slot.next;
    }
    if (slot.next != kNoPlace) {
        SlotAt(slot.next).previous = slot.previous;
    }
    slot = {};
}

void StampBlock(BlockPlace place) {
    WriteLittleEndian(BlockAt(place) + kBlockStamp, GenerationStamp());
}

void MarkChanged(BlockPlace place) {
    TouchBuffer(place.buffer);
    cache.buffers[place.buffer].dirty = true;
}

void MarkInUse(BlockPlace place) {
    MarkChanged(place);
    CacheBuffer& buffer = cache.buffers[place.buffer];
    buffer.blocksInUse = std::max(buffer.blocksInUse, static_cast<std::uint16_t>(place.slot + 1));
}

std::uint32_t TouchBuffer(std::uint16_t buffer) {
    std::uint32_t& lastUse = cache.buffers[buffer].lastUse;
    lastUse = cache.useClock == 0xFFFFFFFF ? 0 : cache.useClock++;
    return lastUse;
}

void NoteBlockAppended(std::uint32_t block) {
    const std::uint32_t slot = (block - kFirstIndexBlock) % cache.blocksPerBuffer;
    std::uint16_t buffer = 0;
    if (FindGroup(block - slot, buffer) && cache.buffers[buffer].blocksPresent == slot) {
        ++cache.buffers[buffer].blocksPresent;
    }
}

std::uint8_t* BlockAt(BlockPlace place) {
    return cache.buffers[place.buffer].data.get() + place.slot * kBlockSize;
}

std::uint32_t BlockNumberAt(BlockPlace place) {
    return cache.buffers[place.buffer].groupStart + place.slot;
}

bool IsBlockPresent(BlockPlace place) {
    return place.slot < cache.buffers[place.buffer].blocksPresent;
}

bool HoldsBlock(BlockPlace place, std::uint32_t block) {
    return IsInUse(place) && BlockNumberAt(place) == block;
}

std::uint8_t* BlockIfStill(BlockPlace place, EntityType kind, BlockKey key) {
    if (!IsInUse(place)) {
        return nullptr;
    }
    std::uint8_t* block = BlockAt(place);
    if (KindOfBlock(block) != kind || KeyOfBlock(block) != key) {
        return nullptr;
    }
    TouchBuffer(place.buffer);
    return block;
}

BlockPlace LastLocated(EntityType kind) {
    return cache.lastLocated[kind];
}

void SetLastLocated(EntityType kind, BlockPlace place) {
    cache.lastLocated[kind] = place;
}

bool DatabaseChanged() {
    return cache.changed;
}

void SetDatabaseChanged() {
    cache.changed = true;
}

int HighestBuffer() {
    return cache.bufferCount - 1;
}

const CacheBuffer& BufferAt(int buffer) {
    return cache.buffers[static_cast<std::size_t>(buffer)];
}

}  // namespace mod2neu
