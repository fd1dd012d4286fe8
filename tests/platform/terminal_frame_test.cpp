#include "platform/terminal_frame.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>

namespace mod2neu {
namespace {

TEST(TerminalText, NothingThatSteersATerminalPasses) {
    const std::array<std::string, 3> cases[] = {
        {"\033[31mred\a\n\x7f", "?[31mred???", "?[31mred???"},
        // NOLINTNEXTLINE(misc-misleading-bidirectional): this is what must not get through.
        {"Tr\u00e4ger \u6a21\u009b31m\u202e", "Tr\u00e4ger \u6a21?31m?", "Tr?ger ??31m?"},
        // No UTF-8, overlong, a surrogate, beyond the last and cut off.
        {"\xe4\xff \xc0\xaf \xed\xa0\x80 \xf4\x90\x80\x80 \xe6\xa8", "?? ?? ??? ???? ??",
         "?? ?? ??? ???? ??"}};
    for (const auto& [text, utf8, ascii] : cases) {
        EXPECT_EQ(utf8, Printable(text, Charset::kUtf8));
        EXPECT_EQ(ascii, Printable(text, Charset::kAscii));
    }
    EXPECT_EQ("2;x?\u00e4", WithoutControls("\033\a2;x\xff\u009c\u00e4"));
}

// Every line of a frame is exactly as wide as the others and leaves the last column free.
TEST(TerminalFrame, FitsEveryWidthAndLosesNoLetter) {
    EXPECT_EQ("Copying " + std::string(21, '#') + std::string(19, '.') + " 52 %",
              ProgressText("Copying", 525, {80, 24, Charset::kAscii}));
    const std::string text = "  Unable to Open   /data/Tra\u0308ger/\u6a21\u578b.mod: Denied. ";
    for (std::size_t columns = 0; columns < 120; ++columns) {
        const Screen screen = {columns, 24, Charset::kUtf8};
        ScreenLines panel = StatusPanel(text, text, {text}, text, screen);
        panel.erase(panel.begin());
        for (const ScreenLines& frame : {panel, TextBox(text, text, text, screen),
                                         ListBox("Open", {text}, 1, "Enter", screen)}) {
            for (const std::string& line : frame) {
                EXPECT_EQ(ColumnsOf(frame.front()), ColumnsOf(line)) << columns;
                EXPECT_TRUE(columns <= kMinFrameWidth || ColumnsOf(line) < columns) << columns;
            }
        }
        std::string letters;
        for (const std::string& line : WrapText(text, columns)) {
            letters += line;
        }
        std::erase(letters, ' ');
        EXPECT_EQ("UnabletoOpen/data/Tra\u0308ger/\u6a21\u578b.mod:Denied.", letters) << columns;
    }
}

}  // namespace
}  // namespace mod2neu
