#include "neutral/scaled_real.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "neutral/decimal_text.h"
#include "neutral/real_notation.h"

namespace mod2neu {
namespace {

__extension__ using Product = unsigned __int128;

// Two words of digits.
constexpr int kMostDigits = 16;

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

// A positive number as mantissa * 2^exponent.
struct BinaryNumber {
    std::uint64_t mantissa;
    int exponent;
};

BinaryNumber Unpack(double magnitude) {
    const auto bits = std::bit_cast<std::uint64_t>(magnitude);
    constexpr std::uint64_t kImplicitBit = std::uint64_t{1} << 52;
    return {kImplicitBit | (bits & (kImplicitBit - 1)), static_cast<int>(bits >> 52) - 1075};
}

// number / 2^shift, rounded to the nearest integer, ties to the even one; `remainder` tells that
// the number is a little larger than it says.
std::uint64_t RoundShifted(Product number, int shift, bool remainder) {
    const auto integer = static_cast<std::uint64_t>(number >> shift);
    const Product half = Product{1} << (shift - 1);
    const Product rest = number & ((half << 1) - 1);
    const bool up = rest > half || (rest == half && (remainder || (integer & 1) != 0));
    return integer + (up ? 1 : 0);
}

// magnitude * 10^decimals, rounded to the nearest integer, ties to the even one. The integer is
// below 2^60 and the magnitude at least kSmallestReal; up to kMostDecimals either way.
std::uint64_t RoundScaled(double magnitude, int decimals) {
    const BinaryNumber number = Unpack(magnitude);
    const int shift = -(number.exponent + decimals);
    if (decimals < 0) {
        // The quotient keeps at least the bits of the integer and one more.
        constexpr int kExtraBits = 64;
        const Product dividend = Product{number.mantissa} << kExtraBits;
        const std::uint64_t divisor = kPowersOfFive[static_cast<std::size_t>(-decimals)];
        const Product quotient = dividend / divisor;
        return RoundShifted(quotient, kExtraBits + shift, quotient * divisor != dividend);
    }
    const Product product =
        Product{number.mantissa} * kPowersOfFive[static_cast<std::size_t>(decimals)];
    return shift > 0 ? RoundShifted(product, shift, false)
                     : static_cast<std::uint64_t>(product << -shift);
}

// Number of decimal digits; `number` is not 0.
int CountDigits(std::uint64_t number) {
    constexpr int kLogarithmOfTwo = 1233;  // in 4096ths
    const int bits = 64 - std::countl_zero(number);
    const int guess = bits * kLogarithmOfTwo / 4096;
    return guess + (number >= kPowersOfTen[static_cast<std::size_t>(guess)] ? 1 : 0);
}

// Sixteen characters, the first in the highest byte.
void StoreLongText(char* out, Product characters) {
    StoreText(out, static_cast<std::uint64_t>(characters >> 64));
    StoreText(out + 8, static_cast<std::uint64_t>(characters));
}

char* AppendZeroPoint(char* out) {
    out[0] = '0';
    out[1] = '.';
    return out + 2;
}

// `number` * 10^-decimals with its point, without zeros at the end of the fraction. The number is
// below 10^16.
char* AppendPointed(char* out, std::uint64_t number, int decimals) {
    if (number == 0) {
        return AppendZeroPoint(out);
    }
    constexpr std::uint64_t kWord = 100000000;
    const DigitWord high = EightDigits(static_cast<std::uint32_t>(number / kWord));
    const DigitWord low = EightDigits(static_cast<std::uint32_t>(number % kWord));
    const int count = CountDigits(number);
    const Product digits = (Product{high | kAsciiZeros} << 64 | (low | kAsciiZeros))
                           << (8 * (kMostDigits - count));
    const int zerosAtEnd =
        static_cast<int>(low == 0 ? 8 + TrailingZeros(high) : TrailingZeros(low));

    const int whole = std::max(count - decimals, 0);
    if (whole == 0) {
        out = AppendZeroPoint(out);
        std::memset(out, '0', kMostDecimals);
        out += decimals - count;
        StoreLongText(out, digits);
        return out + count - zerosAtEnd;
    }
    StoreLongText(out, digits);
    out += whole;
    *out++ = '.';
    StoreLongText(out, digits << (8 * whole - 1) << 1);
    return out + std::max(count - whole - zerosAtEnd, 0);
}

char* AppendExponent(char* out, int exponent) {
    *out++ = 'E';
    *out++ = exponent < 0 ? '-' : '+';
    const int size = std::abs(exponent);
    if (size >= 10) {
        *out++ = static_cast<char>('0' + size / 10);
    }
    *out++ = static_cast<char>('0' + size % 10);
    return out;
}

char* AppendFixed(char* out, double magnitude, int decimals) {
    constexpr double kTooLarge = 1e16;
    if (decimals > kMostDecimals || magnitude >= kTooLarge) {
        return nullptr;
    }
    const std::uint64_t number = RoundScaled(magnitude, decimals);
    return number < kPowersOfTen[kMostDigits] ? AppendPointed(out, number, decimals) : nullptr;
}

char* AppendExponentForm(char* out, double magnitude, int logarithm, int digits) {
    // Below 1 the logarithm was truncated upward.
    int exponent = logarithm < 0 ? logarithm - 1 : logarithm;
    const int decimals = digits - 1 - exponent;
    if (decimals > kMostDecimals || decimals <= -kMostDecimals) {
        return nullptr;
    }
    std::uint64_t number = RoundScaled(magnitude, decimals);
    // The logarithm may have been rounded up to the next integer, and the number up to the next
    // power of ten: then there is a digit too few or too many.
    if (logarithm > 0 && number <= kPowersOfTen[static_cast<std::size_t>(digits - 1)]) {
        --exponent;
        number = RoundScaled(magnitude, digits - 1 - exponent);
    }
    if (number >= kPowersOfTen[static_cast<std::size_t>(digits)]) {
        ++exponent;
        number = RoundScaled(magnitude, digits - 1 - exponent);
    }
    return AppendExponent(AppendPointed(out, number, digits - 1), exponent);
}

}  // namespace

char* AppendScaledReal(char* out, double value, std::int32_t width, std::int32_t digits) {
    const double magnitude = std::fabs(value);
    // Behind it logarithms are not told apart.
    constexpr double kTooLarge = 1e31;
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
    *out = '-';
    char* const start = out + (negative ? 1 : 0);
    char* end = nullptr;
    if (FixedLength(logarithm, count, negative) <= room) {
        end = AppendFixed(start, magnitude, FixedDecimals(logarithm, count));
    } else if (logarithm <= -2 || logarithm > count) {
        end = AppendExponentForm(start, magnitude, logarithm, count);
    }
    return end != nullptr && end - out <= room ? end : nullptr;
}

}  // namespace mod2neu
