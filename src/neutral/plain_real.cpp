#include "neutral/plain_real.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "neutral/real_notation.h"

namespace mod2neu {
namespace {

// A double of at least kSmallestReal has no more than 309 significant digits, and no text of it is
// more than 316 characters longer than a width. So with this many digits, or with any more, the
// text is the exact value, even after the excess over the width has been taken off the count.
constexpr int kMaxDigits = 640;

// An integer part of 309 digits, kMaxDigits decimals, sign, point and exponent.
constexpr int kTextCapacity = 1024;

// Longest text of an exponent form without its digits: sign, point and exponent.
constexpr int kExponentFormOverhead = 7;

// The text of one number while it is cut and rounded.
class RealText {
  public:
    [[nodiscard]] int Length() const { return length_; }
    [[nodiscard]] std::string_view View() const {
        return {text_, static_cast<std::size_t>(length_)};
    }

    // Rounded to `decimals` decimals, the point always present.
    void PrintFixed(double value, int decimals);

    // The shorter of exponent and fixed form by the magnitude of `value`, rounded to `digits`
    // significant digits, without trailing zeros in the fraction.
    void PrintGeneral(double value, int digits);

    // Deletes zeros at the end, but never the first character.
    void TrimTrailingZeros();

    // Makes the lower-case exponent "e+014" read "E+14".
    void NormalizeExponent();

    // Puts a point behind the mantissa when there is none.
    void EnsureDecimalPoint();

    // Takes digits off the mantissa's end, rounding each time, until the text has `width`
    // characters or the mantissa has no fraction left. The exponent never changes.
    void ShrinkToWidth(int width);

  private:
    [[nodiscard]] int Find(char c) const;
    void Erase(int position, int count = 1);
    void Insert(int position, char c);
    void TrimFraction();
    int CarryInto(int position);

