#include "platform/terminal_desktop.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "platform/scratch_directory.h"

namespace mod2neu {
namespace {

// A child process that runs `body` with a terminal of its own as its standard streams, in the
// foreground of its own session; the test sits at the keyboard and reads the screen.
class TerminalSession {
  public:
    TerminalSession(unsigned short columns, unsigned short rows,
                    const std::function<void()>& body) {
        const winsize size = {rows, columns, 0, 0};
        child_ = ::forkpty(&master_, nullptr, nullptr, &size);
        if (child_ == 0) {
            ::setenv("TERM", "xterm", 1);
            ::setenv("LC_ALL", "C", 1);
            ::alarm(60);
            body();
            ::_exit(0);
        }
    }
    ~TerminalSession() { ::close(master_); }

    // Reads until `text` has appeared after what was waited for before, then types `keys`.
    void Answer(const std::string& text, const std::string& keys) {
        std::size_t found = std::string::npos;
        while ((found = sent_.find(text, seen_)) == std::string::npos) {
            ASSERT_TRUE(ReadMore()) << text << " is not in " << sent_;
        }
        seen_ = found + text.size();
        EXPECT_EQ(static_cast<ssize_t>(keys.size()), ::write(master_, keys.data(), keys.size()));
    }

    // Reads to the end; the child's wait status. The terminal shows again what is typed.
    int Finish() {
        while (ReadMore()) {
        }
        termios state{};
        EXPECT_TRUE(::tcgetattr(master_, &state) == 0 && (state.c_lflag & ECHO) != 0);
        int status = -1;
        ::waitpid(child_, &status, 0);
        return status;
    }

    [[nodiscard]] const std::string& Sent() const { return sent_; }

