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

namespace mod2neu {

namespace {

struct FatalEnd {};

Lines SplitLines(const std::string& text) {
    Lines lines;
    for (std::size_t start = 0, end; (end = text.find("\r\n", start)) != std::string::npos;
         start = end + 2) {
        lines.push_back(text.substr(start, end - start));
    }
    return lines;
}

RunResult Run(MemoryFiles& files, void (*convert)()) {
    ResetProgram();
    const RecordingDesktop desktop;
    const std::string model = files.Bytes(kRunModel);
    RunResult result;
    SetFatalHandler([] { throw FatalEnd(); });
    try {
        convert();
    } catch (const FatalEnd&) {
        result.fatal = true;
    }
    SetFatalHandler(nullptr);
    CloseWorkingFile();  // as the program does at its end
    result.openHandles = files.OpenHandles();
    result.calls = files.calls.size();
    ResetProgram();
    result.neutral = files.Bytes(kRunNeutral);
    result.blocks = BlocksOf(result.neutral);
    result.boxes = desktop.BoxTexts();
    result.paths = files.Paths();
    result.modelKept = files.Bytes(kRunModel) == model;
    return result;
}

// What RunProgram does behind start-up, which would set the cache to its defaults.
void ConvertWithSmallCache() {
    CurrentSession().ModelFileName = kRunModel;
    CreateStatusWindow();
    LoadEntityTypeNames();
    DeclareCatalogue();
    DatabaseSettings settings;
    settings.BlocksPerBuffer = 1;
    settings.MinBuffers = 5;
    settings.MaxBuffers = 5;
    SetDatabaseSettings(settings);
    if (OpenDatabase()) {
        ConvertToNeutral(9, kRunNeutral, 8);
        CloseModelSession();
    }
}

}  // namespace

bool RunResult::IsClean() const {
    return modelKept && !fatal && openHandles == 0 &&
           paths == std::vector<std::string>{kRunModel, kRunNeutral};
}

void ResetProgram() {
    CloseNeutralStream();
    ResetDatabase();
    ResetSession();
    ResetMessages();
    ResetStatusWindow();
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
    constexpr std::string_view kFrame = "   -1";
    std::map<int, Lines> blocks;
    const Lines lines = SplitLines(neutral);
    for (auto line = lines.begin(); lines.end() - line >= 3;) {
        const auto end = std::find(line + 2, lines.end(), kFrame);
        if (*line != kFrame || end == lines.end()) {
            return {};
        }
        blocks[std::stoi(*(line + 1))] += Lines(line + 2, end);
        line = end + 1;
    }
    return blocks;
}

bool IsSubsequence(const Lines& lines, const Lines& all) {
    auto from = all.begin();
    return std::all_of(lines.begin(), lines.end(), [&](const std::string& line) {
        from = std::find(from, all.end(), line);
        return from != all.end() && (++from, true);
    });
}

}  // namespace mod2neu
