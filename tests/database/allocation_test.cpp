#include <array>

#include "database/block_allocation.h"
#include "database/close.h"
#include "database/database_fixture.h"
#include "database/flag_set.h"
#include "database/header_record.h"
#include "database/record_access.h"

namespace mod2neu {

namespace {

class AllocationTest : public DatabaseTest {
  protected:
    AllocationTest() { Create(5); }

    static void PutRow(EntityType type, std::int32_t first, std::int32_t last) {
        for (std::int32_t id = first; id <= last; ++id) {
            Put(type, 1, id);
        }
    }
};

TEST_F(AllocationTest, ThirtyNodesMakeSixBlocks) {
    PutRow(kNode, 1, 30);
    const ModelReader reader = Stored();
    EXPECT_EQ(FileBlockCount(), 6U);
    for (const auto& [at, value] : {std::pair(4 * 2048 + 18, 27U),
                                    {4 * 2048 + 20, 0xFFFFU},
                                    {4 * 2048 + 22, 0xFFE0U},
                                    {5 * 2048 + 18, 3U},
                                    {5 * 2048 + 20, 0xE000U}}) {
        EXPECT_EQ(reader.U16(static_cast<std::size_t>(at)), value) << at;
    }
    std::size_t at = 3 * 2048 + 84;
    for (const std::uint32_t entry : {1U, 1U, 5U, 0U, 1U, 28U, 0U, 4U}) {
        EXPECT_EQ(reader.U32(at), entry) << at;
        at += 4;
    }
}

TEST_F(AllocationTest, TheFileGrowsByTwoBlocksWhereAnIndexBlockIsDue) {
    PutRow(kMaterial, 1, 122);
    EXPECT_EQ(FileBlockCount(), 126U);
    Put(kMaterial, 1, 123);
    EXPECT_EQ(FileBlockCount(), 128U);
    PutRow(kMaterial, 124, 400);
    EXPECT_EQ(FileBlockCount(), 3U + 400U + 4U);
    EXPECT_EQ(Stored().Records().size(), 400U);
}

TEST_F(AllocationTest, ReleasedBlocksAreReusedBeforeTheFileGrows) {
    PutRow(kMaterial, 1, 7);
    for (const std::int32_t id : {2, 6, 4}) {
        ASSERT_TRUE(DeleteRecord(kMaterial, 1, id));
        EXPECT_FALSE(DeleteRecord(kMaterial, 1, id));
    }
    for (std::int32_t database = 1; database <= 3; ++database) {
        const std::uint32_t next = IndexFinger(kFreeBlock);
        Stored();
        Put(kText, database, 100);
        EXPECT_EQ(IndexFinger(kText), next);
    }
    EXPECT_EQ(FileBlockCount(), 11U);
    EXPECT_EQ(IndexFinger(kFreeBlock), 0U);
    Put(kText, 4, 100);
    EXPECT_EQ(FileBlockCount(), 12U);
    EXPECT_EQ(Stored().Records().size(), 8U);
}

TEST_F(AllocationTest, TheHeaderFollowsTheModelsOwnRecords) {
    PutRow(kNode, 1, 10);
    EXPECT_EQ(Stored().Numbers(kNode), (TypeNumbers{10, 1, 1, 10, 11, 0}));
    Put(kNode, 1, 50);
    Put(kNode, 2, 70);
    EXPECT_EQ(Stored().Numbers(kNode), (TypeNumbers{50, 1, 1, 11, 51, 0}));
    Put(kNode, 1, kHighestId);
    EXPECT_EQ(Stored().Numbers(kNode), (TypeNumbers{kHighestId, 1, 1, 12, 11, 0}));
    SetHeaderTableValue(kHeaderActiveId, kNode, 50);
    SetHeaderTableValue(kHeaderIdStep, kNode, 5);
    for (const std::int32_t id : {50, kHighestId, 1}) {
        ASSERT_TRUE(DeleteRecord(kNode, 1, id));
    }
    Put(kNode, 1, 20);
    EXPECT_EQ(Stored().Numbers(kNode), (TypeNumbers{20, 2, 5, 10, 25, 10}));
    // The three basic coordinate systems keep their IDs; a next free ID below 1 is sought from
    // above.
    const auto nextFreeAfter = [this](std::int32_t id) {
        Put(kCoordSys, 1, id);
        return Stored().Numbers(kCoordSys).nextFree;
    };
    EXPECT_EQ(nextFreeAfter(kHighestId), 3);
    SetHeaderTableValue(kHeaderIdStep, kCoordSys, 0);
    EXPECT_EQ(nextFreeAfter(7), 8);
    SetHeaderTableValue(kHeaderNextFreeId, kCoordSys, -4);
    EXPECT_EQ(nextFreeAfter(7), kHighestId - 1);
    // Of temporary types only stored records are counted.
    Put(kTemporaryIdSet, 1, 9);
    ASSERT_TRUE(DeleteRecord(kTemporaryIdSet, 1, 9));
    EXPECT_EQ(Stored().Numbers(kTemporaryIdSet), (TypeNumbers{0, kNoId, 1, 1, 1, 0}));
}

TEST_F(AllocationTest, RangesEndWhereIdsEnd) {
    ASSERT_TRUE(SetFlagRange(kTemporaryIdSet, 1, -2'147'483'647, 100));
    ASSERT_TRUE(SetFlagRange(kTemporaryIdSet, 1, 98'000'000, 2'147'483'647));
    EXPECT_EQ(HeaderTableValue(kHeaderRecordCount, kTemporaryIdSet), 7 + 125'000);
    for (const auto& [previous, next] : {std::pair(-1, 1),
                                         {99, 100},
                                         {100, 98'000'000},
                                         {99'999'998, 99'999'999},
                                         {99'999'999, kNoId},
                                         {kNoId, kNoId},
                                         {-kNoId - 1, 1}}) {
        EXPECT_EQ(NextFlag(kTemporaryIdSet, 1, previous), next) << previous;
    }
    EXPECT_EQ(LastFlagOfRun(kTemporaryIdSet, 1, 1), 100);
    EXPECT_EQ(LastFlagOfRun(kTemporaryIdSet, 1, 98'000'000), 99'999'999);
}

TEST_F(AllocationTest, RecordsOfEverySizeFillTheirBlocks) {
    for (const auto& [number, perBlock] : {std::pair<int, int>(67, 511),
                                           {kSolidTransmit, 1},
                                           {kMaterial, 1},
                                           {kCoordSys, 9},
                                           {kNode, 27},
                                           {kTemporaryIdSet, 491},
                                           {kPoint, 24}}) {
        Create(5, 3);
        const auto type = static_cast<EntityType>(number);
        PutRow(type, 1, perBlock);
        EXPECT_EQ(FileBlockCount(), 5U) << number;
        Put(type, 1, perBlock + 1);
        EXPECT_EQ(FileBlockCount(), 6U) << number;
        EXPECT_EQ(Stored().Records().size(), static_cast<std::size_t>(perBlock) + 1) << number;
        ASSERT_TRUE(CloseDatabase());
    }
    LoadEntityTypeNames();
    EXPECT_EQ(EntityTypeName(kExtendedLoad), "Load");
    EXPECT_EQ(EntityTypeName(kViewIdSet), "");
    EXPECT_EQ(EntityTypeName(-1), "");
    EXPECT_EQ(EntityRecordSize(112), 0);
}

}  // namespace

}  // namespace mod2neu
