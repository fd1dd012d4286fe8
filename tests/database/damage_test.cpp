// Files that no engine has written. Reading them ends, finds what can be found by the rules, and
// storing in them harms no other record.

#include <algorithm>
#include <random>
#include <set>

#include "database/block_allocation.h"
#include "database/close.h"
#include "database/database_file.h"
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

using Ids = std::vector<std::int32_t>;

Ids Range(std::int32_t first, std::int32_t last) {
    Ids ids;
    for (std::int32_t id = first; id <= last; ++id) {
        ids.push_back(id);
    }
    return ids;
}

Ids operator+(Ids first, const Ids& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// Nodes 1 to 135 in blocks 4 to 8, in this order.
ModelBuilder FiveBlocks() {
    ModelBuilder builder;
    for (std::int32_t id = 1; id <= 135; ++id) {
        builder.Add(kNode, 1, id, TaggedRecord(kNode, 1, id));
    }
    return builder;
}

class DamageTest : public DatabaseTest {
  protected:
    // What the index leads to is found. More may be: blocks that a group brought into memory are
    // found there, so that no chain need lead to them.
    void ExpectNodes(const ModelImage& image, const Ids& expected) {
        Open(image, 5, 1);
        EXPECT_EQ(Walk(kNode, 1), expected);
        Open(image, 5, 1);
        EXPECT_EQ(WalkRecords(kNode, 1), expected);
        Open(image);
        const Ids found = Walk(kNode, 1);
        EXPECT_TRUE(std::includes(found.begin(), found.end(), expected.begin(), expected.end()));
        Open(image);
        EXPECT_EQ(WalkRecords(kNode, 1), found);
        for (const std::int32_t id : expected) {
            const std::uint8_t* record = ViewRecord(kNode, 1, id);
            const auto tagged = TaggedRecord(kNode, 1, id);
            ASSERT_TRUE(record != nullptr && std::equal(tagged.begin(), tagged.end(), record));
        }
    }
};

TEST_F(DamageTest, BitsBehindTheRecordsAndLyingCountsChangeNothing) {
    ModelImage image = FiveBlocks().Build();
    image.SetU16(ModelImage::BlockOffset(4) + kBitmap + 2, 0xFFFF);
    image.SetU16(ModelImage::BlockOffset(5) + kBitmap + 30, 0xFFFF);
    image.SetU16(ModelImage::BlockOffset(6) + kLiveCount, 1);
    image.SetU16(ModelImage::BlockOffset(7) + kLiveCount, 0xFFFF);
    image.SetU16(ModelImage::BlockOffset(8) + kLiveCount, 0);
    ExpectNodes(image, Range(1, 135));
    // A deletion is not misled by the count into releasing the other records.
    for (const std::int32_t id : {60, 90, 120}) {
        ASSERT_TRUE(DeleteRecord(kNode, 1, id));
    }
    EXPECT_EQ(Walk(kNode, 1).size(), 132U);
    for (std::int32_t id = 82; id <= 108; ++id) {
        ASSERT_TRUE(DeleteRecord(kNode, 1, id));
    }
    EXPECT_EQ(IndexFinger(kFreeBlock), 7U);
}

TEST_F(DamageTest, NoIdIsAboveTheHighest) {
    ModelBuilder builder;
    builder.Add(kNode, 1, kHighestId, TaggedRecord(kNode, 1, kHighestId));
    ModelImage image = builder.Build();
    image.SetU16(ModelImage::BlockOffset(4) + kBitmap, 0xFFFF);
    image.SetU16(ModelImage::BlockOffset(4) + kBitmap + 2, 0xFFFF);
    Open(image);
    const Ids found = Walk(kNode, 1);
    EXPECT_EQ(found.back(), kHighestId);
    EXPECT_EQ(WalkRecords(kNode, 1), found);
    EXPECT_EQ(NextRecordId(kNode, 1, kNoId, SeekMode::kAtOrBefore), kHighestId);
}

TEST_F(DamageTest, HeadersThatDoNotMatchHideTheirBlockAlone) {
    const ModelImage sound = FiveBlocks().Build();
    const std::size_t block6 = ModelImage::BlockOffset(6);
    const Ids rest = Range(1, 54) + Range(82, 135);
    for (const unsigned kind : {0U, 1U, 2U, 8U, 111U, 112U, 127U, 128U, 255U}) {
        ModelImage image = sound;
        image.bytes[block6 + kKind] = static_cast<std::uint8_t>(kind);
        SCOPED_TRACE(kind);
        ExpectNodes(image, rest);
    }
    for (const std::uint32_t wrong : {0U, 2U, 99'999'999U, 0xFFFFFFFFU}) {
        ModelImage image = sound;
        image.SetU32(block6 + 4, wrong);
        ExpectNodes(image, rest);
        image = sound;
        image.SetU32(block6 + 8, wrong);
        ExpectNodes(image, rest);
    }
    ModelImage image = sound;
    image.SetU32(block6 + 12, 999);  // its own number is not needed to find it
    ExpectNodes(image, Range(1, 135));
}

TEST_F(DamageTest, ChainsEndWhereTheyMakeNoProgress) {
    const ModelImage sound = FiveBlocks().Build();
    const std::size_t entry6 = ModelImage::EntryOffset(6);
    for (const std::uint32_t next : {0U, 3U, 4U, 6U, 126U, 200U, 0xFFFFFFFFU}) {
        ModelImage image = sound;
        image.SetU32(entry6 + kNext, next);
        SCOPED_TRACE(next);
        ExpectNodes(image, Range(1, 81));
        Open(image, 5, 1);
        Ids downward;
        for (std::int32_t id = NextRecordId(kNode, 1, kHighestId, SeekMode::kAtOrBefore); id > 0;
             id = NextRecordId(kNode, 1, id, SeekMode::kBefore)) {
            downward.push_back(id);
        }
        std::reverse(downward.begin(), downward.end());
        EXPECT_EQ(downward, Range(1, 81));
    }
    // A link that skips a block, and entries whose first ID no block can have.
    ModelImage image = sound;
    image.SetU32(entry6 + kNext, 8);
    ExpectNodes(image, Range(1, 81) + Range(109, 135));
    image = sound;
    image.SetU32(ModelImage::EntryOffset(7) + 4, 83);
    ExpectNodes(image, Range(1, 81) + Range(109, 135));
    image = sound;
    image.SetU32(entry6 + kPrevious, 6);
    ExpectNodes(image, Range(1, 135));
}

TEST_F(DamageTest, AFingerToNoMemberFindsNothingAndHarmsNothing) {
    const ModelImage sound = FiveBlocks().FreeBlocks(2).NeverUsedBlocks(2).Build();
    const auto free = sound.Chain(1);
    for (const std::uint32_t finger :
         {free[0], free[1], free[1] + 1, 3U, 2U, 126U, 5000U, 0xFFFFFFFFU}) {
        ModelImage image = sound;
        image.SetU32(ModelImage::FingerOffset(kNode), finger);
        Open(image);
        EXPECT_EQ(Walk(kNode, 1), Ids{}) << finger;
        const auto record = TaggedRecord(kNode, 1, 3);
        EXPECT_TRUE(PutRecord(kNode, 1, 3, record.data())) << finger;
        EXPECT_EQ(FindFreeDbNumber(kTemporaryIdSet, 1, true), 1);
        EXPECT_TRUE(SetFlagRange(kTemporaryIdSet, 1, 1, 30'000)) << finger;
    }
}

TEST_F(DamageTest, AFileMayEndAnywhere) {
    const ModelImage whole = FiveBlocks().FreeBlocks(1).Shuffle(8).Build();
    for (std::size_t size = 4816; size <= whole.bytes.size();
         size += size % 2048 == 0 ? 1 : std::min<std::size_t>(2048 - size % 2048, 700)) {
        ModelImage image = whole;
        image.bytes.resize(size);
        Open(image, 5, 2);
        const Ids found = Walk(kNode, 1);
        ASSERT_TRUE(std::is_sorted(found.begin(), found.end()));
        Open(image, 5, 2);
        ASSERT_EQ(WalkRecords(kNode, 1), found);
        // What is stored then is found again, and nothing that was there is lost.
        Open(image, 5, 2);
        const Ids before = Walk(kNode, 1);
        ASSERT_TRUE(SetFlagRange(kTemporaryIdSet, 1, 1, 20'000)) << size;
        ASSERT_EQ(Walk(kTemporaryIdSet, 1), Range(1, 1251)) << size;
        const Ids after = Walk(kNode, 1);
        ASSERT_TRUE(std::includes(after.begin(), after.end(), before.begin(), before.end()))
            << size;
    }
}

TEST_F(DamageTest, AnIndexBlockIsNotMadeOutOfSomethingElse) {
    ModelBuilder builder;
    for (std::int32_t id = 1; id <= 130; ++id) {
        builder.Add(kMaterial, 1, id, TaggedRecord(kMaterial, 1, id));
    }
    const ModelImage sound = builder.Build();
    for (const unsigned kind : {0U, 1U, 10U, 255U}) {
        ModelImage image = sound;
        image.bytes[ModelImage::BlockOffset(126) + kKind] = static_cast<std::uint8_t>(kind);
        Open(image, 5, 1);
        EXPECT_EQ(Walk(kMaterial, 1), Range(1, 122)) << kind;
        const ModelImage after = Flushed();
        EXPECT_TRUE(std::equal(image.bytes.begin() + 126 * 2048, image.bytes.begin() + 127 * 2048,
                               after.bytes.begin() + 126 * 2048));
    }
    // The header of the index block may be wrong otherwise: its entries count.
    ModelImage image = sound;
    image.SetU32(ModelImage::BlockOffset(126) + 8, 3);
    Open(image);
    EXPECT_EQ(Walk(kMaterial, 1), Range(1, 130));
}

TEST_F(DamageTest, ABlockElsewhereIsNoIndexBlock) {
    // A text block that claims to be the index block of all.
    ModelBuilder builder = FiveBlocks();
    builder.Add(kText, 1, 1, TaggedRecord(kText, 1, 1));
    ModelImage image = builder
                           .Arrange([](std::vector<BlockContent>& blocks) {
                               std::rotate(blocks.begin(), blocks.end() - 1, blocks.end());
                           })
                           .Build();
    const std::size_t at = ModelImage::BlockOffset(4);
    image.bytes[at + kKind] = kIndexBlock;
    image.SetU32(at + 8, 3);
    ExpectNodes(image, Range(1, 135));
}

// Free lists that run in circles, name blocks in use, or leave the file.
TEST_F(DamageTest, AllocationNeverTakesABlockInUse) {
    const ModelImage sound = FiveBlocks().FreeBlocks(3).Shuffle(2).Build();
    const auto free = sound.Chain(1);
    const auto nodes = sound.Chain(kNode);
    const std::array<std::uint32_t, 8> targets = {0,        free[0],  free[1], free[2],
                                                  nodes[0], nodes[4], 3,       70'000};
    std::mt19937 random(5);
    for (int round = 0; round < 150; ++round) {
        ModelImage image = sound;
        for (const std::uint32_t block : free) {
            image.SetU32(ModelImage::EntryOffset(block) + kNext, targets[random() % 8]);
            image.SetU32(ModelImage::EntryOffset(block) + kPrevious, targets[random() % 8]);
        }
        image.SetU32(ModelImage::FingerOffset(1), targets[random() % 8]);
        Open(image, 5, 1);
        for (int turn = 0; turn < 3; ++turn) {
            for (std::int32_t id = 1; id <= 7; ++id) {
                const auto record = TaggedRecord(kMaterial, 1, id);
                ASSERT_TRUE(PutRecord(kMaterial, 1, id, record.data()));
            }
            ASSERT_EQ(Walk(kMaterial, 1), Range(1, 7)) << "round " << round << " turn " << turn;
            ASSERT_TRUE(ClearRecords(kMaterial, 1));
            ASSERT_EQ(Walk(kMaterial, 1), Ids{});
        }
        ASSERT_EQ(Walk(kNode, 1), Range(1, 135)) << "round " << round;
    }
}

TEST_F(DamageTest, ABlockInUseIsNoFreeBlockWhateverItsKey) {
    // Materials take a block each: the one with ID 6 lies in block 6, so that its index entry
    // reads like that of a free block.
    ModelBuilder builder;
    for (std::int32_t id = 4; id <= 9; ++id) {
        builder.Add(kMaterial, 1, id, TaggedRecord(kMaterial, 1, id));
    }
    ModelImage image = builder.Build();
    ASSERT_EQ(image.BlockOf(kMaterial, 1, 6), 6U);
    image.SetU32(ModelImage::FingerOffset(1), 6);
    Open(image);
    const auto record = TaggedRecord(kMaterial, 1, 50);
    ASSERT_TRUE(PutRecord(kMaterial, 1, 50, record.data()));
    EXPECT_EQ(Walk(kMaterial, 1), Range(4, 9) + Ids{50});
}

TEST_F(DamageTest, OnlyTheBlockThatTheIndexLeadsToIsReleased) {
    ModelBuilder builder;
    for (const std::int32_t id : {1, 2, 28}) {
        builder.Add(kNode, 1, id, TaggedRecord(kNode, 1, id));
    }
    builder.Add(kText, 1, 6, TaggedRecord(kText, 1, 6));
    ModelImage image = builder.Build();
    // The text block poses as a second block of the first nodes, with node 1 alone.
    image.bytes[ModelImage::BlockOffset(6) + kKind] = kNode;
    image.SetU32(ModelImage::BlockOffset(6) + 8, 1);
    Open(image);
    // Once their group is in memory, either of the two may be found.
    ASSERT_NE(ViewRecord(kNode, 1, 28), nullptr);
    ASSERT_TRUE(DeleteRecord(kNode, 1, 1));
    const ModelImage after = Flushed();
    EXPECT_EQ(after.bytes[ModelImage::BlockOffset(4) + kKind], kNode);
    EXPECT_EQ(after.U32(ModelImage::EntryOffset(4) + kNext), 5U);
    EXPECT_EQ(after.U32(ModelImage::FingerOffset(1)), 0U);
}

TEST_F(DamageTest, ABlockIsLinkedInWhereALinkHadSkippedOthers) {
    ModelBuilder builder;
    for (const std::int32_t id : {1, 55, 82}) {
        builder.Add(kNode, 1, id, TaggedRecord(kNode, 1, id));
    }
    ModelImage image = builder.Build();
    image.SetU32(ModelImage::EntryOffset(4) + kNext, 6);
    Open(image, 5, 1);
    const auto record = TaggedRecord(kNode, 1, 28);
    ASSERT_TRUE(PutRecord(kNode, 1, 28, record.data()));
    for (const std::int32_t id : {1, 28, 55, 82}) {
        EXPECT_NE(ViewRecord(kNode, 1, id), nullptr) << id;
    }
}

// Random bytes in index blocks, block headers and the header's fingers.
TEST_F(DamageTest, RandomDamageNeitherCrashesNorHangs) {
    ModelBuilder builder = FiveBlocks();
    for (std::int32_t id = 1; id <= 100; ++id) {
        builder.Add(kMaterial, 1, id, TaggedRecord(kMaterial, 1, id));
        builder.Add(kTemporaryIdSet, id, 1, TaggedRecord(kTemporaryIdSet, id, 1));
    }
    const ModelImage sound = builder.FreeBlocks(5).NeverUsedBlocks(5).Shuffle(3).Build();
    const auto blocks = static_cast<std::uint32_t>(sound.bytes.size() / 2048);
    static int ended;
    ended = 0;
    SetFatalHandler([] { throw ++ended; });
    std::mt19937 random(77);
    for (int round = 0; round < 120; ++round) {
        ModelImage image = sound;
        for (unsigned hit = 0; hit < 1 + random() % 12; ++hit) {
            const auto block = static_cast<std::uint32_t>(4 + random() % (blocks - 4));
            std::size_t at = ModelImage::BlockOffset(block) + random() % 24;
            if (hit % 3 == 0 && block % 123 != 3) {
                at = ModelImage::EntryOffset(block) + random() % 16;
            } else if (hit % 3 == 1) {
                at = ModelImage::FingerOffset(static_cast<int>(random() % 112)) + random() % 4;
            }
            const auto small = static_cast<std::uint8_t>(random() % 140);
            image.bytes[at] = random() % 2 == 0 ? small : static_cast<std::uint8_t>(random());
        }
        Open(image, 5, 1 + round % 5);
        for (const EntityType type : {kNode, kMaterial}) {
            const Ids found = Walk(type, 1);
            ASSERT_LE(found.size(), 300U);
            for (std::int32_t id = kHighestId, steps = 0; id > 0; ++steps) {
                ASSERT_LT(steps, 600);
                id = NextRecordId(type, 1, id, SeekMode::kBefore);
            }
        }
        const std::int32_t database = FindFreeDbNumber(kTemporaryIdSet, 1, true);
        const Ids nodes = Walk(kNode, 1);
        if (SetFlagRange(kTemporaryIdSet, database, 1, 9000)) {
            ASSERT_EQ(NextFlag(kTemporaryIdSet, database, 8999), 9000) << round;
        }
        const Ids nodesAfter = Walk(kNode, 1);
        ASSERT_TRUE(std::includes(nodesAfter.begin(), nodesAfter.end(), nodes.begin(), nodes.end()))
            << round;
        (void)ClearRecords(kTemporaryIdSet, database);
        (void)CloseModelSession();
    }
    EXPECT_EQ(ended, 0);
    EXPECT_TRUE(TakeBoxes().empty());
}

}  // namespace

}  // namespace mod2neu
