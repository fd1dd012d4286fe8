#pragma once

#include <bit>
#include <cstdint>
#include <string>

namespace mod2neu {

// A model file titled "Wing box" without any records: the header's three blocks and an index
// block.
inline std::string EmptyModel(std::uint64_t versionBits) {
    constexpr std::size_t kBlock = 2048;
    constexpr std::size_t kHeaderBlocks = 3;
    constexpr std::size_t kTitleOffset = 464;
    std::string bytes(kHeaderBlocks * kBlock, '\0');
    for (std::size_t i = 0; i < 8; ++i) {
        bytes[i] = static_cast<char>(versionBits >> (8 * i));
    }
    bytes.replace(kTitleOffset, 8, "Wing box");
    std::string index(kBlock, '\0');
    index[4] = 1;                          // database number
    index[8] = index[12] = kHeaderBlocks;  // first ID and own number
    index[16] = 2;                         // kind
    return bytes + index;
}

inline std::string EmptyModel(double version) {
    return EmptyModel(std::bit_cast<std::uint64_t>(version));
}

}  // namespace mod2neu
