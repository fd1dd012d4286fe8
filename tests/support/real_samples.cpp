#include "support/real_samples.h"

#include <bit>
#include <cmath>

namespace mod2neu {

const char* NameOf(RealKind kind) {
    constexpr const char* kNames[] = {"few decimals", "uniform",     "gaussian", "log-uniform",
                                      "wide range",   "random bits", "ties",     "powers"};
    return kNames[static_cast<std::size_t>(kind)];
}

double RealSamples::Uniform(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random_);
}

std::int64_t RealSamples::Integer(std::int64_t low, std::int64_t high) {
    return std::uniform_int_distribution<std::int64_t>(low, high)(random_);
}

// The value itself or one of its neighbours up to 40 doubles away.
double RealSamples::Nearby(double value) {
    const std::int64_t steps = Integer(0, 2) == 0 ? 0 : Integer(-40, 40);
    return std::bit_cast<double>(std::bit_cast<std::int64_t>(value) + steps);
}

double RealSamples::Magnitude() {
    switch (kind_) {
        case RealKind::kFewDecimals:
            return static_cast<double>(Integer(0, 1000000)) / 1000.0;
        case RealKind::kUniform:
            return Uniform(0, 1000);
        case RealKind::kGaussian:
            return std::fabs(std::normal_distribution<double>(0, 10)(random_));
        case RealKind::kLogUniform:
            return std::pow(10.0, Uniform(-17, 17));
        case RealKind::kWideRange:
            return std::pow(10.0, Uniform(-20, 308));
        case RealKind::kRandomBits:
            return std::fabs(std::bit_cast<double>(random_()));
        case RealKind::kTies: {
            // An odd number of binary fractions: its decimals end in a 5 that decides.
            const auto fractions = static_cast<double>(2 * Integer(0, 1 << 26) + 1);
            return Nearby(std::ldexp(fractions, static_cast<int>(Integer(-60, 2))));
        }
        default: {
            const double power = std::pow(10.0, static_cast<double>(Integer(-17, 32)));
            return Nearby(power * static_cast<double>(Integer(1, 10)));
        }
    }
}

double RealSamples::Next() {
    const double magnitude = Magnitude();
    return (random_() & 1) != 0 ? -magnitude : magnitude;
}

}  // namespace mod2neu
