#pragma once

#include <cstdint>

namespace mod2neu {

// Longest text of a real number in characters.
constexpr int kMaxRealText = 29;

// Characters that the place of a text needs while it is being written.
constexpr int kRealRoom = 64;

// The settings of a run that asks for no others.
constexpr std::int32_t kDefaultRealDigits = 8;
constexpr std::int32_t kDefaultRealWidth = 15;

// The shortest text of `value` that shows `digits` significant digits within `width` characters:
// fixed notation without trailing zeros while it fits, exponent notation with 'E' when it does
// not. Returns a zero-terminated text in one of 15 slots, valid until ResetRealBuffers; the 16th
// call without a reset gives "ERROR:LIM OVERRUN".
const char* FormatReal(double value, std::int32_t width, std::int32_t digits);

// Makes all slots of FormatReal available again.
void ResetRealBuffers();

// FormatReal's text at `out`, which has room for kRealRoom characters, without terminator and
// without taking a slot. Returns the end of the text.
char* AppendReal(char* out, double value, std::int32_t width, std::int32_t digits);

}  // namespace mod2neu
