#pragma once

#include <cstdint>

namespace mod2neu {

// AppendReal (real_format.h) rule by rule, for every value, width and digit count.
char* AppendPlainReal(char* out, double value, std::int32_t width, std::int32_t digits);

}  // namespace mod2neu
