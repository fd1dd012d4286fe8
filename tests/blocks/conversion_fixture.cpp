#include "blocks/conversion_fixture.h"

#include <algorithm>
#include <map>

#include "database/catalogue.h"
#include "database/close.h"
#include "database/database_file.h"
#include "database/settings.h"
#include "neutral/conversion.h"
#include "shell/messages.h"
#include "shell/session.h"
#include "shell/status_window.h"

namespace mod2neu {

namespace {

void Open(const std::string& modelPath) {
    ResetSession();
    ResetMessages();
    CurrentSession().ModelFileName = modelPath;
    CreateStatusWindow();
    LoadEntityTypeNames();
    DeclareCatalogue();
    DatabaseSettings settings;
    settings.BlocksPerBuffer = 1;
    settings.MinBuffers = 5;
    settings.MaxBuffers = 5;
    SetDatabaseSettings(settings);
    ASSERT_TRUE(OpenDatabase());
}

// Every line ends in CR LF; the line feed stands for both.
Lines SplitLines(const std::string& neutral) {
    Lines lines;
    std::size_t start = 0;
    for (std::size_t end; (end = neutral.find('\n', start)) != std::string::npos; start = end + 1) {
        if (end == start || neutral[end - 1] != '\r') {
            ADD_FAILURE() << "a bare line feed at " << end;
            return lines;
        }
        lines.push_back(neutral.substr(start, end - 1 - start));
    }
    EXPECT_EQ(start, neutral.size()) << "the last line has no end";
    return lines;
}

}  // namespace

Lines ConversionTest::Put(Table table, int database, int id, std::string_view script,
                          std::string_view given) {
    ScriptedRecord record = MakeRecord(script, table.size, id, seed_++, given);
    model_.Add(table.type, database, id, record.bytes);
    return std::move(record.lines);
}

void ConversionTest::PutFlags(int type, int database, const std::vector<int>& members) {
    std::map<int, int> words;
    for (const int member : members) {
        words[member / 16 + 1] |= 0x8000 >> (member % 16);
    }
    for (const auto& [id, word] : words) {
        Put({type, 4}, database, id, "", Cat("u0=", word));
    }
}

const std::string& ConversionTest::Convert(std::int32_t digits) {
    const Bytes image = model_.Garbage(7).Shuffle(11).Build().bytes;
    files_.Put(modelPath_, image);
    desktop_.statusLines.clear();
    desktop_.boxes.clear();
    Open(modelPath_);
    if (!HasFatalFailure()) {
        ConvertToNeutral(9, modelPath_, digits);
        EXPECT_TRUE(CloseModelSession());
    }
    EXPECT_EQ(files_.OpenHandles(), 0U);
    EXPECT_TRUE(files_.Bytes(modelPath_) == std::string(image.begin(), image.end()))
        << "the model has changed";
    EXPECT_FALSE(files_.Has("/temp/wing.scr"));
    neutral_ = files_.Bytes(kNeutralPath);
    return *neutral_;
}

std::vector<Lines> ConversionTest::Blocks(int number) {
    std::vector<Lines> blocks;
    for (NeutralBlockText& block : SplitBlocks(neutral_ ? *neutral_ : Convert())) {
        if (block.number == number) {
            blocks.push_back(std::move(block.lines));
        }
    }
    return blocks;
}

void ConversionTest::ExpectBlock(int number, const Lines& lines) {
    const std::vector<Lines> blocks = Blocks(number);
    ASSERT_EQ(blocks.size(), 1U) << "blocks " << number;
    const Lines& written = blocks[0];
    const auto [actual, expected] = std::ranges::mismatch(written, lines);
    if (actual != written.end() || expected != lines.end()) {
        FAIL() << "block " << number << ", line " << actual - written.begin() + 1 << " of "
               << written.size() << " (" << lines.size() << " expected):\n  "
               << (actual == written.end() ? "nothing" : *actual) << "\nis not\n  "
               << (expected == lines.end() ? "nothing" : *expected);
    }
}

void ConversionTest::ExpectCount(int count, const std::string& name) {
    EXPECT_EQ(std::ranges::count(desktop_.statusLines, Cat(count, " ", name, "(s) Translated.")), 1)
        << count << " " << name;
}

std::vector<NeutralBlockText> SplitBlocks(const std::string& neutral) {
    constexpr std::string_view kFrame = "   -1";
    std::vector<NeutralBlockText> blocks;
    const Lines lines = SplitLines(neutral);
    for (auto line = lines.begin(); line != lines.end();) {
        const auto body = line + 2;
        if (lines.end() - line < 3 || *line != kFrame) {
            ADD_FAILURE() << "no frame at line " << line - lines.begin() + 1;
            return blocks;
        }
        const auto end = std::find(body, lines.end(), kFrame);
        if (end == lines.end()) {
            ADD_FAILURE() << "a block without an end";
            return blocks;
        }
        const std::string& number = *(line + 1);
        EXPECT_TRUE(number.size() == 6 && number.starts_with("   ")) << number;
        blocks.push_back({std::stoi(number), Lines(body, end)});
        line = end + 1;
    }
    return blocks;
}

}  // namespace mod2neu
