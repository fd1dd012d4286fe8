#pragma once

#include <charconv>
#include <cstdint>

namespace mod2neu {

// Longest text of a 32-bit integer in characters.
constexpr int kMaxLongText = 11;

// The decimal text of `value` at `out`, which has room for kMaxLongText characters. Returns the
// end of the text.
inline char* AppendLong(char* out, std::int32_t value) {
    return std::to_chars(out, out + kMaxLongText, value).ptr;
}

}  // namespace mod2neu
