#include "robustness/whole_run.h"

#include <algorithm>

#include "database/block_allocation.h"
#include "database/catalogue.h"
#include "database/close.h"
#include "database/database_file.h"
#include "database/settings.h"
#include "database/working_file.h"
#include "neutral/conversion.h"
#include "neutral/neutral_stream.h"
#include "shell/messages.h"
#include "shell/session.h"
#include "shell/startup.h"
#include "shell/status_window.h"
#include "support/recording_desktop.h"

namespace mod2neu {

namespace {

constexpr const char* kRunNeutral = "/models/wing.neu";

struct FatalEnd {};

// Back to the state at program start.
void ResetProgram() {
    CloseNeutralStream();
    ResetDatabase();
    ResetSession();
    ResetMessages();
    ResetStatusWindow();
}

RunResult Run(MemoryFiles& files, void (*convert)()) {
    ResetProgram();
    const RecordingDesktop desktop;
    const std::string model = files.Bytes(kRunModel);
    RunResult result;
    result.harmless = true;
    SetFatalHandler([] { throw FatalEnd(); });
    try {
        convert();
    } catch (const FatalEnd&) {
        result.harmless = false;
    }
    SetFatalHandler(nullptr);
    CloseWorkingFile();  // as the program does at its end
    result.harmless &= files.OpenHandles() == 0 && files.Bytes(kRunModel) == model;
    result.calls = files.calls.size();
    ResetProgram();
    result.neutral = files.Bytes(kRunNeutral);
    result.blocks = BlocksOf(result.neutral);
    result.boxes = desktop.BoxTexts();
    result.paths = files.Paths();
    return result;
}

// What RunProgram does behind start-up, which would set the cache to its defaults.
void ConvertWithSmallCache() {
    CurrentSession().ModelFileName = kRunModel;
    CreateStatusWindow();
    LoadEntityTypeNames();
    DeclareCatalogue();
    SetDatabaseSettings(
        {.scratchDirectory = {}, .BlocksPerBuffer = 1, .MinBuffers = 5, .MaxBuffers = 5});
    if (OpenDatabase()) {
        ConvertToNeutral(9, kRunNeutral, 8);
        CloseModelSession();
    }
}

}  // namespace

bool RunResult::IsClean() const {
    return harmless && paths == std::vector<std::string>{kRunModel, kRunNeutral};
}

RunResult RunOn(MemoryFiles& files) {
    return Run(files, [] { RunProgram({kRunModel}); });
}

RunResult RunWithSmallCache(MemoryFiles& files) {
    return Run(files, ConvertWithSmallCache);
}

RunResult RunOn(const std::vector<std::uint8_t>& model) {
    MemoryFiles files;
    files.Put(kRunModel, model);
    return RunOn(files);
}

std::map<int, Lines> BlocksOf(const std::string& neutral) {
    std::map<int, Lines> blocks;
    Lines* block = nullptr;
    for (std::size_t start = 0, end; (end = neutral.find("\r\n", start)) != std::string::npos;) {
        const std::string line = neutral.substr(start, end - start);
        start = end + 2;
        if (line != "   -1") {
            if (block == nullptr) {
                return {};
            }
            block->push_back(line);
        } else if (block != nullptr) {
            block = nullptr;
        } else if ((end = neutral.find("\r\n", start)) != std::string::npos) {
            block = &blocks[std::stoi(neutral.substr(start, end - start))];
            start = end + 2;
        }
    }
    return block == nullptr ? blocks : std::map<int, Lines>();
}

bool IsSubsequence(const Lines& lines, const Lines& all) {
    auto from = all.begin();
    return std::all_of(lines.begin(), lines.end(), [&](const std::string& line) {
        from = std::find(from, all.end(), line);
        return from != all.end() && (++from, true);
    });
}

}  // namespace mod2neu
