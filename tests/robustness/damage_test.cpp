#include <algorithm>
#include <numeric>
#include <set>

#include <gtest/gtest.h>

#include "database/engine_memory.h"
#include "robustness/rich_model.h"
#include "robustness/whole_run.h"

namespace mod2neu {
namespace {

constexpr std::size_t kBlock = 2048;

// The blocks of the Neutral file in which lines of an entity's type and of its dependents stand.
// What is damaged in one may not change the others.
const std::map<int, std::set<int>>& BlocksOfKind() {
    static const std::map<int, std::set<int>> blocks = {
        {3, {570, 514}}, {4, {571, 514}},  {5, {572, 514}}, {6, {573}},  {7, {403}},  {8, {404}},
        {9, {405}},      {10, {601}},      {11, {402}},     {12, {507}}, {13, {507}}, {14, {507}},
        {15, {507}},     {16, {507}},      {17, {506}},     {18, {506}}, {19, {506}}, {20, {506}},
        {21, {475}},     {22, {409}},      {23, {409}},     {24, {408}}, {25, {408}}, {26, {408}},
        {27, {410}},     {28, {450, 451}}, {29, {451}},     {30, {451}}, {31, {411}}, {32, {572}},
        {33, {413}},     {34, {601}},      {35, {420}},     {36, {420}}, {37, {404}}, {38, {571}},
        {39, {573}},     {40, {573}},      {45, {521}},     {49, {514}}, {50, {514}}, {51, {514}},
        {52, {514}},     {53, {573, 514}}, {54, {540}},     {55, {571}}, {56, {572}}, {57, {402}},
        {58, {615}},     {59, {615}}};
    return blocks;
}

// Kinds whose missing records are missing lines, nothing else changing.
bool IsPlainTable(int kind) {
    static const std::set<int> plain = {3, 7, 9, 21, 27, 28, 31, 33, 36, 59};
    return plain.contains(kind);
}

// A sound model with records of every kind and what becomes of it. Its records bear no random
// bytes, so that lines tell records apart only by what they are numbered with.
class DamageTest : public ::testing::Test {
  protected:
    DamageTest()
        : image_(RichModel({.scale = 2, .noise = 77}).FreeBlocks(2).Shuffle(5).Build()),
          sound_(RunOn(image_.bytes)) {}

    void SetUp() override {
        ASSERT_TRUE(sound_.IsClean());
        ASSERT_EQ(sound_.blocks.size(), 26U);
    }

    // Converts the damaged file; only blocks of `kind` may differ from what they were.
    RunResult Damaged(const ModelImage& image, int kind) {
        RunResult result = RunOn(image.bytes);
        EXPECT_TRUE(result.IsClean());
        EXPECT_LE(result.calls, 40 * image_.blocks.size());
        for (const auto& [number, lines] : sound_.blocks) {
            if (!BlocksOfKind().at(kind).contains(number)) {
                EXPECT_TRUE(result.blocks[number] == lines) << "block " << number;
            }
        }
        return result;
    }

    // The same with records out of reach but as they were: a plain table may only lose lines.
    RunResult Unreachable(const ModelImage& image, int kind) {
        RunResult result = Damaged(image, kind);
        if (IsPlainTable(kind)) {
            for (const int number : BlocksOfKind().at(kind)) {
                EXPECT_TRUE(IsSubsequence(result.blocks[number], sound_.blocks[number]))
                    << "block " << number;
            }
        }
        return result;
    }

    [[nodiscard]] std::vector<int> Kinds() const {
        std::set<int> kinds;
        for (const BlockContent& block : image_.blocks) {
            kinds.insert(block.kind);
        }
        kinds.erase(1);
        return {kinds.begin(), kinds.end()};
    }

    // Numbers that a link of `block` must not have: itself, none, a block of the header, an index
    // block, one beyond the file, blocks of other kinds and the chain's own ends.
    [[nodiscard]] std::vector<std::uint32_t> WrongLinks(std::uint32_t block, int kind) const {
        const auto count = static_cast<std::uint32_t>(image_.bytes.size() / kBlock);
        const std::vector<std::uint32_t> chain = image_.Chain(kind);
        const int other = kind == 7 ? 30 : 7;
        return {block,         2,           3, 126, count, 0xFFFFFFFF, image_.Chain(other)[1],
                chain.front(), chain.back()};
    }

