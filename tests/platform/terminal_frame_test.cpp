#include "platform/terminal_frame.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace mod2neu {
namespace {

TEST(TerminalText, NothingThatSteersATerminalPasses) {
    struct Case {
        std::string text;
        std::string utf8;
        std::string ascii;
    };
    const std::vector<Case> cases = {
        {"wing.mod", "wing.mod", "wing.mod"},
        {"\033[31mred\a\n\r\t\x7f", "?[31mred?????", "?[31mred?????"},
        {"Tr\u00e4ger \u2013 \u6a21", "Tr\u00e4ger \u2013 \u6a21", "Tr?ger ? ?"},
        {"\u009b31m\u202etxt\u2029", "?31m?txt?", "?31m?txt?"},
        {"\xe4\xff", "??", "??"},                             // no UTF-8
        {"\xc0\xaf \xed\xa0\x80", "?? ???", "?? ???"},        // overlong, surrogate
        {"\xf4\x90\x80\x80 \xe6\xa8", "???? ??", "???? ??"},  // beyond the last, cut off
    };
    for (const Case& each : cases) {
        EXPECT_EQ(each.utf8, Printable(each.text, Charset::kUtf8));
        EXPECT_EQ(each.ascii, Printable(each.text, Charset::kAscii));
    }
    EXPECT_EQ("2;x?\u00e4", WithoutControls("\033\a2;x\xff\u009c\u00e4"));
}

TEST(TerminalText, ColumnsAreCountedNotBytes) {
    EXPECT_EQ(6U, ColumnsOf("Tr\u00e4ger"));
    EXPECT_EQ(6U, ColumnsOf("Tra\u0308ger"));
    EXPECT_EQ(4U, ColumnsOf("\u6a21\u578b"));
    EXPECT_EQ("Tr\u00e4g\u2026", CutToColumns("Tr\u00e4ger", 5, Charset::kUtf8));
    EXPECT_EQ("Tr\u00e4ger", CutToColumns("Tr\u00e4ger", 6, Charset::kUtf8));
    EXPECT_EQ("\u6a21\u2026", CutToColumns("\u6a21\u578b\u578b", 4, Charset::kUtf8));
    EXPECT_EQ("ab...", CutToColumns("abcdefgh", 5, Charset::kAscii));
    EXPECT_EQ("ab", CutToColumns("abcdefgh", 2, Charset::kAscii));
}

TEST(TerminalText, WrappingKeepsWordsAndLosesNoLetter) {
    const std::vector<std::string> words = {"choose a", "different", "file."};
    EXPECT_EQ(words, WrapText("choose a different file.", 9));
    const std::vector<std::string> path = {"Unable to", "Open", "/very/lon", "g/path"};
    EXPECT_EQ(path, WrapText("Unable to Open /very/long/path", 9));
    EXPECT_EQ(std::vector<std::string>{""}, WrapText("", 9));
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
    const std::vector<std::string> lines = {"one", "two"};
    EXPECT_EQ(lines, LinesOf("one\n\r\ntwo\r\n \n"));
}

TEST(TerminalFrame, ProgressFitsTheScreen) {
    const Screen wide{80, 24, Charset::kAscii};
    EXPECT_EQ(ProgressText("Copying", 0, wide), "Copying " + std::string(40, '.') + " 0 %");
    EXPECT_EQ(ProgressText("Copying", 525, wide),
              "Copying " + std::string(21, '#') + std::string(19, '.') + " 52 %");
    EXPECT_EQ(ProgressText("Copying", 1000, wide), "Copying " + std::string(40, '#') + " 100 %");
    EXPECT_EQ(ProgressText("Converting", 500, {20, 24, Charset::kAscii}), "Converting 50 %");
    // 40 columns less the last one, the edges, the words and their blanks leave 17.
    EXPECT_EQ(ProgressText("Converting", 500, {40, 24, Charset::kUtf8}),
              "Converting ████████░░░░░░░░░ 50 %");
}

TEST(TerminalFrame, StatusPanelAsDrawn) {
    const ScreenLines items = {"first", "", "third", "a line that is too long for it"};
    const ScreenLines utf8 = {
        "Model Database to N\u2026",  //
        "\u250c\u2500 Status \u2500\u2500\u2500\u2500\u2500\u2500\u2500\u2500\u2500\u2510",
        "\u2502 first            \u2502",
        "\u2502                  \u2502",
        "\u2502 third            \u2502",
        "\u2502 a line that is \u2026 \u2502",
        "\u2514\u2500\u2500\u2500\u2500\u2500\u2500\u2500\u2500\u2500\u2500\u2500\u2500\u2500\u2500"
        "\u2500\u2500\u2500\u2500\u2518",
    };
    const Screen screen = {21, 24, Charset::kUtf8};
    EXPECT_EQ(utf8, StatusPanel("Model Database to Neutral", "Status", items, "", screen));
}

// As narrow as the longest line or label lets it be.
TEST(TerminalFrame, BoxesAsDrawn) {
    const Screen screen = {31, 24, Charset::kAscii};
    const ScreenLines box = {
        "+- TARNO: Error ----------+",  //
        "| Invalid Version 6 Model |",  //
        "| Database (5.1).         |",  //
        "| If this is an old model |",  //
        "+- Press Enter -----------+",
    };
    EXPECT_EQ(box, TextBox("TARNO: Error",
                           "Invalid Version 6 Model Database (5.1).\n\r\nIf this is an old model",
                           "Press Enter", screen));
    const ScreenLines list = {
        "+- Open Model File -----+",  //
        "|  1  a.mod             |",  //
        "|  2  b?.mod            |",  //
        "|  3  z.mod             |",  //
        "|  4  z.mod             |",  //
        "|  5  z.mod             |",  //
        "|  6  z.mod             |",  //
        "|  7  z.mod             |",  //
        "|  8  z.mod             |",  //
        "|  9  z.mod             |",  //
        "| 10  z.mod             |",  //
        "| and 2 more            |",  //
        "+- Enter alone: Cancel -+",
    };
    std::vector<std::string> names(12, "z.mod");
    names[0] = "a.mod";
    names[1] = "b\033.mod";
    EXPECT_EQ(list, ListBox("Open Model File", names, 10, "Enter alone: Cancel", screen));
}

// Every line of a frame is exactly as wide as the others and leaves the last column free.
TEST(TerminalFrame, FitsEveryWidth) {
    const std::string text = "Unable to Open File /data/Tr\u00e4ger/\u6a21\u578b.mod: \033 Denied.";
    for (std::size_t columns = 0; columns < 260; ++columns) {
        for (const Charset charset : {Charset::kAscii, Charset::kUtf8}) {
            const Screen screen = {columns, 24, charset};
            ScreenLines panel = StatusPanel(text, text, ScreenLines(4, text), text, screen);
            EXPECT_EQ(7U, panel.size());
            panel.erase(panel.begin());
            for (const ScreenLines& frame :
                 {panel, TextBox(text, text, text, screen),
                  ListBox("Open", {"a.mod", text}, 1, "Enter", screen)}) {
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
