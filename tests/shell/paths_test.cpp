#include "shell/paths.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "support/memory_files.h"

namespace mod2neu {
namespace {

std::string WithSlashes(std::string text) {
    std::replace(text.begin(), text.end(), '\\', '/');
    return text;
}

using Operation = void (*)(std::string& path, const std::string& operand);

struct PathCase {
    Operation operation;
    std::string path;
    std::string operand;  // extension or directory
    std::string expected;
};

const Operation kTrim = [](auto& text, const auto&) { TrimBlanks(text); };
const Operation kFix = [](auto& path, const auto&) { FixDriveRelative(path); };
const Operation kAppend = [](auto& path, const auto& ext) {
    SetDefaultExtension(path, ext, false);
};
const Operation kReplace = [](auto& path, const auto& ext) {
    SetDefaultExtension(path, ext, true);
};
const Operation kQualify = QualifyWithDirectory;
const Operation kMove = ReplaceDirectory;

// Each row holds as it stands and, when its directory shows which separator is meant, with slashes.
TEST(Paths, AreMadeOfTheirParts) {
    const PathCase cases[] = {
        {kTrim, "", "", ""},
        {kTrim, " \t\n\v\f\rwing box\r\f\v\n\t ", "", "wing box"},
        {kTrim, " \t ", "", " \t "},
        {kFix, "D:", "", "D:.\\"},
        {kFix, "D:\\x", "", "D:\\x"},
        {kFix, "D:x\\y", "", "D:x\\y"},
        {kFix, "sub\\D:x", "", "sub\\D:.\\x"},
        {kAppend, "wing.old.mod", ".mod", "wing.old.mod"},
        {kAppend, "wing.", ".mod", "wing."},
        {kAppend, " \twing \r\n", ".mod", "wing.mod"},
        {kAppend, "D:model", ".mod", "D:.\\model.mod"},
        {kAppend, "D:\\proj.old\\model", ".mod", "D:\\proj.old\\model.mod"},
        {kReplace, "wing.old.mod", ".neu", "wing.neu"},
        {kReplace, ".wing", ".neu", ".neu"},
        {kReplace, "proj.old\\model.mod", ".neu", "proj.old\\model.neu"},
        {kQualify, "x.mod", ".\\", ".\\x.mod"},
        {kQualify, "x.mod", "", "x.mod"},
        {kQualify, "x.mod", "dir", "dir\\x.mod"},
        {kQualify, "x.mod", "D:", "D:.\\x.mod"},
        {kQualify, "x.mod", "D:\\dir", "D:\\dir\\x.mod"},
        {kQualify, "sub\\x.mod", "D:\\dir", "sub\\x.mod"},
        {kQualify, "D:x.mod", "dir", "D:.\\x.mod"},
        {kMove, "D:\\m\\frame.scr", "T", "T\\frame.scr"},
        {kMove, "D:frame.scr", "", "frame.scr"},
        {kMove, "frame.scr", "E:", "E:.\\frame.scr"},
        {kMove, "m\\frame.a.scr", "E:\\t.d\\", "E:\\t.d\\frame.a.scr"},
    };
    for (const auto& [operation, path, operand, expected] : cases) {
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

TEST(Paths, NoResultIsLongerThanItsLimit) {
    const PathCase cases[] = {
        {kAppend, std::string(256, 'x'), ".mod", std::string(256, 'x') + ".mo"},
        {kFix, "D:" + std::string(257, 'x'), "", "D:.\\" + std::string(255, 'x')},
        {kMove, "frame.scr", std::string(255, 'd'), std::string(255, 'd') + "\\fra"},
    };
    for (const auto& [operation, path, operand, expected] : cases) {
        std::string changed = path;
        operation(changed, operand);
        EXPECT_EQ(changed, expected);
    }
    const MemoryFiles files;
    for (const std::size_t length : {251U, 252U}) {
        std::string path(length, 'x');
        FullPathOf(path);
        EXPECT_EQ(path, (length == 251 ? "/memory/" : "") + std::string(length, 'x'));
    }
    EXPECT_EQ(CopyBounded("abc", 4), "abc");
    EXPECT_EQ(CopyBounded("abc", 3), "ab");
}

TEST(Files, ExistenceTellsAHeldFileFromAMissingOne) {
    MemoryFiles files;
    files.Put("x.mod", "model");
    bool held = true;
    std::string full;
    EXPECT_TRUE(FileExists("\\memory\\x.mod", &held, &full));
    EXPECT_FALSE(held);
    EXPECT_EQ(full, "/memory/x.mod");
    files.HoldElsewhere("x.mod");
    full = "untouched";
    EXPECT_FALSE(FileExists("x.mod", nullptr, &full));
    EXPECT_EQ(full, "untouched");
    EXPECT_FALSE(FileExists("x.mod", &held, &full));
    EXPECT_TRUE(held);
    EXPECT_EQ(full, "/memory/x.mod");
    EXPECT_FALSE(FileExists("y.mod", &held));
    EXPECT_FALSE(held);
    EXPECT_EQ(SystemErrorText(), std::strerror(ENOENT));
    // The length counts as tested, so a bare name has the two characters of its directory less.
    files.Put(std::string(126, 'x'), "12345");
    EXPECT_EQ(FileSizeOf("/memory/" + std::string(126, 'x')), -1);
    EXPECT_FALSE(DeleteFileByName(std::string(126, 'x')));
}

}  // namespace
}  // namespace mod2neu
