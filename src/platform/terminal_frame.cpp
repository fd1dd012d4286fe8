#include "platform/terminal_frame.h"

#include <algorithm>
#include <string_view>

namespace mod2neu {

namespace {

constexpr std::size_t kSides = 4;            // both edges with their blanks
constexpr std::size_t kTitleEdges = 6;       // corners, a stroke and two blanks
constexpr std::size_t kMaxPanelWidth = 163;  // room for the longest status line, 159 characters
constexpr std::size_t kMaxBoxWidth = 78;
constexpr std::size_t kMaxBar = 40;
constexpr std::size_t kMinBar = 5;

struct Strokes {
    std::string_view horizontal, vertical, topLeft, topRight, bottomLeft, bottomRight;
};

const Strokes& StrokesOf(Charset charset) {
    static constexpr Strokes kLines = {"─", "│", "┌", "┐", "└", "┘"};
    static constexpr Strokes kAscii = {"-", "|", "+", "+", "+", "+"};
    return charset == Charset::kUtf8 ? kLines : kAscii;
}

std::string Repeat(std::string_view stroke, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += stroke;
    }
    return text;
}

std::size_t Less(std::size_t a, std::size_t b) {
    return a > b ? a - b : 0;
}

std::string Edge(std::string_view left, std::string_view right, const std::string& label,
                 std::size_t width, Charset charset) {
    const std::string_view stroke = StrokesOf(charset).horizontal;
    const std::string text =
        CutToColumns(Printable(label, charset), Less(width, kTitleEdges), charset);
    std::string edge(left);
    std::size_t strokes = width - 2;
    if (!text.empty()) {
        edge.append(stroke).append(" ").append(text).append(" ");
        strokes = Less(width, ColumnsOf(text) + kTitleEdges - 1);
    }
    return edge.append(Repeat(stroke, strokes)).append(right);
}

std::size_t Width(const Screen& screen, std::size_t limit) {
    return std::max(std::min(Less(screen.columns, 1), limit), kMinFrameWidth);
}

// Width of the narrowest box that holds all this, within the screen's.
std::size_t BoxWidth(const std::string& title, const ScreenLines& lines, const std::string& footer,
                     const Screen& screen) {
    std::size_t width = std::max(ColumnsOf(title), ColumnsOf(footer)) + kTitleEdges;
    for (const std::string& line : lines) {
        width = std::max(width, ColumnsOf(line) + kSides);
    }
    return std::clamp(width, kMinFrameWidth, Width(screen, kMaxBoxWidth));
}

}  // namespace

ScreenLines FrameLines(const std::string& title, const ScreenLines& lines,
                       const std::string& footer, std::size_t width, Charset charset) {
    const Strokes& strokes = StrokesOf(charset);
    width = std::max(width, kMinFrameWidth);
    ScreenLines frame;
    frame.push_back(Edge(strokes.topLeft, strokes.topRight, title, width, charset));
    for (const std::string& line : lines) {
        const std::string text = CutToColumns(Printable(line, charset), width - kSides, charset);
        std::string row(strokes.vertical);
        row.append(" ").append(text).append(width - kSides - ColumnsOf(text), ' ').append(" ");
        frame.push_back(row.append(strokes.vertical));
    }
    frame.push_back(Edge(strokes.bottomLeft, strokes.bottomRight, footer, width, charset));
    return frame;
}

ScreenLines StatusPanel(const std::string& caption, const std::string& group,
                        const ScreenLines& items, const std::string& progress,
                        const Screen& screen) {
    const std::size_t width = Width(screen, kMaxPanelWidth);
    ScreenLines panel = FrameLines(group, items, progress, width, screen.charset);
    panel.insert(panel.begin(),
                 CutToColumns(Printable(caption, screen.charset), width, screen.charset));
    return panel;
}

std::string ProgressText(const std::string& activity, int permille, const Screen& screen) {
    const std::string percent = std::to_string(permille / 10) + " %";
    const std::size_t taken = kTitleEdges + activity.size() + percent.size() + 2;
    const std::size_t room = std::min(Less(Width(screen, kMaxPanelWidth), taken), kMaxBar);
    if (room < kMinBar) {
        return activity + " " + percent;
    }
    const bool lines = screen.charset == Charset::kUtf8;
    const std::size_t filled = room * static_cast<std::size_t>(permille) / 1000;
    return activity + " " + Repeat(lines ? "█" : "#", filled) +
           Repeat(lines ? "░" : ".", room - filled) + " " + percent;
}

ScreenLines TextBox(const std::string& title, const std::string& text, const std::string& footer,
                    const Screen& screen) {
    ScreenLines lines;
    const std::size_t room = Width(screen, kMaxBoxWidth) - kSides;
    for (const std::string& line : LinesOf(text)) {
        const ScreenLines wrapped = WrapText(Printable(line, screen.charset), room);
        lines.insert(lines.end(), wrapped.begin(), wrapped.end());
    }
    return FrameLines(title, lines, footer, BoxWidth(title, lines, footer, screen), screen.charset);
}

ScreenLines ListBox(const std::string& title, const std::vector<std::string>& names,
                    std::size_t shown, const std::string& footer, const Screen& screen) {
    ScreenLines lines;
    const std::size_t count = std::min(names.size(), shown);
    const std::size_t digits = std::to_string(count).size();
    for (std::size_t i = 0; i < count; ++i) {
        const std::string number = std::to_string(i + 1);
        lines.push_back(std::string(digits - number.size(), ' ') + number + "  " +
                        Printable(names[i], screen.charset));
    }
    if (count < names.size()) {
        lines.push_back("and " + std::to_string(names.size() - count) + " more");
    }
    return FrameLines(title, lines, footer, BoxWidth(title, lines, footer, screen), screen.charset);
}

}  // namespace mod2neu
