#include "neutral/real_format.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>

#include "neutral/real_notation.h"
#include "support/real_samples.h"
#include "support/reference_reals.h"

namespace mod2neu {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr std::int32_t kLowest = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kHighest = std::numeric_limits<std::int32_t>::max();

std::string Format(double value, std::int32_t width, std::int32_t digits) {
    ResetRealBuffers();
    return FormatReal(value, width, digits);
}

double Neighbour(double value, int step) {
    return std::bit_cast<double>(std::bit_cast<std::int64_t>(value) + step);
}

double PowerOfTen(int power) {
    return std::strtod(("1e" + std::to_string(power)).c_str(), nullptr);
}

// Agreement with the reference, which the table of texts holds to the rules.
class RealFormat : public ::testing::Test {
  protected:
    ~RealFormat() override { EXPECT_EQ(faults_, 0); }

    // At most a few differences are told.
    void Check(double value, std::int32_t width, std::int32_t digits) {
        const std::string text = Format(value, width, digits);
        const std::string wanted = ReferenceReal(value, width, digits);
        if (text != wanted && ++faults_ <= 10) {
            ADD_FAILURE() << std::hexfloat << value << ", width " << width << ", digits " << digits
                          << ": " << text << " instead of " << wanted;
        }
        EXPECT_LE(text.size(), std::size_t{kMaxRealText});
    }

    // Some values of every kind.
    template <class CheckValue>
    static void Sweep(int count, std::uint64_t seed, CheckValue check) {
        for (const RealKind kind : kAllRealKinds) {
            RealSamples samples(kind, seed);
            for (int i = 0; i < count; ++i) {
                check(samples.Next());
            }
        }
    }

  private:
    int faults_ = 0;
};

struct TextCase {
    double value;
    const char* text;
    std::int32_t width = 15;
    std::int32_t digits = 8;
};

TEST_F(RealFormat, TextsFollowTheRules) {
    const TextCase cases[] = {
        {-0.0, "0."},
        {-9.9e-16, "0."},
        {1e-15, "1.E-15"},
        {-1.5, "-1.5"},
        {0.0123456789, "0.01234568"},
        {100, "100."},
        {12345678.9, "12345679."},
        {99999999.5, "100000000."},
        {1e13, "10000000000000."},
        {99999999999999.5, "1.E+14"},
        {-1e13, "-1.E+13"},
        {-1e12, "-1000000000000."},
        {-123456789010000, "-1.2345679E+14"},
        {5e-8, "0.00000005"},
        {-5e-8, "-5.E-8"},
        {1.23456789e-9, "1.2345679E-9"},
        {std::numeric_limits<double>::max(), "1.7976931E+308"},
        // What is no number is one field.
        {kInfinity, "inf"},
        {-kInfinity, "-inf", 5, -8},
        {-std::nan(""), "nan", 37, 30},
        // Without a count, what the width has room for, and at most 12.
        {-3.14159265358979, "-3.1416", 7, 0},
        {3.14159265358979, "3.14159265359", -1, -8},
        // Widths that no text could have mean 29.
        {1e20, "100000000000000000000.", 0},
        {1e20, "100000000000000000000.", 30},
        {1e28, "1.E+28", kHighest},
        // One digit in one or two characters, which do not hold the text.
        {-5, "-5", 2, 0},
        {0.05, "5E-2", 1, 0},
        {-0.04, "-0.", 8, 1},
        // Exact ties go to the even digit.
        {2.5, "2.", 15, 1},
        {3.5, "4.", 15, 1},
        {1234567.25, "1234567.2"},
        // Digits are taken off, first by count, then one by one, each time rounding.
        {123456.789, "1.E+5", 5},
        {9.99e20, "10.E+20", 7, 12},
        {123456789, "123456789", 5, 21},
        {0.1, "0.1000000000000", 15, 60},
        {-1.25e-10, "-1.3E-10", 8, 20},
        {1e250, "9.999999999999999210968E+249", 29, 1000},
        {-1e30, "-1.000E+30", 10, kHighest},
    };
    for (const auto& [value, text, width, digits] : cases) {
        EXPECT_EQ(Format(value, width, digits), text)
            << value << ", width " << width << ", digits " << digits;
    }
}

TEST_F(RealFormat, SlotsAreTakenInTurn) {
    ResetRealBuffers();
    const char* texts[15];
    for (int i = 0; i < 15; ++i) {
        texts[i] = FormatReal(i, 15, 8);
    }
    for (int i = 0; i < 15; ++i) {
        EXPECT_EQ(texts[i], std::to_string(i) + ".");
    }
    EXPECT_STREQ(FormatReal(15, 15, 8), "ERROR:LIM OVERRUN");
    EXPECT_STREQ(FormatReal(16, 15, 8), "ERROR:LIM OVERRUN");
    EXPECT_STREQ(texts[13], "13.");
    ResetRealBuffers();
    EXPECT_EQ(FormatReal(17, 15, 8), texts[0]);
    EXPECT_STREQ(texts[0], "17.");
}

TEST_F(RealFormat, LogarithmIsRoundedToADouble) {
    for (int power = kMinLogarithm; power <= kMaxLogarithm; ++power) {
        for (int step = -100; step <= 100; ++step) {
            const double value = Neighbour(PowerOfTen(power), step);
            EXPECT_TRUE(value < kSmallestReal ||
                        TruncatedLogarithm(value) ==
                            static_cast<int>(static_cast<double>(log10l(value))))
                << std::hexfloat << value;
        }
    }
}

TEST_F(RealFormat, AgreesWithDefaultDigits) {
    Sweep(30000, 11, [&](double value) { Check(value, 15, 8); });
}

TEST_F(RealFormat, AgreesWithEveryDigitSetting) {
    for (std::int32_t digits = -8; digits <= 32; ++digits) {
        Sweep(500, static_cast<std::uint64_t>(100 + digits),
              [&](double value) { Check(value, digits + 7, digits); });
        for (int power = -16; power <= 32; ++power) {
            for (int step = -20; step <= 20; ++step) {
                const double value = Neighbour(PowerOfTen(power), step);
                Check(digits % 2 == 0 ? value : -value, digits + 7, digits);
            }
        }
    }
}

TEST_F(RealFormat, AgreesWithAnyWidth) {
    std::mt19937 random(13);
    std::uniform_int_distribution<std::int32_t> anyWidth(-2, 31);
    std::uniform_int_distribution<std::int32_t> anyDigits(-3, 45);
    Sweep(5000, 14, [&](double value) { Check(value, anyWidth(random), anyDigits(random)); });
    constexpr std::int32_t kExtremes[] = {kLowest, -1,  0,   1,   2,    29,
                                          30,      310, 640, 641, 1100, kHighest};
    RealSamples samples(RealKind::kWideRange, 15);
    for (const std::int32_t width : kExtremes) {
        for (const std::int32_t digits : kExtremes) {
            for (int i = 0; i < 20; ++i) {
                Check(samples.Next(), width, digits);
            }
        }
    }
}

}  // namespace
}  // namespace mod2neu