  private:
    // False when the child has ended, which its alarm sees to.
    bool ReadMore() {
        char buffer[1024];
        const ssize_t count = ::read(master_, buffer, sizeof buffer);
        sent_.append(buffer, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        return count > 0;
    }

    int master_ = -1;
    pid_t child_ = -1;
    std::size_t seen_ = 0;
    std::string sent_;
};

void CreateStatus(Desktop& desktop) {
    desktop.CreateStatusDialog(kNoWindow, "Model Database to Neutral File Conversion", "Status");
}

// Scrolls the items as the callers do.
void Status(Desktop& desktop, const std::string& text) {
    for (int item = 30000; item < 30003; ++item) {
        desktop.SetItemText(item, desktop.ItemText(item + 1, 159));
    }
    desktop.SetItemText(30003, text);
}

void Box(Desktop& desktop, const std::string& text, BoxIcon icon = BoxIcon::kStop) {
    desktop.MessageBox(kNoWindow, text, "TARNO", BoxModality::kTask, icon);
}

// What the open-file dialog answers.
std::string AskOpen(Desktop& desktop, const std::string& directory) {
    const auto answer = desktop.AskOpenFile(
        {kNoWindow, "Open Model File", {"Models", "*.MOD"}, directory, "&Open", "&New Model"});
    return answer ? answer->path + "|" + answer->typed : "cancelled";
}

TEST(TerminalDesktopElsewhere, PrintsPlainLinesAndWaitsForNothing) {
    const ScratchDirectory directory;
    directory.Write("bare", "x");
    const std::string input = directory.Write("in", "  wing.old \r\n1\nbare.");
    const int in = ::open(input.c_str(), O_RDONLY);
    const int out = ::open((directory / "out").c_str(), O_WRONLY | O_CREAT, 0600);
    TerminalDesktop desktop(in, out);
    EXPECT_EQ("cancelled", AskOpen(desktop, directory.Path()));
    EXPECT_EQ("cancelled", AskOpen(desktop, directory.Path()));
    EXPECT_EQ(directory / "bare|bare.", AskOpen(desktop, directory.Path()));
    CreateStatus(desktop);
    Box(desktop, "Old.\n\r\nConvert it.");
    Status(desktop, "Old.Convert it.");  // repeats the box
    Status(desktop, "Old.Convert it.");
    Box(desktop, std::string(160, 'x'));
    Status(desktop, std::string(159, 'x'));
    Box(desktop, "Tr\u00e4ger\033[2J\n", BoxIcon::kInformation);
    Status(desktop, " ");
    desktop.ShowOutcome("mod2neu: complete: wing.neu");
    ::setenv("WINDOWID", "77", 1);
    EXPECT_TRUE(desktop.IsWindow(77) && !desktop.IsWindow(78) && !desktop.IsWindow(kNoWindow));
    EXPECT_EQ(0, ::close(in) + ::close(out));
    EXPECT_EQ(
        "Open Model File\nwing.old: No such file or directory\n"
        "Open Model File\n1: No such file or directory\nOpen Model File\n"
        "Error: Old.\nConvert it.\nOld.Convert it.\nError: " +
            std::string(160, 'x') + "\nInformation: Tr\u00e4ger?[2J\nmod2neu: complete: wing.neu\n",
        BytesOf(directory / "out"));
}

// The panel is drawn anew, seven lines up, with every status line, the progress and its end; the
// dismissed box goes up ten lines with it and then stands above.
TEST(TerminalDesktopOnScreen, RedrawsInPlaceAndKeepsBoxes) {
    ::setenv("WINDOWID", "77", 1);
    TerminalSession session(40, 24, [] {
        TerminalDesktop desktop;
        desktop.SetWindowTitle(77, "wing\a - TARNO");
        desktop.SetWindowTitle(78, "foreign");
        CreateStatus(desktop);
        for (int i = 1; i <= 5; ++i) {
            Status(desktop, std::to_string(i) + " Node(s)\033[2J Translated to the end.");
        }
        desktop.ShowProgress("Converting", 500);
        desktop.EndProgress();
        Box(desktop, "Errors have Occurred.");
    });
    session.Answer("+- Converting ########......... 50 % -+", "");
    session.Answer("- Press Enter ---------+", "impatient\n");
    EXPECT_EQ(0, session.Finish());
    const std::string sent = session.Sent();
    EXPECT_TRUE(sent.starts_with("\033]2;wing - TARNO\aModel Database")) << sent;
    EXPECT_EQ(std::string::npos, sent.find("impatient"));
    std::size_t redrawn = 0;
    for (std::size_t at = 0; (at = sent.find("\033[7A\r", at)) != std::string::npos; ++at) {
        ++redrawn;
    }
    EXPECT_EQ(7U, redrawn);
    EXPECT_TRUE(
        sent.ends_with("\033[10A\r\033[J"
                       "+- TARNO: Error --------+\033[K\r\n"
                       "| Errors have Occurred. |\033[K\r\n"
                       "+-----------------------+\033[K\r\n\r"
                       "Model Database to Neutral File Conve...\033[K\r\n"
                       "+- Status ----------------------------+\033[K\r\n"
                       "| 2 Node(s)?[2J Translated to the ... |\033[K\r\n"
                       "| 3 Node(s)?[2J Translated to the ... |\033[K\r\n"
                       "| 4 Node(s)?[2J Translated to the ... |\033[K\r\n"
                       "| 5 Node(s)?[2J Translated to the ... |\033[K\r\n"
                       "+-------------------------------------+\033[K\r\n"))
        << sent;
}

// A hang-up that is ignored stays ignored; a screen too low for drawing in place loses no line.
TEST(TerminalDesktopOnScreen, SignalLeavesACleanTerminal) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGABRT}) {
        TerminalSession session(80, 24, [signal] {
            TerminalDesktop desktop;
            CreateStatus(desktop);
            Box(desktop, "Waiting");
            (void)::raise(signal);
        });
        session.Answer("Press Enter", signal == SIGINT ? "\x03" : "\x04");
        const int status = session.Finish();
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << signal;
        EXPECT_TRUE(session.Sent().ends_with("\r\n"));
    }
    TerminalSession ignoring(40, 5, [] {
        (void)std::signal(SIGHUP, SIG_IGN);
        TerminalDesktop desktop;
        CreateStatus(desktop);
        (void)::raise(SIGHUP);
        Status(desktop, "only line");
    });
    EXPECT_EQ(0, ignoring.Finish());
    EXPECT_EQ(std::string::npos, ignoring.Sent().find("A\r"));
}

TEST(TerminalDesktopOnScreen, OpenDialogAsksUntilAFileExists) {
    const ScratchDirectory directory;
    for (const char* name : {"wing.mod", "TAIL.Mod", "esc\033.mod", "readme.txt", ".hidden.mod"}) {
        directory.Write(name, "x");
    }
    std::filesystem::create_directory(directory / "folder.mod");
    TerminalSession session(60, 24, [&] {
        std::filesystem::current_path(directory.Path());
        TerminalDesktop desktop;
        for (int i = 0; i < 3; ++i) {
            ::dprintf(STDERR_FILENO, "%s\n", AskOpen(desktop, ".").c_str());
        }
    });
    session.Answer(
        "+- Open Model File --------+\r\n"
        "| 1  esc?.mod              |\r\n"
        "| 2  TAIL.Mod              |\r\n"
        "| 3  wing.mod              |\r\n"
        "+- Enter alone: New Model -+\r\n",
        "4\n");
    session.Answer("4: No such file or directory", "2\n");
    session.Answer("TAIL.Mod|TAIL.Mod", "wing\n");
    session.Answer("wing.MOD|wing", "\x04");
    session.Answer("cancelled", "");
    EXPECT_EQ(0, session.Finish());
}

}  // namespace
}  // namespace mod2neu
