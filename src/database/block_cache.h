#pragma once

#include <cstdint>

#include "database/block_format.h"
#include "database/block_place.h"

namespace mod2neu {

constexpr int kAllBuffers = -1;

// Sets up the cache by the settings, with a clear generation stamp for a new database. A failure
// has been shown and leaves nothing allocated.
[[nodiscard]] bool InitCache(bool newDatabase);

// Makes the cache ready for block access; opens the file again when a close left it closed.
// Called by whatever reads or changes blocks while the cache is not locked.
[[nodiscard]] bool LockCache();
[[nodiscard]] bool EnsureCacheLocked();

// Writes everything back and closes the file, for good or only for the moment. True when no block
// was ever accessed, too. Failed writes have been shown and are passed over.
bool UnlockCache(bool closeFile);

// Unlocks the cache and frees its memory.
bool FreeCache();

// Frees everything without writing.
void ResetCache();

// Makes `block` present. A required block that the file does not have or that cannot be read is a
// failure; one that is not required yields zeros then.
[[nodiscard]] bool ReadBlockGroup(bool required, std::uint32_t block, BlockPlace& place);

// An empty buffer: one without blocks in use, a new one, or the least recently used one, written
// back if need be.
[[nodiscard]] bool GetFreeBuffer(std::uint16_t& buffer);

// Adds a buffer; a failure ends the growth of the cache.
[[nodiscard]] bool AddCacheBuffer();

// Writes a buffer if it is dirty, and empties it; or, for kAllBuffers, writes every dirty buffer
// and then the header record, and empties none. A failure has been shown and ends the writing.
[[nodiscard]] bool WriteBack(int buffer);

// Finds the block with that kind and key among those in memory.
bool FindCachedBlock(EntityType kind, BlockKey key, BlockPlace& place);

// Makes a block findable by the kind and key in its header, or ends that. Unlink before the
// header changes.
void LinkCachedBlock(BlockPlace place);
void UnlinkCachedBlock(BlockPlace place);

// Gives the block the current generation's stamp; called before its content is changed.
void StampBlock(BlockPlace place);

// Marks the block's buffer as changed and used.
void MarkChanged(BlockPlace place);

// The same for a block that was not in use before.
void MarkInUse(BlockPlace place);

// Marks the buffer as used just now and returns the time.
std::uint32_t TouchBuffer(std::uint16_t buffer);

// Tells the cache that the file has grown by `block`.
void NoteBlockAppended(std::uint32_t block);

std::uint8_t* BlockAt(BlockPlace place);
std::uint32_t BlockNumberAt(BlockPlace place);

// True when the file has the block (and not only the buffer room for it).
bool IsBlockPresent(BlockPlace place);

// True when the place holds block number `block` and it is among the blocks in use.
bool HoldsBlock(BlockPlace place, std::uint32_t block);

// The block's bytes when it still is the block of that kind and key, whose buffer is touched
// then; nullptr when it is not.
std::uint8_t* BlockIfStill(BlockPlace place, EntityType kind, BlockKey key);

// The block of the kind that was located last; a hint, to be checked.
BlockPlace LastLocated(EntityType kind);
void SetLastLocated(EntityType kind, BlockPlace place);

// True once anything was written or created since the open.
bool DatabaseChanged();
void SetDatabaseChanged();

}  // namespace mod2neu
