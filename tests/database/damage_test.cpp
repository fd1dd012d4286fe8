// Files that no engine has written. Reading them ends and finds what the rules lead to; storing in
// them harms no other record.

#include <algorithm>
#include <random>

#include "database/block_allocation.h"
#include "database/close.h"
#include "database/database_fixture.h"
#include "database/flag_set.h"
#include "database/header_record.h"
#include "database/record_access.h"

namespace mod2neu {

namespace {

constexpr std::size_t kKind = 16;
constexpr std::size_t kLiveCount = 18;
constexpr std::size_t kBitmap = 20;
constexpr std::size_t kNext = 8;
constexpr std::size_t kPrevious = 12;

std::size_t Block(std::uint32_t number) {
    return ModelImage::BlockOffset(number);
}

std::size_t Entry(std::uint32_t number) {
    return ModelImage::EntryOffset(number);
}

bool Includes(const Ids& all, const Ids& some) {
    return std::includes(all.begin(), all.end(), some.begin(), some.end());
}

class EngineDamageTest : public DatabaseTest {
  protected:
    EngineDamageTest() {
        SetFatalHandler([] { throw std::runtime_error("the process has ended"); });
    }

    // What the index leads to is found, and reading changes nothing. More may be found: blocks
    // that a group brought into memory, so that no chain need lead to them.
    void ExpectFound(EntityType type, const ModelImage& image, const Ids& expected) {
        Open(image, 5, 1);
        EXPECT_EQ(Walk(type), expected);
        EXPECT_TRUE(std::equal(image.bytes.begin() + 3 * 2048, image.bytes.end(),
                               Flushed().bytes.begin() + 3 * 2048));
        Open(image, 5, 1);
        EXPECT_EQ(WalkRecords(type), expected);
        Open(image);
        const Ids found = Walk(type);
        EXPECT_TRUE(Includes(found, expected));
        Open(image);
        EXPECT_EQ(WalkRecords(type), found);
        EXPECT_TRUE(std::ranges::all_of(expected, [&](int id) { return Has(type, 1, id); }));
    }

