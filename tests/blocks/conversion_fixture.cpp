#include "blocks/conversion_fixture.h"

#include <algorithm>
#include <map>
#include <sstream>

#include "database/catalogue.h"
#include "database/close.h"
#include "database/database_file.h"
#include "database/settings.h"
#include "neutral/conversion.h"
#include "shell/messages.h"
#include "shell/session.h"
#include "shell/status_window.h"

namespace mod2neu {

std::vector<Lines> SplitBlocks(const std::string& neutral) {
    std::vector<Lines> blocks;
    std::istringstream in(neutral);
    bool within = false;
    for (std::string line; std::getline(in, line);) {
        EXPECT_TRUE(line.ends_with('\r') && !in.eof()) << line;
        line.pop_back();
        if (line != "   -1") {
            EXPECT_TRUE(within) << "between blocks: " << line;
            blocks.back().push_back(line);
        } else if (within = !within; within) {
            blocks.emplace_back();
        }
    }
    EXPECT_FALSE(within) << "a block without an end";
    return blocks;
}

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

void ConversionTest::PutChunk(int type, int database, int id, const std::string& data,
                              std::optional<std::int32_t> count) {
    const auto claimed = count.value_or(static_cast<std::int32_t>(data.size()));
    Bytes bytes = MakeRecord("", 1964, id, seed_++, Cat("i0=", claimed)).bytes;
    std::copy(data.begin(), data.end(), bytes.begin() + 4);
    model_.Add(type, database, id, bytes);
}

std::string ConversionTest::Convert(std::int32_t digits) {
    const Bytes image = model_.Garbage(7).Shuffle(11).Build().bytes;
    files_.Put(modelPath_, image);
    desktop_.boxes.clear();
    ResetSession();
    ResetMessages();
    CurrentSession().ModelFileName = modelPath_;
    CreateStatusWindow();
    LoadEntityTypeNames();
    DeclareCatalogue();
    SetDatabaseSettings(
        {.scratchDirectory = {}, .BlocksPerBuffer = 1, .MinBuffers = 5, .MaxBuffers = 5});
    EXPECT_TRUE(OpenDatabase());
    ConvertToNeutral(9, modelPath_, digits);
    EXPECT_TRUE(CloseModelSession());
    EXPECT_TRUE(files_.Bytes(modelPath_) == std::string(image.begin(), image.end()))
        << "the model has changed";
    return files_.Bytes(kNeutralPath);
}

std::vector<Lines> ConversionTest::Blocks(int number, std::int32_t digits) {
    std::vector<Lines> blocks;
    for (const Lines& block : SplitBlocks(Convert(digits))) {
        if (block.at(0) == Cat("   ", number)) {
            blocks.emplace_back(block.begin() + 1, block.end());
        }
    }
    return blocks;
}

void ConversionTest::ExpectBlock(int number, const Lines& lines, int count,
                                 const std::string& name) {
    const std::vector<Lines> blocks = Blocks(number);
    ASSERT_EQ(blocks.size(), 1U) << "blocks " << number;
    const auto [actual, expected] = std::ranges::mismatch(blocks[0], lines);
    EXPECT_EQ(Lines(actual, blocks[0].end()), Lines(expected, lines.end()))
        << "block " << number << " from line " << actual - blocks[0].begin() + 1 << " on";
    const std::string report = Cat(count, " ", name, "(s) Translated.");
    EXPECT_EQ(std::ranges::count(desktop_.statusLines, report), name.empty() ? 0 : 1) << report;
}

}  // namespace mod2neu
