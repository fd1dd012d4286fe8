// Random work on the engine beside the same work on a plain map. What the engine answers, and what
// an independent reader finds in its file, must be what the map says.

#include <algorithm>
#include <array>
#include <map>
#include <random>
#include <set>

#include "database/close.h"
#include "database/database_file.h"
#include "database/database_fixture.h"
#include "database/flag_set.h"
#include "database/record_access.h"
#include "database/settings.h"

namespace mod2neu {

namespace {

constexpr auto kByteRecords = static_cast<EntityType>(67);
constexpr std::array kTypes = {kNode,      kElement,     kCoordSys,       kMaterial,    kLoad,
                               kGroupList, kByteRecords, kTemporaryIdSet, kContactEntry};
constexpr std::array<std::int32_t, 4> kDatabases = {1, 2, 3, 99'999'999};
constexpr EntityType kSetType = kGroupList;
constexpr std::int32_t kSetDatabase = 40;

// The records and the header's numbers as the rules have them, one record at a time.
class NaiveModel {
  public:
    std::map<RecordKey, std::vector<std::uint8_t>> records;
    std::map<int, TypeNumbers> numbers;

    [[nodiscard]] Ids IdsOf(int type, std::int32_t database) const {
        Ids ids;
        for (std::int32_t id = FirstFrom(type, database, 1); id != kNoId;
             id = FirstFrom(type, database, id + 1)) {
            ids.push_back(id);
        }
        return ids;
    }

    [[nodiscard]] std::int32_t FirstFrom(int type, std::int32_t database, std::int32_t id) const {
        const auto found = records.lower_bound({type, database, id});
        return found != records.end() && found->first.type == type &&
                       found->first.database == database
                   ? found->first.id
                   : kNoId;
    }

    [[nodiscard]] std::int32_t LastUpTo(int type, std::int32_t database, std::int32_t id) const {
        const auto above = records.upper_bound({type, database, id});
        if (above == records.begin()) {
            return 0;
        }
        const RecordKey& key = std::prev(above)->first;
        return key.type == type && key.database == database ? key.id : 0;
    }

    [[nodiscard]] std::int32_t FreeDatabase(int type, std::int32_t database) const {
        while (FirstFrom(type, database, 1) != kNoId) {
            ++database;
        }
        return database;
    }

    void Put(int type, std::int32_t database, std::int32_t id, std::vector<std::uint8_t> bytes) {
        const bool created =
            records.insert_or_assign({type, database, id}, std::move(bytes)).second;
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
        const std::int32_t above = FirstFrom(type, 1, id);
        const std::int32_t below = LastUpTo(type, 1, id);
        n.highest = id >= n.highest ? below : n.highest;
        n.lowest = id <= n.lowest ? above : n.lowest;
        if (id == n.active) {
            n.active = below != 0 || above == kNoId ? below : above;
        }
    }

    void Clear(int type, std::int32_t database) {
        for (const std::int32_t id : IdsOf(type, database)) {
            Delete(type, database, id);
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
            n.nextFree = NotUsedFrom(type, id + n.step, n.step);
        }
        if (id == kHighestId || n.nextFree > kHighestId) {
            n.nextFree = NotUsedFrom(type, type == kCoordSys ? 3 : 1, 1);
        }
    }

    [[nodiscard]] std::int32_t NotUsedFrom(int type, std::int32_t id, std::int32_t step) const {
        while (records.contains({type, 1, id})) {
            id += step;
        }
        return id;
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
            Open(MakeImage(world), world.buffers, world.blocksPerBuffer);
            return;
        }
        Create(world.buffers, world.blocksPerBuffer);
        for (const EntityType type : kTypes) {
            model_.numbers[type] = {0, kNoId, 1, 0, 1, 0};
        }
    }

    void Step() {
        type_ = kTypes[Pick(kTypes.size())];
        database_ = kDatabases[Pick(kDatabases.size())];
        id_ = SomeId();
        using Self = PropertyTest;
        static constexpr std::array kActions = {
            &Self::PutSome,    &Self::PutSome,   &Self::PutSome,   &Self::DeleteSome,
            &Self::GetAndSeek, &Self::AppendOne, &Self::ChangeSet, &Self::SeekDatabase};
        (this->*kActions.at(Pick(kActions.size())))();
    }

    void CheckFile() {
        const ModelReader reader = Stored();
        EXPECT_TRUE(reader.Records() == model_.records);
        for (const EntityType type : kTypes) {
            EXPECT_EQ(reader.Numbers(type), model_.numbers[type]) << "type " << int{type};
        }
    }

