// Blocks come into being when a record is stored where no block is, and go when their last record
// is deleted. A released block is kept for reuse: its index entry moves from the chain of its
// kind to the free list, which is the chain of kind 1 with the block numbers as keys. Without a
// free block the file grows by one block, and by one more where an index block is due; both are
// written as zeros at once, so that the file always has every block that an entry names.
//
// Failures. A key that exists already, or a neighbour that cannot be read, is found out before the
// first link is changed, so a chain is never left half linked by a failed step. Once a block has
// been taken and cannot be brought into use, the program ends: going on would leave a chain that
// leads into an empty block.
//
// Damage. The links of a damaged file must not be followed blindly, since what they name would be
// overwritten. A few rules keep blocks that are in use out of reach; a sound file meets them
// always. A block is reused only if its header says that it is free and its entry bears its own
// number as key; otherwise the free list is forgotten and the file grows. A neighbour's link is
// changed only if it points back. And a block is released only if the index leads to that very
// block. A free list that runs in a circle thus ends when it comes to a block in use. A block that
// is appended must not have an entry yet, as it may in a file that was cut off.

#include "database/block_allocation.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "database/block_hints.h"
#include "database/header_record.h"
#include "database/working_file.h"

namespace mod2neu {

namespace {

struct AllocationState {
    FatalHandler fatalHandler = nullptr;
};

AllocationState allocation;

// The key of a free block in the free list.
BlockKey FreeKey(std::uint32_t block) {
    return {1, static_cast<std::int32_t>(block)};
}

// True when damage alone explains that the entry of `block` could not be loaded: there is no such
// block, or what lies in its index block's place can be read but is none.
bool IsEntryDamaged(std::uint32_t block) {
    BlockPlace place;
    return block < kFirstDataBlock || IsIndexBlockPlace(block) || block >= FileBlockCount() ||
           ReadBlockGroup(true, IndexBlockOf(block), place);
}

bool ReplaceEntry(std::uint32_t block, const IndexEntry& entry) {
    EntryPlace place;
    if (!LoadIndexEntry(block, place)) {
        return false;
    }
    StoreEntry(place, entry);
    return true;
}

std::uint32_t& Link(IndexEntry& entry, bool forward) {
    return forward ? entry.next : entry.previous;
}

bool LiesBeyond(BlockKey key, BlockKey from, bool forward) {
    return forward ? key > from : key < from;
}

// The member of a chain on one side of another; block number 0 when the chain ends there, as it
// does where it makes no progress. False when the member cannot be read.
bool ReadNeighbour(IndexPosition of, bool forward, IndexPosition& neighbour) {
    const std::uint32_t block = Link(of.entry, forward);
    neighbour = {};
    if (block == 0) {
        return true;
    }
    IndexPosition there;
    if (!LoadPosition(block, there)) {
        return IsEntryDamaged(block);
    }
    if (LiesBeyond(there.entry.key, of.entry.key, forward)) {
        neighbour = there;
    }
    return true;
}

// Makes the link of `member` that leads to `from` lead to `to`. Left alone when there is no such
// member or it does not point there.
bool Redirect(IndexPosition member, bool forward, std::uint32_t from, std::uint32_t to) {
    if (member.blockNumber == 0 || Link(member.entry, forward) != from) {
        return true;
    }
    Link(member.entry, forward) = to;
    return ReplaceEntry(member.blockNumber, member.entry);
}

enum class Insertion {
    kDone,
    kRefused,  // the key exists already, or damage keeps the entry out; nothing has changed
    kFailed,   // an entry could not be read or changed
};

// Links the new entry of `block` in next to `stop`, or nearer to the key where the search for it
// was cut short.
Insertion InsertNextTo(IndexPosition stop, std::uint32_t block, BlockKey key) {
    const bool forward = stop.entry.key < key;
    IndexPosition far;
    for (;;) {
        if (!ReadNeighbour(stop, forward, far)) {
            return Insertion::kFailed;
        }
        if (stop.blockNumber == block || far.entry.key == key) {
            return Insertion::kRefused;
        }
        if (far.blockNumber == 0 || LiesBeyond(far.entry.key, key, forward)) {
            break;
        }
        stop = far;
    }
    IndexEntry entry{key, 0, 0};
    Link(entry, forward) = far.blockNumber;
    Link(entry, !forward) = stop.blockNumber;
    IndexEntry nearEntry = stop.entry;
    Link(nearEntry, forward) = block;
    const bool done = ReplaceEntry(block, entry) && ReplaceEntry(stop.blockNumber, nearEntry) &&
                      Redirect(far, !forward, stop.blockNumber, block);
    return done ? Insertion::kDone : Insertion::kFailed;
}

Insertion RefusedIf(bool damaged) {
    return damaged ? Insertion::kRefused : Insertion::kFailed;
}

Insertion Insert(std::uint32_t block, EntityType kind, BlockKey key) {
    EntryPlace place;
    if (!LoadIndexEntry(block, place)) {
        return RefusedIf(IsEntryDamaged(block));
    }
    IndexPosition stop;
    if (SearchIndex(kind, key, stop)) {
        return Insertion::kRefused;
    }
    Insertion result = Insertion::kFailed;
    if (stop.blockNumber != 0) {
        result = InsertNextTo(stop, block, key);
    } else {
        const std::uint32_t finger = IndexFinger(kind);
        const bool first = finger == 0 || IsEntryDamaged(finger);
        result = first && ReplaceEntry(block, {key, 0, 0}) ? Insertion::kDone : Insertion::kFailed;
    }
    if (result == Insertion::kDone) {
        SetIndexFinger(kind, block);
    }
    return result;
}

// The free list's finger, if it really names a free block; else forgets the list.
std::uint32_t FirstFreeBlock() {
    const std::uint32_t block = IndexFinger(kFreeBlock);
    if (block == 0) {
        return 0;
    }
    IndexPosition position;
    BlockPlace place;
    if (LoadPosition(block, position) && position.entry.key == FreeKey(block) &&
        ReadBlockGroup(true, block, place) && KindOfBlock(BlockAt(place)) == kFreeBlock) {
        return block;
    }
    SetIndexFinger(kFreeBlock, 0);
    return 0;
}

void AppendZeroBlock(std::uint32_t block) {
    static constexpr std::uint8_t kZeros[kBlockSize] = {};
    if (!WriteWorkingFile(block, kZeros, sizeof kZeros)) {
        FatalDatabaseError();
    }
    NoteBlockAppended(block);
}

// True when the entry of a block that has just been appended is in use or cannot be used. Where a
// file was cut off, the blocks behind its end may still be members of a chain, which leads on to
// blocks that are there.
bool IsEntryTaken(std::uint32_t block) {
    IndexPosition position;
    if (!LoadPosition(block, position)) {
        return IsEntryDamaged(block);
    }
    const IndexEntry& entry = position.entry;
    return entry.key != BlockKey{} || entry.next != 0 || entry.previous != 0;
}

// At the latest behind the next index block an entry is free.
std::uint32_t GrowFile() {
    const std::uint32_t count = FileBlockCount();
    if (count == kNoBlock) {
        return kNoBlock;
    }
    std::uint32_t block = std::max(count, kFirstIndexBlock);
    for (;; ++block) {
        if (IsIndexBlockPlace(block)) {
            AppendZeroBlock(block++);
        }
        AppendZeroBlock(block);
        if (!IsEntryTaken(block)) {
            return block;
        }
    }
}

// Writes the header of a block that comes into use.
void InitBlock(BlockPlace place, std::uint32_t number, EntityType kind, BlockKey key) {
    std::uint8_t* block = BlockAt(place);
    std::memset(block, 0, kBlockSize);
    WriteLittleEndian(block + kBlockStamp, GenerationStamp());
    WriteLittleEndian(block + kBlockDatabase, key.database);
    WriteLittleEndian(block + kBlockFirstId, key.firstId);
    WriteLittleEndian(block + kBlockNumber, number);
    block[kBlockKind] = kind;
    MarkInUse(place);
    LinkCachedBlock(place);
}

// False when damage keeps the new block out of the index.
bool CreateBlock(EntityType kind, BlockKey key, BlockPlace& place) {
    bool reused = false;
    const std::uint32_t number = AllocateBlock(reused);
    if (number == kNoBlock) {
        FatalDatabaseError();
    }
    const Insertion insertion = Insert(number, kind, key);
    if (insertion == Insertion::kRefused) {
        return false;
    }
    if (insertion == Insertion::kFailed || !ReadBlockGroup(true, number, place)) {
        FatalDatabaseError();
    }
    InitBlock(place, number, kind, key);
    RememberBlock(kind, number, key, TouchBuffer(place.buffer));
    SetLastLocated(kind, place);
    return true;
}

}  // namespace

bool LocateOrCreateBlock(EntityType kind, std::int32_t database, std::int32_t id,
                         RecordPlace& place) {
    SetDatabaseChanged();
    if (LocateRecord(kind, database, id, place)) {
        StampBlock(place.block);
        return true;
    }
    if (!IsValidId(database) || !IsValidId(id) || !IsRecordKind(kind) || !EnsureCacheLocked()) {
        return false;
    }
    const BlockKey key{database, FirstIdOf(kind, id)};
    place.index = id - key.firstId;
    // An index entry whose block cannot be had stands in the way of a second one with its key.
    IndexPosition position;
    if (SearchIndex(kind, key, position) || !CreateBlock(kind, key, place.block)) {
        return false;
    }
    place.bytes = BlockAt(place.block);
    return true;
}

bool ReleaseBlock(EntityType kind, std::int32_t database, std::int32_t id) {
    SetDatabaseChanged();
    RecordPlace place;
    if (!LocateRecord(kind, database, id, place)) {
        return false;
    }
    const BlockKey key{database, FirstIdOf(kind, id)};
    const std::uint32_t number = BlockNumberAt(place.block);
    IndexPosition position;
    if (!SearchIndex(kind, key, position) || position.blockNumber != number ||
        !LocateRecord(kind, database, id, place)) {
        return false;
    }
    UnlinkCachedBlock(place.block);
    std::memset(place.bytes, 0, kBlockSize);
    WriteLittleEndian(place.bytes + kBlockStamp, GenerationStamp());
    WriteLittleEndian(place.bytes + kBlockNumber, number);
    place.bytes[kBlockKind] = kFreeBlock;
    MarkChanged(place.block);
    ForgetBlock(kind, key);
    return RemoveIndexEntry(kind, key);
}

std::uint32_t AllocateBlock(bool& reused) {
    const std::uint32_t block = FirstFreeBlock();
    reused = block != 0;
    if (!reused) {
        return GrowFile();
    }
    return RemoveIndexEntry(kFreeBlock, FreeKey(block)) ? block : kNoBlock;
}

bool InsertIndexEntry(std::uint32_t block, EntityType kind, BlockKey key) {
    return Insert(block, kind, key) == Insertion::kDone;
}

bool RemoveIndexEntry(EntityType kind, BlockKey key) {
    IndexPosition removed;
    IndexPosition previous;
    IndexPosition next;
    if (!SearchIndex(kind, key, removed) || !ReadNeighbour(removed, false, previous) ||
        !ReadNeighbour(removed, true, next)) {
        return false;
    }
    const std::uint32_t number = removed.blockNumber;
    SetIndexFinger(kind, next.blockNumber != 0 ? next.blockNumber : previous.blockNumber);
    // The gap is closed before the free list takes the same entry.
    return Redirect(previous, true, number, next.blockNumber) &&
           Redirect(next, false, number, previous.blockNumber) &&
           (kind == kFreeBlock || InsertIndexEntry(number, kFreeBlock, FreeKey(number)));
}

std::uint32_t FileBlockCount() {
    const std::int64_t size = WorkingFileSize();
    const std::int64_t blocks = size / kBlockSize;
    return size >= 0 && blocks < kNoBlock ? static_cast<std::uint32_t>(blocks) : kNoBlock;
}

void FatalDatabaseError() {
    UnlockCache(true);
    if (allocation.fatalHandler != nullptr) {
        allocation.fatalHandler();
    }
    std::abort();
}

void SetFatalHandler(FatalHandler handler) {
    allocation.fatalHandler = handler;
}

}  // namespace mod2neu
