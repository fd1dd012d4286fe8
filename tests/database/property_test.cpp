// Random work on the engine beside the same work on a plain map. What the engine answers, and what
// an independent reader finds in its file, must be what the map says.

#include <algorithm>
#include <array>
#include <map>
#include <random>
#include <set>

#include "database/block_cache.h"
#include "database/close.h"
#include "database/database_file.h"
#include "database/database_fixture.h"
#include "database/flag_set.h"
#include "database/record_access.h"
#include "support/model_reader.h"

namespace mod2neu {

namespace {

constexpr auto kByteRecords = static_cast<EntityType>(67);
constexpr std::array kTypes = {kNode,      kElement,     kCoordSys,       kMaterial,    kLoad,
                               kGroupList, kByteRecords, kTemporaryIdSet, kContactEntry};
constexpr std::array<std::int32_t, 4> kDatabases = {1, 2, 3, 99'999'999};
constexpr EntityType kSetType = kGroupList;
constexpr std::int32_t kSetDatabase = 40;

std::array<int, 112> CatalogueSizes() {
    std::array<int, 112> sizes{};
    for (int type = 0; type < 112; ++type) {
        sizes[static_cast<std::size_t>(type)] = CatalogueRecordSize(type);
    }
    return sizes;
}

// The records and the header's numbers as the rules have them, one record at a time.
class NaiveModel {
  public:
    std::map<RecordKey, std::vector<std::uint8_t>> records;
    std::map<int, TypeNumbers> numbers;

    [[nodiscard]] bool Has(int type, std::int32_t database, std::int64_t id) const {
        return id >= 1 && id <= kHighestId &&
               records.count({type, database, static_cast<std::int32_t>(id)}) != 0;
    }

    [[nodiscard]] std::int32_t FirstFrom(int type, std::int32_t database, std::int64_t id) const {
        if (id > kHighestId) {
            return kNoId;
        }
        const auto found = records.lower_bound(
            {type, database, static_cast<std::int32_t>(std::max<std::int64_t>(id, 1))});
        return found != records.end() && found->first.type == type &&
                       found->first.database == database
                   ? found->first.id
                   : kNoId;
    }

    [[nodiscard]] std::int32_t LastUpTo(int type, std::int32_t database, std::int64_t id) const {
        if (id < 1) {
            return 0;
        }
        auto found = records.upper_bound(
            {type, database, static_cast<std::int32_t>(std::min<std::int64_t>(id, kHighestId))});
        if (found == records.begin()) {
            return 0;
        }
        --found;
        return found->first.type == type && found->first.database == database ? found->first.id : 0;
    }

    [[nodiscard]] std::int32_t FreeDatabase(int type, std::int32_t database) const {
        while (FirstFrom(type, database, 1) != kNoId) {
            ++database;
        }
        return database;
    }

    void Put(int type, std::int32_t database, std::int32_t id, std::vector<std::uint8_t> bytes) {
        const bool created = !Has(type, database, id);
        records[{type, database, id}] = std::move(bytes);
        if (database == 1) {
            NotePut(type, id, created);
        }
    }

    void Delete(int type, std::int32_t database, std::int32_t id) {
        if (records.erase({type, database, id}) == 0 || database != 1 || type > 59) {
            return;
        }
        TypeNumbers& n = numbers[type];
        --n.count;
        if (id >= n.highest) {
            n.highest = LastUpTo(type, 1, id - 1);
        }
        if (id <= n.lowest) {
            n.lowest = FirstFrom(type, 1, id + 1);
        }
        if (id == n.active) {
            const std::int32_t above = FirstFrom(type, 1, id + 1);
            n.active = LastUpTo(type, 1, id - 1);
            if (n.active == 0 && above != kNoId) {
                n.active = above;
            }
        }
    }

