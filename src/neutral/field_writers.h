#pragma once

#include <cstdint>
#include <cstring>

#include "neutral/integer_text.h"
#include "neutral/output_buffer.h"

namespace mod2neu {

// The field writers that are so short that a call would cost more than their work. Each asks once
// for room and never allocates.

inline void EndLine() {
    char* out = ReserveOutput();
    std::memcpy(out, "\r\n", 2);
    CommitOutput(out + 2);
}

// One integer with its comma.
inline void PutLong(std::int32_t value) {
    CommitOutput(AppendLongField(ReserveOutput(), value));
}

// 1 for any value but 0.
inline void PutBool(std::uint8_t value) {
    char* out = ReserveOutput();
    out[0] = value != 0 ? '1' : '0';
    out[1] = ',';
    CommitOutput(out + 2);
}

inline void PutByte(std::uint8_t value) {
    CommitOutput(AppendShortField(ReserveOutput(), value));
}

// One real number with its comma, by the context's digits and width.
void PutReal(double value);
inline void PutFloat(float value) {
    PutReal(value);
}

}  // namespace mod2neu
