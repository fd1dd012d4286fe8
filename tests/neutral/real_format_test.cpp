#include "neutral/real_format.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>

#include "support/real_samples.h"
#include "support/reference_reals.h"

namespace mod2neu {
namespace {

constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();

std::string Format(double value, std::int32_t width, std::int32_t digits) {
    ResetRealBuffers();
    return FormatReal(value, width, digits);
}

// Agreement with the reference, which the table of texts holds to the rules.
class RealFormat : public ::testing::Test {
  protected:
    void Check(double value, std::int32_t width, std::int32_t digits) {
        const std::string text = Format(value, width, digits);
        ASSERT_EQ(text, ReferenceReal(value, width, digits))
            << std::hexfloat << value << ", width " << width << ", digits " << digits;
        ASSERT_LE(text.size(), std::size_t{kMaxRealText});
    }

    // Some values of every kind, until one differs.
    template <class CheckValue>
    static void Sweep(int count, std::uint32_t seed, CheckValue check) {
        for (const RealKind kind : kAllRealKinds) {
            RealSamples samples(kind, seed);
            for (int i = 0; i < count && !HasFailure(); ++i) {
                check(samples.Next());
            }
        }
    }

    // The neighbours of a power of ten, of both signs.
    void CheckAround(int power, std::int32_t digits) {
        const double centre = std::strtod(("1e" + std::to_string(power)).c_str(), nullptr);
        for (int step = -20; step <= 20; ++step) {
            const auto value = std::bit_cast<double>(std::bit_cast<std::int64_t>(centre) + step);
            Check(step % 2 == 0 ? value : -value, digits + 7, digits);
        }
    }
};

TEST_F(RealFormat, TextsFollowTheRules) {
    constexpr double kLargest = std::numeric_limits<double>::max();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    struct Case {
        double value;
        const char* text;
        std::int32_t width = 15;
        std::int32_t digits = 8;
    };
    const Case cases[] = {
        // clang-format off
        {-0.0, "0."}, {-9.9e-16, "0."}, {1e-15, "1.E-15"}, {-1.5, "-1.5"}, {100, "100."},
        {0.0123456789, "0.01234568"}, {12345678.9, "12345679."}, {99999999.5, "100000000."},
        {1e13, "10000000000000."}, {99999999999999.5, "1.E+14"}, {-1e13, "-1.E+13"},
        {5e-8, "0.00000005"}, {-5e-8, "-5.E-8"}, {kLargest, "1.7976931E+308"},
        // What is no number is one field.
        {kInfinity, "inf"}, {-kInfinity, "-inf", 5, -8}, {-std::nan(""), "nan", 37, 30},
        // Without a count, what the width has room for, and at most 12. A width that no text could
        // have means 29.
        {-3.14159265358979, "-3.1416", 7, 0}, {3.14159265358979, "3.14159265359", -1, -8},
        {1e20, "100000000000000000000.", 30},
        // One digit in one or two characters, which do not hold the text.
        {-5, "-5", 2, 0}, {0.05, "5E-2", 1, 0}, {-0.04, "-0.", 8, 1},
        // Exact ties go to the even digit.
        {2.5, "2.", 15, 1}, {3.5, "4.", 15, 1}, {1234567.25, "1234567.2"},
        // Digits are taken off, first by count, then one by one, each time rounding.
        {123456.789, "1.E+5", 5}, {9.99e20, "10.E+20", 7, 12}, {123456789, "123456789", 5, 21},
        {0.1, "0.1000000000000", 15, 60}, {-1.25e-10, "-1.3E-10", 8, 20},
        {1e250, "9.999999999999999210968E+249", 29, 1000}, {-1e30, "-1.000E+30", 10, kHighest},
        // clang-format on
    };
    for (const auto& [value, text, width, digits] : cases) {
        EXPECT_EQ(Format(value, width, digits), text)
            << value << ", width " << width << ", digits " << digits;
    }
}

TEST_F(RealFormat, SlotsAreTakenInTurn) {
    ResetRealBuffers();
    const char* first = FormatReal(0, 15, 8);
    for (int i = 1; i < 15; ++i) {
        EXPECT_EQ(FormatReal(i, 15, 8), std::to_string(i) + ".");
    }
    EXPECT_STREQ(FormatReal(15, 15, 8), "ERROR:LIM OVERRUN");
    EXPECT_STREQ(FormatReal(16, 15, 8), "ERROR:LIM OVERRUN");
    EXPECT_STREQ(first, "0.");
    ResetRealBuffers();
    EXPECT_EQ(FormatReal(17, 15, 8), first);
}

// Most with the default.
TEST_F(RealFormat, AgreesWithEveryDigitSetting) {
    for (std::int32_t digits = -8; digits <= 32; ++digits) {
        const bool usual = digits == 8;
        Sweep(usual ? 30000 : 500, static_cast<std::uint32_t>(100 + digits),
              [&](double value) { Check(value, digits + 7, digits); });
        for (int power = usual ? -307 : -16; power <= (usual ? 308 : 32); ++power) {
            CheckAround(power, digits);
        }
    }
}

TEST_F(RealFormat, AgreesWithAnyWidth) {
    std::mt19937 random(13);
    const auto any = [&random](std::uint32_t count) {
        constexpr std::int32_t kExtremes[] = {-kHighest - 1, 310, 640, 641, 1100, kHighest};
        const auto usual = static_cast<std::int32_t>(random() % count) - 3;
        return random() % 4 == 0 ? kExtremes[random() % std::size(kExtremes)] : usual;
    };
    int values = 0;
    std::int32_t width = 0;
    std::int32_t digits = 0;
    Sweep(5000, 14, [&](double value) {
        if (values++ % 10 == 0) {  // a new setting costs as much as many values of one
            width = any(35);
            digits = any(49);
        }
        Check(value, width, digits);
    });
}

}  // namespace
}  // namespace mod2neu
