#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/memory_files.h"
#include "support/model_builder.h"
#include "support/record_script.h"
#include "support/recording_desktop.h"

namespace mod2neu {

// A record table: its entity type and the bytes of one record.
struct Table {
    int type;
    std::size_t size;
};

// The blocks of a Neutral file, the line of the number first; fails on a broken frame.
std::vector<Lines> SplitBlocks(const std::string& neutral);

// Builds a model and converts it. The engine runs with the smallest cache there is, so that a
// record which is read after its buffer went to another one shows.
class ConversionTest : public ::testing::Test {
  protected:
    static constexpr const char* kNeutralPath = "/models/wing.neu";

    // Stores a record made by MakeRecord; returns its lines. Every record has a seed of its own.
    Lines Put(Table table, int database, int id, std::string_view script,
              std::string_view given = "");

    // The same under database number 1.
    Lines Put(Table table, int id, std::string_view script, std::string_view given = "") {
        return Put(table, 1, id, script, given);
    }

    // Stores a flag set of `type` with some blocking bits, which are none of a reader's business.
    void PutFlags(int type, int database, const std::vector<int>& members);

    // Stores a record of 1,964 bytes: a count, that of the bytes unless another is claimed, and
    // `data`.
    void PutChunk(int type, int database, int id, const std::string& data,
                  std::optional<std::int32_t> count = {});

    // Opens the model, converts it and closes it; returns the Neutral file. The model must be what
    // it was.
    std::string Convert(std::int32_t digits = 8);

    // Converts; the bodies of all blocks of that number.
    std::vector<Lines> Blocks(int number, std::int32_t digits = 8);

    // Converts: there is one such block, it holds `lines`, and `count` things of that name have
    // been reported.
    void ExpectBlock(int number, const Lines& lines, int count = 0, const std::string& name = "");

    std::string modelPath_ = "/models/wing.MOD";
    ModelBuilder model_;
    MemoryFiles files_;
    RecordingDesktop desktop_;
    unsigned seed_ = 1;
};

}  // namespace mod2neu
