#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace mod2neu {

// Eight decimal digits in one word, the first in its lowest byte.
using DigitWord = std::uint64_t;

constexpr DigitWord kAsciiZeros = 0x3030303030303030;

// The digits of `value`, which is below 10^8, leading zeros included.
constexpr DigitWord EightDigits(std::uint32_t value) {
    // Halves of four digits, then quarters of two, then single digits, all lanes at once; each
    // lane is divided by a multiplication whose error stays below one.
    const std::uint64_t thousands = value / 10000;
    const std::uint64_t fours = thousands + ((std::uint64_t{value} - thousands * 10000) << 32);
    const std::uint64_t hundreds = ((fours * 5243) >> 19) & 0x0000007F'0000007F;
    const std::uint64_t twos = hundreds + ((fours - hundreds * 100) << 16);
    const std::uint64_t tens = ((twos * 103) >> 10) & 0x000F000F'000F000F;
    return tens + ((twos - tens * 10) << 8);
}

// Digits up to the last that is not zero; 1 for a word of zeros.
constexpr int SignificantDigits(DigitWord digits) {
    return 8 - std::countl_zero(digits | 1) / 8;
}

// Writes eight characters, the lowest byte first.
inline void StoreWord(char* out, std::uint64_t characters) {
    if constexpr (std::endian::native == std::endian::big) {
        characters = __builtin_bswap64(characters);
    }
    std::memcpy(out, &characters, sizeof characters);
}

}  // namespace mod2neu
