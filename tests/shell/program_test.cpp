#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <limits>

#include "platform/scratch_directory.h"
#include "shell/empty_model.h"

namespace mod2neu {
namespace {

constexpr unsigned kTimeLimit = 60;  // seconds, for what may hang

// The program itself in a directory with models of every sort, its streams no terminal.
class ProgramTests : public testing::Test {
  protected:
    ProgramTests() {
        ::mkdir((directory / "temp").c_str(), 0700);
        ::mkdir((directory / "folder.mod").c_str(), 0700);
        ::mkfifo((directory / "fifo.mod").c_str(), 0600);
        directory.Write("empty.mod", "");
        directory.Write("short.mod", EmptyModel(6.0).substr(0, 4815));
        directory.Write("old.mod", EmptyModel(5.1));
        directory.Write("wing.mod", EmptyModel(6.0));
    }

    // Runs in the child: no return.
    void Become(const std::string& argument, rlim_t fileLimit) const {
        const int out = ::open((directory / "out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const int in = ::open("/dev/null", O_RDONLY);
        const rlimit limit = {fileLimit, fileLimit};
        const std::string temp = "TEMP=" + directory / "temp";
        const std::array<char*, 2> environment = {const_cast<char*>(temp.c_str()), nullptr};
        if (::dup2(in, 0) == 0 && ::dup2(out, 1) == 1 && ::dup2(out, 2) == 2 &&
            ::chdir(directory.Path().c_str()) == 0 && ::setrlimit(RLIMIT_FSIZE, &limit) == 0) {
            ::alarm(kTimeLimit);
            ::execle(MOD2NEU_PROGRAM, "mod2neu", argument.c_str(), nullptr, environment.data());
        }
        ::_exit(127);
    }

    // The wait status; what was written is in Output().
    [[nodiscard]] int Run(const std::string& argument,
                          rlim_t fileLimit = std::numeric_limits<rlim_t>::max()) const {
        const pid_t child = ::fork();
        if (child == 0) {
            Become(argument, fileLimit);
        }
        int status = -1;
        ::waitpid(child, &status, 0);
        return status;
    }

    [[nodiscard]] std::string Output() const { return BytesOf(directory / "out"); }
    [[nodiscard]] bool Has(const std::string& name) const {
        return ::access((directory / name).c_str(), F_OK) == 0;
    }

    ScratchDirectory directory;
};

TEST_F(ProgramTests, AnswersAboutItself) {
    EXPECT_EQ(Run("--version"), 0);
    EXPECT_EQ(Output(), "mod2neu " MOD2NEU_VERSION "\n");
    EXPECT_EQ(Run("--help"), 0);
    EXPECT_EQ(Output().substr(0, 15), "Usage: mod2neu ");
}

// Whatever is wrong, the program says so and ends with exit code 0.
TEST_F(ProgramTests, RefusesWhatIsNoModel) {
    struct RefusalCase {
        const char* model;
        const char* message;
        bool scratchStays;
    };
    for (const auto& [model, message, scratchStays] : {
             RefusalCase{"missing", "Unable to Open File missing.mod:  .", false},
             RefusalCase{"folder", "Unable to Open File folder.mod:  .", false},
             RefusalCase{"fifo", "Unable to Open File fifo.mod:  .", false},
             RefusalCase{"empty", "Unable to Read From Database: ", true},
             RefusalCase{"short", "Unable to Read From Database: ", true},
             RefusalCase{"old", "Invalid Version 6 Model Database (5.1).", true},
         }) {
        const std::string name = model;
        EXPECT_EQ(Run(name), 0) << name;
        EXPECT_NE(Output().find(message), std::string::npos) << name << ": " << Output();
        EXPECT_FALSE(Has(name + ".neu")) << name;
        EXPECT_EQ(Has("temp/" + name + ".scr"), scratchStays) << name;
    }
    EXPECT_EQ(BytesOf(directory / "old.mod"), EmptyModel(5.1));
}

TEST_F(ProgramTests, ConvertsAndLeavesNothingBehind) {
    EXPECT_EQ(Run("WING"), 0);
    EXPECT_EQ(BytesOf(directory / "WING.neu").substr(0, 27), "   -1\r\n   100\r\nWing box\r\n6.");
    EXPECT_EQ(BytesOf(directory / "wing.mod"), EmptyModel(6.0));
    EXPECT_FALSE(Has("temp/WING.scr"));
    EXPECT_TRUE(Output().ends_with("mod2neu: complete: WING.neu\n")) << Output();
}

// A file-size limit acts like a full disk rather than ending the process.
TEST_F(ProgramTests, ReportsAFileSizeLimit) {
    EXPECT_EQ(Run("wing", 4096), 0);
    EXPECT_NE(Output().find("Error Writing File " + directory / "temp/wing.scr"), std::string::npos)
        << Output();
    EXPECT_FALSE(Has("wing.neu"));
}

}  // namespace
}  // namespace mod2neu
