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

std::string WithSlashes(std::string text) {
    std::replace(text.begin(), text.end(), '\\', '/');
    return text;
}

struct PathCase {
    std::string path;
    std::string operand;  // extension or directory
    std::string expected;
};

// Runs each row as it stands and, when its directory shows which separator is meant, with slashes.
template <typename Operation>
void Check(Operation operation, const std::vector<PathCase>& cases) {
    for (const auto& [path, operand, expected] : cases) {
        std::string changed = path;
        operation(changed, operand);
        EXPECT_EQ(changed, expected) << path << ' ' << operand;
        const std::string& directory = operand.empty() || operand[0] == '.' ? path : operand;
        if (directory.find('\\') != std::string::npos) {
            changed = WithSlashes(path);
            operation(changed, WithSlashes(operand));
            EXPECT_EQ(changed, WithSlashes(expected)) << path << ' ' << operand;
        }
    }
}

TEST(Paths, AreMadeOfTheirParts) {
    Check([](auto& text, const auto&) { TrimBlanks(text); },
          {
              {"", "", ""},
              {" \t\n\v\f\rwing box\r\f\v\n\t ", "", "wing box"},
              {" \t ", "", " \t "},
              {"\xA0wing\x85", "", "\xA0wing\x85"},
          });
    Check([](auto& path, const auto&) { FixDriveRelative(path); },
          {
              {"D:", "", "D:.\\"},
              {"D:x", "", "D:.\\x"},
              {"D:\\x", "", "D:\\x"},
              {"D:x\\y", "", "D:x\\y"},
              {"sub\\D:x", "", "sub\\D:.\\x"},
          });
    Check([](auto& path, const auto& ext) { SetDefaultExtension(path, ext, false); },
          {
              {"wing.old.mod", ".mod", "wing.old.mod"},
              {"wing.", ".mod", "wing."},
              {".wing", ".mod", ".wing"},
              {" \twing \r\n", ".mod", "wing.mod"},
              {"D:model", ".mod", "D:.\\model.mod"},
              {"D:\\proj.old\\model", ".mod", "D:\\proj.old\\model.mod"},
              {"models\\v1.2/wing", ".mod", "models\\v1.2/wing.mod"},
          });
    Check([](auto& path, const auto& ext) { SetDefaultExtension(path, ext, true); },
          {
              {"wing", ".neu", "wing.neu"},
              {"wing.old.mod", ".neu", "wing.neu"},
              {".wing", ".neu", ".neu"},
              {"proj.old\\model.mod", ".neu", "proj.old\\model.neu"},
          });
    Check(QualifyWithDirectory, {
                                    {"x.mod", ".\\", ".\\x.mod"},
                                    {"x.mod", "", "x.mod"},
                                    {"x.mod", "dir", "dir\\x.mod"},
                                    {"x.mod", "D:", "D:.\\x.mod"},
                                    {"x.mod", "D:\\dir", "D:\\dir\\x.mod"},
                                    {"\\x.mod", ".\\", "\\x.mod"},
                                    {"sub\\x.mod", "D:\\dir", "sub\\x.mod"},
                                    {"D:x.mod", "dir", "D:.\\x.mod"},
                                });
    Check(ReplaceDirectory, {
                                {"D:\\m\\frame.scr", "T", "T\\frame.scr"},
                                {"D:\\m\\frame.scr", "", "frame.scr"},
                                {"D:frame.scr", "", "frame.scr"},
                                {"frame.scr", "E:", "E:.\\frame.scr"},
                                {"m\\frame.a.scr", "E:\\t.d\\", "E:\\t.d\\frame.a.scr"},
                            });
}

TEST(Paths, NoResultIsLongerThanItsLimit) {
    for (const std::size_t length : {255U, 256U, 259U}) {
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
    const MemoryFiles files;
    for (const std::size_t length : {251U, 252U}) {
        std::string path(length, 'x');
        FullPathOf(path);
        EXPECT_EQ(path, (length == 251 ? "/memory/" : "") + std::string(length, 'x'));
    }
    EXPECT_EQ(CopyBounded("abc", 4), "abc");
    EXPECT_EQ(CopyBounded("abc", 3), "ab");
}

class FileTests : public testing::Test {
  protected:
    MemoryFiles files;
};

TEST_F(FileTests, ExistenceTellsAHeldFileFromAMissingOne) {
    files.Put("x.mod", "model");
    bool held = true;
    std::string full;
    EXPECT_TRUE(FileExists("\\memory\\x.mod", &held, &full));
    EXPECT_FALSE(held);
    EXPECT_EQ(full, "/memory/x.mod");
    files.HoldElsewhere("x.mod");
    full = "untouched";
    EXPECT_FALSE(FileExists("x.mod", nullptr, &full));
    EXPECT_FALSE(DeleteFileByName("x.mod"));
    EXPECT_EQ(full, "untouched");
    EXPECT_FALSE(FileExists("x.mod", &held, &full));
    EXPECT_TRUE(held);
    EXPECT_EQ(full, "/memory/x.mod");
    EXPECT_FALSE(FileExists("y.mod", &held));
    EXPECT_FALSE(held);
    EXPECT_EQ(SystemErrorText(), std::strerror(ENOENT));
}

// The length counts as tested, so a bare name has the two characters of its directory less.
TEST_F(FileTests, LongPathsAreOutOfReach) {
    for (const std::string& path : {std::string(125, 'x'), "/" + std::string(126, 'y')}) {
        const std::string tooLong = path + "z";
        files.Put(path, "12345");
        files.Put(tooLong, "12345");
        EXPECT_TRUE(FileExists(path));
        EXPECT_EQ(FileSizeOf(path), 5);
        EXPECT_TRUE(DeleteFileByName(path));
        const std::size_t calls = files.calls.size();
        EXPECT_FALSE(FileExists(tooLong));
        EXPECT_EQ(FileSizeOf(tooLong), -1);
        EXPECT_FALSE(DeleteFileByName(tooLong));
        EXPECT_EQ(files.calls.size(), calls);
    }
}

TEST_F(FileTests, RawAndTemporaryFiles) {
    std::string name;
    EXPECT_NE(MakeTempFileName("sub", "SOL", 0, name), 0U);
    EXPECT_EQ(name.substr(0, 15), "/memory/sub/SOL");
    EXPECT_TRUE(files.Has(name));
    EXPECT_EQ(OpenRawFile("raw.tmp", false, false), kNoFile);
    files.Put("raw.tmp", "an older and longer text");
    const ScopedFile written(OpenRawFile("raw.tmp", true, false));
    EXPECT_EQ(Files().Write(written.Get(), "new", 3), 3);
    const ScopedFile read(OpenRawFile("raw.tmp", false, true));
    EXPECT_EQ(Files().Write(read.Get(), "x", 1), -1);
    EXPECT_EQ(files.Bytes("raw.tmp"), "new");
}

}  // namespace
}  // namespace mod2neu
