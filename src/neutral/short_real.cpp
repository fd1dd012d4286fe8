#include "neutral/short_real.h"

#include <algorithm>

#include "neutral/real_notation.h"

namespace mod2neu {
namespace {

constexpr int kMostDigits = 8;
// Positions that the head word can put between the point's zero and the first digit.
constexpr int kLowestLogarithm = -7;
constexpr int kExponentBias = 1023;

// What a row stands for: the numbers of one sign from `from` on to the next power of two or of ten.
struct RealRange {
    double from;
    bool negative;
};

// 5^power * 2^shift; 0 when that is no integer.
constexpr std::uint64_t ExactFactor(int power, int shift) {
    if (shift < 0) {
        return 0;
    }
    std::uint64_t factor = 1;
    for (int i = 0; i < power; ++i) {
        factor *= 5;
    }
    return factor << shift;
}

constexpr std::uint64_t kAll = ~std::uint64_t{0};
constexpr std::uint64_t kFirstCharacter = std::uint64_t{0xFF} << 56;
constexpr std::uint64_t kPoint = std::uint64_t{'.'} << 56;
constexpr std::uint64_t kZeroPointZeros = 0x30'2E'303030303030;

// Digits up to the point in the first word, the point and the others in the second.
constexpr void SetWords(RealRow& row, int wholeDigits) {
    row.headMask = kAll;
    row.headText = kAsciiZeros;
    row.tailMask = ~kFirstCharacter;
    row.tailText = kPoint;
    row.tail = static_cast<std::uint8_t>(wholeDigits);
    row.tailShift = static_cast<std::uint8_t>(8 * (wholeDigits - 1));
    row.longest = 9;
    row.least = static_cast<std::uint8_t>(wholeDigits + 1);
}

// "0." and zeros in the first word, the digits in the second.
constexpr void SetFractionWords(RealRow& row, int zeros) {
    row.headText = kZeroPointZeros;
    row.tailMask = kAll;
    row.tail = static_cast<std::uint8_t>(2 + zeros);
    row.longest = static_cast<std::uint8_t>(10 + zeros);
}

constexpr RealRow ZeroRow() {
    RealRow row;
    row.factor = 0;
    row.limit = 1;
    SetWords(row, 1);
    return row;
}

// True when every number of that logarithm has a fixed text of at most eight digits that fits.
constexpr bool IsShort(int logarithm, int width, int digits, bool negative) {
    if (digits < 1 || digits > kMostDigits || logarithm >= digits || logarithm < kLowestLogarithm) {
        return false;
    }
    if (logarithm < 0) {
        // The estimate leaves out the point, and a single digit may round to nothing.
        return digits > 1 && FixedLength(logarithm, digits, negative) < width;
    }
    return FixedLength(logarithm, digits, negative) <= width;
}

constexpr RealRow MakeRow(const RealRange& range, int width, std::int32_t digitSetting) {
    if (range.from < kSmallestReal) {
        return ZeroRow();
    }
    const int digits = EffectiveDigits(digitSetting, width, range.negative);
    const int logarithm = TruncatedLogarithm(range.from);
    RealRow row;
    if (!IsShort(logarithm, width, digits, range.negative)) {
        return row;
    }
    const int decimals = FixedDecimals(logarithm, digits);
    const int binary = static_cast<int>(std::bit_cast<std::uint64_t>(range.from) >> 52);
    // The left-aligned mantissa stands for 2^(63 + bias) times the number, R is wanted times 2^96.
    row.factor = ExactFactor(decimals, binary - kExponentBias - 63 + 96 + decimals);
    if (row.factor == 0) {
        return RealRow{};
    }
    row.limit = 1;
    for (int i = 0; i < digits; ++i) {
        row.limit *= 10;
    }
    row.justify = static_cast<std::uint8_t>(8 * (kMostDigits - digits));
    row.sign = static_cast<std::uint8_t>(range.negative);
    if (logarithm < 0) {
        SetFractionWords(row, -logarithm - 1);
    } else {
        SetWords(row, logarithm + 1);
    }
    return row;
}

// The first number in the binade from `low` on, if there is one behind `low`, that is not written
// like its first; otherwise `low`.
constexpr std::uint64_t FindChange(std::uint64_t low) {
    const std::uint64_t high = low + (std::uint64_t{1} << 52);
    const auto lies = [&](std::uint64_t bits) { return bits > low && bits < high; };
    if (const auto bits = std::bit_cast<std::uint64_t>(kSmallestReal); lies(bits)) {
        return bits;
    }
    for (const double first : kFirstOfLogarithm) {
        if (const auto bits = std::bit_cast<std::uint64_t>(first); lies(bits)) {
            return bits;
        }
    }
    for (const double last : kLastOfLogarithm) {
        if (const auto bits = std::bit_cast<std::uint64_t>(last) + 1; lies(bits)) {
            return bits;
        }
    }
    return low;
}

constexpr std::size_t BinadeOf(std::size_t exponent) {
    return std::clamp(exponent, kFirstBinade, kFirstBinade + kBinades - 1) - kFirstBinade;
}

constexpr RealPlan BuildPlan(std::int32_t width, std::int32_t digits) {
    RealPlan plan{width, digits, {}, {}};
    const int room = EffectiveWidth(width);
    constexpr std::size_t kExponents = plan.firstRow.size() / 2;
    for (const bool negative : {false, true}) {
        const std::size_t base = negative ? 2 * kBinades : 0;
        for (std::size_t i = 0; i < kBinades; ++i) {
            const std::uint64_t low = (kFirstBinade + i) << 52;
            const std::uint64_t change = FindChange(low);
            RealRow* rows = &plan.rows[base + 2 * i];
            rows[0] = MakeRow({std::bit_cast<double>(low), negative}, room, digits);
            rows[1] = MakeRow({std::bit_cast<double>(change), negative}, room, digits);
            rows[0].end = change | (negative ? kSignBit : 0);
        }
        for (std::size_t exponent = 0; exponent < kExponents; ++exponent) {
            plan.firstRow[(negative ? kExponents : 0) + exponent] =
                static_cast<std::uint16_t>(base + 2 * BinadeOf(exponent));
        }
    }
    return plan;
}

}  // namespace

constinit RealPlan realPlan = BuildPlan(kDefaultRealWidth, kDefaultRealDigits);

void PlanReals(std::int32_t width, std::int32_t digits) {
    realPlan = BuildPlan(width, digits);
}

}  // namespace mod2neu
