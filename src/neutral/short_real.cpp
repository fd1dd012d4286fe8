#include "neutral/short_real.h"

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

constexpr RealRow ZeroRow() {
    RealRow row;
    row.factor = 0;
    row.limit = 1;
    row.tail = 1;
    row.least = 2;
    row.longest = 9;
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
    row.fraction = static_cast<std::uint8_t>(logarithm < 0);
    row.tail = static_cast<std::uint8_t>(logarithm < 0 ? 1 - logarithm : 1 + logarithm);
    row.tailShift = static_cast<std::uint8_t>(logarithm < 0 ? 0 : 8 * logarithm);
    row.longest = static_cast<std::uint8_t>(logarithm < 0 ? 9 - logarithm : 9);
    row.least = static_cast<std::uint8_t>(logarithm < 0 ? 0 : 2 + logarithm);
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

constexpr RealPlan BuildPlan(std::int32_t width, std::int32_t digits) {
    RealPlan plan{width, digits, {}, {}};
    const int room = EffectiveWidth(width);
    for (std::size_t i = 0; i < kBinades; ++i) {
        const std::uint64_t low = (kFirstBinade + i) << 52;
        plan.second[i] = FindChange(low);
        for (const bool negative : {false, true}) {
            RealRow* rows = &plan.rows[2 * i + (negative ? 2 * kBinades : 0)];
            rows[0] = MakeRow({std::bit_cast<double>(low), negative}, room, digits);
            rows[1] = MakeRow({std::bit_cast<double>(plan.second[i]), negative}, room, digits);
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
