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

constexpr std::int32_t kFewestDigits = -8;
constexpr std::int32_t kMostDigits = 32;

std::string Format(double value, std::int32_t width = 15, std::int32_t digits = 8) {
    ResetRealBuffers();
    return FormatReal(value, width, digits);
}

std::int32_t WidthOf(std::int32_t digits) {
    return digits + 7;
}

// Compares with the reference; at most a few differences are told.
class Agreement {
  public:
    void Check(double value, std::int32_t width, std::int32_t digits) {
        ++values_;
        const std::string text = Format(value, width, digits);
        const std::string wanted = ReferenceReal(value, width, digits);
        if (text != wanted && ++faults_ <= 10) {
            ADD_FAILURE() << std::hexfloat << value << ", width " << width << ", digits " << digits
                          << ": " << text << " instead of " << wanted;
        }
    }

    ~Agreement() {
        EXPECT_EQ(faults_, 0);
        ::testing::Test::RecordProperty("values", values_);
    }

  private:
    int values_ = 0;
    int faults_ = 0;
};

struct TextCase {
    double value;
    std::int32_t width;
    std::int32_t digits;
    const char* text;
};

TEST(RealFormat, DefaultDigits) {
    const TextCase cases[] = {
        {0, 15, 8, "0."},
        {-0.0, 15, 8, "0."},
        {1e-16, 15, 8, "0."},
        {-9.9e-16, 15, 8, "0."},
        {1e-15, 15, 8, "1.E-15"},
        {1, 15, 8, "1."},
        {-6, 15, 8, "-6."},
        {1.5, 15, 8, "1.5"},
        {-1.5, 15, 8, "-1.5"},
        {0.5, 15, 8, "0.5"},
        {0.123456789, 15, 8, "0.1234568"},
        {0.0123456789, 15, 8, "0.01234568"},
        {0.1, 15, 8, "0.1"},
        {3.14159265358979, 15, 8, "3.1415927"},
        {100, 15, 8, "100."},
        {1234.5678, 15, 8, "1234.5678"},
        {12345678.9, 15, 8, "12345679."},
        {99999999.5, 15, 8, "100000000."},
        {9.999999999, 15, 8, "10."},
        {123456789, 15, 8, "123456789."},
        {1e13, 15, 8, "10000000000000."},
        {99999999999999.5, 15, 8, "1.E+14"},
        {1e14, 15, 8, "1.E+14"},
        {-1e13, 15, 8, "-1.E+13"},
        {-1e12, 15, 8, "-1000000000000."},
        {123456789010000, 15, 8, "1.2345679E+14"},
        {-123456789010000, 15, 8, "-1.2345679E+14"},
        {1.23456789e100, 15, 8, "1.2345679E+100"},
        {2.5e-7, 15, 8, "0.00000025"},
        {5e-8, 15, 8, "0.00000005"},
        {-5e-8, 15, 8, "-5.E-8"},
        {5e-9, 15, 8, "5.E-9"},
        {1.23456789e-9, 15, 8, "1.2345679E-9"},
        {std::numeric_limits<double>::max(), 15, 8, "1.7976931E+308"},
        {std::numeric_limits<double>::denorm_min(), 15, 8, "0."},
    };
    for (const TextCase& c : cases) {
        EXPECT_EQ(Format(c.value, c.width, c.digits), c.text) << c.value;
    }
}

TEST(RealFormat, OtherDigitsAndWidths) {
    const TextCase cases[] = {
        // Without a count, what the width has room for, and at most 12.
        {3.14159265358979, 7, 0, "3.14159"},
        {-3.14159265358979, 7, 0, "-3.1416"},
        {3.14159265358979, -1, -8, "3.14159265359"},
        {3.14159265358979, 6, -1, "3.1416"},
        // Widths that no text could have mean 29.
        {1e20, 0, 8, "100000000000000000000."},
        {1e20, 30, 8, "100000000000000000000."},
        {1e22, std::numeric_limits<std::int32_t>::min(), 8, "10000000000000000000000."},
        {1e28, std::numeric_limits<std::int32_t>::max(), 8, "1.E+28"},
        // One digit in one or two characters, which do not hold the text.
        {5, 1, 0, "5"},
        {-5, 2, 0, "-5"},
        {0.05, 1, 0, "5E-2"},
        {0.04, 8, 1, "0."},
        {-0.04, 8, 1, "-0."},
        // Exact ties go to the even digit.
        {2.5, 15, 1, "2."},
        {3.5, 15, 1, "4."},
        {0.125, 15, 3, "0.12"},
        {0.375, 15, 3, "0.38"},
        {1234567.25, 15, 8, "1234567.2"},
        {1234567.75, 15, 8, "1234567.8"},
        // Digits are taken off, first by count, then one by one, each time rounding.
        {123456.789, 5, 8, "1.E+5"},
        {9.99e20, 7, 12, "10.E+20"},
        {123456789, 5, 21, "123456789"},
        {0.1, 15, 60, "0.1000000000000"},
        {-1.25e-10, 8, 20, "-1.3E-10"},
        // All digits of an integer that has more than a text may have.
        {1e250, 29, 1000, "9.999999999999999210968E+249"},
        {-1e30, 10, std::numeric_limits<std::int32_t>::max(), "-1.000E+30"},
    };
    for (const TextCase& c : cases) {
        EXPECT_EQ(Format(c.value, c.width, c.digits), c.text)
            << c.value << ", width " << c.width << ", digits " << c.digits;
    }
}