  private:
    void NotePut(int type, std::int32_t id, bool created) {
        TypeNumbers& n = numbers[type];
        n.count += created ? 1 : 0;
        if (type > 59) {
            return;
        }
        n.highest = std::max(n.highest, id);
        n.lowest = std::min(n.lowest, id);
        if (created && id < kHighestId) {
            const int step = n.step == 0 ? 1 : n.step;
            n.nextFree = id + step;
            while (Has(type, 1, n.nextFree)) {
                n.nextFree += step;
            }
        }
        if (id == kHighestId || n.nextFree > kHighestId) {
            n.nextFree = type == kCoordSys ? 3 : 1;
            while (Has(type, 1, n.nextFree)) {
                ++n.nextFree;
            }
        } else if (n.nextFree < 1) {
            n.nextFree = kHighestId;
            while (Has(type, 1, n.nextFree)) {
                --n.nextFree;
            }
        }
    }
};

struct World {
    unsigned seed;
    int buffers;
    int blocksPerBuffer;
    bool fromImage;  // an old model with gaps, or a new one
};

class PropertyTest : public DatabaseTest, public ::testing::WithParamInterface<World> {
  protected:
    void Start() {
        const World& world = GetParam();
        random_.seed(world.seed);
        if (world.fromImage) {
            StartFromImage(world);
        } else {
            Create(world.buffers, world.blocksPerBuffer);
            for (const EntityType type : kTypes) {
                model_.numbers[type] = {0, kNoId, 1, 0, 1, 0};
            }
        }
    }

    void Step() {
        switch (Pick(13)) {
            case 0:
            case 1:
            case 2:
            case 3:
            case 4:
                return PutSome();
            case 5:
            case 6:
                return DeleteSome();
            case 7:
                return GetOne();
            case 8:
            case 9:
                return SeekOne();
            case 10:
                return AppendOne();
            case 11:
                return ChangeSet();
            default:
                return SomethingRare();
        }
    }

    void CheckFile(const std::vector<std::uint8_t>& bytes) {
        const ModelReader reader(bytes, CatalogueSizes());
        EXPECT_EQ(reader.Complaints(), std::vector<std::string>{});
        EXPECT_TRUE(reader.Records() == model_.records);
        for (const EntityType type : kTypes) {
            EXPECT_EQ(reader.Numbers(type), model_.numbers[type]) << "type " << int{type};
        }
    }

    void CheckWalks() {
        for (const EntityType type : kTypes) {
            for (const std::int32_t database : kDatabases) {
                std::vector<std::int32_t> expected;
                for (const auto& [key, bytes] : model_.records) {
                    if (key.type == type && key.database == database) {
                        expected.push_back(key.id);
                    }
                }
                EXPECT_EQ(Walk(type, database), expected);
                EXPECT_EQ(WalkRecords(type, database), expected);
            }
        }
    }

  private:
    void StartFromImage(const World& world) {
        ModelBuilder builder;
        for (const EntityType type : kTypes) {
            for (const std::int32_t database : kDatabases) {
                for (int i = 0; i < 12; ++i) {
                    const std::int32_t id = SomeId();
                    auto bytes = TaggedRecord(type, database, id);
                    builder.Add(type, database, id, bytes);
                    model_.records[{type, database, id}] = std::move(bytes);
                }
            }
            TypeNumbers& n = model_.numbers[type];
            n.highest = model_.LastUpTo(type, 1, kHighestId);
            n.lowest = model_.FirstFrom(type, 1, 1);
            n.step = 1;
            n.nextFree = n.highest + 1;
            n.active = n.lowest;
            for (const auto& [key, bytes] : model_.records) {
                n.count += key.type == type && key.database == 1 ? 1 : 0;
            }
            builder.ActiveId(type, n.active);
        }
        Open(builder.FreeBlocks(9)
                 .NeverUsedBlocks(60)
                 .Garbage(world.seed)
                 .Shuffle(world.seed)
                 .Build(),
             world.buffers, world.blocksPerBuffer);
    }

    std::uint32_t Pick(std::uint32_t count) {
        return static_cast<std::uint32_t>(random_() % count);
    }