    ModelImage image_;
    RunResult sound_;
};

TEST_F(DamageTest, WrongLinksLoseAtMostWhatLiesBehindThem) {
    for (const int kind : Kinds()) {
        const std::vector<std::uint32_t> chain = image_.Chain(kind);
        for (const std::uint32_t block : {chain.front(), chain[chain.size() / 2]}) {
            for (const std::uint32_t link : WrongLinks(block, kind)) {
                for (const std::size_t field : {std::size_t{8}, std::size_t{12}}) {
                    SCOPED_TRACE(
                        Cat("kind ", kind, ", block ", block, ", link ", link, " at ", field));
                    ModelImage damaged = image_;
                    damaged.SetU32(ModelImage::EntryOffset(block) + field, link);
                    Unreachable(damaged, kind);
                }
            }
        }
    }
}

TEST_F(DamageTest, WrongFingersLoseAtMostTheirKind) {
    for (const int kind : Kinds()) {
        for (const std::uint32_t link : WrongLinks(0, kind)) {
            SCOPED_TRACE(Cat("kind ", kind, ", finger ", link));
            ModelImage damaged = image_;
            damaged.SetU32(ModelImage::FingerOffset(kind), link);
            Unreachable(damaged, kind);
        }
    }
}

// The finger names the first member, so the way up is whole.
TEST_F(DamageTest, LinksBackAreNotNeeded) {
    ModelImage damaged = image_;
    for (const int kind : Kinds()) {
        for (const std::uint32_t block : image_.Chain(kind)) {
            damaged.SetU32(ModelImage::EntryOffset(block) + 12, block);
        }
    }
    EXPECT_TRUE(RunOn(damaged.bytes).blocks == sound_.blocks);
}

// Keys that run backwards, or all alike, end every walk at once or let it go on.
TEST_F(DamageTest, KeysOutOfOrderEndTheWalk) {
    for (const int kind : Kinds()) {
        std::vector<std::uint32_t> chain = image_.Chain(kind);
        for (const bool reversed : {false, true}) {
            SCOPED_TRACE(Cat("kind ", kind, reversed ? ", reversed" : ", all alike"));
            ModelImage damaged = image_;
            for (std::size_t i = 0; i < chain.size(); ++i) {
                const std::uint32_t source = reversed ? chain[chain.size() - 1 - i] : chain[0];
                for (const std::size_t field : {std::size_t{0}, std::size_t{4}}) {
                    damaged.SetU32(ModelImage::EntryOffset(chain[i]) + field,
                                   image_.U32(ModelImage::EntryOffset(source) + field));
                }
            }
            Unreachable(damaged, kind);
        }
    }
}

// A block whose header does not bear the kind and key that its entry says is no block of that
// table, and none of another one.
TEST_F(DamageTest, BlocksUnderAWrongNameAreLeftOut) {
    for (const int kind : Kinds()) {
        const std::vector<std::uint32_t> chain = image_.Chain(kind);
        const std::size_t header = ModelImage::BlockOffset(chain[chain.size() / 2]);
        for (const int wrong : {0, 1, 2, 79, 112, 200, 255}) {
            SCOPED_TRACE(Cat("kind ", kind, " as ", wrong));
            ModelImage damaged = image_;
            damaged.bytes[header + 16] = static_cast<std::uint8_t>(wrong);
            const RunResult result = Unreachable(damaged, kind);
            EXPECT_NE(result.neutral, sound_.neutral);
        }
        for (const std::size_t field : {std::size_t{4}, std::size_t{8}}) {
            for (const std::uint32_t wrong : {0U, 77U, 0xFFFFFFFFU}) {
                SCOPED_TRACE(Cat("kind ", kind, ", ", wrong, " at ", field));
                ModelImage damaged = image_;
                damaged.SetU32(header + field, wrong);
                EXPECT_NE(Unreachable(damaged, kind).neutral, sound_.neutral);
            }
        }
    }
}

// What only the engine's writing side keeps may be anything.
TEST_F(DamageTest, WhatIsNotNeededForReadingMayBeWrong) {
    ModelImage damaged = image_;
    for (std::size_t place = 0; place < image_.blocks.size(); ++place) {
        const std::uint32_t number = ModelImage::NumberOfPlace(place);
        const std::size_t header = ModelImage::BlockOffset(number);
        const int kind = image_.blocks[place].kind;
        damaged.SetU32(header, 0xFFFFFFFF);
        damaged.SetU32(header + 12, number + 1);
        if (kind > 1) {
            damaged.SetU16(header + 18, place % 2 == 0 ? 0 : 0xFFFF);
            // Existence bits behind the last record that a block has room for.
            for (int slot = image_.recordsPerBlock.at(kind); slot < 512; ++slot) {
                damaged.bytes[header + 20 + 2 * (static_cast<std::size_t>(slot) / 16) +
                              (slot % 16 < 8 ? 1 : 0)] |=
                    static_cast<std::uint8_t>(0x80U >> (slot % 8));
            }
        }
    }
    for (std::size_t type = 0; type < 112; ++type) {
        for (const std::size_t table : {508U, 956U, 1404U, 1852U, 2300U}) {
            damaged.SetU32(table + 4 * type, 0x80000000);
        }
    }
    EXPECT_TRUE(RunOn(damaged.bytes).blocks == sound_.blocks);
}

// A file that ends too early loses what lay behind its end. Only without a whole header record it
// is no model.
TEST_F(DamageTest, FilesMayEndAnywhere) {
    std::vector<std::size_t> ends;
    for (std::size_t end = 0; end < image_.bytes.size(); end += kBlock) {
        ends.insert(ends.end(), {end, end + 1, end + 1047});
    }
    ends.insert(ends.end(), {4815, 4816, 4817});
    for (const std::size_t end : ends) {
        SCOPED_TRACE(Cat("ends at ", end));
        std::vector<std::uint8_t> bytes = image_.bytes;
        bytes.resize(end);
        const RunResult result = RunOn(bytes);
        EXPECT_TRUE(result.modelKept);
        EXPECT_FALSE(result.fatal);
        if (end < 4816) {
            EXPECT_EQ(result.neutral, "");
            EXPECT_EQ(result.boxes.size(), 1U);
            continue;
        }
        EXPECT_TRUE(result.IsClean());
        for (const int plain : {570, 403, 405, 475, 410, 450, 411, 413}) {
            EXPECT_TRUE(IsSubsequence(result.blocks.at(plain), sound_.blocks.at(plain))) << plain;
        }
    }
}

// Without memory for ID lists these are sorted in the database, which takes free blocks for it. A
// free list that names itself, blocks in use or none at all is given up; no block is taken twice.
TEST_F(DamageTest, FreeListsMayLeadAnywhere) {
    const std::vector<std::uint32_t> free = image_.Chain(1);
    SetAllocationGate([](std::size_t bytes) { return bytes >= kBlock; });
    EXPECT_TRUE(RunOn(image_.bytes).blocks == sound_.blocks);
    for (const std::uint32_t block : free) {
        for (const std::uint32_t link : WrongLinks(block, 1)) {
            for (const std::size_t field : {std::size_t{4}, std::size_t{8}, std::size_t{12}}) {
                SCOPED_TRACE(Cat("block ", block, ", ", link, " at ", field));
                ModelImage damaged = image_;
                damaged.SetU32(ModelImage::EntryOffset(block) + field, link);
                damaged.SetU32(ModelImage::FingerOffset(1), field == 4 ? link : block);
                const RunResult result = RunOn(damaged.bytes);
                EXPECT_TRUE(result.IsClean());
                EXPECT_TRUE(result.blocks == sound_.blocks);
            }
        }
    }
    SetAllocationGate(nullptr);
}

// Every integer of every record of a kind becomes a number that no array holds.
TEST_F(DamageTest, CountsAndKeysMayBeAnything) {
    for (const int kind : Kinds()) {
        for (const std::uint32_t value : {0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU, 0xFA0A1F01U}) {
            SCOPED_TRACE(Cat("kind ", kind, ", value ", value));
            ModelImage damaged = image_;
            for (const std::uint32_t block : image_.Chain(kind)) {
                for (std::size_t at = 84; at + 4 <= kBlock; at += 4) {
                    damaged.SetU32(ModelImage::BlockOffset(block) + at, value);
                }
            }
            Damaged(damaged, kind);
        }
    }
}

// Inputs that fuzzing came upon, laid out by hand.
//
// The way to the first chunk is cut off, so it is found only once its block is in memory: the text
// grows between the walk that measures it and the one that gathers it.
TEST(FoundByFuzzingTest, StoredTextGrowsBetweenTwoWalks) {
    ModelBuilder model;
    model.Add(54, 1, 1, RecordImage(1964).I32(0, 1960).Text(4, 1960, std::string(1960, 'a')));
    model.Add(54, 1, 2, RecordImage(1964).I32(0, 5).Text(4, 5, "bbbbb"));
    ModelImage image = model.Finger(54, 1).Build();
    image.SetU32(ModelImage::EntryOffset(image.BlockOf(54, 1, 2)) + 12, 0);
    const RunResult result = RunOn(image.bytes);
    EXPECT_TRUE(result.IsClean());
    EXPECT_EQ(result.blocks.at(540), (Lines{"1,", "5,", "1,", "aaaaa"}));
}

class HostileWorkTest : public ::testing::Test {
  protected:
    static constexpr std::int32_t kEveryId = -99'999'999;

