#include "platform/terminal_desktop.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "platform/scratch_directory.h"
#include "platform/terminal_session.h"

namespace mod2neu {
namespace {

constexpr const char* kVersionText =
    "Invalid Version 6 Model Database (5.1).\n\r\nIf this is an old model it must be converted.";
constexpr const char* kVersionLine =
    "Invalid Version 6 Model Database (5.1).If this is an old model it must be converted.";

// A new status line, the way its caller scrolls the items.
void Status(Desktop& desktop, const std::string& text) {
    for (int item = 30000; item < 30003; ++item) {
        desktop.SetItemText(item, desktop.ItemText(item + 1, 159));
    }
    desktop.SetItemText(30003, text);
}

void Box(Desktop& desktop, const std::string& text, BoxIcon icon = BoxIcon::kStop) {
    desktop.MessageBox(kNoWindow, text, "TARNO", BoxModality::kTask, icon);
}

void CreateStatus(Desktop& desktop) {
    desktop.CreateStatusDialog(kNoWindow, "Model Database to Neutral File Conversion", "Status");
}

OpenFileRequest Request(const std::string& directory = ".") {
    return {
        kNoWindow, "Open Model File", {"Model Files (*.MOD)", "*.MOD", "All Files (*.*)", "*.*"},
        directory, "&Open",           "&New Model"};
}

// What `body` prints on a desktop that finds `input` in its pipe and a pipe as standard error.
std::string PrintedInPipes(const std::string& input, const std::function<void(Desktop&)>& body) {
    int in[2];
    int out[2];
    EXPECT_EQ(0, ::pipe(in) + ::pipe(out));
    EXPECT_EQ(static_cast<ssize_t>(input.size()), ::write(in[1], input.data(), input.size()));
    ::close(in[1]);
    {
        TerminalDesktop desktop(in[0], out[1]);
        body(desktop);
    }
    ::close(in[0]);
    ::close(out[1]);
    std::string printed;
    char buffer[4096];
    for (ssize_t count = 0; (count = ::read(out[0], buffer, sizeof buffer)) > 0;) {
        printed.append(buffer, static_cast<std::size_t>(count));
    }
    ::close(out[0]);
    return printed;
}

TEST(TerminalDesktopInPipe, PrintsPlainLinesAndWaitsForNothing) {
    const std::string printed = PrintedInPipes("", [](Desktop& desktop) {
        Box(desktop, "Nothing was up yet.", BoxIcon::kInformation);
        CreateStatus(desktop);
        Status(desktop, "Nothing was up yet?");
        Status(desktop, "Nothing was up yet?");
        Box(desktop, kVersionText);
        Status(desktop, kVersionLine);
        Status(desktop, kVersionLine);
        Box(desktop, std::string(160, 'x'));
        Status(desktop, std::string(159, 'x'));
        Box(desktop, "Tr\u00e4ger\033[2J\n", BoxIcon::kNone);
        Status(desktop, " ");
        EXPECT_EQ(std::string(9, 'x'), desktop.ItemText(30002, 9));
        desktop.ShowOutcome("mod2neu: complete: wing.neu");
    });
    EXPECT_EQ(
        "Information: Nothing was up yet.\n"
        "Nothing was up yet?\n"
        "Nothing was up yet?\n"
        "Error: Invalid Version 6 Model Database (5.1).\n"
        "If this is an old model it must be converted.\n" +
            std::string(kVersionLine) + "\nError: " + std::string(160, 'x') +
            "\nTr\u00e4ger?[2J\nmod2neu: complete: wing.neu\n",
        printed);
}

TEST(TerminalDesktopInPipe, KnowsItsWindows) {
    ::setenv("WINDOWID", "77", 1);
    TerminalDesktop desktop;
    EXPECT_EQ(10U, desktop.VersionWord() & 0xFFU);
    EXPECT_TRUE(desktop.IsWindow(desktop.DesktopWindow()));
    EXPECT_TRUE(desktop.IsWindow(77));
    EXPECT_FALSE(desktop.IsWindow(78));
    ::unsetenv("WINDOWID");
    EXPECT_FALSE(desktop.IsWindow(77));
    EXPECT_FALSE(desktop.IsWindow(kNoWindow));
}

TEST(TerminalDesktopInPipe, OpenDialogTakesOneLine) {
    const ScratchDirectory directory;
    for (const char* name : {"wing.mod", "tail.old.mod", "bare"}) {
        directory.Write(name, "x");
    }
    ::mkfifo((directory / "fifo.mod").c_str(), 0600);
    struct Case {
        std::string input;
        std::string file;
        std::string typed;
    };
    const std::vector<Case> cases = {
        {"wing.mod\nnot read", "wing.mod", "wing.mod"},
        {"  wing \r\n", "wing.MOD", "wing"},
        {"bare", "bare", "bare"},
        {"bare.", "bare", "bare."},
        {"tail.old.mod\n", "tail.old.mod", "tail.old.mod"},
    };
    for (const Case& each : cases) {
        PrintedInPipes(each.input, [&](Desktop& desktop) {
            const auto answer = desktop.AskOpenFile(Request(directory.Path()));
            ASSERT_TRUE(answer.has_value()) << each.input;
            EXPECT_EQ(directory / each.file, answer->path);
            EXPECT_EQ(each.typed, answer->typed);
        });
    }
    for (const std::string& input :
         {std::string("tail.old\n"), std::string("fifo\n"), std::string("1\n"), std::string("\n"),
          std::string(), std::string("/\n"), std::string(60000, 'x')}) {
        PrintedInPipes(input, [&](Desktop& desktop) {
            EXPECT_FALSE(desktop.AskOpenFile(Request(directory.Path()))) << input;
        });
    }
    EXPECT_EQ("Open Model File\nnone.mod: No such file or directory\n",
              PrintedInPipes("none.mod\n", [&](Desktop& desktop) {
                  EXPECT_FALSE(desktop.AskOpenFile(Request(directory.Path())));
              }));
}

TEST(TerminalDesktopOnScreen, RedrawsInPlaceAndKeepsBoxes) {
    ::setenv("WINDOWID", "77", 1);
    TerminalSession session(40, 24, [] {
        TerminalDesktop desktop;
        desktop.SetWindowTitle(77, "wing\a - TARNO");
        desktop.SetWindowTitle(78, "foreign");
        CreateStatus(desktop);
        Status(desktop, "Allocated");
        Box(desktop, kVersionText);
        for (int i = 1; i <= 5; ++i) {
            Status(desktop, std::to_string(i) + " Node(s)\033[2J Translated to the end.");
        }
        Box(desktop, "Errors have Occurred.");
        desktop.Shutdown();
    });
    ASSERT_TRUE(session.WaitFor("Press Enter"));
    EXPECT_FALSE(session.Echoes());
    session.Type("impatient\n");
    ASSERT_TRUE(session.WaitFor("- Press Enter ---------+"));
    const std::vector<std::string> waiting = {
        "+- TARNO: Error ---------------------+",   //
        "| Invalid Version 6 Model Database   |",   //
        "| (5.1).                             |",   //
        "| If this is an old model it must be |",   //
        "| converted.                         |",   //
        "+------------------------------------+",   //
        "Model Database to Neutral File Conve...",  //
        "+- Status ----------------------------+",  //
        "| 2 Node(s)?[2J Translated to the ... |",  //
        "| 3 Node(s)?[2J Translated to the ... |",  //
        "| 4 Node(s)?[2J Translated to the ... |",  //
        "| 5 Node(s)?[2J Translated to the ... |",  //
        "+-------------------------------------+",  //
        "+- TARNO: Error --------+",                //
        "| Errors have Occurred. |",                //
        "+- Press Enter ---------+",
    };
    EXPECT_EQ(waiting, session.Screen());
    session.Type("\x04");
    EXPECT_EQ(0, session.Finish());
    EXPECT_TRUE(session.Echoes());
    // The box that was dismissed stands above the panel.
    std::vector<std::string> dismissed = waiting;
    std::rotate(dismissed.begin() + 6, dismissed.begin() + 13, dismissed.end());
    dismissed[8] = "+-----------------------+";
    EXPECT_EQ(dismissed, session.Screen());
    EXPECT_EQ(std::string::npos, session.Sent().find("impatient"));
    EXPECT_NE(std::string::npos, session.Sent().find("\033]2;wing - TARNO\a"));
    EXPECT_EQ(std::string::npos, session.Sent().find("foreign"));
}

TEST(TerminalDesktopOnScreen, SignalLeavesACleanTerminal) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        for (const bool inBox : {true, false}) {
            TerminalSession session(80, 24, [signal, inBox] {
                TerminalDesktop desktop;
                CreateStatus(desktop);
                if (inBox) {
                    Box(desktop, "Waiting");
                }
                ::raise(signal);
            });
            if (inBox) {
                ASSERT_TRUE(session.WaitFor("Press Enter"));
                session.Type(signal == SIGINT ? "\x03" : "\n");
            }
            const int status = session.Finish();
            EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << signal;
            EXPECT_TRUE(session.Echoes());
            EXPECT_EQ("\r\n", session.Sent().substr(session.Sent().size() - 2));
        }
    }
    // A hang-up that is ignored stays ignored; a screen too low for drawing in place loses no line.
    TerminalSession ignoring(40, 5, [] {
        std::signal(SIGHUP, SIG_IGN);
        TerminalDesktop desktop;
        CreateStatus(desktop);
        ::raise(SIGHUP);
        Status(desktop, "only line");
    });
    EXPECT_EQ(0, ignoring.Finish());
    EXPECT_EQ(14U, ignoring.Screen().size());
}

