#include <algorithm>
#include <array>

#include "database/block_allocation.h"
#include "database/close.h"
#include "database/database_file.h"
#include "database/database_fixture.h"
#include "database/flag_set.h"
#include "database/header_record.h"
#include "database/record_access.h"
#include "support/model_reader.h"

namespace mod2neu {

namespace {

std::array<int, 112> CatalogueSizes() {
    std::array<int, 112> sizes{};
    for (int type = 0; type < 112; ++type) {
        sizes[static_cast<std::size_t>(type)] = CatalogueRecordSize(type);
    }
    return sizes;
}

class AllocationTest : public DatabaseTest {
  protected:
    static void Put(EntityType type, std::int32_t database, std::int32_t id) {
        const auto record = TaggedRecord(type, database, id);
        ASSERT_TRUE(PutRecord(type, database, id, record.data()));
    }

    ModelReader Sound() {
        ModelReader reader(Flushed().bytes, CatalogueSizes());
        EXPECT_EQ(reader.Complaints(), std::vector<std::string>{});
        return reader;
    }
};

TEST_F(AllocationTest, ThirtyNodesMakeSixBlocks) {
    Create();
    for (std::int32_t id = 1; id <= 30; ++id) {
        Put(kNode, 1, id);
    }
    const ModelReader reader = Sound();
    EXPECT_EQ(reader.BlockCount(), 6U);
    EXPECT_EQ(reader.Records().size(), 30U);
    constexpr std::size_t kBlock4 = 4 * 2048;
    constexpr std::size_t kBlock5 = 5 * 2048;
    EXPECT_EQ(reader.U16(kBlock4 + 18), 27U);
    EXPECT_EQ(reader.U16(kBlock4 + 20), 0xFFFFU);
    EXPECT_EQ(reader.U16(kBlock4 + 22), 0xFFE0U);
    EXPECT_EQ(reader.U16(kBlock5 + 18), 3U);
    EXPECT_EQ(reader.U16(kBlock5 + 20), 0xE000U);
    constexpr std::size_t kEntries = 3 * 2048 + 84;
    const std::array<std::uint32_t, 8> expected = {1, 1, 5, 0, 1, 28, 0, 4};
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(reader.U32(kEntries + 4 * i), expected[i]) << i;
    }
    EXPECT_TRUE(reader.Finger(kNode) == 4 || reader.Finger(kNode) == 5);
}

TEST_F(AllocationTest, TheFileGrowsByTwoBlocksWhereAnIndexBlockIsDue) {
    Create(5, 20);
    for (std::int32_t id = 1; id <= 122; ++id) {
        Put(kMaterial, 1, id);
    }
    EXPECT_EQ(FileBlockCount(), 126U);
    Put(kMaterial, 1, 123);
    EXPECT_EQ(FileBlockCount(), 128U);
    const ModelReader reader = Sound();
    EXPECT_EQ(reader.U32(126 * 2048 + 8), 126U);
    EXPECT_EQ(reader.U32(127 * 2048 + 8), 123U);
    for (std::int32_t id = 124; id <= 400; ++id) {
        Put(kMaterial, 1, id);
    }
    EXPECT_EQ(Sound().BlockCount(), 3U + 400U + 4U);
}

TEST_F(AllocationTest, ReleasedBlocksAreReusedBeforeTheFileGrows) {
    Create();
    Put(kMaterial, 1, 1);
    EXPECT_EQ(IndexFinger(kMaterial), 4U);
    ASSERT_TRUE(DeleteRecord(kMaterial, 1, 1));
    EXPECT_EQ(IndexFinger(kMaterial), 0U);
    EXPECT_EQ(IndexFinger(kFreeBlock), 4U);
    for (std::int32_t id = 1; id <= 6; ++id) {
        Put(kMaterial, 1, id);
    }
    EXPECT_EQ(FileBlockCount(), 10U);
    for (const std::int32_t id : {2, 6, 4}) {
        ASSERT_TRUE(DeleteRecord(kMaterial, 1, id));
    }
    EXPECT_EQ(Sound().FreeBlocks(), (std::vector<std::uint32_t>{5, 7, 9}));
    const std::uint32_t next = IndexFinger(kFreeBlock);
    Put(kText, 1, 1);
    EXPECT_EQ(IndexFinger(kText), next);
    Put(kText, 1, 100);
    Put(kText, 2, 100);
    EXPECT_EQ(FileBlockCount(), 10U);
    EXPECT_EQ(IndexFinger(kFreeBlock), 0U);
    Put(kText, 3, 1);
    EXPECT_EQ(FileBlockCount(), 11U);
    EXPECT_EQ(Sound().Records().size(), 7U);
}

TEST_F(AllocationTest, ARecordInAnEmptyBlockIsOnlyMissing) {
    Create();
    for (const std::int32_t id : {1, 2}) {
        Put(kNode, 1, id);
    }
    EXPECT_TRUE(DeleteRecord(kNode, 1, 20));
    EXPECT_FALSE(DeleteRecord(kNode, 1, 28));
    EXPECT_FALSE(DeleteRecord(kNode, 1, 0));
    EXPECT_TRUE(DeleteRecord(kNode, 1, 1));
    EXPECT_TRUE(DeleteRecord(kNode, 1, 2));
    EXPECT_FALSE(DeleteRecord(kNode, 1, 2));
    EXPECT_FALSE(ReleaseBlock(kNode, 1, 2));
}

TEST_F(AllocationTest, AKeyIsNeverInsertedTwice) {
    Create();
    Put(kMaterial, 1, 5);
    Put(kMaterial, 1, 7);
    const ModelImage before = Flushed();
    EXPECT_FALSE(InsertIndexEntry(4, kMaterial, {1, 7}));
    EXPECT_FALSE(RemoveIndexEntry(kMaterial, {1, 6}));
    EXPECT_EQ(Flushed().bytes.size(), before.bytes.size());
    EXPECT_EQ(Sound().Records().size(), 2U);
}

TEST_F(AllocationTest, TheHeaderFollowsTheModelsOwnRecords) {
    Create();
    for (std::int32_t id = 1; id <= 10; ++id) {
        Put(kNode, 1, id);
    }
    EXPECT_EQ(Sound().Numbers(kNode), (TypeNumbers{10, 1, 1, 10, 11, 0}));
    Put(kNode, 1, 50);
    EXPECT_EQ(Sound().Numbers(kNode), (TypeNumbers{50, 1, 1, 11, 51, 0}));
    Put(kNode, 2, 70);
    EXPECT_EQ(Sound().Numbers(kNode), (TypeNumbers{50, 1, 1, 11, 51, 0}));
    Put(kNode, 1, kHighestId);
    EXPECT_EQ(Sound().Numbers(kNode), (TypeNumbers{kHighestId, 1, 1, 12, 11, 0}));
    SetHeaderTableValue(kHeaderActiveId, kNode, 50);
    SetHeaderTableValue(kHeaderIdStep, kNode, 5);
    ASSERT_TRUE(DeleteRecord(kNode, 1, 50));
    ASSERT_TRUE(DeleteRecord(kNode, 1, kHighestId));
    ASSERT_TRUE(DeleteRecord(kNode, 1, 1));
    Put(kNode, 1, 20);
    EXPECT_EQ(Sound().Numbers(kNode), (TypeNumbers{20, 2, 5, 10, 25, 10}));
    // The three basic coordinate systems keep their IDs; a next free ID below 1 is sought from
    // above.
    Put(kCoordSys, 1, kHighestId);
    EXPECT_EQ(Sound().Numbers(kCoordSys).nextFree, 3);
    SetHeaderTableValue(kHeaderNextFreeId, kCoordSys, -4);
    SetHeaderTableValue(kHeaderIdStep, kCoordSys, 0);
    Put(kCoordSys, 1, 7);
    EXPECT_EQ(Sound().Numbers(kCoordSys).nextFree, 8);
    SetHeaderTableValue(kHeaderNextFreeId, kCoordSys, 0);
    Put(kCoordSys, 1, 7);
    EXPECT_EQ(Sound().Numbers(kCoordSys).nextFree, kHighestId - 1);
}

TEST_F(AllocationTest, OfTemporaryTypesOnlyStoredRecordsAreCounted) {
    Create();
    for (const std::int32_t database : {1, 2}) {
        Put(kTemporaryIdSet, database, 9);
        ASSERT_TRUE(DeleteRecord(kTemporaryIdSet, database, 9));
    }
    EXPECT_EQ(Sound().Numbers(kTemporaryIdSet), (TypeNumbers{0, kNoId, 1, 1, 1, 0}));
}

TEST_F(AllocationTest, AppendingGoesBehindTheHighestRecord) {
    Create();
    const auto record = TaggedRecord(kNode, 1, 1);
    std::int32_t id = 0;
    EXPECT_TRUE(AppendRecord(kNode, 1, record.data(), id));
    EXPECT_EQ(id, 1);
    Put(kNode, 1, 2);
    Put(kNode, 1, 7);
    EXPECT_TRUE(AppendRecord(kNode, 1, record.data(), id));
    EXPECT_EQ(id, 8);
    Put(kNode, 1, kHighestId);
    EXPECT_FALSE(AppendRecord(kNode, 1, record.data(), id));
}

TEST_F(AllocationTest, SetsKeepTheirMembersInWords) {
    Create();
    ASSERT_TRUE(SetFlag(kTemporaryIdSet, 3, 17));
    ASSERT_TRUE(SetFlag(kTemporaryIdSet, 3, 31));
    const ModelReader reader = Sound();
    ASSERT_EQ(reader.Records().size(), 1U);
    const auto& [key, word] = *reader.Records().begin();
    EXPECT_EQ(key.id, 2);
    EXPECT_EQ(word, (std::vector<std::uint8_t>{0x01, 0x40, 0, 0}));
    std::vector<std::int32_t> members;
    for (std::int32_t member = NextFlag(kTemporaryIdSet, 3, -1); member != kNoId;
         member = NextFlag(kTemporaryIdSet, 3, member)) {
        members.push_back(member);
    }
    EXPECT_EQ(members, (std::vector<std::int32_t>{17, 31}));
}

TEST_F(AllocationTest, ARangeIsWhatItsMembersAre) {
    // Every range within three words, with bits that block some members.
    const std::vector<std::uint8_t> blocked = {0x00, 0x00, 0x18, 0x81};  // 16, 23, 27, 28
    for (std::int32_t first = -2; first <= 48; ++first) {
        for (std::int32_t last = first - 1; last <= 48; last += 3) {
            Create(5, 1);
            for (const std::int32_t database : {1, 2}) {
                ASSERT_TRUE(PutRecord(kTemporaryIdSet, database, 2, blocked.data()));
            }
            ASSERT_TRUE(SetFlagRange(kTemporaryIdSet, 1, first, last));
            for (std::int32_t member = std::max(first, 1); member <= last; ++member) {
                ASSERT_TRUE(SetFlag(kTemporaryIdSet, 2, member));
            }
            std::vector<std::int32_t> found;
            for (std::int32_t member = NextFlag(kTemporaryIdSet, 1, -1); member != kNoId;
                 member = NextFlag(kTemporaryIdSet, 1, member)) {
                found.push_back(member);
            }
            std::vector<std::int32_t> expected;
            for (std::int32_t member = std::max(first, 1); member <= last; ++member) {
                if (member != 16 && member != 23 && member != 27 && member != 28) {
                    expected.push_back(member);
                }
            }
            ASSERT_EQ(found, expected) << first << " to " << last;
            ASSERT_EQ(Walk(kTemporaryIdSet, 1), Walk(kTemporaryIdSet, 2));
            ASSERT_TRUE(CloseDatabase());
        }
    }
}

TEST_F(AllocationTest, RangesEndWhereIdsEnd) {
    Create();
    ASSERT_TRUE(SetFlagRange(kTemporaryIdSet, 1, -2'147'483'647, 100));
    ASSERT_TRUE(SetFlagRange(kTemporaryIdSet, 1, 98'000'000, 2'147'483'647));
    EXPECT_EQ(HeaderTableValue(kHeaderRecordCount, kTemporaryIdSet), 7 + 125'000);
    EXPECT_EQ(NextFlag(kTemporaryIdSet, 1, -1), 1);
    EXPECT_EQ(NextFlag(kTemporaryIdSet, 1, 99), 100);
    EXPECT_EQ(NextFlag(kTemporaryIdSet, 1, 100), 98'000'000);
    EXPECT_EQ(NextFlag(kTemporaryIdSet, 1, 99'999'998), 99'999'999);
    EXPECT_EQ(NextFlag(kTemporaryIdSet, 1, 99'999'999), kNoId);
    EXPECT_EQ(NextFlag(kTemporaryIdSet, 1, kNoId), kNoId);
    EXPECT_EQ(NextFlag(kTemporaryIdSet, 1, -kNoId - 1), 1);
}

TEST_F(AllocationTest, FreeDatabaseNumbersFillTheFirstGap) {
    Create();
    EXPECT_EQ(FindFreeDbNumber(kNode, 1, true), 1);
    EXPECT_EQ(FindFreeDbNumber(kNode, 1, false), 2);
    for (const std::int32_t database : {1, 2, 4}) {
        Put(kNode, database, 5);
        Put(kNode, database, 5'000'000);
    }
    EXPECT_EQ(FindFreeDbNumber(kNode, 1, true), 3);
    EXPECT_EQ(FindFreeDbNumber(kNode, 3, false), 5);
    EXPECT_EQ(FindFreeDbNumber(kNode, 3, true), 3);
}

// A record type of every size has the layout that its size gives.
TEST_F(AllocationTest, RecordsOfEverySizeFillTheirBlocks) {
    for (const auto& [type, perBlock] :
         std::initializer_list<std::pair<int, int>>{{67, 511},
                                                    {kSolidTransmit, 1},
                                                    {kStoredText, 1},
                                                    {kMaterial, 1},
                                                    {kProperty, 1},
                                                    {kCoordSys, 9},
                                                    {kNode, 27},
                                                    {kTemporaryIdSet, 491},
                                                    {kPoint, 24}}) {
        Create(5, 3);
        const auto entity = static_cast<EntityType>(type);
        EXPECT_EQ(EntityRecordsPerBlock(type), perBlock) << type;
        for (std::int32_t id = 1; id <= perBlock; ++id) {
            Put(entity, 1, id);
        }
        EXPECT_EQ(FileBlockCount(), 5U) << type;
        Put(entity, 1, perBlock + 1);
        EXPECT_EQ(FileBlockCount(), 6U) << type;
        EXPECT_EQ(Sound().Records().size(), static_cast<std::size_t>(perBlock) + 1) << type;
        ASSERT_TRUE(CloseDatabase());
    }
    LoadEntityTypeNames();
    EXPECT_EQ(EntityTypeName(kLoad), "Load");
    EXPECT_EQ(EntityTypeName(kExtendedLoad), "Load");
    EXPECT_EQ(EntityTypeName(kViewIdSet), "");
    EXPECT_EQ(EntityTypeName(-1), "");
    EXPECT_EQ(EntityRecordSize(112), 0);
}

}  // namespace

}  // namespace mod2neu
