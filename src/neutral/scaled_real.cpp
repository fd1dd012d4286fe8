#include "neutral/scaled_real.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstring>

#include "neutral/real_notation.h"

namespace mod2neu {
namespace {

__extension__ using Product = unsigned __int128;

// So many digits stay below 2^63 and may still be rounded up.
constexpr int kMostDigits = 17;

template <int count>
constexpr std::array<std::uint64_t, count> PowersOf(std::uint64_t base) {
    std::array<std::uint64_t, count> powers{};
    std::uint64_t power = 1;
    for (std::uint64_t& entry : powers) {
        entry = power;
        power *= base;
    }
    return powers;
}

// As many as 64 bits hold.
constexpr auto kPowersOfFive = PowersOf<28>(5);
constexpr auto kPowersOfTen = PowersOf<20>(10);
constexpr int kMostDecimals = static_cast<int>(kPowersOfFive.size()) - 1;

// magnitude * 10^decimals, rounded to the nearest integer, ties to the even one. The integer is
// below 2^63 and the magnitude a normal number of at least kSmallestReal.
std::uint64_t RoundScaled(double magnitude, int decimals) {
    const auto bits = std::bit_cast<std::uint64_t>(magnitude);
    constexpr std::uint64_t kImplicitBit = std::uint64_t{1} << 52;
    const std::uint64_t mantissa = kImplicitBit | (bits & (kImplicitBit - 1));
    const int exponent = static_cast<int>(bits >> 52) - 1075;

    const Product product = Product{mantissa} * kPowersOfFive[static_cast<std::size_t>(decimals)];
    const int shift = -(exponent + decimals);
    if (shift <= 0) {
        return static_cast<std::uint64_t>(product << -shift);
    }
    const auto integer = static_cast<std::uint64_t>(product >> shift);
    const Product half = Product{1} << (shift - 1);
    const Product rest = product & ((half << 1) - 1);
    const bool up = rest > half || (rest == half && (integer & 1) != 0);
    return integer + (up ? 1 : 0);
}

// Digits of a number, and how many of them stand behind the point.
struct Decimal {
    std::uint64_t digits;
    int decimals;
};

// Drops the zeros at the end of the fraction.
Decimal Trimmed(Decimal number) {
    while (number.decimals >= 8 && number.digits % 100000000 == 0) {
        number.digits /= 100000000;
        number.decimals -= 8;
    }
    while (number.decimals > 0 && number.digits % 10 == 0) {
        number.digits /= 10;
        --number.decimals;
    }
    return number;
}

char* AppendDigits(char* out, std::uint64_t number) {
    return std::to_chars(out, out + kMostDigits + 1, number).ptr;
}

// `count` digits, zeros in front included.
char* AppendPadded(char* out, std::uint64_t number, int count) {
    for (int i = count - 1; i >= 0; --i) {
        out[i] = static_cast<char>('0' + number % 10);
        number /= 10;
    }
    return out + count;
}

char* AppendFixed(char* out, const Decimal& number) {
    const Decimal shown = Trimmed(number);
    std::uint64_t integer = shown.digits;
    std::uint64_t fraction = 0;
    if (shown.decimals >= static_cast<int>(kPowersOfTen.size())) {
        integer = 0;
        fraction = shown.digits;
    } else {
        const std::uint64_t unit = kPowersOfTen[static_cast<std::size_t>(shown.decimals)];
        integer = shown.digits / unit;
        fraction = shown.digits % unit;
    }
    out = AppendDigits(out, integer);
    *out++ = '.';
    return AppendPadded(out, fraction, shown.decimals);
}

// A mantissa of one digit before the point, and the exponent.
char* AppendExponentForm(char* out, const Decimal& number, int exponent) {
    out = AppendFixed(out, number);
    *out++ = 'E';
    return std::to_chars(out, out + 4, exponent).ptr;
}

char* AppendSmall(char* out, double magnitude, int logarithm, int digits) {
    // The logarithm was truncated upward. A number that reaches the next power of ten, by itself
    // or by rounding, has one digit too many.
    int exponent = logarithm - 1;
    if (digits - 1 - exponent > kMostDecimals) {
        return nullptr;
    }
    std::uint64_t number = RoundScaled(magnitude, digits - 1 - exponent);
    if (number >= kPowersOfTen[static_cast<std::size_t>(digits)]) {
        ++exponent;
        number = RoundScaled(magnitude, digits - 1 - exponent);
    }
    return AppendExponentForm(out, {number, digits - 1}, exponent);
}

}  // namespace

char* AppendScaledReal(char* out, double value, std::int32_t width, std::int32_t digits) {
    const double magnitude = std::fabs(value);
    constexpr double kTooLarge = 1e17;
    if (!(magnitude >= kSmallestReal && magnitude < kTooLarge)) {
        return nullptr;
    }
    const bool negative = value < 0;
    const int room = EffectiveWidth(width);
    const int count = EffectiveDigits(digits, room, negative);
    if (count < 1 || count > kMostDigits) {
        return nullptr;
    }
    const int logarithm = TruncatedLogarithm(magnitude);
    std::array<char, 64> text;
    char* end = nullptr;
    text[0] = '-';
    char* start = text.data() + (negative ? 1 : 0);
    if (FixedLength(logarithm, count, negative) <= room) {
        const int decimals = FixedDecimals(logarithm, count);
        if (decimals <= kMostDecimals) {
            end = AppendFixed(start, {RoundScaled(magnitude, decimals), decimals});
        }
    } else if (logarithm <= -2) {
        end = AppendSmall(start, magnitude, logarithm, count);
    }
    if (end == nullptr || end - text.data() > room) {
        return nullptr;
    }
    const auto length = static_cast<std::size_t>(end - text.data());
    std::memcpy(out, text.data(), length);
    return out + length;
}

}  // namespace mod2neu