TEST(TerminalDesktopOnScreen, OpenDialogAsksUntilAFileExists) {
    const ScratchDirectory directory;
    for (const char* name : {"wing.mod", "TAIL.Mod", "esc\033.mod", "readme.txt", ".hidden.mod"}) {
        directory.Write(name, "x");
    }
    std::filesystem::create_directory(directory / "folder.mod");
    const auto ask = [&] {
        std::filesystem::current_path(directory.Path());
        TerminalDesktop desktop;
        for (int i = 0; i < 3; ++i) {
            const auto answer = desktop.AskOpenFile(Request());
            const std::string text =
                answer ? "<" + answer->path + "|" + answer->typed + ">" : "<cancelled>";
            ::dprintf(STDERR_FILENO, "%s\n", text.c_str());
        }
    };
    TerminalSession session(60, 24, ask);
    ASSERT_TRUE(session.WaitFor("name): "));
    const std::vector<std::string> dialog = {
        "+- Open Model File --------+",  //
        "| 1  esc?.mod              |",  //
        "| 2  TAIL.Mod              |",  //
        "| 3  wing.mod              |",  //
        "+- Enter alone: New Model -+",  //
        "Open (number or name): ",
    };
    EXPECT_EQ(dialog, session.Screen());
    const std::vector<std::pair<const char*, const char*>> answers = {
        {"4\n", "4: No such file or directory"},
        {"2\n", "<TAIL.Mod|TAIL.Mod>"},
        {"wing\n", "<wing.MOD|wing>"},
        {"\x04", "<cancelled>"},
    };
    for (const auto& [typed, shown] : answers) {
        session.Type(typed);
        ASSERT_TRUE(session.WaitFor(shown)) << session.Sent();
    }
    EXPECT_EQ(0, session.Finish());
}

}  // namespace
}  // namespace mod2neu
