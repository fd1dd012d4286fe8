#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <functional>
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
    [[nodiscard]] bool SaysError(const std::string& log = "log") const {
        const std::string text = BytesOf(directory_ / log);
        return text.find("Error") != std::string::npos ||
               text.find("Unable to") != std::string::npos;
    }

    // Which of the runs, all at the same time, say that they have converted their model.
    std::vector<bool> RunTogether(const std::vector<std::string>& models) {
        std::vector<pid_t> children;
        for (const std::string& model : models) {
            const std::string log = "log" + std::to_string(children.size());
            children.push_back(Start(model + ".mod", log));
        }
        std::vector<bool> converted;
        for (const pid_t child : children) {
            EXPECT_EQ(Wait(child), 0);
            converted.push_back(!SaysError("log" + std::to_string(converted.size())));
        }
        EXPECT_GE(std::ranges::count(converted, true), 1);
        EXPECT_FALSE(Has("wing.scr"));
        return converted;
    }

    static constexpr int kNotPrepared = 126;

    ScratchDirectory directory_;
    std::string model_;
    std::string neutral_;
};

// Killed at any moment, the model is what it was, and the next run overwrites what was left.
TEST_F(HostTest, KillsHarmNothing) {
    std::mt19937 random(1);
    for (int i = 0; i < 30; ++i) {
        const pid_t child = Start("wing.mod");
        ::usleep(static_cast<useconds_t>(random() % 60'000));
        ::kill(child, SIGKILL);
        Wait(child);
        ASSERT_TRUE(BytesOf(directory_ / "wing.mod") == model_);
    }
    EXPECT_EQ(Wait(Start("wing.mod")), 0);
    EXPECT_TRUE(BytesOf(directory_ / "wing.neu") == neutral_);
    EXPECT_FALSE(Has("wing.scr"));
    EXPECT_FALSE(SaysError());
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
        EXPECT_TRUE(whole == !SaysError() || size <= 4096);  // the log needs room as well
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
        const std::string log = BytesOf(directory_ / "log");
        const std::size_t message = log.find("Error Writing File");
        ASSERT_NE(message, std::string::npos) << log;
        EXPECT_NE(log.find(file, message), std::string::npos) << log;
        EXPECT_TRUE(BytesOf(directory_ / "solid.mod") == model);
    }
}

// Whoever finds the working copy or the Neutral file taken says so; nobody's result is spoiled.
TEST_F(HostTest, RunsOnOneModelKeepOutOfEachOthersWay) {
    RunTogether(std::vector<std::string>(10, "wing"));
    EXPECT_TRUE(BytesOf(directory_ / "wing.neu") == neutral_);
    EXPECT_TRUE(BytesOf(directory_ / "wing.mod") == model_);
}

// Models of one name in different directories share the place of the working copy.
TEST_F(HostTest, RunsOnModelsOfOneNameDoNotMixThem) {
    Write("alone.mod", RichModel({.scale = 150, .noise = 5}).Title("Other").Build());
    ASSERT_EQ(Wait(Start("alone.mod")), 0);
    const std::string neutrals[] = {BytesOf(directory_ / "alone.neu"), neutral_};
    const std::string bytes[] = {BytesOf(directory_ / "alone.mod"), model_};
    std::vector<std::string> models;
    for (std::size_t i = 0; i < 10; ++i) {
        ::mkdir((directory_ / std::to_string(i)).c_str(), 0700);
        models.push_back(std::to_string(i) + "/wing");
        directory_.Write(models[i] + ".mod", bytes[i % 2]);
    }
    const std::vector<bool> converted = RunTogether(models);
    for (std::size_t i = 0; i < 10; ++i) {
        EXPECT_EQ(BytesOf(directory_ / (models[i] + ".neu")), converted[i] ? neutrals[i % 2] : "");
    }
}

// A working copy is not made through a link.
TEST_F(HostTest, TheWorkingCopyTakesNobodysPlace) {
    directory_.Write("victim", "precious");
    ASSERT_EQ(::symlink((directory_ / "victim").c_str(), (directory_ / "wing.scr").c_str()), 0);
    EXPECT_EQ(Wait(Start("wing.mod")), 0);
    EXPECT_TRUE(SaysError());
    EXPECT_EQ(BytesOf(directory_ / "victim"), "precious");
    EXPECT_FALSE(Has("wing.neu"));
}

// A file with holes and two blocks of nodes, the second at `block`.
void WriteSparseModel(const std::string& path, std::uint32_t block) {
    ModelImage image = ModelBuilder()
                           .Add(7, 1, 1, RecordImage(72).F64(32, 1.5))
                           .Add(7, 1, 99'999'999, RecordImage(72).F64(32, 2.5))
                           .Build();
    constexpr std::size_t kBlock = 2048;
    const auto blockAt = [&](std::size_t number) {
        return image.bytes.begin() + static_cast<std::ptrdiff_t>(number * kBlock);
    };
    // The index block that the second block's number belongs to, with that block's entry alone.
    const std::uint32_t index = block - (block - 3) % 123;
    ModelImage run{{blockAt(3), blockAt(4)}, {}, {}};
    std::fill(run.bytes.begin() + 84, run.bytes.end(), std::uint8_t{0});
    const std::size_t entry = ModelImage::EntryOffset(block) - index * kBlock;
    run.SetU32(8, index);
    run.SetU32(12, index);
    run.SetU32(entry, 1);
    run.SetU32(entry + 4, image.U32(ModelImage::EntryOffset(5) + 4));
    run.SetU32(entry + 12, 4);
    image.SetU32(ModelImage::EntryOffset(4) + 8, block);
    std::ofstream file(path, std::ios::binary);
    const auto put = [&](std::size_t number, auto begin, auto end) {
        file.seekp(static_cast<std::streamoff>(number * kBlock));
        std::copy(begin, end, std::ostreambuf_iterator<char>(file));
    };
    put(0, blockAt(0), blockAt(5));
    put(index, run.bytes.begin(), run.bytes.end());
    put(block, blockAt(5), blockAt(6));
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
