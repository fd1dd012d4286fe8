// Small worlds of the index: every chain of up to five blocks, every finger, every key; and chains
// whose links lead anywhere.

#include <algorithm>
#include <array>
#include <optional>

#include "database/block_hints.h"
#include "database/block_index.h"
#include "database/database_file.h"
#include "database/database_fixture.h"
#include "database/header_record.h"
#include "database/record_access.h"

namespace mod2neu {

namespace {

constexpr std::int32_t kPerBlock = 27;

std::int32_t FirstId(int blockOfRange) {
    return 1 + kPerBlock * blockOfRange;
}

// Nodes under database numbers 1 to 3, two possible blocks each: six keys, of which bit i of
// `present` says whether there is a block.
BlockKey KeyOfBit(int bit) {
    return {1 + bit / 2, FirstId(bit % 2)};
}

std::vector<BlockKey> KeysOf(unsigned present) {
    std::vector<BlockKey> keys;
    for (int bit = 0; bit < 6; ++bit) {
        if ((present >> bit & 1U) != 0) {
            keys.push_back(KeyOfBit(bit));
        }
    }
    return keys;
}

ModelImage ImageOf(const std::vector<BlockKey>& keys, unsigned seed) {
    ModelBuilder builder;
    for (const BlockKey& key : keys) {
        builder.Add(kNode, key.database, key.firstId,
                    TaggedRecord(kNode, key.database, key.firstId));
    }
    return builder.NeverUsedBlocks(1).Shuffle(seed).Build();
}

class IndexSearchTest : public DatabaseTest {
  protected:
    // The answers that the sorted list of keys gives.
    struct World {
        std::vector<BlockKey> keys;
        std::vector<std::uint32_t> chain;
    };

    static void CheckSearch(const World& world, std::uint32_t finger, BlockKey key) {
        ClearBlockHints();
        SetIndexFinger(kNode, finger);
        IndexPosition position;
        const auto above = std::lower_bound(world.keys.begin(), world.keys.end(), key);
        const bool exists = above != world.keys.end() && *above == key;
        ASSERT_EQ(SearchIndex(kNode, key, position), exists);
        ASSERT_EQ(position.blockNumber, IndexFinger(kNode));
        // The stop entry is the nearest key on one side.
        const auto at = static_cast<std::size_t>(above - world.keys.begin());
        const std::uint32_t upper = at < world.chain.size() ? world.chain[at] : 0;
        const std::uint32_t lower = at > 0 ? world.chain[at - 1] : 0;
        if (exists) {
            ASSERT_EQ(position.blockNumber, upper);
        } else {
            ASSERT_TRUE(position.blockNumber == upper || position.blockNumber == lower);
            ASSERT_NE(position.blockNumber, 0U);
        }
    }

    static void CheckNeighbours(const World& world, std::uint32_t finger, BlockKey key) {
        std::int32_t next = kNoId;
        std::int32_t previous = 0;
        std::int32_t nextDatabase = kNoId;
        std::int32_t previousDatabase = 0;
        for (const BlockKey& other : world.keys) {
            if (other.database == key.database && other.firstId > key.firstId) {
                next = std::min(next, other.firstId);
            }
            if (other.database == key.database && other.firstId < key.firstId) {
                previous = std::max(previous, other.firstId);
            }
            if (other.database > key.database) {
                nextDatabase = std::min(nextDatabase, other.database);
            }
            if (other.database < key.database) {
                previousDatabase = std::max(previousDatabase, other.database);
            }
        }
        const std::int32_t id = key.firstId + 5;
        const auto from = [&](auto answer) {
            ClearBlockHints();
            SetIndexFinger(kNode, finger);
            return answer();
        };
        ASSERT_EQ(from([&] { return AdjacentBlockStart(kNode, key.database, id, true); }), next);
        ASSERT_EQ(from([&] { return AdjacentBlockStart(kNode, key.database, id, false); }),
                  previous);
        ASSERT_EQ(from([&] { return AdjacentDatabase(kNode, key.database, true); }), nextDatabase);
        ASSERT_EQ(from([&] { return AdjacentDatabase(kNode, key.database, false); }),
                  previousDatabase);
    }

