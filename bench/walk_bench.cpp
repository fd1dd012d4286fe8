// Time of one step through the records of a model, without the text that is made of them.
//
//     walk_bench DIRECTORY [benchmark's own arguments]

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "database/catalogue.h"
#include "database/close.h"
#include "database/database_file.h"
#include "database/record_access.h"
#include "database/settings.h"
#include "model_shapes.h"
#include "shell/session.h"

namespace mod2neu {
namespace {

constexpr std::int32_t kEntities = 1000000;

std::int64_t WalkInPlace(EntityType type) {
    std::int64_t count = 0;
    RecordWalk walk(type, kModelDbNumber);
    while (const std::uint8_t* record = walk.Next()) {
        benchmark::DoNotOptimize(*record);
        ++count;
    }
    return count;
}

std::int64_t WalkByCopy(EntityType type) {
    std::int64_t count = 0;
    std::uint8_t record[kRecordAreaSize];
    for (std::int32_t id = NextRecordId(type, kModelDbNumber, 1, SeekMode::kAtOrAfter);
         id <= kHighestId; id = NextRecordId(type, kModelDbNumber, id, SeekMode::kAfter)) {
        count += GetRecord(type, kModelDbNumber, id, record) ? 1 : 0;
        benchmark::DoNotOptimize(record);
    }
    return count;
}

void RunWalk(benchmark::State& state, const std::string& model, EntityType type,
             std::int64_t (*walk)(EntityType)) {
    CurrentSession().ModelFileName = model;
    if (!OpenDatabase()) {
        state.SkipWithError("the model cannot be opened");
        return;
    }
    for ([[maybe_unused]] auto _ : state) {
        if (walk(type) != kEntities) {
            state.SkipWithError("records are missing");
            break;
        }
    }
    if (!CloseModelSession()) {
        state.SkipWithError("the model cannot be closed");
    }
    state.counters["per record"] = benchmark::Counter(
        kEntities, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void Register(const std::string& model, const std::string& order) {
    const auto add = [&](const char* records, EntityType type) {
        const std::string name = std::string("walk/") + records + "/" + order;
        benchmark::RegisterBenchmark((name + "/in place").c_str(), RunWalk, model, type,
                                     WalkInPlace);
        benchmark::RegisterBenchmark((name + "/by copy").c_str(), RunWalk, model, type, WalkByCopy);
    };
    add("nodes", kNode);
    add("elements", kElement);
    add("values", kOutputData);
}

// A new model in the directory.
std::string ModelIn(const std::string& directory, BlockOrder order, const char* name) {
    std::string path = directory + "/" + name + ".MOD";
    if (!WriteModel(path, FindShape(kPlainShape)->tables(kEntities), order)) {
        std::perror(path.c_str());
        std::exit(1);
    }
    return path;
}

}  // namespace
}  // namespace mod2neu

int main(int argc, char** argv) {
    using mod2neu::BlockOrder;
    benchmark::Initialize(&argc, argv);
    if (argc != 2) {
        (void)std::fprintf(stderr, "Usage: walk_bench DIRECTORY\n");
        return 2;
    }
    const std::string directory = argv[1];
    mod2neu::DatabaseSettings settings;
    settings.scratchDirectory = directory;
    mod2neu::SetDatabaseSettings(settings);
    mod2neu::DeclareCatalogue();
    mod2neu::Register(mod2neu::ModelIn(directory, BlockOrder::kSorted, "sorted"), "sorted");
    mod2neu::Register(mod2neu::ModelIn(directory, BlockOrder::kShuffled, "shuffled"), "shuffled");
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
