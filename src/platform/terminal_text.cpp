#include "platform/terminal_text.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace mod2neu {

namespace {

struct Character {
    char32_t code = 0;
    std::size_t bytes = 1;
    bool valid = false;
};

struct Range {
    char32_t first;
    char32_t last;
};

constexpr std::array kWide = {
    Range{0x1100, 0x115F},   Range{0x2E80, 0x303E},   Range{0x3041, 0xA4CF},
    Range{0xAC00, 0xD7A3},   Range{0xF900, 0xFAFF},   Range{0xFE30, 0xFE6F},
    Range{0xFF00, 0xFF60},   Range{0xFFE0, 0xFFE6},   Range{0x1F300, 0x1F64F},
    Range{0x1F900, 0x1F9FF}, Range{0x20000, 0x3FFFD},
};

constexpr std::array kWithoutWidth = {
    Range{0x0300, 0x036F}, Range{0x1AB0, 0x1AFF}, Range{0x1DC0, 0x1DFF}, Range{0x200B, 0x200F},
    Range{0x20D0, 0x20FF}, Range{0xFE00, 0xFE0F}, Range{0xFE20, 0xFE2F},
};

template <typename Ranges>
bool IsIn(const Ranges& ranges, char32_t code) {
    return std::any_of(ranges.begin(), ranges.end(), [code](const Range& range) {
        return code >= range.first && code <= range.last;
    });
}

// Bytes of a sequence that starts with `lead`; 0 when none does.
std::size_t SequenceLength(unsigned char lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return 0;
    }
    return lead < 0xE0 ? 2U : lead < 0xF0 ? 3U : 4U;
}

Character Decode(std::string_view text) {
    constexpr std::array<char32_t, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};
    constexpr std::array<unsigned, 5> kLeadBits = {0, 0x7F, 0x1F, 0x0F, 0x07};
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = SequenceLength(lead);
    if (length == 0 || length > text.size()) {
        return {};
    }
    char32_t code = lead & kLeadBits.at(length);
    for (const char c : text.substr(1, length - 1)) {
        const auto byte = static_cast<unsigned char>(c);
        if ((byte & 0xC0U) != 0x80U) {
            return {};
        }
        code = (code << 6U) | (byte & 0x3FU);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < kSmallest.at(length) || code > 0x10FFFF || surrogate) {
        return {};
    }
    return {code, length, true};
}

// Characters that steer a terminal: the two control sets, line and paragraph separators, and the
// marks that turn the direction of writing.
bool IsControl(char32_t code) {
    return code < 0x20 || (code >= 0x7F && code < 0xA0) || (code >= 0x2028 && code <= 0x202E) ||
           (code >= 0x2066 && code <= 0x2069);
}

std::size_t ColumnsOf(char32_t code) {
    if (IsIn(kWithoutWidth, code)) {
        return 0;
    }
    return IsIn(kWide, code) ? 2 : 1;
}

// Bytes of the longest beginning of `text` that takes at most `columns` columns.
std::size_t FittingBytes(std::string_view text, std::size_t columns) {
    std::size_t used = 0;
    std::size_t bytes = 0;
    while (bytes < text.size()) {
        const Character next = Decode(text.substr(bytes));
        used += ColumnsOf(next.code);
        if (used > columns) {
            break;
        }
        bytes += next.bytes;
    }
    return bytes;
}

}  // namespace

std::string Printable(std::string_view text, Charset charset) {
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        const Character next = Decode(text.substr(at));
        const bool shown =
            next.valid && !IsControl(next.code) && (charset == Charset::kUtf8 || next.code < 0x80);
        result += shown ? text.substr(at, next.bytes) : std::string_view("?");
        at += next.bytes;
    }
    return result;
}

std::string WithoutControls(std::string_view text) {
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        const Character next = Decode(text.substr(at));
        if (!next.valid) {
            result += '?';
        } else if (!IsControl(next.code)) {
            result += text.substr(at, next.bytes);
        }
        at += next.bytes;
    }
    return result;
}

std::size_t ColumnsOf(std::string_view text) {
    std::size_t columns = 0;
    for (std::size_t at = 0; at < text.size();) {
        const Character next = Decode(text.substr(at));
        columns += ColumnsOf(next.code);
        at += next.bytes;
    }
    return columns;
}

std::string CutToColumns(const std::string& text, std::size_t columns, Charset charset) {
    if (ColumnsOf(text) <= columns) {
        return text;
    }
    const std::string_view ellipsis = charset == Charset::kUtf8 ? "…" : "...";
    const std::size_t taken = ColumnsOf(ellipsis);
    if (columns <= taken) {
        return text.substr(0, FittingBytes(text, columns));
    }
    return text.substr(0, FittingBytes(text, columns - taken)).append(ellipsis);
}

std::vector<std::string> WrapText(std::string_view text, std::size_t columns) {
    std::vector<std::string> lines;
    do {
        std::size_t end = FittingBytes(text, std::max<std::size_t>(columns, 2));
        std::size_t next = end;
        const std::size_t blank = text.substr(0, end + 1).rfind(' ');
        if (end < text.size() && blank != std::string_view::npos && blank > 0) {
            end = blank;
            next = blank + 1;
        }
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(next);
    } while (!text.empty());
    return lines;
}

std::vector<std::string> LinesOf(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string line(text.substr(0, end));
        line.erase(std::remove(line.begin(), line.end(), '\r'), line.end());
        if (line.find_first_not_of(" \t") != std::string::npos) {
            lines.push_back(std::move(line));
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

}  // namespace mod2neu
