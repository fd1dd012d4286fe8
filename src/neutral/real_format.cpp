#include "neutral/real_format.h"

#include <cstring>

#include "neutral/plain_real.h"
#include "neutral/scaled_real.h"
#include "neutral/short_real.h"

namespace mod2neu {
namespace {

constexpr int kSlots = 15;

struct RealBuffers {
    char slots[kSlots][kMaxRealText + 1] = {};
    int current = -1;
};

RealBuffers buffers;

// Out of line, so that the common case keeps its registers.
[[gnu::noinline]] char* AppendOtherReal(char* out, double value, std::int32_t width,
                                        std::int32_t digits) {
    if (width != realPlan.width || digits != realPlan.digits) {
        PlanReals(width, digits);
        return AppendReal(out, value, width, digits);
    }
    if (char* end = AppendScaledReal(out, value, width, digits)) {
        return end;
    }
    return AppendPlainReal(out, value, width, digits);
}

}  // namespace

void ResetRealBuffers() {
    buffers.current = -1;
}

const char* FormatReal(double value, std::int32_t width, std::int32_t digits) {
    if (buffers.current + 1 == kSlots) {
        constexpr char kOverrun[] = "ERROR:LIM OVERRUN";
        static_assert(sizeof kOverrun <= sizeof buffers.slots[0]);
        std::memcpy(buffers.slots[buffers.current], kOverrun, sizeof kOverrun);
        return buffers.slots[buffers.current];
    }
    char text[kRealRoom];
    const auto length = static_cast<std::size_t>(AppendReal(text, value, width, digits) - text);
    char* slot = buffers.slots[++buffers.current];
    std::memcpy(slot, text, length);
    slot[length] = '\0';
    return slot;
}

char* AppendReal(char* out, double value, std::int32_t width, std::int32_t digits) {
    if (width == realPlan.width && digits == realPlan.digits) [[likely]] {
        if (char* end = AppendShortReal(out, value, realPlan)) [[likely]] {
            return end;
        }
    }
    return AppendOtherReal(out, value, width, digits);
}

}  // namespace mod2neu
