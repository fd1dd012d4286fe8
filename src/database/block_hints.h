#pragma once

#include <array>
#include <cstdint>

#include "database/block_format.h"

namespace mod2neu {

// Where recently located blocks have their index entries, so that a search of the index starts
// near its goal: for every kind ten database numbers, for each of them its last twenty blocks.

struct BlockHint {
    std::int32_t firstId = 0;
    std::uint32_t blockNumber = 0;  // 0: no hint
};

// The newest block comes first.
struct HintRow {
    std::uint32_t lastUse = 0;
    std::int32_t database = 0;  // 0: row not used
    std::array<BlockHint, 20> entries{};
};

// Unused rows are at the end.
using KindHints = std::array<HintRow, 10>;

// Allocates the table; false when memory is short.
[[nodiscard]] bool InitBlockHints();
void ClearBlockHints();
void FreeBlockHints();

// Only between InitBlockHints and FreeBlockHints.
const KindHints& HintsOf(EntityType kind);

// Notes that the block was located at `lastUse` of the cache's clock. A block that its row knows
// already changes nothing; an eleventh database number takes the place of the one whose row was
// filled longest ago.
void RememberBlock(EntityType kind, std::uint32_t blockNumber, BlockKey key, std::uint32_t lastUse);

// Forgets the block with that key.
void ForgetBlock(EntityType kind, BlockKey key);

// The row whose database number is nearest to `database` but not further than `limit` from it;
// nullptr when there is none.
const HintRow* NearestHintRow(EntityType kind, std::int32_t database, std::int64_t limit);

}  // namespace mod2neu
