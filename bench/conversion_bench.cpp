// Times whole conversions of generated models by the program itself, beside the floor, and shows
// one table.
//
//     conversion_bench [-r RUNS] [-s SCALE] DIRECTORY
//
// The best of RUNS runs counts, for the wall and the processor time each for itself. SCALE divides
// the sizes of the models, for a quick look.

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "arguments.h"
#include "model_shapes.h"

namespace mod2neu {
namespace {

namespace fs = std::filesystem;

struct Job {
    const char* shape;
    BlockOrder order;
    std::int32_t entities;
    bool showsGrowth;         // beside the job before, which is half as large
    bool onTerminal = false;  // once more with a terminal to draw its progress on
};

// clang-format off
constexpr Job kJobs[] = {
    {"plain",   BlockOrder::kSorted,    100000, false},
    {"plain",   BlockOrder::kShuffled,  100000, false},
    {"plain",   BlockOrder::kSorted,    500000, false},
    {"plain",   BlockOrder::kSorted,   1000000, true, true},
    {"plain",   BlockOrder::kShuffled,  500000, false},
    {"plain",   BlockOrder::kShuffled, 1000000, true},
    {"vectors", BlockOrder::kSorted,     50000, false},
    {"vectors", BlockOrder::kSorted,    100000, true},
    {"loads",   BlockOrder::kSorted,     50000, false},
    {"loads",   BlockOrder::kSorted,    100000, true},
    {"curves",  BlockOrder::kSorted,     50000, false},
    {"curves",  BlockOrder::kSorted,    100000, true},
    {"sparse",  BlockOrder::kSorted,    500000, false},
    {"sparse",  BlockOrder::kSorted,   1000000, true},
    {"sparse",  BlockOrder::kShuffled,  500000, false},
    {"sparse",  BlockOrder::kShuffled, 1000000, true},
};
// clang-format on

struct Cost {
    double wall = 1e9;
    double user = 1e9;
    double system = 1e9;
    double memory = 0;  // peak, MB

    [[nodiscard]] double Processor() const { return user + system; }

    void TakeBest(const Cost& other) {
        wall = std::min(wall, other.wall);
        if (other.Processor() < Processor()) {
            user = other.user;
            system = other.system;
        }
        memory = std::max(memory, other.memory);
    }
};

[[noreturn]] void GiveUp(const std::string& what) {
    (void)std::fprintf(stderr, "conversion_bench: %s\n", what.c_str());
    std::exit(1);
}

double Seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

enum class Screen { kNone, kTerminal };

// The two ends of a pseudo-terminal; the outer one stands for the person before it.
struct Terminal {
    int outer = -1;
    std::string inner;
};

Terminal OpenTerminal() {
    Terminal terminal;
    terminal.outer = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal.outer < 0 || ::grantpt(terminal.outer) != 0 || ::unlockpt(terminal.outer) != 0) {
        GiveUp("cannot open a terminal");
    }
    terminal.inner = ::ptsname(terminal.outer);
    return terminal;
}

[[noreturn]] void RunAsChild(std::vector<std::string> command, const std::string& input,
                             const std::string& output, const std::string& temp) {
    ::setsid();
    const int sink = ::open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    const int source = ::open(input.c_str(), O_RDONLY);
    if (sink < 0 || source < 0 || ::dup2(source, 0) < 0 || ::dup2(sink, 1) < 0 ||
        ::dup2(sink, 2) < 0) {
        ::_exit(127);
    }
    ::setenv("TEMP", temp.c_str(), 1);
    ::setenv("TERM", "xterm", 1);
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (std::string& argument : command) {
        arguments.push_back(argument.data());
    }
    arguments.push_back(nullptr);
    ::execv(arguments[0], arguments.data());
    ::_exit(127);
}

// Takes what is drawn until the program is gone.
std::int64_t Watch(int terminal) {
    std::int64_t drawn = 0;
    char text[4096];
    for (ssize_t size = 0; (size = ::read(terminal, text, sizeof text)) > 0;) {
        drawn += size;
    }
    (void)::close(terminal);
    return drawn;
}

// What the command costs from its start to its end. What it prints goes to the file `output`, or
// to a terminal.
Cost Measure(const std::vector<std::string>& command, const std::string& output,
             const std::string& temp, Screen screen = Screen::kNone) {
    const bool drawn = screen == Screen::kTerminal;
    const Terminal terminal = drawn ? OpenTerminal() : Terminal();
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = ::fork();
    if (child == 0) {
        RunAsChild(command, drawn ? terminal.inner : "/dev/null", drawn ? terminal.inner : output,
                   temp);
    }
    if (drawn && Watch(terminal.outer) == 0) {
        GiveUp("nothing was drawn on the terminal");
    }
    int status = 0;
    rusage usage{};
    if (child < 0 || ::wait4(child, &status, 0, &usage) != child || status != 0) {
        GiveUp(command[0] + " failed");
    }
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
    return {wall.count(), Seconds(usage.ru_utime), Seconds(usage.ru_stime),
            static_cast<double>(usage.ru_maxrss) * 1024 / 1e6};
}

class TextReader {
  public:
    explicit TextReader(const fs::path& path) : file_(std::fopen(path.c_str(), "rb")) {
        if (file_ == nullptr) {
            GiveUp("cannot read " + path.string());
        }
    }
    TextReader(const TextReader&) = delete;
    TextReader& operator=(const TextReader&) = delete;
    ~TextReader() { (void)std::fclose(file_); }

