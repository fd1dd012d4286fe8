// A small world of the index: every chain of up to six blocks, every finger, every key, whatever
// has been remembered.

#include <algorithm>

#include "database/block_hints.h"
#include "database/block_index.h"
#include "database/database_fixture.h"
#include "database/header_record.h"
#include "database/record_access.h"

namespace mod2neu {

namespace {

class IndexSearchTest : public DatabaseTest {
  protected:
    // Nodes under database numbers 1 to 3, two possible blocks each: six keys, of which bit i of
    // `present` says whether there is a block.
    void OpenWorld(unsigned present) {
        ModelBuilder builder;
        keys_.clear();
        for (int bit = 0; bit < 6; ++bit) {
            if ((present >> bit & 1U) != 0) {
                const BlockKey key{1 + bit / 2, 1 + 27 * (bit % 2)};
                keys_.push_back(key);
                builder.Add(kNode, key.database, key.firstId,
                            TaggedRecord(kNode, key.database, key.firstId));
            }
        }
        const ModelImage image = builder.NeverUsedBlocks(1).Shuffle(present + 1).Build();
        chain_ = image.Chain(kNode);
        Open(image, 5, 2);
        ASSERT_TRUE(EnsureCacheLocked());
    }

    // The answers that the sorted list of keys gives.
    void CheckSearch(BlockKey key) {
        IndexPosition position;
        const auto above = std::lower_bound(keys_.begin(), keys_.end(), key);
        const bool exists = above != keys_.end() && *above == key;
        const auto at = static_cast<std::size_t>(above - keys_.begin());
        ASSERT_EQ(SearchIndex(kNode, key, position), exists);
        ASSERT_EQ(position.blockNumber, IndexFinger(kNode));
        // It ends at the nearest key on one side.
        ASSERT_TRUE((at < chain_.size() && position.blockNumber == chain_[at]) ||
                    (!exists && (at > 0 ? position.blockNumber == chain_[at - 1]
                                        : chain_.empty() && position.blockNumber == 0)));
    }

    std::vector<BlockKey> keys_;
    std::vector<std::uint32_t> chain_;
};

TEST_F(IndexSearchTest, EveryChainEveryFingerEveryKey) {
    for (unsigned present = 0; present < 64; ++present) {
        OpenWorld(present);
        std::vector<std::uint32_t> fingers = chain_;
        fingers.resize(std::max<std::size_t>(chain_.size(), 1));
        for (int code = 0; code < 12; ++code) {
            const BlockKey key{1 + code / 3, 1 + 27 * (code % 3)};
            for (const std::uint32_t finger : fingers) {
                // Nothing, a block of another key, one beyond the file.
                for (const std::uint32_t remembered : {0U, fingers.back(), 1'000'000U}) {
                    ClearBlockHints();
                    SetIndexFinger(kNode, finger);
                    if (remembered != 0) {
                        RememberBlock(kNode, remembered, key, 1);
                    }
                    CheckSearch(key);
                    ASSERT_FALSE(HasFatalFailure())
                        << "blocks " << present << " finger " << finger << " key " << key.database
                        << ", " << key.firstId << " remembered " << remembered;
                }
            }
        }
    }
}

TEST_F(IndexSearchTest, IdsOutsideTheRangeAreNeverLocated) {
    OpenWorld(0b111111);
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
}

}  // namespace

}  // namespace mod2neu
