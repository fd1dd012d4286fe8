#include "shell/paths.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "support/memory_files.h"

namespace mod2neu {
namespace {

bool HasBackslash(const std::string& text) {
    return text.find('\\') != std::string::npos;
}

std::string WithSlashes(std::string text) {
    std::replace(text.begin(), text.end(), '\\', '/');
    return text;
}

struct TextCase {
    const char* input;
    const char* expected;
};

TEST(Paths, TrimBlanksLeavesNothingButBlanksAlone) {
    for (const auto& [input, expected] : {
             TextCase{"", ""},
             TextCase{"wing", "wing"},
             TextCase{" wing", "wing"},
             TextCase{"wing ", "wing"},
             TextCase{" \t\n\v\f\rwing box\r\f\v\n\t ", "wing box"},
             TextCase{" ", " "},
             TextCase{" \t ", " \t "},
             TextCase{"\xA0wing\x85", "\xA0wing\x85"},
         }) {
        std::string text = input;
        TrimBlanks(text);
        EXPECT_EQ(text, expected) << '[' << input << ']';
    }
}

TEST(Paths, FixDriveRelative) {
    for (const auto& [input, expected] : {
             TextCase{"", ""},
             TextCase{"x", "x"},
             TextCase{"D:x", "D:.\\x"},
             TextCase{"D:", "D:.\\"},
             TextCase{"D:\\x", "D:\\x"},
             TextCase{"D:/x", "D:/x"},
             TextCase{"D:x\\y", "D:x\\y"},
             TextCase{"sub\\D:x", "sub\\D:.\\x"},
             TextCase{"sub/D:x", "sub/D:./x"},
         }) {
        std::string path = input;
        FixDriveRelative(path);
        EXPECT_EQ(path, expected) << input;
    }
}

struct ExtensionCase {
    const char* path;
    const char* ext;
    bool replace;
    const char* expected;
};

void CheckExtension(std::string path, const ExtensionCase& row, const std::string& expected) {
    const std::string input = path;
    SetDefaultExtension(path, row.ext, row.replace);
    EXPECT_EQ(path, expected) << input << ' ' << row.ext << ' ' << row.replace;
}

TEST(Paths, ExtensionStartsAtTheFirstPointOfTheName) {
    for (const ExtensionCase& row : {
             ExtensionCase{"wing", ".mod", false, "wing.mod"},
             ExtensionCase{"wing", ".neu", true, "wing.neu"},
             ExtensionCase{"wing.MOD", ".mod", false, "wing.MOD"},
             ExtensionCase{"wing.old.mod", ".mod", false, "wing.old.mod"},
             ExtensionCase{"wing.old.mod", ".neu", true, "wing.neu"},
             ExtensionCase{"wing.", ".mod", false, "wing."},
             ExtensionCase{"wing.", ".neu", true, "wing.neu"},
             ExtensionCase{".wing", ".mod", false, ".wing"},
             ExtensionCase{".wing", ".neu", true, ".neu"},
             ExtensionCase{" \twing \r\n", ".mod", false, "wing.mod"},
             ExtensionCase{" wing.mod ", ".neu", true, "wing.neu"},
             ExtensionCase{"D:model", ".mod", false, "D:.\\model.mod"},
             ExtensionCase{"D:wing.old.mod", ".neu", true, "D:.\\wing.neu"},
             ExtensionCase{"D:\\proj.old\\model", ".mod", false, "D:\\proj.old\\model.mod"},
             ExtensionCase{"proj.old\\model.mod", ".neu", true, "proj.old\\model.neu"},
             ExtensionCase{"..\\models\\wing", ".mod", false, "..\\models\\wing.mod"},
             ExtensionCase{"v1.2\\", ".scr", true, "v1.2\\.scr"},
         }) {
        CheckExtension(row.path, row, row.expected);
        if (HasBackslash(row.path)) {
            CheckExtension(WithSlashes(row.path), row, WithSlashes(row.expected));
        }
    }
    std::string mixed = "models\\v1.2/wing";
    SetDefaultExtension(mixed, ".mod", false);
    EXPECT_EQ(mixed, "models\\v1.2/wing.mod");
}

TEST(Paths, NoResultIsLongerThanThePathLimit) {
    for (const std::size_t length : {254U, 255U, 256U, 259U}) {
        std::string path(length, 'x');
        SetDefaultExtension(path, ".mod", false);
        EXPECT_EQ(path, (std::string(length, 'x') + ".mod").substr(0, 259)) << length;
    }
    std::string relative = "D:" + std::string(257, 'x');
    FixDriveRelative(relative);
    EXPECT_EQ(relative, "D:.\\" + std::string(255, 'x'));
    std::string moved = "m\\frame.scr";
    ReplaceDirectory(moved, std::string(255, 'd'));
    EXPECT_EQ(moved, std::string(255, 'd') + "\\fra");
}

struct DirectoryCase {
    const char* path;
    const char* directory;
    const char* expected;
};

using DirectoryOperation = void (*)(std::string&, const std::string&);

void CheckDirectories(DirectoryOperation operation, const std::vector<DirectoryCase>& rows) {
    for (const auto& [path, directory, expected] : rows) {
        std::string changed = path;
        operation(changed, directory);
        EXPECT_EQ(changed, expected) << path << " in " << directory;
        // Only a directory that uses slashes already gives a result that uses them.
        if (!IsBlank(directory) && !HasBackslash(directory)) {
            continue;
        }
        changed = WithSlashes(path);
        operation(changed, WithSlashes(directory));
        EXPECT_EQ(changed, WithSlashes(expected)) << WithSlashes(path) << " in " << directory;
    }
}

TEST(Paths, OnlyABareNameIsQualified) {
    const std::vector<DirectoryCase> cases = {
        {"x.mod", ".\\", ".\\x.mod"},           {"x.mod", "", "x.mod"},
        {"x.mod", "dir", "dir\\x.mod"},         {"x.mod", "D:", "D:.\\x.mod"},
        {"x.mod", "D:\\dir", "D:\\dir\\x.mod"}, {"x.mod", "a.b\\", "a.b\\x.mod"},
        {"\\x.mod", ".\\", "\\x.mod"},          {"sub\\x.mod", "D:\\dir", "sub\\x.mod"},
        {"..\\x.mod", ".\\", "..\\x.mod"},
    };
    CheckDirectories(QualifyWithDirectory, cases);
}

TEST(Paths, DriveRelativeNameIsNotBare) {
    std::string path = "D:x.mod";
    QualifyWithDirectory(path, ".\\");
    EXPECT_EQ(path, "D:.\\x.mod");
}

TEST(Paths, ReplaceDirectoryDropsDriveAndDirectory) {
    const std::vector<DirectoryCase> cases = {
        {"D:\\m\\frame.scr", "T", "T\\frame.scr"},
        {"D:\\m\\frame.scr", "T\\", "T\\frame.scr"},
        {"D:\\m\\frame.scr", "", "frame.scr"},
        {"D:frame.scr", "", "frame.scr"},
        {"frame.scr", "", "frame.scr"},
        {"frame.scr", "E:", "E:.\\frame.scr"},
        {"m\\frame.a.scr", "E:\\t.d", "E:\\t.d\\frame.a.scr"},
    };
    CheckDirectories(ReplaceDirectory, cases);
    std::string path = "D:\\m\\frame.scr";
    ReplaceDirectory(path, "/var/tmp");
    EXPECT_EQ(path, "/var/tmp/frame.scr");
}

TEST(Paths, CopyBoundedLeavesRoomForTheTerminator) {
    EXPECT_EQ(CopyBounded("abc", 5), "abc");
    EXPECT_EQ(CopyBounded("abc", 4), "abc");
    EXPECT_EQ(CopyBounded("abc", 3), "ab");
    EXPECT_EQ(CopyBounded("abc", 1), "");
    EXPECT_TRUE(IsBlank(""));
    EXPECT_FALSE(IsBlank(" "));
}

class FileTests : public testing::Test {
  protected:
    MemoryFiles files;
};

TEST_F(FileTests, BareNameIsLookedForInTheCurrentDirectory) {
    files.Put("/memory/x.mod", "model");
    files.Put("/temp/y.mod", "model");
    std::string full;
    EXPECT_TRUE(FileExists("x.mod", nullptr, &full));
    EXPECT_EQ(full, "/memory/x.mod");
    EXPECT_FALSE(FileExists("y.mod"));
    EXPECT_TRUE(FileExists("\\temp\\y.mod"));
    EXPECT_TRUE(FileExists("/temp/y.mod"));
}

TEST_F(FileTests, ExistenceTellsAHeldFileFromAMissingOne) {
    files.Put("x.mod", "model");
    bool held = true;
    EXPECT_TRUE(FileExists("x.mod", &held));
    EXPECT_FALSE(held);

    files.HoldElsewhere("x.mod");
    std::string full = "untouched";
    EXPECT_FALSE(FileExists("x.mod", nullptr, &full));
    EXPECT_EQ(full, "untouched");
    EXPECT_FALSE(FileExists("x.mod", &held, &full));
    EXPECT_TRUE(held);
    EXPECT_EQ(full, "/memory/x.mod");

    full = "untouched";
    EXPECT_FALSE(FileExists("y.mod", &held, &full));
    EXPECT_FALSE(held);
    EXPECT_EQ(full, "untouched");
    EXPECT_EQ(SystemErrorText(), std::strerror(ENOENT));
}

// The length counts as tested, so a bare name has the two characters of its directory less.
TEST_F(FileTests, LongPathsAreOutOfReach) {
    const std::string longest(kMaxTestedPath - 2, 'x');
    for (const std::string& path : {longest, "/" + std::string(126, 'y')}) {
        const std::string tooLong = path + "z";
        files.Put(path, "12345");
        files.Put(tooLong, "12345");
        EXPECT_TRUE(FileExists(path));
        EXPECT_EQ(FileSizeOf(path), 5);
        EXPECT_TRUE(DeleteFileByName(path));

        const std::size_t calls = files.calls.size();
        bool held = true;
        EXPECT_FALSE(FileExists(tooLong, &held));
        EXPECT_FALSE(held);
        EXPECT_EQ(FileSizeOf(tooLong), -1);
        EXPECT_FALSE(DeleteFileByName(tooLong));
        EXPECT_EQ(files.calls.size(), calls);
        EXPECT_TRUE(files.Has(tooLong));
    }
}

TEST_F(FileTests, DeletesOnlyWhatNobodyHolds) {
    files.Put("x.scr", "copy");
    files.HoldElsewhere("x.scr");
    EXPECT_FALSE(DeleteFileByName("x.scr"));
    files.ReleaseElsewhere("x.scr");
    EXPECT_TRUE(DeleteFileByName("x.scr"));
    EXPECT_FALSE(files.Has("x.scr"));
    EXPECT_FALSE(DeleteFileByName("x.scr"));
}

TEST_F(FileTests, SizeIsMinusOneWhenItCannotBeFound) {
    files.Put("empty", "");
    files.Put("full", std::string(70000, 'x'));
    EXPECT_EQ(FileSizeOf("empty"), 0);
    EXPECT_EQ(FileSizeOf("full"), 70000);
    EXPECT_EQ(FileSizeOf("missing"), -1);
    files.FailCall(FileCall::kSeek, files.CallCount(FileCall::kSeek) + 1, EIO);
    EXPECT_EQ(FileSizeOf("full"), -1);
    EXPECT_EQ(files.OpenHandles(), 0U);
}

TEST_F(FileTests, TemporaryNameIsAbsoluteAndItsFileExists) {
    std::string name;
    const unsigned first = MakeTempFileName("", "SOLID", 0, name);
    EXPECT_NE(first, 0U);
    EXPECT_EQ(name.substr(0, 9), "/temp/SOL");
    EXPECT_EQ(std::stoul(name.substr(9), nullptr, 16), first);
    EXPECT_EQ(name.substr(name.size() - 4), ".TMP");
    EXPECT_TRUE(files.Has(name));

    std::string other;
    EXPECT_NE(MakeTempFileName("sub", "SOL", 0, other), first);
    EXPECT_EQ(other.substr(0, 15), "/memory/sub/SOL");
    EXPECT_EQ(MakeTempFileName("", "SOL", 0x1F, other), 0x1FU);
    EXPECT_EQ(other, "/temp/SOL1F.TMP");
    EXPECT_FALSE(files.Has(other));

    files.FailCall(FileCall::kMakeTempFile, 4, ENOSPC);
    EXPECT_EQ(MakeTempFileName("", "SOL", 0, name), 0U);
}

TEST_F(FileTests, RawFileIsReadInPlaceOrWrittenAnew) {
    EXPECT_EQ(OpenRawFile("raw.tmp", false, false), kNoFile);
    files.Put("raw.tmp", "an older and longer text");
    const ScopedFile written(OpenRawFile("raw.tmp", true, false));
    ASSERT_TRUE(written.IsOpen());
    EXPECT_EQ(Files().Write(written.Get(), "new", 3), 3);
    const ScopedFile read(OpenRawFile("raw.tmp", false, true));
    ASSERT_TRUE(read.IsOpen());
    EXPECT_EQ(Files().Write(read.Get(), "x", 1), -1);
    EXPECT_EQ(files.Bytes("raw.tmp"), "new");
}

TEST_F(FileTests, FullPathBeyondTheLimitLeavesThePathAlone) {
    std::string path = "sub\\..\\x.scr";
    FullPathOf(path);
    EXPECT_EQ(path, "/memory/x.scr");
    for (const std::size_t length : {251U, 252U}) {
        path = std::string(length, 'x');
        FullPathOf(path);
        EXPECT_EQ(path, (length == 251 ? "/memory/" : "") + std::string(length, 'x'));
    }
}

}  // namespace
}  // namespace mod2neu
