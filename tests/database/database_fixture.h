#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "database/catalogue.h"
#include "support/memory_files.h"
#include "support/model_builder.h"
#include "support/model_reader.h"
#include "support/recording_desktop.h"

namespace mod2neu {

using Ids = std::vector<std::int32_t>;
using Texts = std::vector<std::string>;

// A model in memory and the engine on it. Every test starts with nothing open.
class DatabaseTest : public ::testing::Test {
  protected:
    static constexpr const char* kModel = "/models/wing.MOD";
    static constexpr const char* kScratch = "/temp/wing.scr";

    DatabaseTest() { Restart(); }
    ~DatabaseTest() override;

    // Forgets whatever is open, with its messages and declarations, as a new process would.
    static void Restart();

    // Puts the image there and opens it; buffers 0 leaves the default cache. A test that opens a
    // model also finds it unchanged at its end.
    void Open(const ModelImage& image, int buffers = 0, int blocksPerBuffer = 20);

    // Opens a new model without a block, in place.
    void Create(int buffers = 0, int blocksPerBuffer = 20);

    // What an independent reader finds in the working file with everything written to it. The
    // database stays open.
    ModelReader Stored(bool mustBeSound = true);

    // IDs of the standard walk over a table, and of RecordWalk. Both must find the records that
    // their IDs say; a walk that does not ascend or does not end is a failure.
    static Ids Walk(EntityType type, std::int32_t database = 1);
    static Ids WalkRecords(EntityType type, std::int32_t database = 1);

    // Records that tell what they are.
    static void Put(EntityType type, std::int32_t database, std::int32_t id);
    static bool Has(EntityType type, std::int32_t database, std::int32_t id);

    // Texts of the boxes since the last call.
    Texts TakeBoxes();

    MemoryFiles files;
    RecordingDesktop desktop;

  private:
    std::string modelBytes_;
};

Ids Range(std::int32_t first, std::int32_t last);
Ids operator+(Ids first, const Ids& second);

// A record whose bytes tell what it is.
std::vector<std::uint8_t> TaggedRecord(int type, std::int32_t database, std::int32_t id,
                                       unsigned version = 0);

// A model with such records.
ModelBuilder TaggedModel(EntityType type, const Ids& ids);

}  // namespace mod2neu
