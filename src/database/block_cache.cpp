// All block traffic goes through buffers in memory. A buffer holds a group of consecutive blocks,
// which are read and written with one file operation; a group is read at most once while it stays
// in memory. The cache grows to its limit first; then the least recently used buffer is written
// back, if it was changed, and reused.
//
// As soon as buffers have to be reused, the file is larger than the cache. From then on a group
// that does not follow the one read before is read in two steps: the block that is asked for, and
// the rest once a second block of the group is. In an old model, whose blocks lie in any order, a
// group is dropped again before that, and reading twenty blocks for every one would be most of the
// work. What is found is the same, since every block is found through the index as well.
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
#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <span>
#include <vector>

#include "database/block_hints.h"
#include "database/database_file.h"
#include "database/engine_memory.h"
#include "database/header_record.h"
#include "database/index_block_copies.h"
#include "database/settings.h"
#include "database/working_file.h"
#include "shell/messages.h"
#include "shell/paths.h"
#include "shell/progress.h"

namespace mod2neu {

namespace {

constexpr int kMaxBlocksPerBuffer = 100;
constexpr int kFewestMinBuffers = 5;
constexpr int kMostBuffers = 1024;
constexpr int kNeededBuffers = 6;
constexpr BlockPlace kNoPlace;

// A buffer and the group of consecutive blocks that it holds, or the one block of the group that
// was asked for so far.
struct CacheBuffer {
    std::uint16_t firstLoaded = 0;    // slots before this one have not been read
    std::uint16_t blocksPresent = 0;  // the slot behind the last block that has been read
    bool whole = false;               // every block that the file has of the group has been read
    bool dirty = false;               // changed since it was last written
    std::unique_ptr<std::uint8_t[]> data;
};

// What is looked through for every group that is not in memory, one array each, so that the
// compiler can take several buffers at once.
struct BufferTable {
    std::array<std::uint32_t, kMostBuffers> groupStarts{};  // the first block's number; 0: none
    std::array<std::uint32_t, kMostBuffers> lastUses{};     // clock of the cache at the last use
    std::array<std::uint16_t, kMostBuffers> blocksInUse{};  // the slot behind the last one in use
};

struct BlockSlot {
    bool chained = false;
    BlockPlace next;
    BlockPlace previous;
};

struct CacheState {
    std::unique_ptr<CacheBuffer[]> buffers;
    BufferTable table;
    std::unique_ptr<BlockSlot[]> slots;  // blocksPerBuffer for every buffer
    std::unique_ptr<BlockPlace[]> chains;
    int chainBits = 0;
    unsigned blocksPerBuffer = 1;
    int maxBuffers = 0;
    int bufferCount = 0;
    std::uint32_t useClock = 0;
    bool locked = false;
    bool fileLeftClosed = false;
    bool hasReused = false;  // a buffer was emptied for another group
    std::uint32_t lastGroupRead = 0;
    std::vector<bool> blocksSeen;  // by block number, while progress is shown
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

std::size_t BufferCount() {
    return static_cast<std::size_t>(cache.bufferCount);
}

template <class Value>
Value Smallest(std::span<Value> values) {
    Value smallest = std::numeric_limits<Value>::max();
    for (const Value value : values) {
        smallest = std::min(smallest, value);
    }
    return smallest;
}

// The first place of a value that is there.
template <class Value>
std::uint16_t IndexIn(std::span<Value> values, Value value) {
    return static_cast<std::uint16_t>(std::ranges::find(values, value) - values.begin());
}

bool IsInUse(BlockPlace place) {
    if (place.buffer >= cache.bufferCount) {
        return false;
    }
    return place.slot < cache.table.blocksInUse[place.buffer] &&
           place.slot >= cache.buffers[place.buffer].firstLoaded;
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

// Stops early when memory is short but the buffers are enough to work with; the cache may grow
// later all the same.
bool AllocateFirstBuffers(int minBuffers) {
    const int maxBuffers = cache.maxBuffers;
    while (cache.bufferCount < minBuffers && AddCacheBuffer()) {
    }
    cache.maxBuffers = maxBuffers;
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

std::uint8_t* SlotData(const CacheBuffer& buffer, std::size_t slot) {
    return buffer.data.get() + slot * kBlockSize;
}

// A block that is read again is no progress, nor is one that the file does not have. Memory that
// cannot be had for this ends the display, not the run.
void NoteBlocksRead(std::uint32_t first, std::size_t count) try {
    if (count == 0 || !IsProgressShown()) {
        return;
    }
    if (cache.blocksSeen.size() < first + count) {
        const auto inFile = static_cast<std::size_t>(WorkingFileSize() / kBlockSize);
        cache.blocksSeen.resize(std::max(first + count, inFile));
    }
    std::int64_t news = 0;
    for (std::size_t block = first; block < first + count; ++block) {
        news += cache.blocksSeen[block] ? 0 : 1;
        cache.blocksSeen[block] = true;
    }
    AddProgress(news);
} catch (const std::bad_alloc&) {
    EndProgress();
}

// Reads the blocks of the buffer's group from slot `first` up to `end`, zeros where there are none.
// The number of whole blocks read and, in `failed`, whether reading them failed.
std::size_t ReadSlots(std::uint16_t index, std::size_t first, std::size_t end, bool& failed) {
    const CacheBuffer& buffer = cache.buffers[index];
    const std::size_t size = (end - first) * kBlockSize;
    const auto number = cache.table.groupStarts[index] + static_cast<std::uint32_t>(first);
    const std::int64_t got = ReadWorkingFile(number, SlotData(buffer, first), size);
    failed = got < 0;
    const auto blocks = static_cast<std::size_t>(std::max<std::int64_t>(got, 0)) / kBlockSize;
    std::memset(SlotData(buffer, first + blocks), 0, size - blocks * kBlockSize);
    NoteBlocksRead(number, blocks);
    return blocks;
}

// Counts and chains the blocks from slot `first` up to `end`, which have just been read.
void AdmitBlocks(std::uint16_t index, std::size_t first, std::size_t end) {
    CacheBuffer& buffer = cache.buffers[index];
    std::uint16_t& blocksInUse = cache.table.blocksInUse[index];
    for (std::size_t i = first; i < end; ++i) {
        const auto slot = static_cast<std::uint16_t>(i);
        const std::uint8_t* block = SlotData(buffer, slot);
        if (KindOfBlock(block) != kNeverUsed) {
            blocksInUse = std::max(blocksInUse, static_cast<std::uint16_t>(slot + 1));
            if (IsChainable(block, cache.table.groupStarts[index] + slot)) {
                LinkCachedBlock({index, slot});
            }
        }
    }
    buffer.blocksPresent = std::max(buffer.blocksPresent, static_cast<std::uint16_t>(end));
}

// Reads the group into the empty buffer, or of a required block's group the block alone. False
// when nothing could be read; the buffer is all zeros then.
bool FillBuffer(BlockPlace place, bool required) {
    CacheBuffer& buffer = cache.buffers[place.buffer];
    const std::uint32_t groupStart = cache.table.groupStarts[place.buffer];
    const bool follows = groupStart == cache.lastGroupRead + cache.blocksPerBuffer;
    cache.lastGroupRead = groupStart;
    buffer.whole = !required || !cache.hasReused || follows;
    buffer.firstLoaded = buffer.whole ? std::uint16_t{0} : place.slot;
    const std::size_t end = buffer.whole ? cache.blocksPerBuffer : place.slot + std::size_t{1};
    bool failed = false;
    const std::size_t blocks = ReadSlots(place.buffer, buffer.firstLoaded, end, failed);
    AdmitBlocks(place.buffer, buffer.firstLoaded, buffer.firstLoaded + blocks);
    if (!buffer.whole && blocks > 0 && KindOfBlock(BlockAt(place)) == kIndexBlock &&
        SlotAt(place).chained) {
        KeepIndexBlockCopy(BlockNumberAt(place), BlockAt(place));
    }
    return blocks > 0;
}

// Reads what is missing of a group of which one block is in memory. False, with that block still
// the only one, when it cannot be read.
bool CompleteBuffer(std::uint16_t index) {
    CacheBuffer& buffer = cache.buffers[index];
    const std::size_t before = buffer.firstLoaded;
    const std::size_t behind = before + 1;
    bool failed = false;
    if (ReadSlots(index, 0, before, failed) != before) {
        return false;
    }
    const std::size_t blocks = ReadSlots(index, behind, cache.blocksPerBuffer, failed);
    if (failed) {
        return false;
    }
    AdmitBlocks(index, 0, before);
    AdmitBlocks(index, behind, behind + blocks);
    buffer.firstLoaded = 0;
    buffer.whole = true;
    return true;
}

bool FindGroup(std::uint32_t groupStart, std::uint16_t& buffer) {
    const std::span groups(cache.table.groupStarts.data(), BufferCount());
    bool found = false;
    for (const std::uint32_t group : groups) {
        found |= group == groupStart;
    }
    buffer = found ? IndexIn(groups, groupStart) : std::uint16_t{0};
    return found;
}

bool ReportWriteFailure() {
    const std::string reason = SystemErrorText();
    ShowMessage(MessageId::kWriteDatabase, {reason});
    return false;
}

bool WriteIfDirty(std::uint16_t index) {
    CacheBuffer& buffer = cache.buffers[index];
    if (!buffer.dirty) {
        return true;
    }
    cache.changed = true;
    const std::size_t first = buffer.firstLoaded;
    const std::size_t end = cache.table.blocksInUse[index];
    if (end > first &&
        !WriteWorkingFile(cache.table.groupStarts[index] + static_cast<std::uint32_t>(first),
                          SlotData(buffer, first), (end - first) * kBlockSize)) {
        return ReportWriteFailure();
    }
    buffer.dirty = false;
    return true;
}

void EmptyBuffer(std::uint16_t index) {
    CacheBuffer& buffer = cache.buffers[index];
    for (std::uint16_t slot = buffer.firstLoaded; slot < cache.table.blocksInUse[index]; ++slot) {
        UnlinkCachedBlock({index, slot});
    }
    cache.table.blocksInUse[index] = 0;
    buffer.blocksPresent = 0;
    cache.table.groupStarts[index] = 0;
    buffer.whole = false;
}

bool WriteHeaderRecord() {
    return WriteWorkingFile(0, DeclaredPlace(kDeclareHeaderRecord),
                            static_cast<std::size_t>(DeclaredHeaderSize())) ||
           ReportWriteFailure();
}

bool WriteAllBuffers() {
    for (std::size_t i = 0; i < BufferCount(); ++i) {
        if (!WriteIfDirty(static_cast<std::uint16_t>(i))) {
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
    FreeIndexBlockCopies();
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
    FreeIndexBlockCopies();
    cache = {};
}

bool ReadBlockGroup(bool required, std::uint32_t block, BlockPlace& place) {
    if (block < kFirstIndexBlock || !EnsureCacheLocked()) {
        return false;
    }
    place.slot = static_cast<std::uint16_t>((block - kFirstIndexBlock) % cache.blocksPerBuffer);
    const std::uint32_t groupStart = block - place.slot;
    if (FindGroup(groupStart, place.buffer)) {
        const CacheBuffer& buffer = cache.buffers[place.buffer];
        if (!buffer.whole && place.slot != buffer.firstLoaded && !CompleteBuffer(place.buffer)) {
            return false;
        }
    } else {
        if (!GetFreeBuffer(place.buffer)) {
            return false;
        }
        cache.table.groupStarts[place.buffer] = groupStart;
        cache.buffers[place.buffer].blocksPresent = 0;
        if (!FillBuffer(place, required) && required) {
            cache.table.groupStarts[place.buffer] = 0;
        }
    }
    return !required || IsBlockPresent(place);
}

bool GetFreeBuffer(std::uint16_t& buffer) {
    const std::span blocksInUse(cache.table.blocksInUse.data(), BufferCount());
    if (Smallest(blocksInUse) == 0) {
        buffer = IndexIn(blocksInUse, std::uint16_t{0});
        return true;
    }
    if (cache.bufferCount < cache.maxBuffers && AddCacheBuffer()) {
        buffer = static_cast<std::uint16_t>(cache.bufferCount - 1);
        return true;
    }
    const std::span lastUses(cache.table.lastUses.data(), BufferCount());
    buffer = IndexIn(lastUses, Smallest(lastUses));
    cache.hasReused = true;
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
    const auto index = static_cast<std::uint16_t>(buffer);
    if (!WriteIfDirty(index)) {
        return false;
    }
    EmptyBuffer(index);
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
    if (IsIndexBlockPlace(BlockNumberAt(place))) {
        ForgetIndexBlockCopy(BlockNumberAt(place));
    }
}

void MarkInUse(BlockPlace place) {
    MarkChanged(place);
    std::uint16_t& blocksInUse = cache.table.blocksInUse[place.buffer];
    blocksInUse = std::max(blocksInUse, static_cast<std::uint16_t>(place.slot + 1));
}

std::uint32_t TouchBuffer(std::uint16_t buffer) {
    std::uint32_t& lastUse = cache.table.lastUses[buffer];
    lastUse = cache.useClock == 0xFFFFFFFF ? 0 : cache.useClock++;
    return lastUse;
}

void NoteBlockAppended(std::uint32_t block) {
    const std::uint32_t slot = (block - kFirstIndexBlock) % cache.blocksPerBuffer;
    std::uint16_t buffer = 0;
    if (FindGroup(block - slot, buffer) && cache.buffers[buffer].whole &&
        cache.buffers[buffer].blocksPresent == slot) {
        ++cache.buffers[buffer].blocksPresent;
    }
}

std::uint8_t* BlockAt(BlockPlace place) {
    return SlotData(cache.buffers[place.buffer], place.slot);
}

std::uint32_t BlockNumberAt(BlockPlace place) {
    return cache.table.groupStarts[place.buffer] + place.slot;
}

bool IsBlockPresent(BlockPlace place) {
    const CacheBuffer& buffer = cache.buffers[place.buffer];
    return place.slot >= buffer.firstLoaded && place.slot < buffer.blocksPresent;
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

}  // namespace mod2neu
