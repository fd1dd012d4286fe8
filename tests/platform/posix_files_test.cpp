#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>
#include <utility>

#include "platform/posix_file_services.h"
#include "platform/scratch_directory.h"

namespace mod2neu {
namespace {

constexpr OpenMode kRead = {FileAccess::kRead, FileSharing::kShared};
constexpr OpenMode kReadAlone = {FileAccess::kRead, FileSharing::kExclusive};
constexpr OpenMode kUpdateAlone = {FileAccess::kReadWrite, FileSharing::kExclusive};
constexpr OpenMode kCreate = {FileAccess::kCreate, FileSharing::kShared};
constexpr OpenMode kCreateOwnerOnly = {FileAccess::kCreate, FileSharing::kExclusive,
                                       AccessPattern::kSequential, true};

// With one file of each sort that no model is.
class PosixFiles : public ::testing::Test {
  protected:
    PosixFiles() {
        ::mkdir((directory_ / "directory").c_str(), 0700);
        ::mkfifo((directory_ / "fifo").c_str(), 0600);
        ::symlink("nowhere", (directory_ / "dangling").c_str());
    }

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
    const auto expect = [&](int shared, int exclusive) {
        EXPECT_EQ(shared == 0, files_.Exists(path));
        EXPECT_EQ(shared, OpenError(path, kRead));
        EXPECT_EQ(exclusive, OpenError(path, kReadAlone));
        if (shared != 0) {
            EXPECT_EQ(shared, OpenError(path, kCreate));
        }
        if (exclusive != 0) {
            EXPECT_EQ(exclusive, OpenError(path, kCreateOwnerOnly));
            EXPECT_FALSE(files_.Delete(path));
            EXPECT_EQ("The file is in use by another process", files_.LastErrorText());
        }
        EXPECT_EQ("contents", BytesOf(path));
    };
    for (const OpenMode& mode : {kReadAlone, kUpdateAlone, kRead}) {
        const ScopedFile held(files_.Open(path, mode));
        expect(mode.sharing == FileSharing::kShared ? 0 : kSharingViolation, kSharingViolation);
    }
    expect(0, 0);
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
    for (const OpenMode& mode : {kRead, kUpdateAlone, kCreate, kCreateOwnerOnly}) {
        vanishingPath = directory_.Write("file", "old");
        vanishings = 2;
        const ScopedFile file(files.Open(vanishingPath, mode));
        struct stat opened {};
        struct stat named {};
        ASSERT_EQ(0, ::fstat(file.Get(), &opened) + ::stat(vanishingPath.c_str(), &named));
        EXPECT_EQ(named.st_ino, opened.st_ino);
    }
    vanishings = 1000;
    EXPECT_EQ(kNoFile, files.Open(vanishingPath, kUpdateAlone));
    EXPECT_EQ(kSharingViolation, files.LastError());
}

TEST_F(PosixFiles, OwnerOnlyCreationLeavesOthersFilesAlone) {
    const std::string victim = directory_.Write("victim", "precious");
    ::link(victim.c_str(), (directory_ / "hard").c_str());
    ::symlink(victim.c_str(), (directory_ / "link").c_str());
    for (const char* name : {"link", "dangling", "hard", "directory", "fifo", "victim"}) {
        EXPECT_NE(0, OpenError(directory_ / name, kCreateOwnerOnly)) << name;
    }
    EXPECT_EQ("precious", BytesOf(victim));
    EXPECT_FALSE(std::filesystem::exists(directory_ / "nowhere"));

    const std::string own = directory_.Write("own", "left over");
    ::chmod(own.c_str(), 0666);
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
    const std::pair<std::string, std::pair<int, int>> cases[] = {
        // Error of opening and of creating; a device may be written to.
        {directory_ / "directory", {EISDIR, EISDIR}},
        {directory_ / "fifo", {ENXIO, ENXIO}},
        {"/dev/null", {ENXIO, 0}},
        {directory_ / "missing/file", {ENOENT, ENOENT}},
        {"", {ENOENT, ENOENT}},
        {directory_.Write("model", "x") + std::string("\0.mod", 5), {ENOENT, ENOENT}}};
    for (const auto& [path, errors] : cases) {
        EXPECT_FALSE(files_.Exists(path)) << path;
        EXPECT_EQ(errors.first, OpenError(path, kRead)) << path;
        EXPECT_NE(0, OpenError(path, kUpdateAlone)) << path;
        EXPECT_FALSE(files_.Delete(path)) << path;
        EXPECT_EQ(errors.second, OpenError(path, kCreate)) << path;
    }
}

TEST_F(PosixFiles, PositionsGoBeyondFourGibibytes) {
    constexpr std::int64_t kFar = (std::int64_t{5} << 30) + 7;
    const FileHandle file = files_.Open(directory_ / "big", kCreate);
    EXPECT_EQ(kFar, files_.Seek(file, kFar, SeekOrigin::kBegin));
    EXPECT_EQ(1, files_.Write(file, "x", 1));
    EXPECT_EQ(kFar + 1, files_.Size(file));
    EXPECT_EQ(kFar, files_.Seek(file, -1, SeekOrigin::kEnd));
    EXPECT_TRUE(files_.Close(file) && !files_.Close(file));
}

TEST_F(PosixFiles, CaseIsForgivenForExistingFilesAlone) {
    const std::string upper = directory_.Write("WING.MOD", "wing");
    const std::string lower = directory_ / "wing.mod";
    directory_.Write("Tail.mod", "1");
    directory_.Write("tail.MOD", "2");
    EXPECT_EQ(0, OpenError(directory_.Path() + "\\wing.Mod", kRead));
    EXPECT_FALSE(files_.Exists(directory_ / "tail.mod"));
    EXPECT_FALSE(files_.Exists(directory_ / "wing.mo"));
    EXPECT_FALSE(files_.Delete(lower));
    EXPECT_TRUE(files_.SameFile(lower, upper));
    EXPECT_EQ(0, OpenError(lower, kCreate));
    EXPECT_EQ("wing", BytesOf(upper));
    EXPECT_FALSE(files_.SameFile(lower, upper));
    EXPECT_FALSE(files_.SameFile(directory_ / "none", directory_ / "none"));
}

TEST_F(PosixFiles, TemporaryFilesAreNewAndOurs) {
    std::string name;
    const unsigned number = files_.MakeTempFile(directory_.Path(), "SOLID", 0, &name);
    EXPECT_EQ(name.find(directory_ / "SOL"), 0U);
    EXPECT_EQ(std::stoul(name.substr(directory_.Path().size() + 4), nullptr, 16), number);
    EXPECT_EQ(std::filesystem::perms{0600}, std::filesystem::status(name).permissions());
    EXPECT_EQ(0xBEEFU, files_.MakeTempFile("dir\\", "S", 0xBEEF, &name));
    EXPECT_EQ("dir\\SBEEF.TMP", name);
    EXPECT_EQ(0U, files_.MakeTempFile(directory_ / "missing", "SOL", 0, &name));
    ::setenv("TMPDIR", "/second", 1);
    ::setenv("TEMP", "/first", 1);
    EXPECT_EQ("/first", files_.TempDirectory());
    ::unsetenv("TEMP");
    EXPECT_EQ("/second", files_.TempDirectory());
    ::unsetenv("TMPDIR");
    EXPECT_EQ("", files_.TempDirectory());
}

// Whatever FullPath leaves out, the path must still lead to the same file.
TEST_F(PosixFiles, FullPathMeansTheSameFile) {
    ::symlink("/usr/bin", (directory_ / "link").c_str());
    const std::filesystem::path previous = std::filesystem::current_path();
    std::filesystem::current_path(directory_.Path());
    EXPECT_EQ(directory_ / "x.mod", files_.FullPath(".\\x.mod"));
    EXPECT_EQ(directory_ / "x.mod", files_.FullPath("directory//./../x.mod"));
    EXPECT_EQ(directory_ / "link/../x", files_.FullPath("link/../x"));
    EXPECT_EQ("/etc/x", files_.FullPath("/../../etc/./x"));
    EXPECT_EQ("/", files_.FullPath("/"));
    std::filesystem::current_path(previous);
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

// Both positions move on, so that what the host leaves can be read and written behind it.
TEST_F(PosixFiles, CopiesWithinTheHostUpToTheEnd) {
    const std::string text(300000, 'c');
    const FileHandle from = files_.Open(directory_.Write("from", "12345" + text), {});
    const FileHandle to = files_.Open(directory_ / "to", kCreate);
    char skipped[5];
    ASSERT_EQ(files_.Write(to, "head", 4) + files_.Read(from, skipped, sizeof skipped), 9);
    std::int64_t copied = 0;
    for (std::int64_t size = 1; size > 0; copied += size) {
        size = files_.CopyRange(from, to, 131072);
        ASSERT_GE(size, 0);
    }
    EXPECT_EQ(copied, 300000);
    EXPECT_EQ(files_.Write(to, "tail", 4), 4);
    EXPECT_EQ(BytesOf(directory_ / "to"), "head" + text + "tail");
    EXPECT_LT(files_.CopyRange(to, from, 1), 0) << "a file that was opened for reading";
    EXPECT_TRUE(files_.Close(from) && files_.Close(to));
}

}  // namespace
}  // namespace mod2neu
