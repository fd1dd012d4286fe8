// Files that no engine has written. Reading them ends and finds what the rules lead to; storing in
// them harms no other record.

#include <algorithm>
#include <random>

#include <sys/resource.h>

#include "database/block_allocation.h"
#include "database/close.h"
#include "database/database_fixture.h"
#include "database/flag_set.h"
#include "database/header_record.h"
#include "database/record_access.h"
#include "shell/progress.h"

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

    // What the index leads to is found. More may be found with larger groups: blocks that one
    // brought into memory, so that no chain need lead to them.
    void ExpectFound(EntityType type, const ModelImage& image, const Ids& expected) {
        Open(image, 5, 1);
        EXPECT_EQ(Walk(type), expected);
        Open(image, 5, 1);
        EXPECT_EQ(WalkRecords(type), expected);
        Open(image);
        EXPECT_TRUE(Includes(Walk(type), expected));
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
    for (const auto& [at, wrongs, found] :
         {Case{Block(6) + 4, {0, 2, 0xFFFFFFFF}, without6},
          Case{Block(6) + 8, {0, 2, 0xFFFFFFFF}, without6},
          Case{Block(6) + kKind, {0, 1, 2, 8, 112, 255}, without6},
          Case{Entry(6) + kNext, {0, 3, 4, 6, 126, 200, 0xFFFFFFFF}, Range(1, 81)},
          Case{Entry(6) + kNext, {8}, without7}, Case{Entry(7) + 4, {83}, without7},
          Case{Entry(6) + kPrevious, {6}, all},
          Case{ModelImage::FingerOffset(kNode), {2, 3, 9, 10, 12, 126, 0xFFFFFFFF}, {}}}) {
        for (const std::uint32_t wrong : wrongs) {
            SCOPED_TRACE(testing::Message() << "byte " << at << ": " << wrong);
            ModelImage image = nodes_;
            image.SetU32(at, wrong);
            ExpectFound(kNode, image, found);
        }
    }
}

TEST_F(EngineDamageTest, OnlyIndexBlocksInTheirPlaceAreOne) {
    ModelImage image = TaggedModel(kMaterial, Range(1, 130)).Build();
    image.bytes[Block(126) + kKind] = kMaterial;
    ExpectFound(kMaterial, image, Range(1, 122));
    image = nodes_;  // the text's block, with the key of the first index block
    image.bytes[Block(9) + kKind] = kIndexBlock;
    image.SetU32(Block(9) + 8, 3);
    ExpectFound(kNode, image, Range(1, 135));
}