    void CheckWalks() {
        for (const EntityType type : kTypes) {
            for (const std::int32_t database : kDatabases) {
                const Ids expected = model_.IdsOf(type, database);
                EXPECT_EQ(Walk(type, database), expected);
                EXPECT_EQ(WalkRecords(type, database), expected);
                for (const std::int32_t id : expected) {
                    const auto& bytes = model_.records.at({type, database, id});
                    const std::uint8_t* record = ViewRecord(type, database, id);
                    ASSERT_TRUE(record != nullptr &&
                                std::equal(bytes.begin(), bytes.end(), record));
                }
            }
        }
    }

  private:
    ModelImage MakeImage(const World& world) {
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
            const Ids ids = model_.IdsOf(type, 1);
            model_.numbers[type] = {ids.back(),     ids.front(), 1, static_cast<int>(ids.size()),
                                    ids.back() + 1, ids.front()};
            builder.ActiveId(type, ids.front()).Finger(type, static_cast<int>(Pick(30)));
        }
        return builder.FreeBlocks(9)
            .NeverUsedBlocks(60)
            .Garbage(world.seed)
            .Shuffle(world.seed)
            .Build();
    }

    std::uint32_t Pick(std::size_t count) { return static_cast<std::uint32_t>(random_() % count); }

    // Mostly in a small range, so that blocks fill and empty; sometimes at the ends of the range.
    std::int32_t SomeId() {
        const std::uint32_t choice = Pick(12);
        return choice == 0   ? kHighestId - static_cast<std::int32_t>(Pick(40))
               : choice == 1 ? 1 + static_cast<std::int32_t>(Pick(kHighestId))
                             : 1 + static_cast<std::int32_t>(Pick(150));
    }

    void PutSome() {
        for (const std::int32_t last = id_ + static_cast<std::int32_t>(Pick(4)); id_ <= last;
             ++id_) {
            auto bytes = TaggedRecord(type_, database_, id_, static_cast<unsigned>(random_()));
            ASSERT_EQ(PutRecord(type_, database_, id_, bytes.data()), id_ <= kHighestId);
            if (id_ <= kHighestId) {
                model_.Put(type_, database_, id_, std::move(bytes));
            }
        }
    }

    void DeleteSome() {
        const int perBlock = std::min(511, 1964 / EntityRecordSize(type_));
        for (int i = 0; i < 3 && id_ <= kHighestId; ++i) {
            const std::int32_t first = id_ - (id_ - 1) % perBlock;
            const bool blockExists = model_.FirstFrom(type_, database_, first) < first + perBlock;
            ASSERT_EQ(DeleteRecord(type_, database_, id_), blockExists);
            model_.Delete(type_, database_, id_);
            id_ = model_.FirstFrom(type_, database_, id_);
        }
    }

    void GetAndSeek() {
        std::vector<std::uint8_t> expected(kRecordAreaSize, 0xA5);
        std::vector<std::uint8_t> buffer = expected;
        const auto record = model_.records.find({type_, database_, id_});
        const bool exists = record != model_.records.end();
        if (exists) {
            std::ranges::copy(record->second, expected.begin());
        }
        ASSERT_EQ(GetRecord(type_, database_, id_, buffer.data()), exists);
        ASSERT_EQ(buffer, expected) << "and nothing behind the record is touched";
        const auto seek = [&](SeekMode mode) { return NextRecordId(type_, database_, id_, mode); };
        ASSERT_EQ(seek(SeekMode::kAfter), model_.FirstFrom(type_, database_, id_ + 1));
        ASSERT_EQ(seek(SeekMode::kBefore), model_.LastUpTo(type_, database_, id_ - 1));
        ASSERT_EQ(seek(SeekMode::kAtOrAfter), model_.FirstFrom(type_, database_, id_));
        ASSERT_EQ(seek(SeekMode::kAtOrBefore), model_.LastUpTo(type_, database_, id_));
    }

    void AppendOne() {
        const std::int32_t highest = model_.LastUpTo(type_, database_, kHighestId);
        auto bytes = TaggedRecord(type_, database_, highest, 5);
        ASSERT_EQ(AppendRecord(type_, database_, bytes.data(), id_), highest < kHighestId);
        if (highest < kHighestId) {
            ASSERT_EQ(id_, highest + 1);
            model_.Put(type_, database_, id_, std::move(bytes));
        }
    }

