// Converts the input, taken as a model file, in memory. Beside what the sanitizers watch, the run
// must leave the model as it was, no file open and no working copy behind.
//
// The header record's generation stamp, which no conversion depends on, selects the size of the
// cache and the digits of reals, so that every input is a model file as it stands.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "database/block_format.h"
#include "database/catalogue.h"
#include "database/close.h"
#include "database/database_file.h"
#include "database/engine_memory.h"
#include "database/settings.h"
#include "model_mutator.h"
#include "neutral/conversion.h"
#include "neutral/neutral_stream.h"
#include "neutral/output_buffer.h"
#include "shell/messages.h"
#include "shell/session.h"
#include "shell/status_window.h"
#include "support/memory_files.h"
#include "support/recording_desktop.h"

namespace mod2neu {
namespace {

constexpr const char* kModel = "/m/wing.MOD";
constexpr const char* kNeutral = "/m/wing.neu";

// Ends a run that writes more of the same: a few blocks may name one large table any number of
// times, and a list that stands for every ID fills 25 MB when it is sorted in the database.
struct LimitReached {};
// Beside the working copy itself.
constexpr std::size_t kMostWritten = std::size_t{24} * kBlockSize;

// Ends the process, as a finding, when `condition` does not hold.
void Require(bool condition, const char* what) {
    if (!condition) {
        (void)std::fprintf(stderr, "A promise is broken: %s\n", what);
        std::abort();
    }
}

// Leaves the engine its buffers but no memory for ID lists, which then go through the database.
bool RefuseListMemory(std::size_t bytes) {
    return bytes >= kBlockSize;
}

void Configure(std::uint8_t cache) {
    DatabaseSettings settings;
    constexpr int kBlocksPerBuffer[] = {1, 7, 2, 3};
    settings.BlocksPerBuffer = kBlocksPerBuffer[cache % 4];
    settings.MinBuffers = 5;
    settings.MaxBuffers = cache % 4 == 2 ? 9 : 5;
    SetDatabaseSettings(settings);
}

void ResetProgram() {
    ResetDatabase();
    ResetSession();
    ResetMessages();
    ResetStatusWindow();
}

std::int32_t Digits(std::uint8_t choice) {
    return choice < 128 ? 8 : choice % 40 - 8;
}

// A model that cannot be opened may leave its working copy behind.
void Convert(const MemoryFiles& files, std::int32_t digits, bool listsInDatabase) {
    CurrentSession().ModelFileName = kModel;
    CreateStatusWindow();
    LoadEntityTypeNames();
    DeclareCatalogue();
    if (OpenDatabase()) {
        SetAllocationGate(listsInDatabase ? RefuseListMemory : nullptr);
        ConvertToNeutral(9, kNeutral, digits);
        Require(CloseModelSession(), "a database that was opened can be closed");
        Require(files.Paths() == std::vector<std::string>{kModel, kNeutral},
                "beside the model there is its Neutral file alone");
    }
}

void Run(std::string_view model) {
    MemoryFiles files;
    files.Put(kModel, model);
    std::size_t written = 0;
    files.onCall = [&](const FileCallRecord& call) {
        if (call.kind != FileCall::kWrite) {
            return;
        }
        written += call.path != kNeutral ? call.size : 0;
        if (call.size >= kOutputBlock || written > model.size() + kMostWritten) {
            throw LimitReached();
        }
    };
    const RecordingDesktop desktop;
    const bool hasStamp = model.size() >= kHeaderGenerationStamp + 2;
    const auto stampByte = [&](std::size_t i) {
        return static_cast<std::uint8_t>(hasStamp ? model[kHeaderGenerationStamp + i] : 0);
    };
    Configure(stampByte(0));
    try {
        Convert(files, Digits(stampByte(1)), stampByte(0) % 8 >= 4);
        Require(files.OpenHandles() == 0, "no file is left open");
    } catch (const LimitReached&) {
        files.onCall = nullptr;
        CloseNeutralStream();
    }
    SetAllocationGate(nullptr);
    ResetProgram();
    Require(files.Bytes(kModel) == model, "the model is what it was");
}

}  // namespace
}  // namespace mod2neu

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    mod2neu::Run({reinterpret_cast<const char*>(data), size});
    return 0;
}

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
    return mod2neu::MutateModel(data, size, maxSize, seed, LLVMFuzzerMutate);
}
