#pragma once

#include <cstdint>

#include "database/block_index.h"

namespace mod2neu {

// Like LocateRecord, but makes the block when it does not exist, with no record in it. False for
// keys that no record can have and where damage of the file, or a failing read, keeps the block
// from being found or made. Any failure half-way ends the program (FatalDatabaseError).
[[nodiscard]] bool LocateOrCreateBlock(EntityType kind, std::int32_t database, std::int32_t id,
                                       RecordPlace& place);

// Makes the block that holds the record's ID a free block. False, with nothing changed, when the
// block cannot be located or the index does not lead to it.
bool ReleaseBlock(EntityType kind, std::int32_t database, std::int32_t id);

// Takes a block from the free list or appends one to the file. kNoBlock on failure.
std::uint32_t AllocateBlock(bool& reused);

// Links the entry of `block` into the kind's chain. False, with the chain unchanged, when the key
// exists already or an entry cannot be read.
[[nodiscard]] bool InsertIndexEntry(std::uint32_t block, EntityType kind, BlockKey key);

// Takes the entry with that key out of the kind's chain and, unless it is the free list's, puts
// it into the free list. False when there is none.
[[nodiscard]] bool RemoveIndexEntry(EntityType kind, BlockKey key);

// Whole blocks of the open file; kNoBlock when the size cannot be had.
std::uint32_t FileBlockCount();

// Writes back what can be written, closes the file and ends the process abnormally.
[[noreturn]] void FatalDatabaseError();

// What FatalDatabaseError calls before it ends the process, to leave the host in order. Tests leave
// by it; nullptr for nothing.
using FatalHandler = void (*)();
void SetFatalHandler(FatalHandler handler);

}  // namespace mod2neu