    // The next piece; empty at the end.
    std::string_view Next() { return {piece_.get(), std::fread(piece_.get(), 1, kPiece, file_)}; }

  private:
    static constexpr std::size_t kPiece = std::size_t{1} << 20;

    std::FILE* file_;
    std::unique_ptr<char[]> piece_{new char[kPiece]};
};

bool HaveSameBytes(const fs::path& a, const fs::path& b) {
    TextReader first(a);
    TextReader second(b);
    for (;;) {
        const std::string_view piece = first.Next();
        if (piece != second.Next()) {
            return false;
        }
        if (piece.empty()) {
            return true;
        }
    }
}

std::int64_t CountLines(const fs::path& path) {
    TextReader text(path);
    std::int64_t lines = 0;
    for (std::string_view piece = text.Next(); !piece.empty(); piece = text.Next()) {
        lines += std::count(piece.begin(), piece.end(), '\n');
    }
    return lines;
}

// The files of the job at hand.
class Place {
  public:
    explicit Place(const std::string& parent) {
        std::string path = parent + "/mod2neu-bench-XXXXXX";
        if (::mkdtemp(path.data()) == nullptr) {
            GiveUp("cannot make a directory in " + parent);
        }
        directory_ = path;
        fs::create_directory(Temp());
    }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;
    ~Place() {
        std::error_code ignored;
        fs::remove_all(directory_, ignored);
    }

    [[nodiscard]] fs::path Temp() const { return directory_ / "temp"; }
    [[nodiscard]] fs::path Model() const { return directory_ / "model.MOD"; }
    [[nodiscard]] fs::path Neutral() const { return directory_ / "model.neu"; }
    [[nodiscard]] fs::path FloorText() const { return directory_ / "floor.neu"; }
    [[nodiscard]] fs::path Printed() const { return directory_ / "printed.txt"; }

