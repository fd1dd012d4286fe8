#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <random>

#include <fcntl.h>
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

    // Starts the program with what it says going to `log`; no file may grow beyond `largest`.
    pid_t Start(const std::string& model, const std::string& log = "log",
                rlim_t largest = RLIM_INFINITY) {
        const pid_t child = ::fork();
        if (child != 0) {
            return child;
        }
        const int out = ::open((directory_ / log).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        const std::string temp = "TEMP=" + directory_.Path();
        const std::array<char*, 2> environment = {const_cast<char*>(temp.c_str()), nullptr};
        const std::string path = directory_ / model;
        ::alarm(LargeTestsAreOn() ? 3600 : 120);
        const rlimit limit = {largest, largest};
        if (::dup2(out, 1) == 1 && ::dup2(out, 2) == 2 &&
            (largest == RLIM_INFINITY || ::setrlimit(RLIMIT_FSIZE, &limit) == 0)) {
            ::execle(MOD2NEU_PROGRAM, "mod2neu", path.c_str(), nullptr, environment.data());
        }
        ::_exit(126);
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
        EXPECT_EQ(Wait(Start("wing.mod", "log", size)), 0);
        const std::string written = BytesOf(directory_ / "wing.neu");
        EXPECT_TRUE(neutral_.starts_with(written));
        const bool whole = written.size() == neutral_.size();
        EXPECT_TRUE(whole == !SaysError() || size <= 4096);  // the log needs room as well
        EXPECT_TRUE(BytesOf(directory_ / "wing.mod") == model_);
        EXPECT_TRUE(!Has("wing.scr") || size < model_.size());
    }
}

// Models of one name share the place of the working copy, and runs on one model its Neutral file
// too. Whoever finds a file taken says so; nobody's result is spoiled.
TEST_F(HostTest, RunsAtTheSameTimeKeepOutOfEachOthersWay) {
    Write("alone.mod", RichModel({.scale = 150, .noise = 5}).Title("Other").Build());
    ASSERT_EQ(Wait(Start("alone.mod")), 0);
    const std::string neutrals[] = {BytesOf(directory_ / "alone.neu"), neutral_};
    const std::string bytes[] = {BytesOf(directory_ / "alone.mod"), model_};
    bool converted[6] = {};
    std::vector<pid_t> children;
    for (std::size_t i = 0; i < std::size(converted); ++i) {
        const std::string directory = std::to_string(i);
        ::mkdir((directory_ / directory).c_str(), 0700);
        directory_.Write(directory + "/wing.mod", bytes[i % 2]);
    }
    for (std::size_t i = 0; i < 2 * std::size(converted); ++i) {
        children.push_back(Start(std::to_string(i / 2) + "/wing.mod", "log" + std::to_string(i)));
    }
    for (std::size_t i = 0; i < children.size(); ++i) {
        EXPECT_EQ(Wait(children[i]), 0);
        converted[i / 2] |= !SaysError("log" + std::to_string(i));
    }
    EXPECT_NE(std::ranges::count(converted, true), 0);
    EXPECT_FALSE(Has("wing.scr"));
    for (std::size_t i = 0; i < std::size(converted); ++i) {
        const std::string wing = directory_ / std::to_string(i) + "/wing";
        EXPECT_TRUE(BytesOf(wing + ".neu") == (converted[i] ? neutrals[i % 2] : "")) << i;
        EXPECT_TRUE(BytesOf(wing + ".mod") == bytes[i % 2]) << i;
    }
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
