#pragma once

#include <cstdint>

#include "database/block_cache.h"

namespace mod2neu {

// The block that holds a record, its bytes, and the record's position in it.
struct RecordPlace {
    BlockPlace block;
    std::uint8_t* bytes = nullptr;
    int index = 0;
};

struct EntryPlace {
    BlockPlace block;
    std::uint32_t number = 0;
};

struct IndexEntry {
    BlockKey key;
    std::uint32_t next = 0;  // block with the next greater key of the same kind; 0: none
    std::uint32_t previous = 0;
};

// Where a search of the index ended: at the wanted key, or at the member of the chain next to it
// on one side. Block number 0 when no member of the chain could be loaded.
struct IndexPosition {
    std::uint32_t blockNumber = 0;
    IndexEntry entry;
};

// Finds the block that would hold the record and brings it into memory. False when there is no
// such block or it cannot be read.
[[nodiscard]] bool LocateRecord(EntityType kind, std::int32_t database, std::int32_t id,
                                RecordPlace& place);

// Searches the index for the block with that key.
bool SearchIndex(EntityType kind, BlockKey key, IndexPosition& position);

// Brings the index entry of `block` into memory. The index block's place may never have been
// used: it becomes an index block then. False for numbers that have no entry and for entries that
// cannot be read.
[[nodiscard]] bool LoadIndexEntry(std::uint32_t block, EntryPlace& place);

// Copies out the entry of `block`, from a kept copy of its index block if there is one: that spares
// the cache a buffer. False, with `position` as it was, on failure.
[[nodiscard]] bool LoadPosition(std::uint32_t block, IndexPosition& position);

void StoreEntry(EntryPlace place, const IndexEntry& entry);

// First ID of the block's run of IDs that holds `id`.
std::int32_t FirstIdOf(EntityType kind, std::int32_t id);

bool IsValidId(std::int32_t id);

// First ID of the nearest block of the same database number after or before the block that would
// hold `id`; kNoId or 0 when there is none.
std::int32_t AdjacentBlockStart(EntityType kind, std::int32_t database, std::int32_t id,
                                bool forward);

// The nearest greater or smaller database number under which there are blocks of the kind; kNoId
// or 0 when there is none.
std::int32_t AdjacentDatabase(EntityType kind, std::int32_t database, bool forward);

}  // namespace mod2neu
