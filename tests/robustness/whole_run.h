#pragma once

#include <map>
#include <string>
#include <vector>

#include "support/memory_files.h"
#include "support/record_script.h"

namespace mod2neu {

// What a run of the whole program left behind.
struct RunResult {
    std::string neutral;
    std::map<int, Lines> blocks;  // of the Neutral file, by number; of a whole file only
    std::vector<std::string> boxes;
    std::vector<std::string> paths;  // of the files that are there
    std::size_t calls = 0;           // of the file services

    // The model is what it was, no file is open, and the program did not end by
    // FatalDatabaseError.
    bool harmless = false;

    // Nor is there any file beside the model and its Neutral file.
    [[nodiscard]] bool IsClean() const;
};

constexpr const char* kRunModel = "/models/wing.MOD";

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
