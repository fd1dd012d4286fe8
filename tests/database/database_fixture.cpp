#include "database/database_fixture.h"

#include <algorithm>

#include "database/block_allocation.h"
#include "database/block_cache.h"
#include "database/database_file.h"
#include "database/engine_memory.h"
#include "database/record_access.h"
#include "shell/messages.h"
#include "shell/session.h"

namespace mod2neu {

namespace {

constexpr std::size_t kWalkLimit = 2'000'000;

DatabaseSettings SettingsFor(int buffers, int blocksPerBuffer) {
    DatabaseSettings settings;
    if (buffers > 0) {
        settings.MinBuffers = buffers;
        settings.MaxBuffers = buffers;
    }
    settings.BlocksPerBuffer = blocksPerBuffer;
    return settings;
}

}  // namespace

DatabaseTest::DatabaseTest() {
    Restart();
}

DatabaseTest::~DatabaseTest() {
    if (!modelBytes_.empty()) {
        EXPECT_TRUE(files.Bytes(kModel) == modelBytes_) << "the model file was changed";
    }
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
    SetDatabaseSettings(SettingsFor(buffers, blocksPerBuffer));
    ASSERT_TRUE(OpenDatabase());
}

void DatabaseTest::Create(int buffers, int blocksPerBuffer) {
    Restart();
    modelBytes_.clear();
    SetDatabaseSettings(SettingsFor(buffers, blocksPerBuffer));
    ASSERT_TRUE(CreateDatabase(6.0));
}

ModelImage DatabaseTest::Flushed() {
    EXPECT_TRUE(WriteBack(kAllBuffers));
    const std::string bytes = files.Bytes(IsScratchCopy() ? kScratch : kModel);
    ModelImage image;
    image.bytes.assign(bytes.begin(), bytes.end());
    return image;
}

std::vector<std::int32_t> DatabaseTest::Walk(EntityType type, std::int32_t database) {
    std::vector<std::int32_t> ids;
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

std::vector<std::int32_t> DatabaseTest::WalkRecords(EntityType type, std::int32_t database) {
    std::vector<std::int32_t> ids;
    RecordWalk walk(type, database);
    while (walk.Next() != nullptr && ids.size() < kWalkLimit) {
        EXPECT_TRUE(ids.empty() || walk.Id() > ids.back());
        ids.push_back(walk.Id());
    }
    EXPECT_LT(ids.size(), kWalkLimit);
    return ids;
}

std::vector<std::string> DatabaseTest::TakeBoxes() {
    std::vector<std::string> texts;
    for (const ShownBox& box : desktop.boxes) {
        EXPECT_EQ(box.icon, BoxIcon::kStop);
        EXPECT_EQ(box.modality, BoxModality::kTask);
        texts.push_back(box.text);
    }
    desktop.boxes.clear();
    return texts;
}

std::vector<std::uint8_t> TaggedRecord(int type, std::int32_t database, std::int32_t id,
                                       unsigned version) {
    const auto seed = static_cast<unsigned>(type) * 7919U + static_cast<unsigned>(database) * 31U +
                      static_cast<unsigned>(id) * 104729U + version * 1299709U;
    return RecordImage(static_cast<std::size_t>(CatalogueRecordSize(type)), seed).Bytes();
}

}  // namespace mod2neu