    RunResult Convert() {
        RunResult result = RunOn(model_.Build().bytes);
        EXPECT_TRUE(result.IsClean());
        return result;
    }

    void AddCurves(int count) {
        for (int id = 1; id <= count; ++id) {
            model_.Add(4, 1, id, RecordImage(168));
        }
    }

    ModelBuilder model_;
};

// 3.8 MB of lists, each of which stands for every ID there is.
TEST_F(HostileWorkTest, ListsOfEveryIdCostNoMoreThanTheirEntries) {
    constexpr int kCurves = 12'000;
    AddCurves(kCurves);
    for (int id = 1; id <= kCurves; ++id) {
        model_.Add(50, 1, id, RecordImage(140).I32(0, 2).I32(4, 1).I32(8, kEveryId));
    }
    const Lines lines = Convert().blocks[514];
    ASSERT_EQ(lines.size(), std::size_t{3} * kCurves);
    EXPECT_EQ(Lines(lines.end() - 3, lines.end()),
              (Lines{Cat("1,", kCurves, ","), "1,99999999,", "-1,-1,"}));
}

// A list of more scattered IDs than are held in memory, and then of all of them again.
TEST_F(HostileWorkTest, ScatteredListsGoThroughTheDatabase) {
    constexpr int kMembers = 300'000;
    constexpr int kEntries = kMembers + 6;
    std::vector<std::int32_t> entries = {kEntries};
    for (int i = kMembers; i > 0; --i) {
        entries.push_back(3 * i);
    }
    entries.insert(entries.end(), {4, -5, 99'999'999, 100'000'000, 0, -12});
    entries.resize((entries.size() + 34) / 35 * 35);
    AddCurves(3);
    for (std::size_t chunk = 0; chunk < entries.size() / 35; ++chunk) {
        model_.Add(50, static_cast<std::int32_t>(chunk + 1), 2, &entries[35 * chunk], 140);
    }
    model_.Add(50, 1, 1, RecordImage(140).I32(0, 1).I32(4, 8));
    model_.Add(50, 1, 3, RecordImage(140).I32(0, 1).I32(4, 9));
    const Lines lines = Convert().blocks[514];
    // Of the list 3, 6, 9 ... everything up to 12 has been filled in, and 99,999,999 added.
    ASSERT_EQ(lines.size(), 3U + (1 + 1 + kMembers - 4 + 1 + 1) + 3U);
    EXPECT_EQ(Lines(lines.begin(), lines.begin() + 6),
              (Lines{"1,1,", "8,0,", "-1,-1,", "1,2,", "1,12,", "15,0,"}));
    EXPECT_EQ(Lines(lines.end() - 6, lines.end()),
              (Lines{"900000,0,", "99999999,0,", "-1,-1,", "1,3,", "9,0,", "-1,-1,"}));
}

}  // namespace
}  // namespace mod2neu
