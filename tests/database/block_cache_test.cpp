#include "database/block_cache.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include "database/block_allocation.h"
#include "database/database_file.h"
#include "database/database_fixture.h"
#include "database/engine_memory.h"
#include "database/header_record.h"
#include "database/record_access.h"

namespace mod2neu {

namespace {

// Materials take one block each: material n lies in the n-th place.
ModelBuilder Materials(int count) {
    ModelBuilder builder;
    for (std::int32_t id = 1; id <= count; ++id) {
        builder.Add(kMaterial, 1, id, TaggedRecord(kMaterial, 1, id));
    }
    return builder;
}

class BlockCacheTest : public DatabaseTest {
  protected:
    static std::uint16_t BufferOf(std::uint32_t block) {
        BlockPlace place;
        EXPECT_TRUE(ReadBlockGroup(true, block, place)) << block;
        TouchBuffer(place.buffer);
        return place.buffer;
    }

    static bool Has(std::int32_t id) {
        const std::uint8_t* record = ViewRecord(kMaterial, 1, id);
        const auto expected = TaggedRecord(kMaterial, 1, id);
        return record != nullptr && std::equal(expected.begin(), expected.end(), record);
    }
};

TEST_F(BlockCacheTest, GroupsStartBehindTheHeaderRecord) {
    Open(Materials(300).Build());
    struct Case {
        std::uint32_t block;
        std::uint32_t groupStart;
        std::uint16_t slot;
    };
    for (const Case& c : std::initializer_list<Case>{
             {3, 3, 0}, {22, 3, 19}, {23, 23, 0}, {126, 123, 3}, {143, 143, 0}}) {
        BlockPlace place;
        ASSERT_TRUE(ReadBlockGroup(true, c.block, place));
        EXPECT_EQ(place.slot, c.slot) << c.block;
        EXPECT_EQ(BufferAt(place.buffer).groupStart, c.groupStart) << c.block;
        EXPECT_EQ(BlockNumberAt(place), c.block);
    }
    BlockPlace place;
    for (const std::uint32_t block : {0U, 2U, 100'000U, 0xFFFFFFFFU}) {
        EXPECT_FALSE(ReadBlockGroup(true, block, place)) << block;
    }
    // A group is read once.
    files.calls.clear();
    ASSERT_TRUE(ReadBlockGroup(true, 4, place));
    EXPECT_TRUE(files.calls.empty());
}

TEST_F(BlockCacheTest, TheLastGroupHasOnlyTheBlocksOfTheFile) {
    Open(Materials(25).Build());  // blocks 4 to 28, the second group starts at 23
    const std::uint16_t buffer = BufferOf(28);
    EXPECT_EQ(BufferAt(buffer).groupStart, 23U);
    EXPECT_EQ(BufferAt(buffer).blocksInUse, 6);
    for (std::uint16_t slot = 6; slot < 20; ++slot) {
        const std::uint8_t* block = BlockAt({buffer, slot});
        EXPECT_TRUE(std::all_of(block, block + kBlockSize, [](int byte) { return byte == 0; }));
    }
    BlockPlace place;
    EXPECT_FALSE(ReadBlockGroup(true, 29, place));
    EXPECT_TRUE(ReadBlockGroup(false, 29, place));
    EXPECT_TRUE(ReadBlockGroup(false, 300, place));
    EXPECT_EQ(BufferAt(place.buffer).blocksInUse, 0);
}

TEST_F(BlockCacheTest, TheLeastRecentlyUsedBufferGoesFirst) {
    Open(Materials(100).Build(), 5, 2);
    std::array<std::uint16_t, 5> buffers{};
    for (std::uint32_t i = 0; i < 5; ++i) {
        buffers[i] = BufferOf(5 + 2 * i);
        EXPECT_EQ(buffers[i], i);
    }
    BufferOf(5);
    BufferOf(9);
    EXPECT_EQ(BufferOf(31), buffers[1]);
    EXPECT_EQ(BufferOf(33), buffers[3]);
    EXPECT_EQ(BufferOf(35), buffers[4]);
    EXPECT_EQ(BufferOf(37), buffers[0]);
}

TEST_F(BlockCacheTest, OfBuffersThatWereNeverTouchedTheFirstGoes) {
    Open(Materials(100).Build(), 5, 2);
    BlockPlace place;
    for (std::uint32_t block = 5; block < 15; block += 2) {
        ASSERT_TRUE(ReadBlockGroup(true, block, place));
    }
    ASSERT_TRUE(ReadBlockGroup(true, 31, place));
    EXPECT_EQ(place.buffer, 0);
}

TEST_F(BlockCacheTest, AnEvictedBlockIsNoLongerFound) {
    Open(Materials(100).Build(), 5, 2);
    BlockPlace place;
    BufferOf(5);
    ASSERT_TRUE(FindCachedBlock(kMaterial, {1, 2}, place));
    ASSERT_TRUE(FindCachedBlock(kMaterial, {1, 3}, place));
    ASSERT_TRUE(WriteBack(place.buffer));
    EXPECT_FALSE(FindCachedBlock(kMaterial, {1, 2}, place));
    EXPECT_FALSE(FindCachedBlock(kMaterial, {1, 3}, place));
    EXPECT_TRUE(Has(2));
}

TEST_F(BlockCacheTest, WithoutMemoryTheCacheStopsGrowing) {
    DatabaseSettings settings;
    Restart();
    files.Put(kModel, Materials(100).Build().bytes);
    settings.MinBuffers = 5;
    settings.MaxBuffers = 50;
    settings.BlocksPerBuffer = 1;
    SetDatabaseSettings(settings);
    ASSERT_TRUE(OpenDatabase());
    static int left;
    left = 3;
    SetAllocationGate([](std::size_t) { return left-- > 0; });
    EXPECT_EQ(Walk(kMaterial, 1).size(), 100U);
    EXPECT_EQ(HighestBuffer(), 7);
    SetAllocationGate(nullptr);
    EXPECT_EQ(Walk(kMaterial, 1).size(), 100U);
    EXPECT_EQ(HighestBuffer(), 7);
    EXPECT_TRUE(TakeBoxes().empty());
}

TEST_F(BlockCacheTest, ABlockBehindUnusedOnesSurvivesEviction) {
    // The only free block stands behind never-used ones at the end of its group.
    const auto arrange = [](std::vector<BlockContent>& blocks) {
        std::vector<BlockContent> order(19 + 40);
        for (BlockContent& block : blocks) {
            if (block.kind == kFreeBlock) {
                order[18] = block;
            } else if (block.kind == kMaterial) {
                order[19 + static_cast<std::size_t>(block.firstId)] = block;
            }
        }
        blocks = order;
    };
    Open(Materials(30).FreeBlocks(1).NeverUsedBlocks(28).Arrange(arrange).Build(), 5, 20);
    const auto record = TaggedRecord(kMaterial, 1, 77);
    ASSERT_TRUE(PutRecord(kMaterial, 1, 77, record.data()));
    BlockPlace place;
    ASSERT_TRUE(FindCachedBlock(kMaterial, {1, 77}, place));
    ASSERT_EQ(BlockNumberAt(place), 22U);
    ASSERT_TRUE(WriteBack(place.buffer));
    EXPECT_TRUE(Has(77));
    EXPECT_TRUE(Has(30));
    // So does a new block appended behind unused ones.
    for (std::int32_t id = 200; id < 260; ++id) {
        const auto bytes = TaggedRecord(kMaterial, 1, id);
        ASSERT_TRUE(PutRecord(kMaterial, 1, id, bytes.data()));
    }
    for (int buffer = 0; buffer <= HighestBuffer(); ++buffer) {
        ASSERT_TRUE(WriteBack(buffer));
    }
    for (std::int32_t id = 200; id < 260; ++id) {
        ASSERT_TRUE(Has(id)) << id;
    }
}

TEST_F(BlockCacheTest, AFailedWriteKeepsTheBufferDirty) {
    Open(Materials(10).Build(), 5, 20);
    const auto record = TaggedRecord(kMaterial, 1, 5, 1);
    ASSERT_TRUE(PutRecord(kMaterial, 1, 5, record.data()));
    BlockPlace place;
    ASSERT_TRUE(FindCachedBlock(kMaterial, {1, 5}, place));
    ASSERT_TRUE(BufferAt(place.buffer).dirty);
    files.FailCall(FileCall::kWrite, files.CallCount(FileCall::kWrite) + 1, ENOSPC);
    EXPECT_FALSE(WriteBack(place.buffer));
    EXPECT_EQ(TakeBoxes().size(), 1U);
    EXPECT_TRUE(BufferAt(place.buffer).dirty);
    EXPECT_TRUE(FindCachedBlock(kMaterial, {1, 5}, place));
    EXPECT_TRUE(WriteBack(place.buffer));
    const std::uint8_t* stored = ViewRecord(kMaterial, 1, 5);
    ASSERT_NE(stored, nullptr);
    EXPECT_TRUE(std::equal(record.begin(), record.end(), stored));
}

TEST_F(BlockCacheTest, AReadThatFailsIsTriedAgainLater) {
    Open(Materials(60).Build(), 5, 20);
    ASSERT_TRUE(Has(1));
    files.FailCall(FileCall::kRead, files.CallCount(FileCall::kRead) + 1, EIO);
    EXPECT_FALSE(Has(50));
    EXPECT_TRUE(Has(50));
    EXPECT_TRUE(TakeBoxes().empty());
}

TEST_F(BlockCacheTest, ChangedBlocksBearTheGeneration) {
    const ModelImage image = Materials(10).Header(456, {7, 0, 0, 0}).Build();
    Open(image);
    ASSERT_EQ(GenerationStamp(), 7U);
    const auto record = TaggedRecord(kMaterial, 1, 5, 1);
    ASSERT_TRUE(PutRecord(kMaterial, 1, 5, record.data()));
    ASSERT_TRUE(PutRecord(kMaterial, 1, 50, record.data()));
    ASSERT_TRUE(DeleteRecord(kMaterial, 1, 9));
    const ModelImage after = Flushed();
    const auto stamp = [&](std::uint32_t block) {
        return after.U32(ModelImage::BlockOffset(block));
    };
    EXPECT_EQ(stamp(image.BlockOf(kMaterial, 1, 5)), 7U);
    EXPECT_EQ(stamp(image.BlockOf(kMaterial, 1, 9)), 7U);
    EXPECT_EQ(stamp(image.BlockOf(kMaterial, 1, 4)), 0U);
    EXPECT_EQ(stamp(14), 7U);
    EXPECT_EQ(stamp(3), 7U);
}

TEST_F(BlockCacheTest, TheDatabaseComesBackAfterItsFileWasClosed) {
    Open(Materials(30).Build(), 5, 2);
    const auto record = TaggedRecord(kMaterial, 1, 31);
    ASSERT_TRUE(PutRecord(kMaterial, 1, 31, record.data()));
    EXPECT_TRUE(DatabaseChanged());
    EXPECT_TRUE(UnlockCache(true));
    EXPECT_EQ(files.OpenHandles(), 0U);
    EXPECT_TRUE(Has(31));
    EXPECT_EQ(Walk(kMaterial, 1).size(), 31U);
}

}  // namespace

}  // namespace mod2neu
