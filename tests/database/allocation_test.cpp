#include "database/block_allocation.h"
#include "database/block_hints.h"
#include "database/block_index.h"
#include "database/database_fixture.h"
#include "database/flag_set.h"
#include "database/header_record.h"
#include "database/record_access.h"

namespace mod2neu {

namespace {

class AllocationTest : public DatabaseTest {
  protected:
    AllocationTest() { Create(5); }
};

TEST_F(AllocationTest, ReleasedBlocksAreReusedBeforeTheFileGrows) {
    for (const std::int32_t id : Range(1, 7)) {
        Put(kMaterial, 1, id);
    }
    for (const std::int32_t id : {2, 6, 4}) {
        ASSERT_TRUE(DeleteRecord(kMaterial, 1, id));
    }
    for (const auto& [database, blocks] : {std::pair(1, 11U), {2, 11U}, {3, 11U}, {4, 12U}}) {
        Put(kText, database, 100);
        EXPECT_EQ(FileBlockCount(), blocks);
    }
    EXPECT_EQ(Stored().Records().size(), 8U);
}

TEST_F(AllocationTest, TheNextFreeIdFollowsTheStep) {
    const auto nextFreeAfter = [this](std::int32_t id, std::int32_t step) {
        SetHeaderTableValue(kHeaderIdStep, kNode, step);
        Put(kNode, 1, id);
        return Stored().Numbers(kNode).nextFree;
    };
    EXPECT_EQ(nextFreeAfter(39, 1), 40);
    EXPECT_EQ(nextFreeAfter(40, 5), 45);
    EXPECT_EQ(nextFreeAfter(41, -1), 38);
    EXPECT_EQ(nextFreeAfter(42, 0), 43);
    EXPECT_EQ(nextFreeAfter(1, -1), kHighestId) << "below 1 it is sought from above";
}

TEST_F(AllocationTest, RangesEndWhereIdsEnd) {
    ASSERT_TRUE(SetFlagRange(kTemporaryIdSet, 1, -2'147'483'647, 100));
    ASSERT_TRUE(SetFlagRange(kTemporaryIdSet, 1, 98'000'000, 2'147'483'647));
    EXPECT_EQ(HeaderTableValue(kHeaderRecordCount, kTemporaryIdSet), 7 + 125'000);
    for (const auto& [previous, next] : {std::pair(-kNoId - 1, 1),
                                         {-1, 1},
                                         {100, 98'000'000},
                                         {99'999'999, kNoId},
                                         {kNoId, kNoId}}) {
        EXPECT_EQ(NextFlag(kTemporaryIdSet, 1, previous), next) << previous;
    }
    EXPECT_EQ(LastFlagOfRun(kTemporaryIdSet, 1, 98'000'000), 99'999'999);
}

TEST_F(AllocationTest, EverySearchEndsAtTheKeyOrBesideIt) {
    for (const std::int32_t id : {1, 55, 109}) {  // blocks 4, 5 and 6, with gaps behind them
        Put(kNode, 1, id);
    }
    for (const std::int32_t first : {1, 28, 55, 82, 109, 136}) {
        const auto upTo = static_cast<std::uint32_t>(4 + (first - 1) / 54);
        const bool exists = first % 54 == 1;
        for (const std::uint32_t finger : {4U, 5U, 6U}) {
            for (const std::uint32_t remembered : {4U, 6U, 1'000'000U}) {
                SCOPED_TRACE(testing::Message() << first << ' ' << finger << ' ' << remembered);
                ClearBlockHints();
                RememberBlock(kNode, remembered, {1, first}, 1);
                SetIndexFinger(kNode, finger);
                IndexPosition position;
                EXPECT_EQ(SearchIndex(kNode, {1, first}, position), exists);
                EXPECT_EQ(position.blockNumber, IndexFinger(kNode));
                EXPECT_TRUE(position.blockNumber == upTo ||
                            (!exists && upTo < 6 && position.blockNumber == upTo + 1));
            }
        }
    }
}

TEST_F(AllocationTest, IdsOutsideTheRangeAreNeverLocated) {
    Put(kNode, 1, 1);
    RecordPlace place;
    for (const std::int32_t wrong : {0, -1, -27, 100'000'000, kNoId, -kNoId - 1}) {
        EXPECT_FALSE(LocateRecord(kNode, 1, wrong, place) || LocateRecord(kNode, wrong, 1, place));
        EXPECT_EQ(AdjacentBlockStart(kNode, 1, wrong, true), kNoId);
        EXPECT_EQ(AdjacentBlockStart(kNode, 1, wrong, false), 0);
    }
    for (const int kind : {0, 1, 2, 112, 255}) {
        EXPECT_FALSE(LocateRecord(static_cast<EntityType>(kind), 1, 1, place)) << kind;
        EXPECT_EQ(AdjacentDatabase(static_cast<EntityType>(kind), 1, true), kNoId) << kind;
    }
}

}  // namespace

}  // namespace mod2neu
