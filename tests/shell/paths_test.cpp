#include "shell/paths.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

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

using Pairs = std::vector<std::pair<std::string, std::string>>;

TEST(Paths, TrimBlanksLeavesNothingButBlanksAlone) {
    for (const auto& [input, expected] : Pairs{
             {"", ""},
             {" \t\n\v\f\rwing box\r\f\v\n\t ", "wing box"},
             {" \t ", " \t "},
             {"\xA0wing\x85", "\xA0wing\x85"},
         }) {
        std::string text = input;
        TrimBlanks(text);
        EXPECT_EQ(text, expected) << '[' << input << ']';
    }
}

TEST(Paths, FixDriveRelative) {
    for (const auto& [input, expected] : Pairs{
             {"", ""},
             {"D:x", "D:.\\x"},
             {"D:", "D:.\\"},
             {"D:\\x", "D:\\x"},
             {"D:/x", "D:/x"},
             {"D:x\\y", "D:x\\y"},
             {"sub\\D:x", "sub\\D:.\\x"},
             {"sub/D:x", "sub/D:./x"},
         }) {
        std::string path = input;
        FixDriveRelative(path);
        EXPECT_EQ(path, expected) << input;
    }
}

struct PathCase {
    std::string path;
    std::string operand;  // extension or directory
    std::string expected;
};

// Runs each row as it stands and with slashes, unless its directory has no separator: the result
// would have a backslash all the same.
template <typename Operation>
void Check(const std::vector<PathCase>& cases, Operation operation) {
    for (const auto& [path, operand, expected] : cases) {
        std::string changed = path;
        operation(changed, operand);
        EXPECT_EQ(changed, expected) << path << ' ' << operand;
        if (HasBackslash(operand) ||
            (HasBackslash(path) && (operand.empty() || operand.front() == '.'))) {
            changed = WithSlashes(path);
            operation(changed, WithSlashes(operand));
            EXPECT_EQ(changed, WithSlashes(expected)) << path << ' ' << operand;
        }
    }
}

TEST(Paths, ExtensionStartsAtTheFirstPointOfTheName) {
    const std::vector<PathCase> appended = {
        {"wing", ".mod", "wing.mod"},
        {"wing.old.mod", ".mod", "wing.old.mod"},
        {"wing.", ".mod", "wing."},
        {".wing", ".mod", ".wing"},
        {" \twing \r\n", ".mod", "wing.mod"},
        {"D:model", ".mod", "D:.\\model.mod"},
        {"D:\\proj.old\\model", ".mod", "D:\\proj.old\\model.mod"},
        {"..\\models\\wing", ".mod", "..\\models\\wing.mod"},
        {"models\\v1.2/wing", ".mod", "models\\v1.2/wing.mod"},
    };
    Check(appended, [](auto& path, const auto& ext) { SetDefaultExtension(path, ext, false); });
    const std::vector<PathCase> replaced = {
        {"wing", ".neu", "wing.neu"},
        {"wing.old.mod", ".neu", "wing.neu"},
        {"wing.", ".neu", "wing.neu"},
        {".wing", ".neu", ".neu"},
        {"proj.old\\model.mod", ".neu", "proj.old\\model.neu"},
        {"v1.2\\", ".scr", "v1.2\\.scr"},
    };
    Check(replaced, [](auto& path, const auto& ext) { SetDefaultExtension(path, ext, true); });
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

TEST(Paths, OnlyABareNameIsQualified) {
    const std::vector<PathCase> cases = {
        {"x.mod", ".\\", ".\\x.mod"},           {"x.mod", "", "x.mod"},
        {"x.mod", "dir", "dir\\x.mod"},         {"x.mod", "D:", "D:.\\x.mod"},
        {"x.mod", "D:\\dir", "D:\\dir\\x.mod"}, {"x.mod", "a.b\\", "a.b\\x.mod"},
        {"\\x.mod", ".\\", "\\x.mod"},          {"sub\\x.mod", "D:\\dir", "sub\\x.mod"},
        {"D:x.mod", "dir", "D:.\\x.mod"},       {"x.mod", "/a", "/a/x.mod"},
    };
    Check(cases, QualifyWithDirectory);
}

TEST(Paths, ReplaceDirectoryDropsDriveAndDirectory) {
    const std::vector<PathCase> cases = {
        {"D:\\m\\frame.scr", "T", "T\\frame.scr"},
        {"D:\\m\\frame.scr", "T\\", "T\\frame.scr"},
        {"D:\\m\\frame.scr", "", "frame.scr"},
        {"D:frame.scr", "", "frame.scr"},
        {"frame.scr", "E:", "E:.\\frame.scr"},
        {"m\\frame.a.scr", "E:\\t.d", "E:\\t.d\\frame.a.scr"},
        {"D:\\m\\frame.scr", "/var/tmp", "/var/tmp/frame.scr"},
    };
    Check(cases, ReplaceDirectory);
}

TEST(Paths, CopyBoundedLeavesRoomForTheTerminator) {
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

TEST_F(FileTests, ExistenceTellsAHeldFileFromAMissingOne) {
    files.Put("x.mod", "model");
    files.Put("/temp/y.mod", "model");
    bool held = true;
    std::string full;
    EXPECT_TRUE(FileExists("x.mod", &held, &full));
    EXPECT_FALSE(held);
    EXPECT_EQ(full, "/memory/x.mod");
    EXPECT_TRUE(FileExists("\\temp\\y.mod"));

    files.HoldElsewhere("x.mod");
    full = "untouched";
    EXPECT_FALSE(FileExists("x.mod", nullptr, &full));
    EXPECT_FALSE(DeleteFileByName("x.mod"));
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

TEST_F(FileTests, SizeIsMinusOneWhenItCannotBeFound) {
    files.Put("full", std::string(70000, 'x'));
    EXPECT_EQ(FileSizeOf("full"), 70000);
    EXPECT_EQ(FileSizeOf("missing"), -1);
    files.FailCall(FileCall::kSeek, 2, EIO);
    EXPECT_EQ(FileSizeOf("full"), -1);
    EXPECT_EQ(files.OpenHandles(), 0U);
}

TEST_F(FileTests, TemporaryNameIsAbsoluteAndItsFileExists) {
    std::string name;
    EXPECT_NE(MakeTempFileName("sub", "SOL", 0, name), 0U);
    EXPECT_EQ(name.substr(0, 15), "/memory/sub/SOL");
    EXPECT_TRUE(files.Has(name));
    files.FailCall(FileCall::kMakeTempFile, 2, ENOSPC);
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
