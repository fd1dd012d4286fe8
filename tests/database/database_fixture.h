#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "database/catalogue.h"
#include "database/settings.h"
#include "support/memory_files.h"
#include "support/model_builder.h"
#include "support/recording_desktop.h"

namespace mod2neu {

// A model in memory and the engine on it. Every test starts with nothing open.
class DatabaseTest : public ::testing::Test {
  protected:
    static constexpr const char* kModel = "/models/wing.MOD";
    static constexpr const char* kScratch = "/temp/wing.scr";

    DatabaseTest();
    ~DatabaseTest() override;

    // Forgets whatever is open, with its messages and declarations, as a new process would.
    void Restart();

    // Puts the image there and opens it; buffers 0 leaves the default cache. A test that opens a
    // model also finds it unchanged at its end.
    void Open(const ModelImage& image, int buffers = 0, int blocksPerBuffer = 20);

    // Opens a new model without a block, in place.
    void Create(int buffers = 0, int blocksPerBuffer = 20);

    // Writes everything to the working file, leaving the database open, and returns its bytes.
    ModelImage Flushed();

    // IDs of the standard walk over a table, and of RecordWalk. Both must find the records that
    // their IDs say; a walk that does not ascend or does not end is a failure.
    static std::vector<std::int32_t> Walk(EntityType type, std::int32_t database);
    static std::vector<std::int32_t> WalkRecords(EntityType type, std::int32_t database);

    // Texts of the boxes since the last call.
    std::vector<std::string> TakeBoxes();

    MemoryFiles files;
    RecordingDesktop desktop;

  private:
    std::string modelBytes_;
};

// A record whose bytes tell what it is.
std::vector<std::uint8_t> TaggedRecord(int type, std::int32_t database, std::int32_t id,
                                       unsigned version = 0);

}  // namespace mod2neu