TEST(RealFormat, NotFiniteIsOneField) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    for (const std::int32_t digits : {-8, 0, 1, 8, 17, 30}) {
        EXPECT_EQ(Format(kInfinity, WidthOf(digits), digits), "inf");
        EXPECT_EQ(Format(-kInfinity, WidthOf(digits), digits), "-inf");
        EXPECT_EQ(Format(std::nan(""), WidthOf(digits), digits), "nan");
        EXPECT_EQ(Format(-std::nan(""), WidthOf(digits), digits), "nan");
    }
}

TEST(RealFormat, SlotsAreTakenInTurn) {
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
    EXPECT_STREQ(texts[14], "ERROR:LIM OVERRUN");
    EXPECT_STREQ(texts[13], "13.");
    ResetRealBuffers();
    EXPECT_EQ(FormatReal(17, 15, 8), texts[0]);
    EXPECT_STREQ(texts[0], "17.");
}

TEST(RealFormat, LogarithmIsRoundedToADouble) {
    for (int power = kMinLogarithm; power <= kMaxLogarithm; ++power) {
        const double centre = std::strtod(("1e" + std::to_string(power)).c_str(), nullptr);
        for (int step = -100; step <= 100; ++step) {
            const auto value = std::bit_cast<double>(std::bit_cast<std::int64_t>(centre) + step);
            if (value < kSmallestReal) {
                continue;
            }
            EXPECT_EQ(TruncatedLogarithm(value),
                      static_cast<int>(static_cast<double>(log10l(value))))
                << std::hexfloat << value;
        }
    }
}

TEST(RealFormat, AgreesWithDefaultDigits) {
    Agreement agreement;
    for (const RealKind kind : kAllRealKinds) {
        RealSamples samples(kind, 11);
        for (int i = 0; i < 30000; ++i) {
            agreement.Check(samples.Next(), 15, 8);
        }
    }
}

TEST(RealFormat, AgreesWithEveryDigitSetting) {
    Agreement agreement;
    for (const RealKind kind : kAllRealKinds) {
        RealSamples samples(kind, 12);
        for (std::int32_t digits = kFewestDigits; digits <= kMostDigits; ++digits) {
            for (int i = 0; i < 500; ++i) {
                agreement.Check(samples.Next(), WidthOf(digits), digits);
            }
        }
    }
}

TEST(RealFormat, AgreesAroundPowersOfTen) {
    Agreement agreement;
    for (std::int32_t digits = kFewestDigits; digits <= kMostDigits; ++digits) {
        for (int power = -16; power <= 32; ++power) {
            const double centre = std::strtod(("1e" + std::to_string(power)).c_str(), nullptr);
            for (int step = -20; step <= 20; ++step) {
                const auto value =
                    std::bit_cast<double>(std::bit_cast<std::int64_t>(centre) + step);
                agreement.Check(digits % 2 == 0 ? value : -value, WidthOf(digits), digits);
            }
        }
    }
}

TEST(RealFormat, AgreesWithAnyWidth) {
    Agreement agreement;
    std::mt19937 random(13);
    std::uniform_int_distribution<std::int32_t> anyWidth(-2, 31);
    std::uniform_int_distribution<std::int32_t> anyDigits(-3, 45);
    for (const RealKind kind : kAllRealKinds) {
        RealSamples samples(kind, 14);
        for (int i = 0; i < 5000; ++i) {
            agreement.Check(samples.Next(), anyWidth(random), anyDigits(random));
        }
    }
}

TEST(RealFormat, ExtremeSettingsStayWithinTheSlot) {
    Agreement agreement;
    constexpr std::int32_t kExtremes[] = {
        std::numeric_limits<std::int32_t>::min(), -1, 0, 1, 2, 29, 30, 310, 640, 641, 1100,
        std::numeric_limits<std::int32_t>::max()};
    RealSamples samples(RealKind::kWideRange, 15);
    for (const std::int32_t width : kExtremes) {
        for (const std::int32_t digits : kExtremes) {
            for (int i = 0; i < 20; ++i) {
                const double value = samples.Next();
                agreement.Check(value, width, digits);
                EXPECT_LE(Format(value, width, digits).size(), std::size_t{kMaxRealText});
            }
        }
    }
}

}  // namespace
}  // namespace mod2neu
