#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "neutral/decimal_text.h"

namespace mod2neu {

// Reals of at most eight digits in fixed notation, which nearly all are, in straight integer code.
//
// A double is m * 2^b with integers m and b. Rounded to d decimals it is the integer R nearest to
// m * 10^d * 2^b, whose digits are the text but for its point. Neighbours between two powers of
// two, on one side of a power of ten, have b and d in common; they share a row of a table. The row
// holds 10^d * 2^b, scaled by a power of two, as an exact 64-bit integer: its product with m is
// exact, R stands at a fixed place of it, and the bits behind R decide the rounding, ties
// included. Since R is below 10^8, eight digits in one word, the zeros at its end are counted
// and the point is put in without looping or branching.

// How the numbers of one row are written. `factor` is such that bits 96 and up of its product with
// the left-aligned mantissa are R.
struct alignas(64) RealRow {
    std::uint64_t factor = ~std::uint64_t{0};
    std::uint64_t end = 0;       // as bits, the first number that takes the next row
    std::uint64_t headMask = 0;  // what the first of two words takes from the digit word,
    std::uint64_t headText = 0;  // and what else it holds
    std::uint64_t tailMask = 0;  // the same of the second,
    std::uint64_t tailText = 0;
    std::uint32_t limit = 0;     // R from here on is not for this row
    std::uint8_t justify = 0;    // bits by which the digit word is moved to its first digit
    std::uint8_t sign = 0;       // characters of the sign
    std::uint8_t tail = 0;       // where the second word is stored
    std::uint8_t tailShift = 0;  // bits of the digit word in front of the second word
    std::uint8_t longest = 0;    // length of the text with all zeros at its end, without a sign,
    std::uint8_t least = 0;      // and with none
};

// Binary exponents, as doubles hold them, that have rows of their own: from below kSmallestReal to
// above 10^8. All others count as the outermost ones.
constexpr std::size_t kFirstBinade = 1023 - 51;
constexpr std::size_t kBinades = 80;

// Rows for one pair of width and digit count.
struct RealPlan {
    std::int32_t width;
    std::int32_t digits;
    // By sign and exponent, the first of the two rows between which a number's bits decide.
    std::array<std::uint16_t, 4096> firstRow;
    std::array<RealRow, 4 * kBinades> rows;
};

constexpr std::uint64_t kSignBit = std::uint64_t{1} << 63;

// The text of a number that has a row in `plan`, at `out`, which has room for kRealRoom
// characters. Returns its end; nullptr when the number has none.
inline char* AppendShortReal(char* out, double value, const RealPlan& plan) {
    constexpr int kMantissaBits = 52;
    const auto bits = std::bit_cast<std::uint64_t>(value);
    const RealRow* pair = &plan.rows[plan.firstRow[bits >> kMantissaBits]];
    const RealRow& row = pair[bits >= pair->end ? 1 : 0];

    __extension__ using Product = unsigned __int128;
    const Product product = Product{kSignBit | (bits << 11)} * row.factor;
    constexpr std::uint64_t kHalf = std::uint64_t{1} << 31;
    const std::uint64_t rounded = static_cast<std::uint64_t>(product >> 64) + kHalf;
    auto number = static_cast<std::uint32_t>(rounded >> 32);
    if (number >= row.limit) [[unlikely]] {
        return nullptr;
    }
    if (static_cast<std::uint32_t>(rounded) == 0 && static_cast<std::uint64_t>(product) == 0)
        [[unlikely]] {
        number &= ~std::uint32_t{1};
    }

    const DigitWord digits = EightDigits(number) << row.justify;
    const std::uint64_t head = (digits & row.headMask) | row.headText;
    const std::uint64_t tail =
        (((digits | kAsciiZeros) << row.tailShift) & row.tailMask) | row.tailText;
    *out = '-';
    out += row.sign;
    StoreText(out, head);
    StoreText(out + row.tail, tail);
    const unsigned length = row.longest - TrailingZeros(digits);
    return out + (length > row.least ? length : row.least);
}

// The plan of the last settings; of the defaults at first.
extern RealPlan realPlan;

// Makes realPlan the one for `width` and `digits`.
void PlanReals(std::int32_t width, std::int32_t digits);

}  // namespace mod2neu
