#include <algorithm>
#include <map>
#include <random>

#include "database/close.h"
#include "database/database_file.h"
#include "database/database_fixture.h"
#include "database/flag_set.h"
#include "database/record_access.h"

namespace mod2neu {

namespace {

using Ids = std::vector<std::int32_t>;
using Tables = std::map<std::pair<EntityType, std::int32_t>, Ids>;

// Dense, sparse and far IDs under several database numbers, of large and small records.
Tables MixedTables() {
    Tables tables;
    std::mt19937 random(11);
    for (std::int32_t id = 1; id <= 7000; ++id) {
        tables[{kNode, 1}].push_back(id);
        if (random() % 3 == 0) {
            tables[{kElement, 1}].push_back(id * 5);
        }
        if (id % 60 == 0) {
            tables[{kLoad, id}] = {1, 13, 14, 99'999'999};
        }
    }
    tables[{kMaterial, 1}] = {1, 2, 700, 99'999'998, 99'999'999};
    tables[{kGroupList, 1}] = {1, 491, 492, 6'250'000};
    tables[{kGroupList, 2}] = {490};
    tables[{static_cast<EntityType>(67), 1}] = {1, 511, 512, 99'999'999};
    tables[{kText, 99'999'999}] = {99'999'999};
    return tables;
}

ModelBuilder BuilderOf(const Tables& tables) {
    ModelBuilder builder;
    for (const auto& [table, ids] : tables) {
        for (const std::int32_t id : ids) {
            builder.Add(table.first, table.second, id, TaggedRecord(table.first, table.second, id));
        }
    }
    return builder;
}

class ReadingTest : public DatabaseTest {
  protected:
    static void ExpectTables(const Tables& tables) {
        for (const auto& [table, ids] : tables) {
            SCOPED_TRACE(testing::Message()
                         << "type " << int{table.first} << " under " << table.second);
            EXPECT_EQ(Walk(table.first, table.second), ids);
            EXPECT_EQ(WalkRecords(table.first, table.second), ids);
        }
    }
};

TEST_F(ReadingTest, ShuffledModelsGiveEveryRecordInAscendingOrder) {
    const Tables tables = MixedTables();
    ModelBuilder builder = BuilderOf(tables);
    builder.FreeBlocks(40).NeverUsedBlocks(60).Garbage(3);
    for (const unsigned seed : {1U, 2U}) {
        const ModelImage image =
            builder.Shuffle(seed).Finger(kNode, static_cast<int>(seed) * 70).Build();
        ASSERT_GT(image.blocks.size(), 3U * 122U);
        for (const int buffers : {5, 0}) {
            Open(image, buffers);
            ExpectTables(tables);
            std::vector<std::uint8_t> record(kRecordAreaSize);
            for (const auto& [table, ids] : tables) {
                const auto size = static_cast<std::size_t>(EntityRecordSize(table.first));
                for (const std::int32_t id : ids) {
                    ASSERT_TRUE(GetRecord(table.first, table.second, id, record.data()));
                    const auto expected = TaggedRecord(table.first, table.second, id);
                    ASSERT_TRUE(std::equal(expected.begin(), expected.end(), record.begin()))
                        << int{table.first} << " " << id;
                    ASSERT_EQ(expected.size(), size);
                }
            }
            EXPECT_TRUE(CloseModelSession());
            EXPECT_FALSE(files.Has(kScratch));
            EXPECT_EQ(files.OpenHandles(), 0U);
        }
    }
}

}  // namespace

}  // namespace mod2neu
