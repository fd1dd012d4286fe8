#include "neutral/integer_text.h"

namespace mod2neu {
namespace {

constexpr std::uint32_t kWord = 100000000;

// The digits of `number`, which has at most eight, without zeros in front.
char* AppendWord(char* out, std::uint32_t number) {
    const DigitWord digits = EightDigits(number);
    const unsigned zeros = LeadingZeros(digits);
    StoreText(out, (digits | kAsciiZeros) << (8 * zeros));
    return out + 8 - zeros;
}

}  // namespace

char* AppendOtherLongField(char* out, std::int32_t value) {
    *out = '-';
    out += value < 0 ? 1 : 0;
    const auto bits = static_cast<std::uint32_t>(value);
    const std::uint32_t number = value < 0 ? 0 - bits : bits;
    if (number < kWord) [[likely]] {
        out = AppendWord(out, number);
    } else {
        out = AppendWord(out, number / kWord);
        StoreText(out, EightDigits(number % kWord) | kAsciiZeros);
        out += 8;
    }
    *out = ',';
    return out + 1;
}

}  // namespace mod2neu
