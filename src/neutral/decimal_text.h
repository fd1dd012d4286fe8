#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace mod2neu {

// Eight decimal digits in one word, the last in its lowest byte.
using DigitWord = std::uint64_t;

constexpr DigitWord kAsciiZeros = 0x3030303030303030;

// The digits of `value`, which is below 10^8, leading zeros included.
constexpr DigitWord EightDigits(std::uint32_t value) {
    // Halves of four digits, then quarters of two, then single digits, all lanes at once; each
    // lane is divided by a multiplication whose error stays below one.
    const std::uint64_t thousands = std::uint64_t{value} * 0xD1B71759 >> 45;
    const std::uint64_t fours = value + thousands * ((std::uint64_t{1} << 32) - 10000);
    const std::uint64_t hundreds = ((fours * 5243) >> 19) & 0x0000007F'0000007F;
    const std::uint64_t twos = fours + hundreds * ((1 << 16) - 100);
    const std::uint64_t tens = ((twos * 103) >> 10) & 0x000F000F'000F000F;
    return twos + tens * ((1 << 8) - 10);
}

// Zeros at the end of the digits; 7 when all are zero.
constexpr unsigned TrailingZeros(DigitWord digits) {
    constexpr DigitWord kFirstDigit = DigitWord{1} << 56;
    return static_cast<unsigned>(std::countr_zero(digits | kFirstDigit)) / 8;
}

// Zeros in front of the digits; 7 when all are zero.
constexpr unsigned LeadingZeros(DigitWord digits) {
    // From the other end, since the processor counts low zeros faster than high ones.
    constexpr DigitWord kLastDigit = DigitWord{1} << 56;
    return static_cast<unsigned>(std::countr_zero(__builtin_bswap64(digits) | kLastDigit)) / 8;
}

// Writes eight characters, the one in the highest byte first.
inline void StoreText(char* out, std::uint64_t characters) {
    if constexpr (std::endian::native == std::endian::little) {
        characters = __builtin_bswap64(characters);
    }
    std::memcpy(out, &characters, sizeof characters);
}

}  // namespace mod2neu
