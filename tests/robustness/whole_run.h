#pragma once

#include <map>
#include <string>
#include <vector>

#include "support/memory_files.h"
#include "support/model_builder.h"
#include "support/record_script.h"
#include "support/recording_desktop.h"

namespace mod2neu {

// What a run of the whole program left behind.
struct RunResult {
    std::string neutral;
    std::map<int, Lines> blocks;  // of the Neutral file, by number; of a whole file only
    std::vector<std::string> boxes;
    std::vector<std::string> paths;  // of the files that are there
    std::size_t calls = 0;           // of the file services
    std::size_t openHandles = 0;
    bool modelKept = false;
    bool fatal = false;  // ended by FatalDatabaseError

    // The model's Neutral file and the model are all that is there, and the model is what it was.
    [[nodiscard]] bool IsClean() const;
};

constexpr const char* kRunModel = "/models/wing.MOD";
constexpr const char* kRunNeutral = "/models/wing.neu";
constexpr const char* kRunScratch = "/temp/wing.scr";

// Back to the state at program start.
void ResetProgram();

// Runs the program on the model file in `files`, as from the command line.
RunResult RunOn(MemoryFiles& files);

// The same with the smallest cache that can be, so that blocks come and go all the time.
RunResult RunWithSmallCache(MemoryFiles& files);

// The same on a file system with nothing else in it.
RunResult RunOn(const std::vector<std::uint8_t>& model);

// Lines of the blocks, all in one.
std::map<int, Lines> BlocksOf(const std::string& neutral);

// True when `lines` are some of `all`, in the same order.
bool IsSubsequence(const Lines& lines, const Lines& all);

}  // namespace mod2neu
