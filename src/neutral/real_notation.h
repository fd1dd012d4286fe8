#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "neutral/real_format.h"

namespace mod2neu {

// Below this magnitude a real number counts as zero.
constexpr double kSmallestReal = 1e-15;

// Truncated decimal logarithms that can still decide between the notations; no width lets a larger
// one into fixed notation.
constexpr int kMaxLogarithm = 31;
constexpr int kMinLogarithm = -15;

// The smallest double whose logarithm, rounded to a double, is at least 1, 2, 3, ... Most lie a few
// units in the last place below the power of ten, since the logarithm is flatter than its argument.
constexpr std::array<double, kMaxLogarithm> kFirstOfLogarithm = {
    0x1.4p+3,
    0x1.8ffffffffffffp+6,
    0x1.f3ffffffffffcp+9,
    0x1.387fffffffffep+13,
    0x1.869fffffffff9p+16,
    0x1.e847ffffffff8p+19,
    0x1.312cffffffffbp+23,
    0x1.7d783fffffffap+26,
    0x1.dcd64ffffffefp+29,
    0x1.2a05f1ffffff6p+33,
    0x1.74876e7fffff3p+36,
    0x1.d1a94a1fffff0p+39,
    0x1.2309ce53ffff6p+43,
    0x1.6bcc41e8ffff3p+46,
    0x1.c6bf52633fff0p+49,
    0x1.1c37937e07ff6p+53,
    0x1.6345785d89fe7p+56,
    0x1.bc16d674ec7e1p+59,
    0x1.158e460913cedp+63,
    0x1.5af1d78b58c28p+66,
    0x1.b1ae4d6e2ef31p+69,
    0x1.0f0cf064dd57fp+73,
    0x1.52d02c7e14adfp+76,
    0x1.a784379d99d96p+79,
    0x1.08b2a2c28027ep+83,
    0x1.4adf4b732031dp+86,
    0x1.9d971e4fe83e5p+89,
    0x1.027e72f1f126fp+93,
    0x1.431e0fae6d70bp+96,
    0x1.93e5939a08ccdp+99,
    0x1.f8def8808b000p+102,
};

// The largest double whose logarithm, rounded to a double, is at most -1, -2, -3, ...
constexpr std::array<double, -kMinLogarithm> kLastOfLogarithm = {
    0x1.999999999999ap-4,  0x1.47ae147ae147cp-7,  0x1.0624dd2f1a9fep-10, 0x1.a36e2eb1c4330p-14,
    0x1.4f8b588e368f6p-17, 0x1.0c6f7a0b5ed92p-20, 0x1.ad7f29abcaf50p-24, 0x1.5798ee2308c40p-27,
    0x1.12e0be826d69ep-30, 0x1.b7cdfd9d7bdcap-34, 0x1.5fd7fe17964a2p-37, 0x1.19799812dea1bp-40,
    0x1.c25c268497691p-44, 0x1.6849b86a12ba7p-47, 0x1.203af9ee7561fp-50,
};

// The decimal logarithm of a positive number, as a double holds it, truncated toward zero; limited
// to kMinLogarithm and kMaxLogarithm.
constexpr int TruncatedLogarithm(double magnitude) {
    constexpr int kSmallestBinary = -53;
    constexpr int kLargestBinary = 105;
    const int exponent = static_cast<int>(std::bit_cast<std::uint64_t>(magnitude) >> 52) - 1023;
    const int binary = std::clamp(exponent, kSmallestBinary, kLargestBinary);
    // The logarithm of 2 in 4096ths tells that of the power of two below the number; between that
    // and the next there is at most one power of ten.
    constexpr int kLogarithmOfTwo = 1233;
    if (binary >= 0) {
        const int least = binary * kLogarithmOfTwo / 4096;
        return least < kMaxLogarithm &&
                       magnitude >= kFirstOfLogarithm[static_cast<std::size_t>(least)]
                   ? least + 1
                   : least;
    }
    const int least = -binary * kLogarithmOfTwo / 4096;
    return least > 0 && magnitude > kLastOfLogarithm[static_cast<std::size_t>(least - 1)]
               ? 1 - least
               : -least;
}

// The width that counts: one that no text could have stands for the longest.
constexpr int EffectiveWidth(std::int32_t width) {
    return width <= 0 || width > kMaxRealText ? kMaxRealText : width;
}

// The digit count that counts: without one, as many digits as the width has room for. Widths of 1
// and 2 leave none, or less.
constexpr int EffectiveDigits(std::int32_t digits, int width, bool negative) {
    constexpr int kMostDigitsOfWidth = 12;
    return digits > 0 ? digits : std::min(width - (negative ? 2 : 1), kMostDigitsOfWidth);
}

// Characters that fixed notation is taken to need for a number of that logarithm. Below 1 the
// point is not counted.
constexpr int FixedLength(int logarithm, int digits, bool negative) {
    const int length = logarithm >= digits ? logarithm + 2
                       : logarithm < 0     ? digits - logarithm
                                           : digits + 1;
    return length + (negative ? 1 : 0);
}

// Decimals that show `digits` significant digits of a number of that logarithm.
constexpr int FixedDecimals(int logarithm, int digits) {
    return std::max(0, digits - logarithm - 1);
}

}  // namespace mod2neu