    EntityType SomeType() { return kTypes[Pick(kTypes.size())]; }
    std::int32_t SomeDatabase() { return kDatabases[Pick(kDatabases.size())]; }

    // Mostly in a small range, so that blocks fill and empty; sometimes at the ends of the range.
    std::int32_t SomeId() {
        switch (Pick(12)) {
            case 0:
                return kHighestId - static_cast<std::int32_t>(Pick(40));
            case 1:
                return 1 + static_cast<std::int32_t>(Pick(kHighestId));
            default:
                return 1 + static_cast<std::int32_t>(Pick(150));
        }
    }

    void PutSome() {
        const EntityType type = SomeType();
        const std::int32_t database = SomeDatabase();
        const std::int32_t id = SomeId();
        for (std::int32_t i = 0; i <= static_cast<std::int32_t>(Pick(4)); ++i) {
            const bool valid = id + i <= kHighestId;
            auto bytes = TaggedRecord(type, database, id + i, static_cast<unsigned>(random_()));
            ASSERT_EQ(PutRecord(type, database, id + i, bytes.data()), valid);
            if (valid) {
                model_.Put(type, database, id + i, std::move(bytes));
            }
        }
    }

    void DeleteSome() {
        const EntityType type = SomeType();
        const std::int32_t database = SomeDatabase();
        std::int32_t id = SomeId();
        for (int i = 0; i < 3 && id <= kHighestId; ++i) {
            const int perBlock = RecordsPerBlockOf(CatalogueRecordSize(type));
            const std::int32_t first = id - (id - 1) % perBlock;
            const bool blockExists = model_.FirstFrom(type, database, first) < first + perBlock;
            ASSERT_EQ(DeleteRecord(type, database, id), blockExists);
            model_.Delete(type, database, id);
            id = model_.FirstFrom(type, database, id + 1);
        }
    }

    void GetOne() {
        const EntityType type = SomeType();
        const std::int32_t database = SomeDatabase();
        const std::int32_t id = SomeId();
        const auto expected = model_.records.find({type, database, id});
        const std::vector<std::uint8_t> untouched(kRecordAreaSize, 0xA5);
        std::vector<std::uint8_t> buffer = untouched;
        ASSERT_EQ(GetRecord(type, database, id, buffer.data()), expected != model_.records.end());
        if (expected == model_.records.end()) {
            ASSERT_EQ(buffer, untouched);
        } else {
            ASSERT_TRUE(
                std::equal(expected->second.begin(), expected->second.end(), buffer.begin()));
            ASSERT_EQ(buffer[expected->second.size() % kRecordAreaSize] == 0xA5 ||
                          expected->second.size() == kRecordAreaSize,
                      true);
        }
    }

    void SeekOne() {
        const EntityType type = SomeType();
        const std::int32_t database = SomeDatabase();
        const std::int32_t id = SomeId();
        ASSERT_EQ(NextRecordId(type, database, id, SeekMode::kAfter),
                  model_.FirstFrom(type, database, id + 1));
        ASSERT_EQ(NextRecordId(type, database, id, SeekMode::kBefore),
                  model_.LastUpTo(type, database, id - 1));
        ASSERT_EQ(NextRecordId(type, database, id, SeekMode::kAtOrAfter),
                  model_.FirstFrom(type, database, id));
        ASSERT_EQ(NextRecordId(type, database, id, SeekMode::kAtOrBefore),
                  model_.LastUpTo(type, database, id));
    }

    void AppendOne() {
        const EntityType type = SomeType();
        const std::int32_t database = SomeDatabase();
        const std::int32_t highest = model_.LastUpTo(type, database, kHighestId);
        std::int32_t id = 0;
        auto bytes = TaggedRecord(type, database, highest, 5);
        ASSERT_EQ(AppendRecord(type, database, bytes.data(), id), highest < kHighestId);
        if (highest < kHighestId) {
            ASSERT_EQ(id, highest + 1);
            model_.Put(type, database, id, std::move(bytes));
        }
    }

