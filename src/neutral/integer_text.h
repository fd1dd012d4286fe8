#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#include "neutral/decimal_text.h"

namespace mod2neu {

// Longest text of a 32-bit integer and a comma, and the characters that their place needs while
// they are being written.
constexpr int kMaxLongField = 12;
constexpr int kLongFieldRoom = 16;

constexpr std::uint32_t kShortIntegers = 1000;

// The fields of the integers below kShortIntegers, their characters in order of address.
constexpr std::array<std::uint32_t, kShortIntegers> MakeShortFields() {
    std::array<std::uint32_t, kShortIntegers> fields{};
    for (std::uint32_t number = 0; number < kShortIntegers; ++number) {
        std::array<char, 4> text{};
        std::size_t length = 0;
        if (number >= 100) {
            text[length++] = static_cast<char>('0' + number / 100);
        }
        if (number >= 10) {
            text[length++] = static_cast<char>('0' + number / 10 % 10);
        }
        text[length++] = static_cast<char>('0' + number % 10);
        text[length] = ',';
        fields[number] = std::bit_cast<std::uint32_t>(text);
    }
    return fields;
}

inline constexpr std::array<std::uint32_t, kShortIntegers> kShortFields = MakeShortFields();

// The field of a number below kShortIntegers at `out`. Returns its end.
inline char* AppendShortField(char* out, std::uint32_t number) {
    std::memcpy(out, &kShortFields[number], sizeof kShortFields[number]);
    return out + 2 + (number >= 10 ? 1 : 0) + (number >= 100 ? 1 : 0);
}

char* AppendOtherLongField(char* out, std::int32_t value);

// The decimal text of `value` and a comma at `out`, which has kLongFieldRoom. Returns their end.
inline char* AppendLongField(char* out, std::int32_t value) {
    const auto number = static_cast<std::uint32_t>(value);
    return number < kShortIntegers ? AppendShortField(out, number)
                                   : AppendOtherLongField(out, value);
}

}  // namespace mod2neu
