#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>

#include <unistd.h>

#include "platform/host_signals.h"
#include "sample/sample_model.h"

namespace {

// The engine ends the process without a word when a new block cannot be made.
extern "C" void ReportAbort(int /*signal*/) {
    constexpr std::string_view kReason =
        "make_sample_model: out of disk space or memory; the model is unfinished\n";
    (void)!write(STDERR_FILENO, kReason.data(), kReason.size());
    _exit(1);
}

// Exit code of the program.
int MakeSampleModel(const std::string& path) {
    std::string failure;
    if (!mod2neu::sample::WriteSampleModel(path, failure)) {
        (void)std::fprintf(stderr, "make_sample_model: %s\n", failure.c_str());
        return 1;
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2 || *argv[1] == '\0') {
        (void)std::fputs(
            "Usage: make_sample_model OUTPUT.MOD\n"
            "Write a small wing box, with records of every kind, as a model database.\n",
            stderr);
        return 2;
    }
    mod2neu::IgnoreWriteSignals();
    (void)std::signal(SIGABRT, ReportAbort);
    try {
        return MakeSampleModel(argv[1]);
    } catch (const std::exception& failure) {
        (void)std::fprintf(stderr, "make_sample_model: %s\n", failure.what());
        return 1;
    }
}