    char text_[kTextCapacity];
    int length_ = 0;
};

int RealText::Find(char c) const {
    const std::size_t found = View().find(c);
    return found == std::string_view::npos ? -1 : static_cast<int>(found);
}

void RealText::Erase(int position, int count) {
    std::memmove(text_ + position, text_ + position + count,
                 static_cast<std::size_t>(length_ - position - count));
    length_ -= count;
}

void RealText::Insert(int position, char c) {
    std::memmove(text_ + position + 1, text_ + position,
                 static_cast<std::size_t>(length_ - position));
    text_[position] = c;
    ++length_;
}

void RealText::PrintFixed(double value, int decimals) {
    const auto result =
        std::to_chars(text_, text_ + kTextCapacity, value, std::chars_format::fixed, decimals);
    length_ = static_cast<int>(result.ptr - text_);
    if (decimals == 0) {
        Insert(length_, '.');
    }
}

void RealText::TrimTrailingZeros() {
    while (length_ > 1 && text_[length_ - 1] == '0') {
        --length_;
    }
}

// Deletes the zeros at the end of the fraction, before the exponent if there is one.
void RealText::TrimFraction() {
    if (Find('.') < 0) {
        return;
    }
    const int exponent = Find('e');
    const int end = exponent < 0 ? length_ : exponent;
    int keep = end;
    while (text_[keep - 1] == '0') {
        --keep;
    }
    Erase(keep, end - keep);
}

// Power of ten of the first significant digit of `magnitude`, whose scientific form rounded to
// `digits` digits has the exponent `rounded`. Rounding up to a power of ten raises the exponent;
// the general form asks only about 10^-1 and 10^digits, and no double comes that close to the
// powers that it cannot hold.
int DecimalExponent(double magnitude, int digits, int rounded) {
    if (rounded == -1) {
        return magnitude < 0.1 ? -2 : -1;
    }
    constexpr double kExactPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                       1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                       1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    if (rounded == digits && digits < static_cast<int>(std::size(kExactPowers)) &&
        magnitude < kExactPowers[digits]) {
        return rounded - 1;
    }
    return rounded;
}

int ScientificExponent(std::string_view text) {
    const char* first = text.data() + text.find('e') + 1;
    int exponent = 0;
    std::from_chars(*first == '+' ? first + 1 : first, text.data() + text.size(), exponent);
    return exponent;
}

void RealText::PrintGeneral(double value, int digits) {
    const auto scientific = std::to_chars(text_, text_ + kTextCapacity, value,
                                          std::chars_format::scientific, digits - 1);
    length_ = static_cast<int>(scientific.ptr - text_);
    const int exponent = DecimalExponent(std::fabs(value), digits, ScientificExponent(View()));
    if (exponent >= -1 && exponent <= digits - 1) {
        const auto fixed = std::to_chars(text_, text_ + kTextCapacity, value,
                                         std::chars_format::fixed, digits - (exponent + 1));
        length_ = static_cast<int>(fixed.ptr - text_);
    }
    TrimFraction();
}

void RealText::NormalizeExponent() {
    const int exponent = Find('e');
    if (exponent < 0) {
        return;
    }
    text_[exponent] = 'E';
    const int first = exponent + 2;
    while (first + 1 < length_ && text_[first] == '0') {
        Erase(first);
    }
}

void RealText::EnsureDecimalPoint() {
    if (Find('.') >= 0) {
        return;
    }
    const int exponent = std::max(Find('e'), Find('E'));
    Insert(exponent < 0 ? length_ : exponent, '.');
}

// Adds one to the digit at `position`, carrying to the left. Returns the position, one further
// when the carry needed a digit of its own in front.
int RealText::CarryInto(int position) {
    const int first = text_[0] == '-' ? 1 : 0;
    for (int at = position; at >= first; --at) {
        if (text_[at] == '.') {
            continue;
        }
        if (text_[at] != '9') {
            ++text_[at];
            return position;
        }
        text_[at] = '0';
    }
    Insert(first, '1');
    return position + 1;
}

void RealText::ShrinkToWidth(int width) {
    NormalizeExponent();
    const int exponent = Find('E');
    int position = (exponent < 0 ? length_ : exponent) - 1;
    while (length_ > width && position > 0) {
        const char c = text_[position];
        Erase(position);
        if (c == '.') {
            return;
        }
        --position;
        if (c >= '5') {
            position = CarryInto(position);
        }
    }
}

char* AppendText(char* out, std::string_view text) {
    std::memcpy(out, text.data(), text.size());
    return out + text.size();
}

// A text that a reader's number parser takes back and that ends at the field's comma. A sound
// model holds no such values.
char* AppendNotFinite(char* out, double value) {
    if (std::isnan(value)) {
        return AppendText(out, "nan");
    }
    return AppendText(out, value < 0 ? "-inf" : "inf");
}

// Second attempt of a number whose text is `over` characters too long. A count below 1, which
// widths of 1 and 2 give, prints one digit.
void PrintShorter(RealText& text, double value, int width, int digits, int over) {
    const int fewer = over < digits ? digits - over : digits;
    text.PrintGeneral(value, std::max(fewer, 1));
    text.EnsureDecimalPoint();
    text.ShrinkToWidth(width);
    if (text.Length() > kMaxRealText) {
        // An integer of 30 digits or more whose count allows them all: it has no fraction to
        // give up, but its exponent form always fits.
        text.PrintGeneral(value, kMaxRealText - kExponentFormOverhead);
        text.EnsureDecimalPoint();
        text.ShrinkToWidth(width);
    }
}

}  // namespace

char* AppendPlainReal(char* out, double value, std::int32_t width, std::int32_t digits) {
    if (!std::isfinite(value)) {
        return AppendNotFinite(out, value);
    }
    const double magnitude = std::fabs(value);
    if (magnitude < kSmallestReal) {
        return AppendText(out, "0.");
    }
    const bool negative = value < 0;
    const int room = EffectiveWidth(width);
    const int count = std::min(EffectiveDigits(digits, room, negative), kMaxDigits);
    const int exponent = TruncatedLogarithm(magnitude);

    RealText text;
    if (FixedLength(exponent, count, negative) <= room) {
        text.PrintFixed(value, FixedDecimals(exponent, count));
        text.TrimTrailingZeros();
    } else {
        text.PrintGeneral(value, std::max(count, 1));
        text.NormalizeExponent();
        text.EnsureDecimalPoint();
    }
    const int over = text.Length() - room;
    if (over > 0) {
        PrintShorter(text, value, room, count, over);
    }
    return AppendText(out, text.View());
}

}  // namespace mod2neu
