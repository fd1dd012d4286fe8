#pragma once

#include <cstdint>
#include <string_view>

#include "neutral/integer_text.h"
#include "neutral/output_buffer.h"
#include "neutral/real_format.h"

namespace mod2neu {

// The field writers that are so short that a call would cost more than their work. Each asks once
// for room and never allocates.

inline char* AppendLineEnd(char* out) {
    out[0] = '\r';
    out[1] = '\n';
    return out + 2;
}

inline char* AppendBoolField(char* out, std::uint8_t value) {
    out[0] = value != 0 ? '1' : '0';
    out[1] = ',';
    return out + 2;
}

inline void EndLine() {
    CommitOutput(AppendLineEnd(ReserveOutput()));
}

// One integer with its comma.
inline void PutLong(std::int32_t value) {
    CommitOutput(AppendLongField(ReserveOutput(), value));
}

// 1 for any value but 0.
inline void PutBool(std::uint8_t value) {
    CommitOutput(AppendBoolField(ReserveOutput(), value));
}

inline void PutByte(std::uint8_t value) {
    CommitOutput(AppendShortField(ReserveOutput(), value));
}

// The text of a real number by the context's digits and width and a comma at `out`, which has room
// for kRealRoom characters. Returns their end.
char* AppendRealField(char* out, double value);

// One real number with its comma, by the context's digits and width.
inline void PutReal(double value) {
    CommitOutput(AppendRealField(ReserveOutput(), value));
}
inline void PutFloat(float value) {
    PutReal(value);
}

// The text itself without a comma; "<NULL>" for an empty one.
void PutString(std::string_view text);

// The number of lines in `text`, then each on a line of its own; the caller ends the last one.
// Carriage returns are dropped.
void PutText(std::string_view text);

// The same writers for a record in one go: they keep their place in a register and ask for room
// once a line, which takes a sixth off the time of a line of fifteen fields. While one lives, no
// other writer may be called.
class FieldLine {
  public:
    // Fields that a line may have.
    static constexpr int kMostFields = 512;

    FieldLine() : next_(ReserveOutput()) {}
    FieldLine(const FieldLine&) = delete;
    FieldLine& operator=(const FieldLine&) = delete;
    ~FieldLine() { CommitOutput(next_); }

    void PutLong(std::int32_t value) { next_ = AppendLongField(next_, value); }
    void PutBool(std::uint8_t value) { next_ = AppendBoolField(next_, value); }
    void PutByte(std::uint8_t value) { next_ = AppendShortField(next_, value); }
    void PutReal(double value) { next_ = AppendRealField(next_, value); }
    void PutFloat(float value) { PutReal(value); }

    void EndLine() {
        CommitOutput(AppendLineEnd(next_));
        next_ = ReserveOutput();
    }

    void PutString(std::string_view text) {
        CommitOutput(next_);
        mod2neu::PutString(text);
        next_ = ReserveOutput();
    }

    void PutText(std::string_view text) {
        CommitOutput(next_);
        mod2neu::PutText(text);
        next_ = ReserveOutput();
    }

  private:
    static_assert(kMostFields * (kMaxRealText + 1) + kRealRoom <= kOutputReserve);

    char* next_;
};

}  // namespace mod2neu