// For those who watch it is noted which blocks have been read; 0.5 GB up to this one.
TEST_F(EngineDamageTest, ABadFingerCostsNoMemory) {
    const auto peak = [] {
        rusage usage{};
        ::getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss;  // in KB
    };
    ModelImage image = nodes_;
    image.SetU32(ModelImage::FingerOffset(kNode), 0xFFFFFFF0);
    Open(image);
    desktop.watched = true;
    BeginProgress("Converting", 9);
    const long before = peak();
    EXPECT_EQ(Walk(kNode), Ids{});
    EXPECT_LT(peak() - before, 100'000);
    EndProgress();
}

TEST_F(EngineDamageTest, LyingCountsReleaseNoRecords) {
    ModelImage image = nodes_;
    image.SetU16(Block(6) + kLiveCount, 1);
    image.SetU16(Block(7) + kLiveCount, 0xFFFF);
    image.SetU16(Block(8) + kLiveCount, 0);
    Open(image, 5, 1);
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
    EXPECT_EQ(Walk(kNode).back(), kHighestId);
    EXPECT_EQ(WalkRecords(kNode).back(), kHighestId);
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
    const ModelReader after = Stored(false);
    EXPECT_EQ(after.U16(Block(4) + kKind) & 0xFFU, kNode);
    EXPECT_EQ(after.U32(Entry(4) + kNext), 5U);
    EXPECT_EQ(after.U32(ModelImage::FingerOffset(kFreeBlock)), 10U);
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

// Links, fingers and keys that lead anywhere, and random bytes in block headers; in every fourth
// round those of free blocks alone. A material takes a block each; here its ID is the block's
// number, as in the entry of a free block.
TEST_F(EngineDamageTest, RandomDamageEndsNoWalkLateAndGivesNoBlockTwice) {
    ModelBuilder builder = TaggedModel(kNode, Range(1, 135));
    for (const std::int32_t id : Range(9, 14)) {
        builder.Add(kMaterial, 1, id, TaggedRecord(kMaterial, 1, id));
    }
    const ModelImage sound = builder.FreeBlocks(3).NeverUsedBlocks(2).Build();
    ASSERT_EQ(sound.Chain(kFreeBlock), (std::vector<std::uint32_t>{15, 16, 17}));
    std::mt19937 random(5);
    const auto anyBlock = [&] { return static_cast<std::uint32_t>(4 + random() % 16); };
    const auto anyTarget = [&] {
        constexpr std::uint32_t kOthers[] = {0, 3, 4, 8, 70'000, 0xFFFFFFFF};
        return random() % 2 == 0 ? kOthers[random() % 6] : anyBlock();
    };
    for (int round = 0; round < 500; ++round) {
        SCOPED_TRACE(round);
        const bool freeAlone = round % 4 == 0;
        ModelImage image = sound;
        for (unsigned hit = 0; hit < 1 + random() % 5; ++hit) {
            const auto choice = random() % (freeAlone ? 4 : 8);
            const std::size_t field = 4 * (random() % 4);
            if (choice < 3) {
                image.SetU32(Entry(15 + static_cast<unsigned>(random() % 3)) + field, anyTarget());
            } else if (choice < 6) {
                const int kinds[] = {kFreeBlock, kNode, kMaterial};
                image.SetU32(ModelImage::FingerOffset(kinds[choice - 3]), anyTarget());
            } else if (choice < 7) {
                image.SetU32(Entry(anyBlock()) + field, anyTarget());
            } else {
                image.bytes[Block(anyBlock()) + random() % 24] =
                    static_cast<std::uint8_t>(random() % (random() % 2 == 0 ? 256 : 20));
            }
        }
        Open(image, 5, 1 + round % 2);
        const Ids nodes = Walk(kNode);
        const Ids materials = Walk(kMaterial);
        ASSERT_TRUE(!freeAlone || nodes.size() + materials.size() == 135 + 6);
        for (const EntityType type : {kNode, kMaterial}) {
            for (std::int32_t id = kHighestId, steps = 0; id > 0; ++steps) {
                ASSERT_LT(steps, 300);
                id = NextRecordId(type, 1, id, SeekMode::kBefore);
            }
        }
        for (int turn = 0; turn < 3; ++turn) {
            Ids stored;
            for (const std::int32_t id : Range(1, 7)) {
                const auto record = TaggedRecord(kSolidTransmit, 9, id);
                if (PutRecord(kSolidTransmit, 9, id, record.data())) {
                    stored.push_back(id);
                }
            }
            ASSERT_EQ(Walk(kSolidTransmit, 9), stored);
            ASSERT_TRUE(std::ranges::all_of(
                stored, [](std::int32_t id) { return Has(kSolidTransmit, 9, id); }));
            ASSERT_TRUE(ClearRecords(kSolidTransmit, 9));
            ASSERT_EQ(Walk(kSolidTransmit, 9), Ids{});
        }
        if (round % 2 == 0) {  // and nothing was found only because its group was in memory
            ASSERT_TRUE(Includes(Walk(kNode), nodes) && Includes(Walk(kMaterial), materials));
        }
        ASSERT_TRUE(CloseModelSession());
    }
    EXPECT_TRUE(TakeBoxes().empty());
}

}  // namespace

}  // namespace mod2neu
