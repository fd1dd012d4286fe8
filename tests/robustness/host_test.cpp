#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <random>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/scratch_directory.h"
#include "robustness/rich_model.h"
#include "robustness/whole_run.h"

namespace mod2neu {
namespace {

// Set to convert models of gigabytes, which takes minutes and as much room on the disk.
bool LargeTestsAreOn() {
    return std::getenv("MOD2NEU_LARGE_TESTS") != nullptr;
}

// The program itself on the real host, with a model of a few megabytes.
class HostTest : public ::testing::Test {
  protected:
    HostTest() {
        Write("wing.mod", RichModel({.scale = 200, .noise = 9}).Shuffle(4).Build());
        EXPECT_EQ(Wait(Start("wing.mod")), 0);
        model_ = BytesOf(directory_ / "wing.mod");
        neutral_ = BytesOf(directory_ / "wing.neu");
        Forget("wing.neu");
    }

    void SetUp() override {
        ASSERT_GT(neutral_.size(), std::size_t{1'000'000});
        ASSERT_FALSE(Has("wing.scr"));
    }

    void Write(const std::string& name, const ModelImage& image) {
        directory_.Write(name, std::string(image.bytes.begin(), image.bytes.end()));
    }

    // Starts the program with what it says going to `log`; `prepare` runs in its process before.
    pid_t Start(const std::string& model, const std::string& log = "log",
                const std::function<bool()>& prepare = nullptr) {
        const pid_t child = ::fork();
        if (child != 0) {
            return child;
        }
        const int out = ::open((directory_ / log).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const std::string temp = "TEMP=" + directory_.Path();
        const std::array<char*, 2> environment = {const_cast<char*>(temp.c_str()), nullptr};
        const std::string path = directory_ / model;
        ::alarm(LargeTestsAreOn() ? 3600 : 120);
        if (::dup2(out, 1) == 1 && ::dup2(out, 2) == 2 && (!prepare || prepare())) {
            ::execle(MOD2NEU_PROGRAM, "mod2neu", path.c_str(), nullptr, environment.data());
        }
        ::_exit(kNotPrepared);
    }

    static int Wait(pid_t child) {
        int status = -1;
        ::waitpid(child, &status, 0);
        return status;
    }

    [[nodiscard]] bool Has(const std::string& name) const {
        return ::access((directory_ / name).c_str(), F_OK) == 0;
    }
    void Forget(const std::string& name) const { ::unlink((directory_ / name).c_str()); }
    [[nodiscard]] std::string Log(const std::string& log = "log") const {
        return BytesOf(directory_ / log);
    }
    [[nodiscard]] bool SaysError(const std::string& log = "log") const {
        return Log(log).find("Errors have Occurred") != std::string::npos ||
               Log(log).find("Unable to") != std::string::npos ||
               Log(log).find("Error Writing File") != std::string::npos;
    }

    static constexpr int kNotPrepared = 126;

    ScratchDirectory directory_;
    std::string model_;
    std::string neutral_;
};

// Killed at any moment, the model is what it was, and the next run overwrites what was left.
TEST_F(HostTest, KillsHarmNothing) {
    std::mt19937 random(1);
    int killed = 0;
    for (int i = 0; i < 30; ++i) {
        const pid_t child = Start("wing.mod");
        ::usleep(static_cast<useconds_t>(random() % 60'000));
        ::kill(child, SIGKILL);
        killed += WIFSIGNALED(Wait(child)) ? 1 : 0;
        ASSERT_TRUE(BytesOf(directory_ / "wing.mod") == model_);
    }
    std::cout << killed << " runs killed half-way\n";
    EXPECT_EQ(Wait(Start("wing.mod")), 0);
    EXPECT_TRUE(BytesOf(directory_ / "wing.neu") == neutral_);
    EXPECT_FALSE(Has("wing.scr"));
    EXPECT_FALSE(SaysError()) << Log();
}

// A limit of the file size stops the working copy first and, above its size, the Neutral file.
TEST_F(HostTest, FileSizeLimitsAreTold) {
    const std::size_t largest = std::max(model_.size(), neutral_.size());
    for (std::size_t step = 0; step <= 16; ++step) {
        const rlim_t size = step * (largest + 1) / 16;
        SCOPED_TRACE(size);
        Forget("wing.neu");
        EXPECT_EQ(Wait(Start("wing.mod", "log",
                             [size] {
                                 const rlimit limit = {size, size};
                                 return ::setrlimit(RLIMIT_FSIZE, &limit) == 0;
                             })),
                  0);
        const std::string written = BytesOf(directory_ / "wing.neu");
        EXPECT_TRUE(neutral_.starts_with(written));
        const bool whole = written.size() == neutral_.size();
        if (size > 4096) {  // what it says must have room as well
            EXPECT_EQ(whole, !SaysError()) << Log();
        }
        EXPECT_TRUE(BytesOf(directory_ / "wing.mod") == model_);
        EXPECT_TRUE(!Has("wing.scr") || size < model_.size());
    }
}

// A small file system of its own holds the temporary files: first it is too small for the working
// copy, then for a solid's file beside it.
TEST_F(HostTest, AFullDiskIsTold) {
    ModelBuilder solids = RichModel({.parts = kSolidPart});
    for (int chunk = 4; chunk <= 400; ++chunk) {
        solids.Add(40, 2, chunk, RecordImage(1964, 1).I32(0, 1960));
    }
    Write("solid.mod", solids.Build());
    const std::string model = BytesOf(directory_ / "solid.mod");
    for (const auto& [size, file] :
         {std::pair(model.size() / 2, "solid.scr"), std::pair(model.size() * 3 / 2, ".TMP")}) {
        SCOPED_TRACE(size);
        const std::string options = "size=" + std::to_string(size);
        ::mkdir((directory_ / "small").c_str(), 0700);
        const int status = Wait(Start("solid.mod", "log", [&] {
            const std::string small = directory_ / "small";
            return ::unshare(CLONE_NEWNS) == 0 &&
                   ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                   ::mount("tmpfs", small.c_str(), "tmpfs", 0, options.c_str()) == 0 &&
                   ::setenv("TEMP", small.c_str(), 1) == 0 &&
                   ::execl(MOD2NEU_PROGRAM, "mod2neu", (directory_ / "solid.mod").c_str(),
                           nullptr) == 0;
        }));
        if (WIFEXITED(status) && WEXITSTATUS(status) == kNotPrepared) {
            GTEST_SKIP() << "may not mount";
        }
        EXPECT_EQ(status, 0);
        const std::string log = Log();
        const std::size_t message = log.find("Error Writing File");
        ASSERT_NE(message, std::string::npos) << log;
        EXPECT_NE(log.find(file, message), std::string::npos) << log;
        EXPECT_TRUE(BytesOf(directory_ / "solid.mod") == model);
    }
}

// Whoever finds the working copy or the Neutral file taken says so; nobody's result is spoiled.
TEST_F(HostTest, RunsOnOneModelKeepOutOfEachOthersWay) {
    for (const int count : {2, 10}) {
        std::vector<pid_t> children;
        for (int i = 0; i < count; ++i) {
            children.push_back(Start("wing.mod", "log" + std::to_string(i)));
        }
        int converted = 0;
        for (int i = 0; i < count; ++i) {
            EXPECT_EQ(Wait(children[static_cast<std::size_t>(i)]), 0);
            converted += SaysError("log" + std::to_string(i)) ? 0 : 1;
        }
        std::cout << converted << " of " << count << " runs converted\n";
        EXPECT_GE(converted, 1);
        EXPECT_TRUE(BytesOf(directory_ / "wing.neu") == neutral_);
        EXPECT_TRUE(BytesOf(directory_ / "wing.mod") == model_);
        EXPECT_FALSE(Has("wing.scr"));
    }
}

// Models of one name in different directories share the place of the working copy.
TEST_F(HostTest, RunsOnModelsOfOneNameDoNotMixThem) {
    const ModelImage other = RichModel({.scale = 150, .noise = 5}).Title("Other").Build();
    for (int i = 0; i < 10; ++i) {
        ::mkdir((directory_ / std::to_string(i)).c_str(), 0700);
        const std::string name = std::to_string(i) + "/wing.mod";
        if (i % 2 == 0) {
            Write(name, other);
        } else {
            directory_.Write(name, model_);
        }
    }
    Write("alone.mod", other);
    ASSERT_EQ(Wait(Start("alone.mod")), 0);
    const std::string otherNeutral = BytesOf(directory_ / "alone.neu");
    std::vector<pid_t> children;
    for (int i = 0; i < 10; ++i) {
        children.push_back(Start(std::to_string(i) + "/wing.mod", "log" + std::to_string(i)));
    }
    int converted = 0;
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(Wait(children[static_cast<std::size_t>(i)]), 0);
        const std::string written = BytesOf(directory_ / (std::to_string(i) + "/wing.neu"));
        if (SaysError("log" + std::to_string(i))) {
            EXPECT_EQ(written, "");
        } else {
            ++converted;
            EXPECT_TRUE(written == (i % 2 == 0 ? otherNeutral : neutral_)) << i;
        }
    }
    EXPECT_GE(converted, 1);
    EXPECT_FALSE(Has("wing.scr"));
}

// A working copy is made neither through a link nor in place of something else.
TEST_F(HostTest, TheWorkingCopyTakesNobodysPlace) {
    directory_.Write("victim", "precious");
    ASSERT_EQ(::symlink((directory_ / "victim").c_str(), (directory_ / "wing.scr").c_str()), 0);
    EXPECT_EQ(Wait(Start("wing.mod")), 0);
    EXPECT_TRUE(SaysError()) << Log();
    EXPECT_EQ(BytesOf(directory_ / "victim"), "precious");
    Forget("wing.scr");
    ::mkdir((directory_ / "wing.scr").c_str(), 0700);
    EXPECT_EQ(Wait(Start("wing.mod")), 0);
    EXPECT_TRUE(SaysError()) << Log();
    EXPECT_FALSE(Has("wing.neu"));
}

// A file with holes and two blocks of nodes, the second at `block`.
void WriteSparseModel(const std::string& path, std::uint32_t block) {
    const ModelImage image = ModelBuilder()
                                 .Add(7, 1, 1, RecordImage(72).F64(32, 1.5))
                                 .Add(7, 1, 99'999'999, RecordImage(72).F64(32, 2.5))
                                 .Build();
    constexpr std::size_t kBlock = 2048;
    ModelImage first = image;
    first.SetU32(ModelImage::EntryOffset(4) + 8, block);
    first.bytes.resize(5 * kBlock);
    std::vector<std::uint8_t> last(image.bytes.begin() + 5 * kBlock,
                                   image.bytes.begin() + 6 * kBlock);
    const std::uint32_t index = block - (block - 3) % 123;
    ModelImage run;
    run.bytes.assign(image.bytes.begin() + 3 * kBlock, image.bytes.begin() + 4 * kBlock);
    run.SetU32(8, index);
    run.SetU32(12, index);
    std::fill(run.bytes.begin() + 84, run.bytes.end(), std::uint8_t{0});
    const std::size_t entry = ModelImage::EntryOffset(block) - std::size_t{index} * kBlock;
    run.SetU32(entry, 1);
    run.SetU32(entry + 4, image.U32(ModelImage::EntryOffset(5) + 4));
    run.SetU32(entry + 12, 4);
    std::ofstream file(path, std::ios::binary);
    const auto put = [&](std::uint32_t number, const std::vector<std::uint8_t>& bytes) {
        file.seekp(std::int64_t{number} * static_cast<std::int64_t>(kBlock));
        file.write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes));
    };
    put(0, first.bytes);
    put(index, run.bytes);
    put(block, last);
}

TEST_F(HostTest, BlocksLieBeyondFourAndEightGigabytes) {
    if (!LargeTestsAreOn()) {
        GTEST_SKIP() << "set MOD2NEU_LARGE_TESTS";
    }
    for (const std::uint32_t block : {0x200010U, 0x400020U}) {
        WriteSparseModel(directory_ / "large.mod", block);
        ASSERT_EQ(Wait(Start("large.mod")), 0);
        const std::map<int, Lines> blocks = BlocksOf(BytesOf(directory_ / "large.neu"));
        EXPECT_EQ(blocks.at(403), (Lines{"1,0,0,0,0,0,0,0,0,0,0,1.5,0.,0.,0,",
                                         "99999999,0,0,0,0,0,0,0,0,0,0,2.5,0.,0.,0,"}));
        EXPECT_FALSE(Has("large.scr"));
    }
}

// A million output vectors' values under database numbers of their own would fill 2 GB; node lists
// of one entry do the same to the index.
TEST_F(HostTest, ATypeHasAMillionDatabaseNumbers) {
    if (!LargeTestsAreOn()) {
        GTEST_SKIP() << "set MOD2NEU_LARGE_TESTS";
    }
    constexpr int kLists = 1'000'000;
    ModelBuilder model;
    for (int id = 1; id <= kLists; ++id) {
        model.Add(8, 1, id, RecordImage(232).I32(104, id));
        model.Add(37, id, 1, RecordImage(24).I32(0, id));
    }
    Write("lists.mod", model.Build());
    EXPECT_EQ(Wait(Start("lists.mod")), 0);
    const Lines lines = BlocksOf(BytesOf(directory_ / "lists.neu")).at(404);
    ASSERT_EQ(lines.size(), std::size_t{9} * kLists);
    EXPECT_TRUE(lines[lines.size() - 2].starts_with(Cat(kLists, ",0,"))) << lines[lines.size() - 2];
}

}  // namespace
}  // namespace mod2neu
