#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "database/block_allocation.h"
#include "database/working_file.h"
#include "platform/desktop.h"
#include "platform/host_signals.h"
#include "shell/startup.h"

namespace {

constexpr const char* kHelp =
    "Usage: mod2neu [SWITCH VALUE]... [MODEL]\n"
    "Convert a model database (.MOD) to a Neutral file (.neu) in the same directory.\n"
    "\n"
    "Without MODEL, a dialog asks for it. A name without extension means MODEL.mod.\n"
    "\n"
    "Switches, each with - or /, in upper or lower case:\n"
    "  -DIG NUMBER    significant digits of real numbers (8 if not given)\n"
    "  -HWND WINDOW   number of the window that owns the program's windows\n"
    "\n"
    "  --help         show this text and do nothing else\n"
    "  --version      show the version and do nothing else\n"
    "\n"
    "The model file is never changed. The scratch copy lies in the directory that TEMP\n"
    "or TMPDIR names, else in the current one. The exit code is 0 in every case.\n";

// True when an argument asked about the program itself; the first that does is answered.
bool AnswerAboutProgram(const std::vector<std::string>& arguments) {
    for (const std::string& argument : arguments) {
        if (argument == "--help") {
            (void)std::fputs(kHelp, stdout);
            return true;
        }
        if (argument == "--version") {
            std::puts("mod2neu " MOD2NEU_VERSION);
            return true;
        }
    }
    return false;
}

// What a run has left open goes while the host's services still exist: the working copy of a
// model that was refused, and the windows, however the run ends.
class HostSession {
  public:
    HostSession() = default;
    HostSession(const HostSession&) = delete;
    HostSession& operator=(const HostSession&) = delete;
    ~HostSession() {
        mod2neu::CloseWorkingFile();
        mod2neu::TheDesktop().Shutdown();
    }
};

// The database ends the process when its working copy cannot be kept in order.
void EndRun() {
    mod2neu::ShowNotConverted();
    mod2neu::TheDesktop().Shutdown();
}

void Run(const std::vector<std::string>& arguments) {
    if (AnswerAboutProgram(arguments)) {
        return;
    }
    const HostSession session;
    mod2neu::SetFatalHandler(EndRun);
    mod2neu::RunProgram(arguments);
}

}  // namespace

int main(int argc, char** argv) {
    mod2neu::IgnoreWriteSignals();
    try {
        Run(argc > 0 ? std::vector<std::string>(argv + 1, argv + argc)
                     : std::vector<std::string>());
    } catch (const std::exception& failure) {
        (void)std::fprintf(stderr, "mod2neu: the run was broken off: %s\n", failure.what());
        mod2neu::ShowNotConverted();
    }
    return 0;
}
