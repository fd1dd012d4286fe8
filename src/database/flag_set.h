#pragma once

#include <cstdint>

#include "database/catalogue.h"

namespace mod2neu {

// A set of IDs (1 to 99,999,999) kept as records of a 4-byte type under one database number: one
// word per 16 IDs, the highest bit standing for the lowest ID.

// Adds `member`. True as well when the word's blocking bit keeps the member out.
[[nodiscard]] bool SetFlag(EntityType setType, std::int32_t database, std::int32_t member);

// Adds every ID from `first` to `last`, as SetFlag for each would, a word at a time. Members
// outside 1 to 99,999,999 are left out.
[[nodiscard]] bool SetFlagRange(EntityType setType, std::int32_t database, std::int32_t first,
                                std::int32_t last);

// The smallest member greater than `previous` (-1 to start); kNoId when there is none.
std::int32_t NextFlag(EntityType setType, std::int32_t database, std::int32_t previous);

// The last of the consecutive members that `member`, itself one of the set, stands among.
std::int32_t LastFlagOfRun(EntityType setType, std::int32_t database, std::int32_t member);

}  // namespace mod2neu
