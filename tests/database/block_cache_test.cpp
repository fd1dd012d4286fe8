#include "database/block_cache.h"

#include <cerrno>

#include "database/database_fixture.h"
#include "database/record_access.h"

namespace mod2neu {

namespace {

class BlockCacheTest : public DatabaseTest {
  protected:
    // Materials take one block each: material n lies in the n-th place.
    void OpenMaterials(int count, int buffers = 0, int blocksPerBuffer = 20) {
        Open(TaggedModel(kMaterial, Range(1, count)).Build(), buffers, blocksPerBuffer);
    }
};

TEST_F(BlockCacheTest, TheLeastRecentlyUsedBufferGoesFirst) {
    OpenMaterials(100, 5, 2);
    const auto touched = [](std::uint32_t block) {
        BlockPlace place;
        EXPECT_TRUE(ReadBlockGroup(true, block, place)) << block;
        TouchBuffer(place.buffer);
        return place.buffer;
    };
    for (const auto& [block, buffer] : {std::pair(5U, 0),
                                        {7U, 1},
                                        {9U, 2},
                                        {11U, 3},
                                        {13U, 4},
                                        {31U, 0},
                                        {9U, 2},
                                        {33U, 1},
                                        {35U, 3},
                                        {37U, 4},
                                        {39U, 0},
                                        {41U, 2}}) {
        EXPECT_EQ(touched(block), buffer) << block;
    }
    // What was evicted is no longer found in memory.
    BlockPlace place;
    EXPECT_FALSE(FindCachedBlock(kMaterial, {1, 10}, place));
    EXPECT_TRUE(Has(kMaterial, 1, 10));
    EXPECT_TRUE(FindCachedBlock(kMaterial, {1, 10}, place));
}

TEST_F(BlockCacheTest, ABlockBehindUnusedOnesSurvivesEviction) {
    Open(ModelBuilder().FreeBlocks(1).NeverUsedBlocks(18).Shuffle(2).Build());
    Put(kMaterial, 1, 77);
    BlockPlace place;
    ASSERT_TRUE(FindCachedBlock(kMaterial, {1, 77}, place));
    ASSERT_GT(BlockNumberAt(place), 4U);
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
    EXPECT_TRUE(WriteBack(place.buffer));
    EXPECT_TRUE(Has(kMaterial, 1, 200));
    files.FailCall(FileCall::kRead, files.CallCount(FileCall::kRead) + 1, EIO);
    EXPECT_FALSE(Has(kMaterial, 1, 30));
    EXPECT_TRUE(Has(kMaterial, 1, 30));
    EXPECT_TRUE(TakeBoxes().empty());
}

TEST_F(BlockCacheTest, TheDatabaseComesBackAfterItsFileWasClosed) {
    OpenMaterials(30, 5, 2);
    Put(kMaterial, 1, 31);
    EXPECT_TRUE(UnlockCache(true));
    EXPECT_EQ(files.OpenHandles(), 0U);
    EXPECT_EQ(Walk(kMaterial), Range(1, 31));
}

}  // namespace

}  // namespace mod2neu
