#include "database/block_cache.h"

#include <algorithm>
#include <cerrno>

#include "database/database_fixture.h"
#include "database/header_record.h"
#include "database/record_access.h"

namespace mod2neu {

namespace {

class BlockCacheTest : public DatabaseTest {
  protected:
    // Materials take one block each: material n lies in the n-th place.
    void OpenMaterials(int count, int buffers = 0, int blocksPerBuffer = 20) {
        Open(TaggedModel(kMaterial, Range(1, count)).Build(), buffers, blocksPerBuffer);
    }

    static std::uint16_t BufferOf(std::uint32_t block) {
        BlockPlace place;
        EXPECT_TRUE(ReadBlockGroup(true, block, place)) << block;
        return place.buffer;
    }
};

TEST_F(BlockCacheTest, GroupsStartBehindTheHeaderRecord) {
    OpenMaterials(150);  // blocks up to 154, 3 and 126 being index blocks
    struct Case {
        std::uint32_t block;
        std::uint32_t groupStart;
        std::uint16_t slot;
        int blocksInUse;
    };
    BlockPlace place;
    for (const Case& c : {Case{3, 3, 0, 20}, Case{22, 3, 19, 20}, Case{23, 23, 0, 20},
                          Case{126, 123, 3, 20}, Case{143, 143, 0, 12}, Case{154, 143, 11, 12}}) {
        ASSERT_TRUE(ReadBlockGroup(true, c.block, place));
        EXPECT_EQ(place.slot, c.slot) << c.block;
        EXPECT_EQ(GroupStartAt(place.buffer), c.groupStart) << c.block;
        EXPECT_EQ(BlocksInUseAt(place.buffer), c.blocksInUse) << c.block;
        EXPECT_EQ(BlockNumberAt(place), c.block);
    }
    files.calls.clear();
    ASSERT_TRUE(ReadBlockGroup(true, 4, place));
    EXPECT_TRUE(files.calls.empty()) << "a group is read once";
    for (const std::uint32_t block : {0U, 2U, 155U, 100'000U, 0xFFFFFFFFU}) {
        EXPECT_FALSE(ReadBlockGroup(true, block, place)) << block;
    }
    ASSERT_TRUE(ReadBlockGroup(false, 155, place));
    const std::uint8_t* block = BlockAt(place);
    EXPECT_TRUE(std::all_of(block, block + kBlockSize, [](int byte) { return byte == 0; }));
}

TEST_F(BlockCacheTest, TheLeastRecentlyUsedBufferGoesFirst) {
    OpenMaterials(100, 5, 2);
    const auto touched = [](std::uint32_t block) {
        const std::uint16_t buffer = BufferOf(block);
        TouchBuffer(buffer);
        return buffer;
    };
    for (std::uint32_t buffer = 0; buffer < 5; ++buffer) {
        EXPECT_EQ(BufferOf(5 + 2 * buffer), buffer);
    }
    EXPECT_EQ(touched(31), 0) << "of buffers that were never touched the first goes";
    for (const std::uint32_t block : {7U, 9U, 11U, 13U, 31U, 9U}) {
        touched(block);
    }
    EXPECT_EQ(touched(33), 1);
    EXPECT_EQ(touched(35), 3);
    EXPECT_EQ(touched(37), 4);
    EXPECT_EQ(touched(39), 0);
    // What was evicted is no longer found in memory.
    BlockPlace place;
    EXPECT_FALSE(FindCachedBlock(kMaterial, {1, 10}, place));
    EXPECT_TRUE(Has(kMaterial, 1, 10));
    EXPECT_TRUE(FindCachedBlock(kMaterial, {1, 10}, place));
}

TEST_F(BlockCacheTest, ABlockBehindUnusedOnesSurvivesEviction) {
    const auto freeOneLast = [](std::vector<BlockContent>& blocks) {
        std::rotate(blocks.begin(), blocks.begin() + 1, blocks.end());
    };
    Open(ModelBuilder().FreeBlocks(1).NeverUsedBlocks(18).Arrange(freeOneLast).Build());
    Put(kMaterial, 1, 77);
    BlockPlace place;
    ASSERT_TRUE(FindCachedBlock(kMaterial, {1, 77}, place));
    ASSERT_EQ(BlockNumberAt(place), 22U);
    ASSERT_TRUE(WriteBack(place.buffer));
    EXPECT_TRUE(Has(kMaterial, 1, 77));
}

TEST_F(BlockCacheTest, WhatFailsIsTriedAgain) {
    OpenMaterials(60, 5);
    Put(kMaterial, 1, 200);
    BlockPlace place;
    ASSERT_TRUE(FindCachedBlock(kMaterial, {1, 200}, place));
    files.FailCall(FileCall::kWrite, files.CallCount(FileCall::kWrite) + 1, ENOSPC);
    EXPECT_FALSE(WriteBack(place.buffer));
    EXPECT_EQ(TakeBoxes().size(), 1U);
    EXPECT_TRUE(FindCachedBlock(kMaterial, {1, 200}, place));
    EXPECT_TRUE(WriteBack(place.buffer));
    EXPECT_TRUE(Has(kMaterial, 1, 200));
    files.FailCall(FileCall::kRead, files.CallCount(FileCall::kRead) + 1, EIO);
    EXPECT_FALSE(Has(kMaterial, 1, 30));
    EXPECT_TRUE(Has(kMaterial, 1, 30));
    EXPECT_TRUE(TakeBoxes().empty());
}

TEST_F(BlockCacheTest, ChangedBlocksBearTheGeneration) {
    Open(TaggedModel(kMaterial, Range(1, 10)).Header(456, {7, 0, 0, 0}).Build());
    Put(kMaterial, 1, 5);
    Put(kMaterial, 1, 50);
    ASSERT_TRUE(DeleteRecord(kMaterial, 1, 9));
    const ModelReader after = Stored();
    // The index; materials 4, 5, 9 and 50.
    for (const auto& [block, stamp] :
         {std::pair(3U, 7U), {7U, 0U}, {8U, 7U}, {12U, 7U}, {14U, 7U}}) {
        EXPECT_EQ(after.U32(ModelImage::BlockOffset(block)), stamp) << block;
    }
}

TEST_F(BlockCacheTest, TheDatabaseComesBackAfterItsFileWasClosed) {
    OpenMaterials(30, 5, 2);
    Put(kMaterial, 1, 31);
    EXPECT_TRUE(DatabaseChanged());
    EXPECT_TRUE(UnlockCache(true));
    EXPECT_EQ(files.OpenHandles(), 0U);
    EXPECT_EQ(Walk(kMaterial), Range(1, 31));
}

}  // namespace

}  // namespace mod2neu
