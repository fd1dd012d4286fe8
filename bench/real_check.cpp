// Compares the text of reals with the slow reference over as many values of every kind as asked.

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>

#include "neutral/real_format.h"
#include "support/real_samples.h"
#include "support/reference_reals.h"

namespace mod2neu {
namespace {

struct Setting {
    std::int32_t width;
    std::int32_t digits;
};

bool Agrees(double value, const Setting& setting) {
    char text[kRealRoom];
    *AppendReal(text, value, setting.width, setting.digits) = '\0';
    const std::string wanted = ReferenceReal(value, setting.width, setting.digits);
    if (wanted == text) {
        return true;
    }
    std::cout << std::hexfloat << value << " with width " << setting.width << " and "
              << setting.digits << " digits: " << text << ", should be " << wanted << '\n';
    return false;
}

std::int64_t CountFaults(RealKind kind, std::int64_t values, const Setting& setting) {
    RealSamples samples(kind, static_cast<std::uint64_t>(setting.digits) + 1);
    std::int64_t faults = 0;
    for (std::int64_t i = 0; i < values && faults < 20; ++i) {
        faults += Agrees(samples.Next(), setting) ? 0 : 1;
    }
    return faults;
}

void Report(RealKind kind, const char* setting, std::int64_t values, std::int64_t faults) {
    std::cout << NameOf(kind) << ", " << setting << ": " << values << " values, " << faults
              << " faults" << std::endl;
}

// The faults found in all kinds of values.
std::int64_t CheckAll(std::int64_t values) {
    std::int64_t faults = 0;
    for (const RealKind kind : kAllRealKinds) {
        const std::int64_t found =
            CountFaults(kind, values, {kDefaultRealWidth, kDefaultRealDigits});
        Report(kind, "8 digits", values, found);
        std::int64_t others = 0;
        const std::int64_t share = values / 40;
        for (std::int32_t digits = -8; digits <= 32; ++digits) {
            others += CountFaults(kind, share, {digits + 7, digits});
        }
        Report(kind, "-8 to 32 digits", 41 * share, others);
        faults += found + others;
    }
    return faults;
}

}  // namespace
}  // namespace mod2neu

int main(int argc, char** argv) {
    const std::int64_t values = argc > 1 ? std::strtoll(argv[1], nullptr, 10) : 1000000;
    return mod2neu::CheckAll(values) == 0 ? 0 : 1;
}