  private:
    fs::path directory_;
};

const char* NameOf(BlockOrder order) {
    return order == BlockOrder::kSorted ? "sorted" : "shuffled";
}

Cost Convert(const Place& place, Screen screen) {
    fs::remove(place.Neutral());
    const Cost cost =
        Measure({MOD2NEU_PROGRAM, place.Model().string()}, place.Printed(), place.Temp(), screen);
    if (!fs::is_empty(place.Temp())) {
        GiveUp("the working copy was left behind");
    }
    return cost;
}

Cost RunFloor(const Place& place, std::int32_t entities) {
    fs::remove(place.FloorText());
    Measure({FLOOR_PROGRAM, std::to_string(entities), place.FloorText().string()}, place.Printed(),
            place.Temp());
    Cost cost;
    std::ifstream printed(place.Printed());
    if (!(printed >> cost.wall >> cost.user >> cost.system)) {
        GiveUp("the floor printed no times");
    }
    return cost;
}

struct Result {
    Cost cost;
    Cost floor;
    Cost onTerminal;
    bool hasFloor = false;
    double modelSize = 0;  // MB
    double textSize = 0;   // MB
    std::int64_t lines = 0;
};

double SizeOf(const fs::path& path) {
    return static_cast<double>(fs::file_size(path)) / 1e6;
}

// Floor and conversion take turns, so that both see the machine in the same state.
Result RunJob(const Job& job, std::int32_t entities, int runs, const std::string& directory) {
    const Place place(directory);
    Measure({MAKE_MODEL_PROGRAM, job.shape, std::to_string(entities), NameOf(job.order),
             place.Model().string()},
            place.Printed(), place.Temp());
    Result result;
    result.hasFloor = job.shape == kPlainShape;
    for (int run = 0; run < runs; ++run) {
        if (result.hasFloor) {
            result.floor.TakeBest(RunFloor(place, entities));
        }
        result.cost.TakeBest(Convert(place, Screen::kNone));
        if (job.onTerminal) {
            result.onTerminal.TakeBest(Convert(place, Screen::kTerminal));
        }
    }
    if (result.hasFloor && !HaveSameBytes(place.Neutral(), place.FloorText())) {
        GiveUp("the floor did not write the same bytes");
    }
    result.modelSize = SizeOf(place.Model());
    result.textSize = SizeOf(place.Neutral());
    result.lines = CountLines(place.Neutral());
    return result;
}

// A conversion that leaves records out would be fast for nothing.
void CheckLines(const Job& job, const Result& whole, std::int32_t entities, const Result& half,
                std::int32_t halfEntities) {
    const std::int64_t wanted =
        std::int64_t{FindShape(job.shape)->linesPerEntity} * (entities - halfEntities);
    if (whole.lines - half.lines != wanted) {
        GiveUp(std::string(job.shape) + ": lines are missing in the Neutral file");
    }
}

void PrintTitle() {
    constexpr const char* kFormat = "%-47s%8s%7s%7s%7s%7s%6s%9s%9s%8s%8s%8s\n";
    std::printf(kFormat, "", "model", "text", "wall", "user", "sys", "", "wall,", "CPU,", "wall,",
                "CPU,", "memory");
    std::printf(kFormat, "model", "MB", "MB", "s", "s", "s", "MB/s", "x floor", "x floor", "x half",
                "x half", "MB");
}

void PrintRow(const std::string& name, const Cost& cost, const Result& result) {
    std::printf("%-47s%8.1f%7.1f%7.3f%7.3f%7.3f%6.0f", name.c_str(), result.modelSize,
                result.textSize, cost.wall, cost.user, cost.system, result.textSize / cost.wall);
}

void PrintRatio(const Cost& cost, const Cost* base) {
    if (base == nullptr) {
        std::printf("%9s%9s", "", "");
    } else {
        std::printf("%9.2f%9.2f", cost.wall / base->wall, cost.Processor() / base->Processor());
    }
}

std::string WithCommas(std::int32_t number) {
    std::string text = std::to_string(number);
    for (std::size_t at = text.size(); at > 3;) {
        at -= 3;
        text.insert(at, ",");
    }
    return text;
}

void PrintResult(const Job& job, std::int32_t entities, const Result& result, const Result* half,
                 double emptyMemory) {
    const std::string size = WithCommas(entities) + " ";
    if (result.hasFloor) {
        PrintRow(size + "floor", result.floor, result);
        std::printf("\n");
    }
    PrintRow(size + FindShape(job.shape)->meaning + ", " + NameOf(job.order), result.cost, result);
    PrintRatio(result.cost, result.hasFloor ? &result.floor : nullptr);
    PrintRatio(result.cost, half != nullptr ? &half->cost : nullptr);
    std::printf("%8.1f\n", result.cost.memory - emptyMemory);
    if (job.onTerminal) {
        PrintRow("the same, drawing its progress on a terminal", result.onTerminal, result);
        PrintRatio(result.onTerminal, &result.floor);
        PrintRatio(result.onTerminal, nullptr);
        std::printf("%8.1f\n", result.onTerminal.memory - emptyMemory);
    }
    (void)std::fflush(stdout);
}

void RunAll(int runs, int scale, const std::string& directory) {
    double emptyMemory = 0;
    {
        const Place place(directory);
        emptyMemory = Measure({MOD2NEU_PROGRAM, "--version"}, place.Printed(), place.Temp()).memory;
    }
    PrintTitle();
    Result before;
    std::int32_t entitiesBefore = 0;
    for (const Job& job : kJobs) {
        const std::int32_t entities = job.entities / scale;
        const Result result = RunJob(job, entities, runs, directory);
        if (job.showsGrowth) {
            CheckLines(job, result, entities, before, entitiesBefore);
        }
        PrintResult(job, entities, result, job.showsGrowth ? &before : nullptr, emptyMemory);
        before = result;
        entitiesBefore = entities;
    }
    std::printf(
        "Best of %d runs each. The working copy is made and deleted within the time; memory is\n"
        "the peak beyond the %.1f MB of the program that does nothing.\n",
        runs, emptyMemory);
}

}  // namespace
}  // namespace mod2neu

int main(int argc, char** argv) {
    int runs = 5;
    int scale = 1;
    bool good = true;
    for (int option = 0; (option = ::getopt(argc, argv, "r:s:")) != -1;) {
        int& number = option == 'r' ? runs : scale;
        number = option == '?' ? 0 : mod2neu::PositiveNumber(optarg);
        good = good && number > 0;
    }
    if (!good || optind + 1 != argc) {
        (void)std::fprintf(stderr, "Usage: conversion_bench [-r RUNS] [-s SCALE] DIRECTORY\n");
        return 2;
    }
    mod2neu::RunAll(runs, scale, argv[optind]);
    return 0;
}