    // Members of a set are kept one by one in the plain model.
    void AddMember(std::int32_t member) {
        const std::int32_t word = member / 16 + 1;
        std::vector<std::uint8_t> bytes(4);
        const auto old = model_.records.find({kSetType, kSetDatabase, word});
        if (old != model_.records.end()) {
            bytes = old->second;
        }
        bytes[member % 16 < 8 ? 1 : 0] |= static_cast<std::uint8_t>(0x80U >> (member % 8));
        model_.records[{kSetType, kSetDatabase, word}] = bytes;
        members_.insert(member);
    }

    void ChangeSet() {
        const std::int32_t first = SomeId();
        if (Pick(2) == 0) {
            ASSERT_TRUE(SetFlag(kSetType, kSetDatabase, first));
            AddMember(first);
        } else {
            const auto last = static_cast<std::int32_t>(first + Pick(90));
            ASSERT_TRUE(SetFlagRange(kSetType, kSetDatabase, first, last));
            for (std::int32_t member = first; member <= std::min(last, kHighestId); ++member) {
                AddMember(member);
            }
        }
        const auto previous = static_cast<std::int32_t>(Pick(300)) - 1;
        const auto next = members_.upper_bound(std::max(previous, 0));
        ASSERT_EQ(NextFlag(kSetType, kSetDatabase, previous),
                  next == members_.end() ? kNoId : *next);
    }

    void SomethingRare() {
        const EntityType type = SomeType();
        const std::int32_t start = SomeDatabase() % 1000;
        ASSERT_EQ(FindFreeDbNumber(type, start, true), model_.FreeDatabase(type, start));
        ASSERT_EQ(FindFreeDbNumber(type, start, false), model_.FreeDatabase(type, start + 1));
        if (Pick(6) == 0) {
            ASSERT_TRUE(ClearRecords(type, start));
            for (std::int32_t id = model_.FirstFrom(type, start, 1); id != kNoId;
                 id = model_.FirstFrom(type, start, id + 1)) {
                model_.Delete(type, start, id);
            }
        }
        if (Pick(6) == 0) {
            ASSERT_TRUE(ClearRecords(kSetType, kSetDatabase));
            members_.clear();
            for (std::int32_t id = model_.FirstFrom(kSetType, kSetDatabase, 1); id != kNoId;
                 id = model_.FirstFrom(kSetType, kSetDatabase, id + 1)) {
                model_.Delete(kSetType, kSetDatabase, id);
            }
        }
    }

    std::mt19937 random_;
    NaiveModel model_;
    std::set<std::int32_t> members_;
};

TEST_P(PropertyTest, TheEngineKeepsWhatThePlainModelKeeps) {
    Start();
    for (int step = 1; step <= 6000; ++step) {
        Step();
        if (HasFatalFailure()) {
            FAIL() << "at step " << step;
        }
        if (step % 1000 == 0) {
            CheckFile(Flushed().bytes);
            CheckWalks();
        }
    }
    EXPECT_TRUE(TakeBoxes().empty());
    if (!GetParam().fromImage) {
        ASSERT_TRUE(CloseDatabase());
        const std::string bytes = files.Bytes(kModel);
        CheckFile({bytes.begin(), bytes.end()});
        DatabaseSettings settings;
        settings.workOnScratchCopy = false;
        SetDatabaseSettings(settings);
        ASSERT_TRUE(OpenDatabase());
        CheckWalks();
        ASSERT_TRUE(CloseDatabase());
        EXPECT_EQ(files.OpenHandles(), 0U);
    }
}

INSTANTIATE_TEST_SUITE_P(Worlds, PropertyTest,
                         ::testing::Values(World{1, 5, 1, false}, World{2, 5, 3, false},
                                           World{3, 5, 20, true}, World{4, 6, 7, true},
                                           World{5, 25, 20, false}, World{6, 0, 20, true},
                                           World{7, 5, 1, true}));

}  // namespace

}  // namespace mod2neu
