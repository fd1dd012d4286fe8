#pragma once

#include <cstdint>

namespace mod2neu {

constexpr std::uint16_t kNoBuffer = 0xFFFF;

// A block in memory: buffer and position within it. Valid until the next call that may read a
// block, since that may give the buffer to another group.
struct BlockPlace {
    std::uint16_t buffer = kNoBuffer;
    std::uint16_t slot = 0;

    friend bool operator==(const BlockPlace&, const BlockPlace&) = default;
};

}  // namespace mod2neu