    // Words of a set are kept bit by bit in the plain model: the members' bits in the first two
    // bytes, those that keep members out in the other two.
    void AddMember(std::int32_t member) {
        std::vector<std::uint8_t>& word =
            model_.records.try_emplace({kSetType, kSetDatabase, member / 16 + 1}, 4).first->second;
        const std::size_t byte = member % 16 < 8 ? 1 : 0;
        const unsigned bit = 0x80U >> (member % 8);
        if ((word[byte + 2] & bit) == 0) {
            word[byte] |= static_cast<std::uint8_t>(bit);
            members_.insert(member);
        }
    }

    void ChangeSet() {
        const std::uint32_t choice = Pick(20);
        const std::int32_t last = id_ + static_cast<std::int32_t>(Pick(90));
        if (choice == 0) {
            ASSERT_TRUE(ClearRecords(kSetType, kSetDatabase));
            members_.clear();
            model_.Clear(kSetType, kSetDatabase);
        } else if (choice < 4) {
            BlockSome();
        } else if (choice < 12) {
            ASSERT_TRUE(SetFlag(kSetType, kSetDatabase, id_));
            AddMember(id_);
        } else {
            ASSERT_TRUE(SetFlagRange(kSetType, kSetDatabase, id_, last));
            for (std::int32_t member = id_; member <= std::min(last, kHighestId); ++member) {
                AddMember(member);
            }
        }
        const std::int32_t previous = static_cast<std::int32_t>(Pick(300)) - 1;
        const auto next = members_.upper_bound(std::max(previous, 0));
        ASSERT_EQ(NextFlag(kSetType, kSetDatabase, previous),
                  next == members_.end() ? kNoId : *next);
        if (next != members_.end()) {
            std::int32_t end = *next;
            while (members_.contains(end + 1)) {
                ++end;
            }
            ASSERT_EQ(LastFlagOfRun(kSetType, kSetDatabase, *next), end);
        }
    }

    // A new word without members, of which some are kept out.
    void BlockSome() {
        const std::int32_t word = id_ / 16 + 1;
        if (!model_.records.contains({kSetType, kSetDatabase, word})) {
            const auto bits = static_cast<std::uint8_t>(random_());
            const std::vector<std::uint8_t> bytes = {0, 0, bits, bits};
            ASSERT_TRUE(PutRecord(kSetType, kSetDatabase, word, bytes.data()));
            model_.records[{kSetType, kSetDatabase, word}] = bytes;
        }
    }

    void SeekDatabase() {
        const std::int32_t start = database_ % 1000;
        ASSERT_EQ(FindFreeDbNumber(type_, start, true), model_.FreeDatabase(type_, start));
        ASSERT_EQ(FindFreeDbNumber(type_, start, false), model_.FreeDatabase(type_, start + 1));
        if (Pick(6) == 0) {
            ASSERT_TRUE(ClearRecords(type_, start));
            model_.Clear(type_, start);
        }
    }

    std::mt19937 random_;
    NaiveModel model_;
    std::set<std::int32_t> members_;
    EntityType type_ = kNode;
    std::int32_t database_ = 0;
    std::int32_t id_ = 0;
};

TEST_P(PropertyTest, TheEngineKeepsWhatThePlainModelKeeps) {
    Start();
    CheckWalks();
    for (int step = 1; step <= 6000; ++step) {
        Step();
        ASSERT_FALSE(HasFatalFailure()) << "at step " << step;
        if (step % 1000 == 0) {
            CheckFile();
            CheckWalks();
        }
    }
    EXPECT_TRUE(TakeBoxes().empty());
    if (!GetParam().fromImage) {
        ASSERT_TRUE(CloseDatabase());
        EXPECT_EQ(files.OpenHandles(), 0U);
        SetDatabaseSettings({.scratchDirectory = {}, .workOnScratchCopy = false});
        ASSERT_TRUE(OpenDatabase());
        CheckWalks();
        CheckFile();
    }
}

INSTANTIATE_TEST_SUITE_P(Worlds, PropertyTest,
                         ::testing::Values(World{1, 5, 1, false}, World{2, 5, 3, false},
                                           World{3, 5, 20, true}, World{4, 6, 7, true},
                                           World{5, 25, 20, false}, World{6, 0, 20, true},
                                           World{7, 5, 1, true}));

}  // namespace

}  // namespace mod2neu
