#include <algorithm>
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
const std::map<int, std::set<int>> kBlocksOfKind = {
    {3, {570, 514}}, {4, {571, 514}},  {5, {572, 514}}, {6, {573}},  {7, {403}},  {8, {404}},
    {9, {405}},      {10, {601}},      {11, {402}},     {12, {507}}, {13, {507}}, {14, {507}},
    {15, {507}},     {16, {507}},      {17, {506}},     {18, {506}}, {19, {506}}, {20, {506}},
    {21, {475}},     {22, {409}},      {23, {409}},     {24, {408}}, {25, {408}}, {26, {408}},
    {27, {410}},     {28, {450, 451}}, {29, {451}},     {30, {451}}, {31, {411}}, {32, {572}},
    {33, {413}},     {34, {601}},      {35, {420}},     {36, {420}}, {37, {404}}, {38, {571}},
    {39, {573}},     {40, {573}},      {45, {521}},     {49, {514}}, {50, {514}}, {51, {514}},
    {52, {514}},     {53, {573, 514}}, {54, {540}},     {55, {571}}, {56, {572}}, {57, {402}},
    {58, {615}},     {59, {615}}};

// Kinds whose missing records are missing lines, nothing else changing.
const std::set<int> kPlainTables = {3, 7, 9, 21, 27, 28, 31, 33, 36, 59};

// A sound model with records of every kind and what becomes of it.
class DamageTest : public ::testing::Test {
  protected:
    DamageTest()
        : image_(RichModel({.noise = 77}).FreeBlocks(2).Shuffle(5).Build()),
          sound_(RunOn(image_.bytes)) {
        EXPECT_TRUE(sound_.IsClean());
        EXPECT_EQ(sound_.blocks.size(), 26U);
        EXPECT_EQ(image_.recordsPerBlock.size(), kBlocksOfKind.size());
    }

    // Converts the file with other words at some offsets; only blocks of `kind` may differ from
    // what they were. With records out of reach but as they were, a plain table may only lose
    // lines.
    std::string Damaged(int kind, const std::map<std::size_t, std::uint32_t>& words,
                        bool outOfReach = true) {
        SCOPED_TRACE(Cat("kind ", kind, ", ", words.begin()->second, " at ", words.begin()->first));
        ModelImage image = image_;
        for (const auto& [at, word] : words) {
            image.SetU32(at, word);
        }
        RunResult result = RunOn(image.bytes);
        EXPECT_TRUE(result.IsClean());
        EXPECT_LE(result.calls, 40 * image_.blocks.size());
        for (const auto& [number, lines] : sound_.blocks) {
            if (!kBlocksOfKind.at(kind).contains(number)) {
                EXPECT_TRUE(result.blocks[number] == lines) << "block " << number;
            } else if (outOfReach && kPlainTables.contains(kind)) {
                EXPECT_TRUE(IsSubsequence(result.blocks[number], lines)) << "block " << number;
            }
        }
        return result.neutral;
    }

    // Numbers that a link of `block` must not have: itself, an index block, one beyond the
    // file, blocks of other kinds and the chain's own ends.
    [[nodiscard]] std::set<std::uint32_t> WrongLinks(std::uint32_t block, int kind) const {
        const auto count = static_cast<std::uint32_t>(image_.bytes.size() / kBlock);
        const std::vector<std::uint32_t> chain = image_.Chain(kind);
        const int other = kind == 7 ? 30 : 7;
        return {block, 3, count, 0xFFFFFFFF, image_.Chain(other)[1], chain.front(), chain.back()};
    }

    ModelImage image_;
    RunResult sound_;
};

