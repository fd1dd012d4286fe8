#pragma once

#include <array>
#include <cstdint>
#include <random>

namespace mod2neu {

// The kinds of reals that matter for their text.
enum class RealKind {
    kFewDecimals,  // coordinates with up to three decimals
    kUniform,      // coordinates with all their digits
    kGaussian,
    kLogUniform,  // 1e-17 to 1e17
    kWideRange,   // 1e-20 to 1e308
    kRandomBits,
    kTies,    // halfway between two texts of eight digits, and neighbours
    kPowers,  // powers of ten, times small integers, and neighbours
};

inline constexpr std::array kAllRealKinds = {
    RealKind::kFewDecimals, RealKind::kUniform,    RealKind::kGaussian, RealKind::kLogUniform,
    RealKind::kWideRange,   RealKind::kRandomBits, RealKind::kTies,     RealKind::kPowers};

const char* NameOf(RealKind kind);

// An endless row of reals of one kind, the same for the same seed; both signs.
class RealSamples {
  public:
    explicit RealSamples(RealKind kind, std::uint64_t seed = 1) : kind_(kind), random_(seed) {}

    double Next();

  private:
    double Magnitude();
    double Uniform(double low, double high);
    std::int64_t Integer(std::int64_t low, std::int64_t high);
    double Nearby(double value);

    RealKind kind_;
    std::mt19937_64 random_;
};

}  // namespace mod2neu
