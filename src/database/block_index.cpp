// The index maps a block's key to its number. On disk it is, for each kind, a doubly linked chain
// of index entries that ascends by database number and first ID. The chain has no head: the
// kind's finger in the header record names the member where the next search starts, and every
// search moves it. Remembered blocks (block_hints.h) start a search nearer to its goal, so that
// sequential and clustered access walks only a few entries.
//
// Nothing in a chain is trusted. A step must lead to a loadable entry whose key is strictly
// further in the direction of the step; one that does not is taken as the end of the chain. So a
// walk visits an entry at most once whatever the links say, and the finger never comes to rest on
// an entry that cannot be loaded. A hint only counts when its index entry bears the hinted key. A
// block that was found through the index only counts when its header bears the wanted kind and
// key, so that a stale entry cannot pass off another table's record. In a sound file every one of
// these conditions holds always, and the searches give what they would give without them.
//
// An entry's place is valid until the next entry is loaded, which may evict it. Therefore entries
// are copied out before a step is made.

#include "database/block_index.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "database/block_hints.h"
#include "database/header_record.h"
#include "database/index_block_copies.h"
#include "database/record_access.h"

namespace mod2neu {

namespace {

enum class Direction { kForward, kBackward };

Direction Towards(BlockKey from, BlockKey goal) {
    return from < goal ? Direction::kForward : Direction::kBackward;
}

bool LiesBeyond(BlockKey key, BlockKey from, Direction direction) {
    return direction == Direction::kForward ? key > from : key < from;
}

std::int64_t Distance(std::int32_t a, std::int32_t b) {
    return std::llabs(std::int64_t{a} - b);
}

IndexEntry EntryIn(const std::uint8_t* indexBlock, std::uint32_t number) {
    const std::uint8_t* entry = indexBlock + kBlockRecords + std::size_t{number} * kIndexEntrySize;
    return {{ReadLittleEndian<std::int32_t>(entry + kEntryDatabase),
             ReadLittleEndian<std::int32_t>(entry + kEntryFirstId)},
            ReadLittleEndian<std::uint32_t>(entry + kEntryNext),
            ReadLittleEndian<std::uint32_t>(entry + kEntryPrevious)};
}

// Moves to the neighbour. False, with the position as it was, at the end of the chain or where
// the chain makes no progress.
bool Step(IndexPosition& position, Direction direction) {
    const std::uint32_t neighbour =
        direction == Direction::kForward ? position.entry.next : position.entry.previous;
    IndexPosition there;
    if (neighbour == 0 || !LoadPosition(neighbour, there) ||
        !LiesBeyond(there.entry.key, position.entry.key, direction)) {
        return false;
    }
    position = there;
    return true;
}

// The remembered block with exactly that key.
bool FindExactHint(EntityType kind, BlockKey key, IndexPosition& position) {
    for (const HintRow& row : HintsOf(kind)) {
        if (row.database != key.database) {
            continue;
        }
        for (const BlockHint& hint : row.entries) {
            if (hint.firstId == key.firstId && hint.blockNumber != 0) {
                if (LoadPosition(hint.blockNumber, position) && position.entry.key == key) {
                    return true;
                }
                break;
            }
        }
    }
    return false;
}

// The remembered block nearest to the key, if it lies nearer than `from`; its key in `hinted`.
std::uint32_t FindCloserHint(EntityType kind, BlockKey key, BlockKey from, BlockKey& hinted) {
    const std::int64_t limit = Distance(from.database, key.database);
    const HintRow* row = NearestHintRow(kind, key.database, limit);
    if (row == nullptr) {
        return 0;
    }
    std::int64_t nearest = Distance(row->database, key.database) < limit
                               ? std::numeric_limits<std::int64_t>::max()
                               : Distance(from.firstId, key.firstId);
    std::uint32_t block = 0;
    for (const BlockHint& hint : row->entries) {
        const std::int64_t distance = Distance(hint.firstId, key.firstId);
        if (hint.blockNumber != 0 && distance < nearest) {
            nearest = distance;
            block = hint.blockNumber;
            hinted = {row->database, hint.firstId};
        }
    }
    return block;
}

// Where the walk starts: at the kind's finger or at a remembered block nearer to the key.
bool FindStart(EntityType kind, BlockKey key, IndexPosition& position) {
    if (!LoadPosition(IndexFinger(kind), position)) {
        return false;
    }
    if (position.entry.key == key) {
        return true;
    }
    BlockKey hintedKey;
    IndexPosition hinted;
    const std::uint32_t block = FindCloserHint(kind, key, position.entry.key, hintedKey);
    if (block != 0 && LoadPosition(block, hinted) && hinted.entry.key == hintedKey) {
        position = hinted;
    }
    return true;
}

// Walks towards the key without ever turning round.
void Walk(BlockKey key, IndexPosition& position) {
    const Direction direction = Towards(position.entry.key, key);
    while (position.entry.key != key && Towards(position.entry.key, key) == direction &&
           Step(position, direction)) {
    }
}

// The member of the chain nearest to the key on that side of it.
bool FindAdjacent(EntityType kind, BlockKey key, Direction direction, IndexPosition& position) {
    SearchIndex(kind, key, position);
    if (position.blockNumber == 0) {
        return false;
    }
    while (!LiesBeyond(position.entry.key, key, direction)) {
        if (!Step(position, direction)) {
            return false;
        }
    }
    return true;
}

std::int32_t NothingFound(bool forward) {
    return forward ? kNoId : 0;
}

bool IsBlockStart(EntityType kind, std::int32_t id) {
    return IsValidId(id) && FirstIdOf(kind, id) == id;
}

bool IsNeverUsed(const std::uint8_t* block) {
    return std::all_of(block, block + kBlockSize, [](std::uint8_t byte) { return byte == 0; });
}

// A file grows by zero blocks, also where an index block is due; the first entry that is needed
// makes such a block an index block. Any other block there is damage: to make it an index block
// would destroy what it holds and link its bytes as entries.
bool BecomeIndexBlock(BlockPlace place, std::uint32_t number) {
    std::uint8_t* block = BlockAt(place);
    if (!IsNeverUsed(block)) {
        return false;
    }
    WriteLittleEndian(block + kBlockStamp, GenerationStamp());
    WriteLittleEndian(block + kBlockDatabase, std::uint32_t{1});
    WriteLittleEndian(block + kBlockFirstId, number);
    WriteLittleEndian(block + kBlockNumber, number);
    block[kBlockKind] = kIndexBlock;
    MarkInUse(place);
    LinkCachedBlock(place);
    return true;
}

bool HasIndexEntry(std::uint32_t block) {
    return block >= kFirstDataBlock && !IsIndexBlockPlace(block);
}

bool LoadIndexBlock(std::uint32_t number, BlockPlace& place) {
    place = LastLocated(kIndexBlock);
    if (HoldsBlock(place, number) && KindOfBlock(BlockAt(place)) == kIndexBlock) {
        return true;
    }
    const BlockKey key{1, static_cast<std::int32_t>(number)};
    return FindCachedBlock(kIndexBlock, key, place) ||
           (ReadBlockGroup(true, number, place) &&
            (KindOfBlock(BlockAt(place)) == kIndexBlock || BecomeIndexBlock(place, number)));
}

// The block in memory or, through the index, in the file.
bool FindBlock(EntityType kind, BlockKey key, BlockPlace& place) {
    if (FindCachedBlock(kind, key, place)) {
        return true;
    }
    IndexPosition position;
    if (!SearchIndex(kind, key, position) || !ReadBlockGroup(true, position.blockNumber, place)) {
        return false;
    }
    const std::uint8_t* block = BlockAt(place);
    return KindOfBlock(block) == kind && KeyOfBlock(block) == key;
}

// Locates a block that is not the one located last.
bool LocateOtherBlock(EntityType kind, BlockKey key, RecordPlace& place) {
    if (!EnsureCacheLocked() || !FindBlock(kind, key, place.block)) {
        return false;
    }
    const std::uint32_t lastUse = TouchBuffer(place.block.buffer);
    SetLastLocated(kind, place.block);
    RememberBlock(kind, BlockNumberAt(place.block), key, lastUse);
    place.bytes = BlockAt(place.block);
    return true;
}

}  // namespace

bool IsValidId(std::int32_t id) {
    return id >= 1 && id <= kHighestId;
}

std::int32_t FirstIdOf(EntityType kind, std::int32_t id) {
    return id - (id - 1) % EntityRecordsPerBlock(kind);
}

bool LocateRecord(EntityType kind, std::int32_t database, std::int32_t id, RecordPlace& place) {
    const int perBlock = EntityRecordsPerBlock(kind);
    if (!IsValidId(database) || !IsValidId(id) || !IsRecordKind(kind, perBlock)) {
        return false;
    }
    place.index = (id - 1) % perBlock;
    const BlockKey key{database, id - place.index};
    place.block = LastLocated(kind);
    place.bytes = BlockIfStill(place.block, kind, key);
    return place.bytes != nullptr || LocateOtherBlock(kind, key, place);
}

bool SearchIndex(EntityType kind, BlockKey key, IndexPosition& position) {
    position = {};
    if (IndexFinger(kind) == 0) {
        return false;
    }
    if (!FindExactHint(kind, key, position)) {
        position = {};
        if (!FindStart(kind, key, position)) {
            return false;
        }
        Walk(key, position);
    }
    SetIndexFinger(kind, position.blockNumber);
    return position.entry.key == key;
}

bool LoadIndexEntry(std::uint32_t block, EntryPlace& place) {
    if (!HasIndexEntry(block) || !LoadIndexBlock(IndexBlockOf(block), place.block)) {
        return false;
    }
    place.number = IndexEntryNumber(block);
    TouchBuffer(place.block.buffer);
    SetLastLocated(kIndexBlock, place.block);
    return true;
}

bool LoadPosition(std::uint32_t block, IndexPosition& position) {
    if (!HasIndexEntry(block)) {
        return false;
    }
    const std::uint8_t* indexBlock = FindIndexBlockCopy(IndexBlockOf(block));
    if (indexBlock == nullptr) {
        EntryPlace place;
        if (!LoadIndexEntry(block, place)) {
            return false;
        }
        indexBlock = BlockAt(place.block);
    }
    position = {block, EntryIn(indexBlock, IndexEntryNumber(block))};
    return true;
}

void StoreEntry(EntryPlace place, const IndexEntry& value) {
    StampBlock(place.block);
    std::uint8_t* entry =
        BlockAt(place.block) + kBlockRecords + std::size_t{place.number} * kIndexEntrySize;
    WriteLittleEndian(entry + kEntryDatabase, value.key.database);
    WriteLittleEndian(entry + kEntryFirstId, value.key.firstId);
    WriteLittleEndian(entry + kEntryNext, value.next);
    WriteLittleEndian(entry + kEntryPrevious, value.previous);
    MarkChanged(place.block);
}

std::int32_t AdjacentBlockStart(EntityType kind, std::int32_t database, std::int32_t id,
                                bool forward) {
    const Direction direction = forward ? Direction::kForward : Direction::kBackward;
    IndexPosition position;
    if (!IsValidId(id) || !IsRecordKind(kind) || !EnsureCacheLocked() ||
        !FindAdjacent(kind, {database, FirstIdOf(kind, id)}, direction, position)) {
        return NothingFound(forward);
    }
    // In a damaged chain members may stand at IDs where no block can start.
    while (position.entry.key.database == database) {
        if (IsBlockStart(kind, position.entry.key.firstId)) {
            return position.entry.key.firstId;
        }
        if (!Step(position, direction)) {
            break;
        }
    }
    return NothingFound(forward);
}

std::int32_t AdjacentDatabase(EntityType kind, std::int32_t database, bool forward) {
    const Direction direction = forward ? Direction::kForward : Direction::kBackward;
    IndexPosition position;
    if (!IsRecordKind(kind) || !EnsureCacheLocked()) {
        return NothingFound(forward);
    }
    const BlockKey probe{database, FirstIdOf(kind, forward ? kHighestId : 1)};
    if (!FindAdjacent(kind, probe, direction, position)) {
        return NothingFound(forward);
    }
    // Behind the probe only a damaged chain has further members of the same database number.
    while (position.entry.key.database == database) {
        if (!Step(position, direction)) {
            return NothingFound(forward);
        }
    }
    return position.entry.key.database;
}

}  // namespace mod2neu
