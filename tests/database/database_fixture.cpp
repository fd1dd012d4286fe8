#include "database/database_fixture.h"

#include <algorithm>
#include <array>
#include <numeric>

#include "database/block_allocation.h"
#include "database/block_cache.h"
#include "database/database_file.h"
#include "database/engine_memory.h"
#include "database/record_access.h"
#include "database/settings.h"
#include "shell/messages.h"
#include "shell/session.h"

namespace mod2neu {

namespace {

constexpr std::size_t kWalkLimit = 200'000;

void SetCache(int buffers, int blocksPerBuffer) {
    SetDatabaseSettings({.scratchDirectory = {},
                         .BlocksPerBuffer = blocksPerBuffer,
                         .MinBuffers = buffers > 0 ? buffers : 25,
                         .MaxBuffers = buffers > 0 ? buffers : 250});
}

}  // namespace

DatabaseTest::~DatabaseTest() {
    EXPECT_TRUE(modelBytes_.empty() || files.Bytes(kModel) == modelBytes_)
        << "the model file was changed";
    SetAllocationGate(nullptr);
    SetFatalHandler(nullptr);
    Restart();
}

void DatabaseTest::Restart() {
    ResetDatabase();
    ResetMessages();
    ResetSession();
    SetDatabaseSettings({});
    CurrentSession().ModelFileName = kModel;
    CurrentSession().MessageCaption = "Caption";
    DeclareCatalogue();
}

void DatabaseTest::Open(const ModelImage& image, int buffers, int blocksPerBuffer) {
    Restart();
    files.Put(kModel, image.bytes);
    modelBytes_ = files.Bytes(kModel);
    SetCache(buffers, blocksPerBuffer);
    ASSERT_TRUE(OpenDatabase());
}

void DatabaseTest::Create(int buffers, int blocksPerBuffer) {
    Restart();
    modelBytes_.clear();
    SetCache(buffers, blocksPerBuffer);
    ASSERT_TRUE(CreateDatabase(6.0));
}

ModelReader DatabaseTest::Stored(bool mustBeSound) {
    EXPECT_TRUE(WriteBack(kAllBuffers));
    std::array<int, 112> sizes{};
    for (std::size_t type = 0; type < sizes.size(); ++type) {
        sizes.at(type) = CatalogueRecordSize(static_cast<int>(type));
    }
    const std::string bytes = files.Bytes(IsScratchCopy() ? kScratch : kModel);
    ModelReader reader({bytes.begin(), bytes.end()}, sizes);
    EXPECT_TRUE(!mustBeSound || reader.Complaints().empty()) << reader.Complaints().front();
    return reader;
}

Ids DatabaseTest::Walk(EntityType type, std::int32_t database) {
    Ids ids;
    std::vector<std::uint8_t> record(kRecordAreaSize);
    for (std::int32_t id = NextRecordId(type, database, 1, SeekMode::kAtOrAfter);
         id <= kHighestId && ids.size() < kWalkLimit;
         id = NextRecordId(type, database, id, SeekMode::kAfter)) {
        EXPECT_TRUE(ids.empty() || id > ids.back());
        EXPECT_TRUE(GetRecord(type, database, id, record.data()));
        ids.push_back(id);
    }
    EXPECT_LT(ids.size(), kWalkLimit);
    return ids;
}

Ids DatabaseTest::WalkRecords(EntityType type, std::int32_t database) {
    Ids ids;
    RecordWalk walk(type, database);
    while (walk.Next() != nullptr && ids.size() < kWalkLimit) {
        EXPECT_TRUE(ids.empty() || walk.Id() > ids.back());
        ids.push_back(walk.Id());
    }
    EXPECT_LT(ids.size(), kWalkLimit);
    return ids;
}

void DatabaseTest::Put(EntityType type, std::int32_t database, std::int32_t id) {
    ASSERT_TRUE(PutRecord(type, database, id, TaggedRecord(type, database, id).data())) << id;
}

bool DatabaseTest::Has(EntityType type, std::int32_t database, std::int32_t id) {
    const std::uint8_t* record = ViewRecord(type, database, id);
    const auto expected = TaggedRecord(type, database, id);
    return record != nullptr && std::equal(expected.begin(), expected.end(), record);
}

Texts DatabaseTest::TakeBoxes() {
    Texts texts = desktop.BoxTexts();
    desktop.boxes.clear();
    return texts;
}

Ids Range(std::int32_t first, std::int32_t last) {
    Ids ids(static_cast<std::size_t>(last - first + 1));
    std::iota(ids.begin(), ids.end(), first);
    return ids;
}

Ids operator+(Ids first, const Ids& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

std::vector<std::uint8_t> TaggedRecord(int type, std::int32_t database, std::int32_t id,
                                       unsigned version) {
    const auto seed = static_cast<unsigned>(type) * 7919U + static_cast<unsigned>(database) * 31U +
                      static_cast<unsigned>(id) * 104729U + version * 1299709U;
    return RecordImage(static_cast<std::size_t>(CatalogueRecordSize(type)), seed).Bytes();
}

ModelBuilder TaggedModel(EntityType type, const Ids& ids) {
    ModelBuilder builder;
    for (const std::int32_t id : ids) {
        builder.Add(type, 1, id, TaggedRecord(type, 1, id));
    }
    return builder;
}

}  // namespace mod2neu
