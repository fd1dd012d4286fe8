#pragma once

#include <cstdint>

namespace mod2neu {

// The text of a number of at most 16 digits, in fixed notation or with an exponent up to 30 or so,
// at `out`, which has room for kRealRoom characters. Returns its end; nullptr for a number that
// must take the plain road.
char* AppendScaledReal(char* out, double value, std::int32_t width, std::int32_t digits);

}  // namespace mod2neu