// Also a block that is none of the table because of the kind in its header.
TEST_F(DamageTest, WrongLinksAndFingersLoseAtMostWhatLiesBehindThem) {
    for (const auto& [kind, numbers] : kBlocksOfKind) {
        const std::vector<std::uint32_t> chain = image_.Chain(kind);
        for (const std::uint32_t link : WrongLinks(chain.front(), kind)) {
            Damaged(kind, {{ModelImage::FingerOffset(kind), link}});
        }
        for (const std::uint32_t block : std::set{chain.front(), chain[chain.size() / 2]}) {
            EXPECT_NE(Damaged(kind, {{ModelImage::BlockOffset(block) + 16, 79}}), sound_.neutral);
            for (const std::uint32_t link : WrongLinks(block, kind)) {
                const std::size_t entry = ModelImage::EntryOffset(block);
                Damaged(kind, {{entry + 8, link}, {entry + 12, link}});
            }
        }
    }
}

// What only the engine's writing side keeps may be anything, and links back as well: the finger
// names the first member, so the way up is whole.
TEST_F(DamageTest, WhatIsNotNeededForReadingMayBeWrong) {
    ModelImage damaged = image_;
    for (std::size_t place = 0; place < image_.blocks.size(); ++place) {
        const std::uint32_t number = ModelImage::NumberOfPlace(place);
        const std::size_t header = ModelImage::BlockOffset(number);
        const int kind = image_.blocks[place].kind;
        damaged.SetU32(header, 0xFFFFFFFF);
        damaged.SetU32(header + 12, number + 1);
        damaged.SetU32(ModelImage::EntryOffset(number) + 12, number);
        if (kind > 1) {
            damaged.SetU16(header + 18, place % 2 == 0 ? 0 : 0xFFFF);
            // Existence bits behind the last record that a block has room for.
            for (auto slot = static_cast<std::size_t>(image_.recordsPerBlock.at(kind)); slot < 512;
                 ++slot) {
                damaged.bytes[header + 20 + 2 * (slot / 16) + (slot % 16 < 8 ? 1 : 0)] |=
                    static_cast<std::uint8_t>(0x80U >> (slot % 8));
            }
        }
    }
    for (std::size_t at = 508; at < 508 + 5 * 448; at += 4) {  // five tables of all types
        damaged.SetU32(at, 0x80000000);
    }
    EXPECT_TRUE(RunOn(damaged.bytes).blocks == sound_.blocks);
}

// A file that ends too early, behind the header record, loses what lay behind its end.
TEST_F(DamageTest, FilesMayEndAnywhere) {
    for (std::size_t end = 4816; end < image_.bytes.size();
         end += end % kBlock == 0 ? 1 : std::min<std::size_t>(kBlock - end % kBlock, 1046)) {
        SCOPED_TRACE(Cat("ends at ", end));
        const RunResult result =
            RunOn(std::vector(image_.bytes.begin(), image_.bytes.begin() + std::ptrdiff_t(end)));
        EXPECT_TRUE(result.IsClean());
        for (const int plain : {570, 403, 405, 475, 410, 450, 411, 413}) {
            EXPECT_TRUE(IsSubsequence(result.blocks.at(plain), sound_.blocks.at(plain))) << plain;
        }
    }
}