    // Every key that has a block or could have one, and keys outside on both sides.
    static std::vector<BlockKey> AllKeys() {
        std::vector<BlockKey> keys;
        for (std::int32_t database = 1; database <= 4; ++database) {
            for (int block = 0; block < 3; ++block) {
                keys.push_back({database, FirstId(block)});
            }
        }
        return keys;
    }
};

TEST_F(IndexSearchTest, EveryChainEveryFingerEveryKey) {
    for (unsigned present = 0; present < 64; ++present) {
        World world;
        world.keys = KeysOf(present);
        if (world.keys.size() > 5) {
            continue;
        }
        const ModelImage image = ImageOf(world.keys, present + 1);
        world.chain = image.Chain(kNode);
        Open(image, 5, 2);
        ASSERT_TRUE(EnsureCacheLocked());
        if (world.keys.empty()) {
            IndexPosition position;
            EXPECT_FALSE(SearchIndex(kNode, {1, 1}, position));
            EXPECT_EQ(position.blockNumber, 0U);
            CheckNeighbours(world, 0, {1, 1});
        }
        for (const std::uint32_t finger : world.chain) {
            for (const BlockKey& key : AllKeys()) {
                CheckSearch(world, finger, key);
                CheckNeighbours(world, finger, key);
                ASSERT_FALSE(HasFatalFailure()) << "blocks " << present << " finger " << finger
                                                << " key " << key.database << ", " << key.firstId;
            }
        }
    }
}

TEST_F(IndexSearchTest, TheFingerMovesToWhatWasFound) {
    ModelBuilder builder;
    for (const std::int32_t id : {1, 28, 55}) {
        builder.Add(kNode, 1, id, TaggedRecord(kNode, 1, id));
    }
    Open(builder.Finger(kNode, -1).Build());
    ASSERT_TRUE(EnsureCacheLocked());
    ASSERT_EQ(IndexFinger(kNode), 6U);
    IndexPosition position;
    EXPECT_TRUE(SearchIndex(kNode, {1, 28}, position));
    EXPECT_EQ(position.blockNumber, 5U);
    EXPECT_EQ(IndexFinger(kNode), 5U);
    EXPECT_FALSE(SearchIndex(kNode, {1, 82}, position));
    EXPECT_EQ(position.blockNumber, 6U);
    EXPECT_EQ(IndexFinger(kNode), 6U);
}

TEST_F(IndexSearchTest, ARememberedBlockThatIsNoLongerThereIsPassedOver) {
    const ModelImage image = ImageOf(KeysOf(0b1111), 3);
    Open(image);
    ASSERT_TRUE(EnsureCacheLocked());
    const auto chain = image.Chain(kNode);
    RememberBlock(kNode, chain[0], KeyOfBit(2), 1);
    RememberBlock(kNode, 1'000'000, KeyOfBit(3), 2);
    RememberBlock(kNode, 126, {1, FirstId(40)}, 3);
    for (int bit = 0; bit < 4; ++bit) {
        IndexPosition position;
        EXPECT_TRUE(SearchIndex(kNode, KeyOfBit(bit), position));
        EXPECT_EQ(position.blockNumber, chain[static_cast<std::size_t>(bit)]);
    }
    IndexPosition position;
    EXPECT_FALSE(SearchIndex(kNode, {1, FirstId(40)}, position));
}

TEST_F(IndexSearchTest, IdsOutsideTheRangeAreNeverLocated) {
    Open(ImageOf(KeysOf(0b111111), 1));
    RecordPlace place;
    for (const std::int32_t wrong : {0, -1, -27, 100'000'000, kNoId, -kNoId - 1}) {
        EXPECT_FALSE(LocateRecord(kNode, 1, wrong, place));
        EXPECT_FALSE(LocateRecord(kNode, wrong, 1, place));
        EXPECT_EQ(AdjacentBlockStart(kNode, 1, wrong, true), kNoId);
        EXPECT_EQ(AdjacentBlockStart(kNode, 1, wrong, false), 0);
    }
    for (const int kind : {0, 1, 2, 112, 255}) {
        EXPECT_FALSE(LocateRecord(static_cast<EntityType>(kind), 1, 1, place)) << kind;
        EXPECT_EQ(AdjacentDatabase(static_cast<EntityType>(kind), 1, true), kNoId) << kind;
    }
    ASSERT_TRUE(LocateRecord(kNode, 1, 27, place));
    EXPECT_EQ(place.index, 26);
    ASSERT_TRUE(LocateRecord(kNode, 1, 28, place));
    EXPECT_EQ(place.index, 0);
}

// Every way in which the links of three entries and the finger can lead to members, to a block of
// another kind, to an index block, to a block that was never used, beyond the file, or nowhere.
TEST_F(IndexSearchTest, WalksEndWhateverTheLinksSay) {
    constexpr std::uint32_t kTextBlock = 7;
    constexpr std::uint32_t kUnusedBlock = 8;
    ModelBuilder builder;
    const std::array<std::int32_t, 3> ids = {1, 28, 55};
    for (const std::int32_t id : ids) {
        builder.Add(kNode, 1, id, TaggedRecord(kNode, 1, id));
    }
    builder.Add(kText, 1, 30, TaggedRecord(kText, 1, 30));
    const ModelImage sound = builder.NeverUsedBlocks(1).Build();
    ASSERT_EQ(sound.BlockOf(kText, 1, 30), kTextBlock);
    const std::array<std::uint32_t, 8> targets = {0, 4,         5, 6, kTextBlock, kUnusedBlock,
                                                  3, 0xFFFFFFFF};
    std::size_t found = 0;
    for (unsigned code = 0; code < 32'768; code += 61) {
        ModelImage image = sound;
        unsigned digits = code;
        for (const std::uint32_t block : {4U, 5U}) {
            image.SetU32(ModelImage::EntryOffset(block) + 8, targets[digits % 8]);
            image.SetU32(ModelImage::EntryOffset(block) + 12, targets[digits / 8 % 8]);
            digits /= 64;
        }
        image.SetU32(ModelImage::EntryOffset(6) + 12, targets[code / 7 % 8]);
        image.SetU32(ModelImage::FingerOffset(kNode), targets[digits % 8]);
        Open(image, 5, 1);
        const auto walked = Walk(kNode, 1);
        found += walked.size();
        ASSERT_TRUE(std::includes(ids.begin(), ids.end(), walked.begin(), walked.end()));
        Open(image, 5, 1);
        ASSERT_EQ(WalkRecords(kNode, 1), walked) << code;
        std::int32_t id = kHighestId;
        for (int steps = 0; id > 0; ++steps) {
            ASSERT_LT(steps, 4);
            id = NextRecordId(kNode, 1, id, SeekMode::kBefore);
        }
        ASSERT_LE(FindFreeDbNumber(kNode, 1, true), 2);
    }
    EXPECT_GT(found, 150U);
}

TEST_F(IndexSearchTest, HintRowsKeepTheirOrder) {
    Open(ImageOf(KeysOf(1), 1));
    const KindHints& rows = HintsOf(kNode);
    for (std::int32_t database = 1; database <= 10; ++database) {
        RememberBlock(kNode, 100 + static_cast<std::uint32_t>(database), {database, 1},
                      static_cast<std::uint32_t>(50 - database));
    }
    EXPECT_EQ(rows[0].database, 1);
    EXPECT_EQ(rows[9].database, 10);
    // A block that is known already changes nothing.
    RememberBlock(kNode, 105, {5, 1}, 1000);
    EXPECT_EQ(rows[4].lastUse, 45U);
    // A second block of a known database number goes before the first.
    RememberBlock(kNode, 205, {5, 28}, 60);
    EXPECT_EQ(rows[4].lastUse, 60U);
    EXPECT_EQ(rows[4].entries[0].blockNumber, 205U);
    EXPECT_EQ(rows[4].entries[1].blockNumber, 105U);
    // An eleventh one replaces the row of the smallest use, here the last, and comes first.
    RememberBlock(kNode, 111, {11, 1}, 61);
    EXPECT_EQ(rows[0].database, 11);
    EXPECT_EQ(rows[0].entries[0].blockNumber, 111U);
    EXPECT_EQ(rows[0].entries[1].blockNumber, 0U);
    for (std::size_t row = 1; row < 10; ++row) {
        EXPECT_EQ(rows[row].database, static_cast<std::int32_t>(row));
    }
    // Twenty blocks fit; the oldest drops out.
    for (std::uint32_t i = 0; i < 20; ++i) {
        RememberBlock(kNode, 300 + i, {11, FirstId(static_cast<int>(i) + 1)}, 70 + i);
    }
    EXPECT_EQ(rows[0].entries[0].blockNumber, 319U);
    EXPECT_EQ(rows[0].entries[19].blockNumber, 300U);
    ForgetBlock(kNode, {11, FirstId(20)});
    EXPECT_EQ(rows[0].entries[0].blockNumber, 318U);
    EXPECT_EQ(rows[0].entries[19].blockNumber, 0U);
}

}  // namespace

}  // namespace mod2neu
