#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>

#include "platform/posix_file_services.h"
#include "platform/scratch_directory.h"

namespace mod2neu {
namespace {

constexpr OpenMode kRead = {FileAccess::kRead, FileSharing::kShared};
constexpr OpenMode kReadAlone = {FileAccess::kRead, FileSharing::kExclusive};
constexpr OpenMode kUpdateAlone = {FileAccess::kReadWrite, FileSharing::kExclusive};
constexpr OpenMode kCreateOwnerOnly = {FileAccess::kCreate, FileSharing::kExclusive,
                                       AccessPattern::kSequential, true};

class PosixFiles : public ::testing::Test {
  protected:
    // Opens and closes at once; the error, or 0.
    int OpenError(const std::string& path, const OpenMode& mode) {
        const FileHandle file = files_.Open(path, mode);
        return file == kNoFile ? files_.LastError() : files_.Close(file) ? 0 : -1;
    }

    ScratchDirectory directory_;
    PosixFileServices files_;
};

TEST_F(PosixFiles, LocksKeepOthersOut) {
    const std::string path = directory_.Write("model.mod", "contents");
    for (const OpenMode& mode : {kReadAlone, kUpdateAlone, kRead}) {
        const ScopedFile held(files_.Open(path, mode));
        const int shared = mode.sharing == FileSharing::kShared ? 0 : kSharingViolation;
        EXPECT_EQ(shared == 0, files_.Exists(path));
        EXPECT_EQ(shared, OpenError(path, kRead));
        for (const OpenMode& alone : {kReadAlone, kCreateOwnerOnly}) {
            EXPECT_EQ(kSharingViolation, OpenError(path, alone));
        }
        EXPECT_FALSE(files_.Delete(path));
        EXPECT_EQ("The file is in use by another process", files_.LastErrorText());
        EXPECT_EQ("contents", BytesOf(path));
    }
    EXPECT_EQ(0, OpenError(path, kReadAlone));
}

// A file that is deleted and made anew between open and lock must not be taken for the one that the
// path leads to; one that keeps vanishing must not keep the caller for ever.
int vanishings = 0;
std::string vanishingPath;

TEST_F(PosixFiles, LockIsOnTheFileThatThePathLeadsTo) {
    PosixCalls calls = HostCalls();
    calls.lock = [](int fd, int operation) {
        if (vanishings-- > 0) {
            ::unlink(vanishingPath.c_str());
            ::close(::open(vanishingPath.c_str(), O_CREAT | O_WRONLY, 0600));
        }
        return HostCalls().lock(fd, operation);
    };
    PosixFileServices files(calls);
    for (const OpenMode& mode : {kUpdateAlone, kCreateOwnerOnly}) {
        vanishingPath = directory_.Write("file", "old");
        vanishings = 2;
        const ScopedFile file(files.Open(vanishingPath, mode));
        EXPECT_TRUE(std::filesystem::equivalent(vanishingPath,
                                                "/proc/self/fd/" + std::to_string(file.Get())));
    }
    vanishings = 1000;
    EXPECT_EQ(kNoFile, files.Open(vanishingPath, kUpdateAlone));
    EXPECT_EQ(kSharingViolation, files.LastError());
}

TEST_F(PosixFiles, OwnerOnlyCreationLeavesOthersFilesAlone) {
    const std::string victim = directory_.Write("victim", "precious");
    std::filesystem::create_hard_link(victim, directory_ / "hard");
    std::filesystem::create_symlink(victim, directory_ / "link");
    std::filesystem::create_symlink("nowhere", directory_ / "dangling");
    for (const char* name : {"link", "dangling", "hard", "victim"}) {
        EXPECT_NE(0, OpenError(directory_ / name, kCreateOwnerOnly)) << name;
    }
    EXPECT_EQ("precious", BytesOf(victim));
    EXPECT_FALSE(std::filesystem::exists(directory_ / "nowhere"));

    const std::string own = directory_.Write("own", "left over");
    std::filesystem::permissions(own, std::filesystem::perms{0666});
    PosixCalls calls = HostCalls();
    calls.effectiveUser = [] { return HostCalls().effectiveUser() + 1; };
    EXPECT_EQ(kNoFile, PosixFileServices(calls).Open(own, kCreateOwnerOnly));
    EXPECT_EQ("left over", BytesOf(own));
    for (const std::string& path : {own, directory_ / "new"}) {
        EXPECT_EQ(0, OpenError(path, kCreateOwnerOnly));
        EXPECT_EQ("", BytesOf(path));
        EXPECT_EQ(std::filesystem::perms{0600}, std::filesystem::status(path).permissions());
    }
}

// None of these may wait: a test that hangs here has found a fault.
TEST_F(PosixFiles, OnlyRegularFilesAreOpened) {
    ::mkfifo((directory_ / "fifo").c_str(), 0600);
    const std::string model = directory_.Write("model", "x");
    for (const std::string& path :
         {directory_.Path(), directory_ / "fifo", std::string("/dev/null"), std::string(),
          model + std::string("\0.mod", 5)}) {
        EXPECT_FALSE(files_.Exists(path)) << path;
        EXPECT_NE(0, OpenError(path, kUpdateAlone)) << path;
        EXPECT_NE(0, OpenError(path, kCreateOwnerOnly)) << path;
        EXPECT_FALSE(files_.Delete(path)) << path;
        EXPECT_EQ(path == "/dev/null", OpenError(path, {FileAccess::kCreate}) == 0) << path;
    }
}

TEST_F(PosixFiles, CaseIsForgivenForExistingFilesAlone) {
    const std::string upper = directory_.Write("WING.MOD", "wing");
    const std::string lower = directory_ / "wing.mod";
    EXPECT_EQ(0, OpenError(directory_.Path() + "\\wing.Mod", kRead));
    EXPECT_FALSE(files_.Delete(lower));
    EXPECT_TRUE(files_.SameFile(lower, upper));
    EXPECT_EQ(0, OpenError(lower, {FileAccess::kCreate}));
    EXPECT_EQ("wing", BytesOf(upper));
    EXPECT_FALSE(files_.SameFile(lower, upper));
    EXPECT_FALSE(files_.Exists(directory_ / "Wing.MOD")) << "two files could be meant";
}

TEST_F(PosixFiles, TemporaryFilesAreOurs) {
    std::string name;
    const unsigned number = files_.MakeTempFile(directory_.Path(), "SOLID", 0, &name);
    EXPECT_EQ(name.find(directory_ / "SOL"), 0U);
    EXPECT_EQ(std::stoul(name.substr(directory_.Path().size() + 4), nullptr, 16), number);
    EXPECT_EQ(std::filesystem::perms{0600}, std::filesystem::status(name).permissions());
    EXPECT_EQ(0U, files_.MakeTempFile(directory_ / "missing", "SOL", 0, &name));
}

TEST_F(PosixFiles, NoFileTakesThePlaceOfAStandardStream) {
    const std::string path = directory_.Write("model.mod", "x");
    const auto openBoth = [&] {
        ::close(STDIN_FILENO);
        ::close(STDERR_FILENO);
        const FileHandle first = files_.Open(path, kRead);
        std::exit(std::min(first, files_.Open(path, kRead)) > STDERR_FILENO ? 0 : 1);
    };
    EXPECT_EXIT(openBoth(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace mod2neu