// Without memory for ID lists these are sorted in the database, which takes free blocks for it. A
// free list that names itself, blocks in use or none at all is given up; no block is taken twice.
TEST_F(DamageTest, FreeListsMayLeadAnywhere) {
    SetAllocationGate([](std::size_t bytes) { return bytes >= kBlock; });
    EXPECT_TRUE(RunOn(image_.bytes).blocks == sound_.blocks);
    for (const std::uint32_t block : image_.Chain(1)) {
        for (const std::uint32_t link : WrongLinks(block, 1)) {
            for (const std::size_t field : {4U, 8U, 12U}) {
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
    for (const auto& [kind, numbers] : kBlocksOfKind) {
        for (const std::uint32_t value : {0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU, 0xFA0A1F01U}) {
            std::map<std::size_t, std::uint32_t> words;
            for (const std::uint32_t block : image_.Chain(kind)) {
                for (std::size_t at = 84; at + 4 <= kBlock; at += 4) {
                    words[ModelImage::BlockOffset(block) + at] = value;
                }
            }
            Damaged(kind, words, false);
        }
    }
}

// Inputs that fuzzing came upon, laid out by hand.
//
// The way to the first chunk is cut off, so it is found only once its block is in memory: the text
// grows between the walk that measures it and the one that gathers it.
TEST(FoundByFuzzingTest, StoredTextGrowsBetweenTwoWalks) {
    ModelImage image =
        ModelBuilder()
            .Add(54, 1, 1, RecordImage(1964).I32(0, 1960).Text(4, 1960, std::string(1960, 'a')))
            .Add(54, 1, 2, RecordImage(1964).I32(0, 5).Text(4, 5, "bbbbb"))
            .Finger(54, 1)
            .Build();
    image.SetU32(ModelImage::EntryOffset(image.BlockOf(54, 1, 2)) + 12, 0);
    const RunResult result = RunOn(image.bytes);
    EXPECT_TRUE(result.IsClean());
    EXPECT_EQ(result.blocks.at(540), (Lines{"1,", "5,", "1,", "aaaaa"}));
}

// The lists of `count` curves, whose entries `model` holds.
Lines ListsOf(ModelBuilder model, int count) {
    for (int id = 1; id <= count; ++id) {
        model.Add(4, 1, id, RecordImage(168));
    }
    RunResult result = RunOn(model.Build().bytes);
    EXPECT_TRUE(result.IsClean());
    return result.blocks[514];
}

// 3.8 MB of lists, each of which stands for every ID there is.
TEST(HostileWorkTest, ListsOfEveryIdCostNoMoreThanTheirEntries) {
    constexpr int kCurves = 12'000;
    ModelBuilder model;
    for (int id = 1; id <= kCurves; ++id) {
        model.Add(50, 1, id, RecordImage(140).I32(0, 2).I32(4, 1).I32(8, -99'999'999));
    }
    const Lines lines = ListsOf(model, kCurves);
    ASSERT_EQ(lines.size(), std::size_t{3} * kCurves);
    EXPECT_EQ(Lines(lines.end() - 3, lines.end()),
              (Lines{Cat("1,", kCurves, ","), "1,99999999,", "-1,-1,"}));
}

// A list of more scattered IDs than are held in memory, and then of all of them again.
TEST(HostileWorkTest, ScatteredListsGoThroughTheDatabase) {
    constexpr int kMembers = 300'000;
    std::vector<std::int32_t> entries = {kMembers + 6};
    for (int i = kMembers; i > 0; --i) {
        entries.push_back(3 * i);
    }
    entries.insert(entries.end(), {4, -5, 99'999'999, 100'000'000, 0, -12});
    entries.resize((entries.size() + 34) / 35 * 35);
    ModelBuilder model;
    for (std::size_t chunk = 0; chunk < entries.size() / 35; ++chunk) {
        RecordImage record(140);
        for (std::size_t i = 0; i < 35; ++i) {
            record.I32(4 * i, entries[35 * chunk + i]);
        }
        model.Add(50, static_cast<std::int32_t>(chunk + 1), 2, record);
    }
    model.Add(50, 1, 1, RecordImage(140).I32(0, 1).I32(4, 8));
    model.Add(50, 1, 3, RecordImage(140).I32(0, 1).I32(4, 9));
    const Lines lines = ListsOf(model, 3);
    // Of the list 3, 6, 9 ... everything up to 12 has been filled in, and 99,999,999 added.
    ASSERT_EQ(lines.size(), 3U + (1 + 1 + kMembers - 4 + 1 + 1) + 3U);
    EXPECT_EQ(Lines(lines.begin(), lines.begin() + 6),
              (Lines{"1,1,", "8,0,", "-1,-1,", "1,2,", "1,12,", "15,0,"}));
    EXPECT_EQ(Lines(lines.end() - 6, lines.end()),
              (Lines{"900000,0,", "99999999,0,", "-1,-1,", "1,3,", "9,0,", "-1,-1,"}));
}

}  // namespace
}  // namespace mod2neu
