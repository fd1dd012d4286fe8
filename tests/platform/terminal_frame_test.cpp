#include "platform/terminal_frame.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace mod2neu {
namespace {

TEST(TerminalText, NothingThatSteersATerminalPasses) {
    const std::array<std::string, 3> cases[] = {
        {"\033[31mred\a\n\r\t\x7f", "?[31mred?????", "?[31mred?????"},
        {"Tr\u00e4ger \u6a21", "Tr\u00e4ger \u6a21", "Tr?ger ?"},
        {"\u009b31m\u202etxt\u2029", "?31m?txt?", "?31m?txt?"},
        // No UTF-8, overlong, a surrogate, beyond the last and cut off.
        {"\xe4\xff \xc0\xaf \xed\xa0\x80 \xf4\x90\x80\x80 \xe6\xa8", "?? ?? ??? ???? ??",
         "?? ?? ??? ???? ??"}};
    for (const auto& [text, utf8, ascii] : cases) {
        EXPECT_EQ(utf8, Printable(text, Charset::kUtf8));
        EXPECT_EQ(ascii, Printable(text, Charset::kAscii));
    }
    EXPECT_EQ("2;x?\u00e4", WithoutControls("\033\a2;x\xff\u009c\u00e4"));
}

TEST(TerminalText, WrappingKeepsWordsAndLosesNoLetter) {
    EXPECT_EQ(6U, ColumnsOf("Tra\u0308ger"));
    EXPECT_EQ("\u6a21\u2026", CutToColumns("\u6a21\u578b\u578b", 4, Charset::kUtf8));
    const std::vector<std::string> path = {"Unable to", "Open", "/very/lon", "g/path"};
    EXPECT_EQ(path, WrapText("Unable to Open /very/long/path", 9));
    const std::string text = "  a  bb   cccc\u6a21\u578bdd e      ffffffffffff g ";
    for (std::size_t columns = 0; columns < 50; ++columns) {
        std::string letters;
        for (const std::string& line : WrapText(text, columns)) {
            EXPECT_LE(ColumnsOf(line), std::max<std::size_t>(columns, 2));
            letters += line;
        }
        std::erase(letters, ' ');
        EXPECT_EQ("abbcccc\u6a21\u578bddeffffffffffffg", letters) << columns;
    }
}

// The look in ASCII shows in a session of its own.
TEST(TerminalFrame, IsDrawnInUtf8) {
    const Screen screen = {21, 24, Charset::kUtf8};
    const ScreenLines list = {"┌─ Open ───────┐", "│ 1  a?.mod    │", "│ and 2 more   │",
                              "└─ Enter: New ─┘"};
    EXPECT_EQ(list, ListBox("Open", {"a\033.mod", "b", "c"}, 1, "Enter: New", screen));
    EXPECT_EQ("Converting 50 %", ProgressText("Converting", 500, screen));
    // 40 columns less the last one, the edges, the words and their blanks leave 17.
    EXPECT_EQ("Converting ████████░░░░░░░░░ 50 %",
              ProgressText("Converting", 500, {40, 24, Charset::kUtf8}));
    EXPECT_EQ("Copying " + std::string(21, '#') + std::string(19, '.') + " 52 %",
              ProgressText("Copying", 525, {80, 24, Charset::kAscii}));
}

// Every line of a frame is exactly as wide as the others and leaves the last column free.
TEST(TerminalFrame, FitsEveryWidth) {
    const std::string text = "Unable to Open File /data/Tr\u00e4ger/\u6a21\u578b.mod: \033 Denied.";
    for (std::size_t columns = 0; columns < 260; ++columns) {
        for (const Charset charset : {Charset::kAscii, Charset::kUtf8}) {
            const Screen screen = {columns, 24, charset};
            ScreenLines panel = StatusPanel(text, text, ScreenLines(4, text), text, screen);
            panel.erase(panel.begin());
            for (const ScreenLines& frame : {panel, TextBox(text, text, text, screen),
                                             ListBox("Open", {text}, 1, "Enter", screen)}) {
                for (const std::string& line : frame) {
                    EXPECT_EQ(ColumnsOf(frame.front()), ColumnsOf(line)) << columns;
                    EXPECT_TRUE(columns <= kMinFrameWidth || ColumnsOf(line) < columns) << columns;
                }
            }
        }
    }
}

}  // namespace
}  // namespace mod2neu