    // Nodes 1 to 135 in blocks 4 to 8, of which block 6 holds 55 to 81; then a text, and two free
    // blocks before one that was never used.
    const ModelImage nodes_ = TaggedModel(kNode, Range(1, 135))
                                  .Add(kText, 1, 6, TaggedRecord(kText, 1, 6))
                                  .FreeBlocks(2)
                                  .NeverUsedBlocks(1)
                                  .Build();
};

TEST_F(EngineDamageTest, WhatTheRulesLeadToIsFound) {
    struct Case {
        std::size_t at;
        std::vector<std::uint32_t> wrong;
        Ids found;
    };
    const Ids all = Range(1, 135);
    const Ids without6 = Range(1, 54) + Range(82, 135);
    const Ids without7 = Range(1, 81) + Range(109, 135);
    const Case cases[] = {
        {Block(6) + kKind, {0, 1, 2, 8, 111, 112, 127, 128, 255}, without6},
        {Block(6) + 4, {0, 2, 99'999'999, 0xFFFFFFFF}, without6},
        {Block(6) + 8, {0, 2, 99'999'999, 0xFFFFFFFF}, without6},
        {Block(6) + 12, {999}, all},  // its own number
        {Entry(6) + kNext, {0, 3, 4, 6, 126, 200, 0xFFFFFFFF}, Range(1, 81)},
        {Entry(6) + kNext, {8}, without7},
        {Entry(7) + 4, {83}, without7},
        {Entry(6) + kPrevious, {6}, all},
        {ModelImage::FingerOffset(kNode), {2, 3, 9, 10, 11, 12, 126, 5000, 0xFFFFFFFF}, {}},
    };
    for (const Case& c : cases) {
        for (const std::uint32_t wrong : c.wrong) {
            SCOPED_TRACE(testing::Message() << "byte " << c.at << ": " << wrong);
            ModelImage image = nodes_;
            if (c.at == Block(6) + kKind) {
                image.bytes[c.at] = static_cast<std::uint8_t>(wrong);
            } else {
                image.SetU32(c.at, wrong);
            }
            ExpectFound(kNode, image, c.found);
        }
    }
}

TEST_F(EngineDamageTest, OnlyIndexBlocksInTheirPlaceAreOne) {
    const ModelImage sound = TaggedModel(kMaterial, Range(1, 130)).Build();
    for (const unsigned kind : {0U, 1U, 10U, 255U}) {
        ModelImage image = sound;
        image.bytes[Block(126) + kKind] = static_cast<std::uint8_t>(kind);
        ExpectFound(kMaterial, image, Range(1, 122));
    }
    ModelImage image = sound;
    image.SetU32(Block(126) + 8, 3);  // its key is not needed
    ExpectFound(kMaterial, image, Range(1, 130));
    image = nodes_;  // the text's block, with the key of the first index block
    image.bytes[Block(9) + kKind] = kIndexBlock;
    image.SetU32(Block(9) + 8, 3);
    ExpectFound(kNode, image, Range(1, 135));
}

TEST_F(EngineDamageTest, BitsBehindTheRecordsAndLyingCountsChangeNothing) {
    ModelImage image = nodes_;
    image.SetU16(Block(4) + kBitmap + 2, 0xFFFF);
    image.SetU16(Block(5) + kBitmap + 30, 0xFFFF);
    image.SetU16(Block(6) + kLiveCount, 1);
    image.SetU16(Block(7) + kLiveCount, 0xFFFF);
    image.SetU16(Block(8) + kLiveCount, 0);
    ExpectFound(kNode, image, Range(1, 135));
    // A deletion is not misled by the count into releasing the other records.
    for (const std::int32_t id : Ids{60, 120} + Range(82, 108)) {
        ASSERT_TRUE(DeleteRecord(kNode, 1, id));
    }
    EXPECT_EQ(Walk(kNode).size(), 135U - 29U);
    EXPECT_EQ(IndexFinger(kFreeBlock), 7U);
}

TEST_F(EngineDamageTest, NoIdIsAboveTheHighest) {
    ModelImage image = TaggedModel(kNode, {kHighestId}).Build();
    image.SetU32(Block(4) + kBitmap, 0xFFFFFFFF);
    Open(image);
    const Ids found = Walk(kNode);
    EXPECT_EQ(found.back(), kHighestId);
    EXPECT_EQ(WalkRecords(kNode), found);
    EXPECT_EQ(NextRecordId(kNode, 1, kNoId, SeekMode::kAtOrBefore), kHighestId);
}

// The chain leads through blocks behind the end to others that are there.
TEST_F(EngineDamageTest, WhatIsStoredInACutFileIsFound) {
    const ModelImage whole = TaggedModel(kNode, Range(1, 135)).FreeBlocks(1).Shuffle(8).Build();
    for (std::size_t size = 4816; size <= whole.bytes.size();
         size += size % 2048 == 0 ? 1 : std::min<std::size_t>(2048 - size % 2048, 700)) {
        ModelImage image = whole;
        image.bytes.resize(size);
        Open(image, 5, 2);
        const Ids before = Walk(kNode);
        ASSERT_TRUE(SetFlagRange(kTemporaryIdSet, 1, 1, 20'000)) << size;
        ASSERT_EQ(Walk(kTemporaryIdSet), Range(1, 1251)) << size;
        ASSERT_TRUE(Includes(Walk(kNode), before)) << size;
    }
}

TEST_F(EngineDamageTest, OnlyTheBlockThatTheIndexLeadsToIsReleased) {
    // The text's block poses as a second block of the first nodes, with node 1 alone.
    ModelImage image = nodes_;
    image.bytes[Block(9) + kKind] = kNode;
    image.SetU32(Block(9) + 8, 1);
    Open(image);
    // Once their group is in memory, either of the two may be found.
    ASSERT_TRUE(Has(kNode, 1, 28));
    ASSERT_TRUE(DeleteRecord(kNode, 1, 1));
    const ModelImage after = Flushed();
    EXPECT_EQ(after.bytes[Block(4) + kKind], kNode);
    EXPECT_EQ(after.U32(Entry(4) + kNext), 5U);
    EXPECT_EQ(after.U32(ModelImage::FingerOffset(1)), 10U);
}

TEST_F(EngineDamageTest, ABlockIsLinkedInWhereALinkHadSkippedOthers) {
    ModelImage image = TaggedModel(kNode, {1, 55, 82}).Build();
    image.SetU32(Entry(4) + kNext, 6);
    Open(image, 5, 1);
    Put(kNode, 1, 28);
    for (const std::int32_t id : {1, 28, 55, 82}) {
        EXPECT_TRUE(Has(kNode, 1, id)) << id;
    }
}

TEST_F(EngineDamageTest, AllocationTakesNothingFromOtherChains) {
    const std::uint32_t targets[] = {0, 3, 4, 8, 10, 11, 70'000};
    std::mt19937 random(5);
    for (int round = 0; round < 100; ++round) {
        ModelImage image = nodes_;
        for (const std::size_t at : {Entry(10) + kNext, Entry(10) + kPrevious, Entry(11) + kNext,
                                     Entry(11) + kPrevious, ModelImage::FingerOffset(kFreeBlock)}) {
            image.SetU32(at, targets[random() % std::size(targets)]);
        }
        Open(image, 5, 1);
        for (int turn = 0; turn < 3; ++turn) {
            for (std::int32_t id = 1; id <= 7; ++id) {
                Put(kMaterial, 1, id);
            }
            ASSERT_EQ(Walk(kMaterial), Range(1, 7)) << round;
            ASSERT_TRUE(ClearRecords(kMaterial, 1));
        }
        ASSERT_EQ(Walk(kNode), Range(1, 135)) << round;
    }
}

// Links, fingers and keys that lead anywhere, and random bytes in block headers. A material takes
// a block each; here its ID is the block's number, as in the entry of a free block.
TEST_F(EngineDamageTest, RandomDamageEndsNoWalkLateAndGivesNoBlockTwice) {
    ModelBuilder builder = TaggedModel(kNode, Range(1, 135));
    for (std::int32_t id = 9; id <= 14; ++id) {
        builder.Add(kMaterial, 1, id, TaggedRecord(kMaterial, 1, id));
    }
    const ModelImage sound = builder.FreeBlocks(3).NeverUsedBlocks(2).Build();
    constexpr std::uint32_t kFirstFree = 15;
    ASSERT_EQ(sound.BlockOf(kMaterial, 1, 9), 9U);
    ASSERT_EQ(sound.Chain(kFreeBlock)[0], kFirstFree);
    std::mt19937 random(5);
    const auto anyBlock = [&] { return static_cast<std::uint32_t>(4 + random() % 16); };
    const auto anyTarget = [&] {
        constexpr std::uint32_t kOthers[] = {0, 3, 4, 8, 70'000, 0xFFFFFFFF};
        return random() % 2 == 0 ? kOthers[random() % 6] : anyBlock();
    };
    for (int round = 0; round < 400; ++round) {
        SCOPED_TRACE(round);
        ModelImage image = sound;
        for (unsigned hit = 0; hit < 1 + random() % 5; ++hit) {
            constexpr int kKinds[] = {kFreeBlock, kFreeBlock, kNode, kMaterial};
            const auto choice = random() % 8;
            if (choice < 4) {
                const std::uint32_t block = choice < 2 ? kFirstFree : anyBlock();
                image.SetU32(Entry(block) + 4 * (random() % 4), anyTarget());
            } else if (choice < 7) {
                image.SetU32(ModelImage::FingerOffset(kKinds[random() % 4]), anyTarget());
            } else {
                image.bytes[Block(anyBlock()) + random() % 24] =
                    static_cast<std::uint8_t>(random() % (random() % 2 == 0 ? 256 : 20));
            }
        }
        Open(image, 5, 1 + round % 2);
        const Ids before[] = {Walk(kNode), Walk(kMaterial)};
        for (const EntityType type : {kNode, kMaterial}) {
            for (std::int32_t id = kHighestId, steps = 0; id > 0; ++steps) {
                ASSERT_LT(steps, 300);
                id = NextRecordId(type, 1, id, SeekMode::kBefore);
            }
        }
        const std::int32_t database = FindFreeDbNumber(kTemporaryIdSet, 1, true);
        for (int turn = 0; turn < 3; ++turn) {
            Ids stored;
            for (std::int32_t id = 1; id <= 7; ++id) {
                const auto record = TaggedRecord(kSolidTransmit, 9, id);
                if (PutRecord(kSolidTransmit, 9, id, record.data())) {
                    stored.push_back(id);
                }
            }
            ASSERT_EQ(Walk(kSolidTransmit, 9), stored);
            if (SetFlagRange(kTemporaryIdSet, database, 1, 9000)) {
                ASSERT_EQ(NextFlag(kTemporaryIdSet, database, 8999), 9000);
            }
            ASSERT_TRUE(std::ranges::all_of(
                stored, [](std::int32_t id) { return Has(kSolidTransmit, 9, id); }));
            ASSERT_TRUE(ClearRecords(kSolidTransmit, 9));
            ASSERT_EQ(Walk(kSolidTransmit, 9), Ids{});
        }
        if (round % 2 == 0) {  // and nothing was found only because its group was in memory
            ASSERT_TRUE(Includes(Walk(kNode), before[0]));
            ASSERT_TRUE(Includes(Walk(kMaterial), before[1]));
        }
        ASSERT_TRUE(CloseModelSession());
    }
    EXPECT_TRUE(TakeBoxes().empty());
}

}  // namespace

}  // namespace mod2neu
