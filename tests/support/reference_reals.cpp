#include "support/reference_reals.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace mod2neu {
namespace {

// More digits than any double of at least 1e-15 has; further ones only print zeros.
constexpr std::int64_t kEnoughDigits = 2000;
constexpr std::size_t kSlotText = 29;

std::string Print(const char* format, std::int64_t precision, double value) {
    char text[2400];
    const int length = std::snprintf(text, sizeof text, format, static_cast<int>(precision), value);
    return {text, static_cast<std::size_t>(length)};
}

void Normalize(std::string& text) {
    const std::size_t e = text.find('e');
    if (e == std::string::npos) {
        return;
    }
    text[e] = 'E';
    while (e + 3 < text.size() && text[e + 2] == '0') {
        text.erase(e + 2, 1);
    }
}

void EnsurePoint(std::string& text) {
    if (text.find('.') != std::string::npos) {
        return;
    }
    text.insert(std::min(text.find_first_of("eE"), text.size()), 1, '.');
}

int ExactExponent(double value) {
    const std::string text = Print("%.*e", 330, value);
    return std::stoi(text.substr(text.find('e') + 1));
}

// Mantissa, 'e', sign and at least three digits of exponent.
std::string ExponentForm(double value, std::int64_t digits) {
    std::string text = Print("%.*e", digits - 1, value);
    const std::size_t exponent = text.find('e') + 2;
    while (text.size() - exponent < 3) {
        text.insert(exponent, 1, '0');
    }
    return text;
}

std::string General(double value, std::int64_t wanted) {
    const std::int64_t digits = std::clamp<std::int64_t>(wanted, 1, kEnoughDigits);
    const int exponent = ExactExponent(value);
    std::string text = exponent < -1 || exponent > digits - 1
                           ? ExponentForm(value, digits)
                           : Print("%.*f", digits - (exponent + 1), value);
    if (text.find('.') != std::string::npos) {
        std::size_t end = std::min(text.find('e'), text.size());
        while (text[end - 1] == '0') {
            text.erase(--end, 1);
        }
    }
    return text;
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
    Normalize(text);
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
    std::string text = Print("%#.*f", e + 1 >= digits ? 0 : digits - e - 1, value);
    while (text.size() > 1 && text.back() == '0') {
        text.pop_back();
    }
    return text;
}

void FitWidth(std::string& text, double value, std::int64_t width, std::int64_t digits) {
    const std::int64_t over = static_cast<std::int64_t>(text.size()) - width;
    if (over <= 0) {
        return;
    }
    text = General(value, over < digits ? digits - over : digits);
    EnsurePoint(text);
    Shrink(text, static_cast<std::size_t>(width));
    if (text.size() > kSlotText) {
        // All digits of a large integer were asked for: no rule fits, only the exponent form does.
        text = General(value, 22);
        EnsurePoint(text);
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
    std::string text;
    if (NeededLength(e, count, value < 0) <= room) {
        text = Fixed(value, e, count);
    } else {
        text = General(value, count);
        Normalize(text);
        EnsurePoint(text);
    }
    FitWidth(text, value, room, count);
    return text;
}

}  // namespace mod2neu
