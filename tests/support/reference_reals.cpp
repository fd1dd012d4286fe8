#include "support/reference_reals.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace mod2neu {
namespace {

// As many digits as any double of at least 1e-15 has; further ones only print zeros.
constexpr std::int64_t kEnoughDigits = 310;
constexpr std::size_t kSlotText = 29;

std::string Print(const char* format, std::int64_t precision, double value) {
    char text[700];
    const int length = std::snprintf(text, sizeof text, format, static_cast<int>(precision), value);
    return {text, static_cast<std::size_t>(length)};
}

// With a point, and without zeros at the end of the mantissa and before the exponent.
std::string General(double value, std::int64_t wanted) {
    const std::int64_t digits = std::clamp<std::int64_t>(wanted, 1, kEnoughDigits);
    const std::string exact = Print("%.*E", kEnoughDigits, value);
    const int exponent = std::stoi(exact.substr(exact.find('E') + 1));
    std::string text = exponent < -1 || exponent > digits - 1
                           ? Print("%.*E", digits - 1, value)
                           : Print("%.*f", digits - (exponent + 1), value);
    const std::size_t e = std::min(text.find('E'), text.size());
    if (e < text.size() && text[e + 2] == '0') {
        text.erase(e + 2, 1);
    }
    if (text.find('.') == std::string::npos) {
        return text.insert(e, 1, '.');
    }
    const std::size_t kept = text.find_last_not_of('0', e - 1) + 1;
    return text.erase(kept, e - kept);
}

// Adds one to the digits up to `at`; true when that took a digit more.
bool Carry(std::string& text, std::size_t at) {
    const std::size_t first = text[0] == '-' ? 1 : 0;
    for (std::size_t i = at + 1; i-- > first;) {
        if (text[i] == '.') {
            continue;
        }
        if (text[i] < '9') {
            ++text[i];
            return false;
        }
        text[i] = '0';
    }
    text.insert(first, 1, '1');
    return true;
}

void Shrink(std::string& text, std::size_t width) {
    std::size_t p = std::min(text.find('E'), text.size()) - 1;
    while (text.size() > width && p > 0) {
        const char c = text[p];
        text.erase(p, 1);
        if (c == '.') {
            break;
        }
        --p;
        if (c >= '5' && Carry(text, p)) {
            ++p;
        }
    }
}

std::int64_t NeededLength(std::int64_t e, std::int64_t digits, bool negative) {
    std::int64_t needed = digits + 1;
    if (e >= digits) {
        needed = e + 2;
    } else if (e < 0) {
        needed = digits - e;
    }
    return needed + (negative ? 1 : 0);
}

std::string Fixed(double value, std::int64_t e, std::int64_t digits) {
    const std::string text = Print("%#.*f", e + 1 >= digits ? 0 : digits - e - 1, value);
    return text.substr(0, text.find_last_not_of('0') + 1);
}

void FitWidth(std::string& text, double value, std::int64_t width, std::int64_t digits) {
    const std::int64_t over = static_cast<std::int64_t>(text.size()) - width;
    // Where all digits of a large integer are asked for no rule fits, only the exponent form does.
    std::int64_t wanted = over < digits ? digits - over : digits;
    for (bool fits = over <= 0; !fits; fits = text.size() <= kSlotText, wanted = 22) {
        text = General(value, wanted);
        Shrink(text, static_cast<std::size_t>(width));
    }
}

}  // namespace

std::string ReferenceReal(double value, std::int32_t width, std::int32_t digits) {
    if (std::isnan(value)) {
        return "nan";
    }
    if (std::isinf(value)) {
        return value < 0 ? "-inf" : "inf";
    }
    const double magnitude = std::fabs(value);
    if (magnitude < 1e-15) {
        return "0.";
    }
    const std::int64_t room = width >= 30 || width <= 0 ? 29 : width;
    std::int64_t count = digits;
    if (count <= 0) {
        count = std::min<std::int64_t>(room - (value < 0 ? 2 : 1), 12);
    }
    const auto e = static_cast<std::int64_t>(static_cast<double>(log10l(magnitude)));
    std::string text =
        NeededLength(e, count, value < 0) <= room ? Fixed(value, e, count) : General(value, count);
    FitWidth(text, value, room, count);
    return text;
}

}  // namespace mod2neu
