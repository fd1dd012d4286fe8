#include "shell/paths.h"

#include <gtest/gtest.h>

namespace mod2neu {
namespace {

TEST(Paths, AreMadeOfTheirParts) {
    const auto trim = [](std::string& text, const std::string&) { TrimBlanks(text); };
    const auto append = [](std::string& path, const std::string& extension) {
        SetDefaultExtension(path, extension, false);
    };
    const auto replace = [](std::string& path, const std::string& extension) {
        SetDefaultExtension(path, extension, true);
    };
    struct Case {
        void (*operation)(std::string& path, const std::string& operand);
        std::string path;
        std::string operand;  // extension or directory
        std::string expected;
    };
    const Case cases[] = {
        {trim, " \t\n\v\f\rwing box\r\f\v\n\t ", "", "wing box"},
        {trim, " \t ", "", " \t "},
        {append, "wing.old.mod", ".mod", "wing.old.mod"},
        {append, "wing.", ".mod", "wing."},
        {append, " \twing \r\n", ".mod", "wing.mod"},
        {append, "D:model", ".mod", "D:.\\model.mod"},
        {append, "D:\\proj.old\\model", ".mod", "D:\\proj.old\\model.mod"},
        {append, "proj.old/model", ".mod", "proj.old/model.mod"},
        {append, std::string(256, 'x'), ".mod", std::string(256, 'x') + ".mo"},
        {replace, "wing.old.mod", ".neu", "wing.neu"},
        {replace, ".wing", ".neu", ".neu"},
        {replace, "proj.old\\model.mod", ".neu", "proj.old\\model.neu"},
        {QualifyWithDirectory, "x.mod", "", "x.mod"},
        {QualifyWithDirectory, "x.mod", "dir", "dir\\x.mod"},
        {QualifyWithDirectory, "x.mod", "/a/dir", "/a/dir/x.mod"},
        {QualifyWithDirectory, "x.mod", "D:", "D:.\\x.mod"},
        {QualifyWithDirectory, "sub\\x.mod", "D:\\dir", "sub\\x.mod"},
        {QualifyWithDirectory, "D:x.mod", "dir", "D:.\\x.mod"},
        {ReplaceDirectory, "D:\\m\\frame.scr", "T", "T\\frame.scr"},
        {ReplaceDirectory, "D:frame.scr", "", "frame.scr"},
        {ReplaceDirectory, "m/frame.a.scr", "/t.d/", "/t.d/frame.a.scr"},
        {ReplaceDirectory, "frame.scr", std::string(255, 'd'), std::string(255, 'd') + "\\fra"},
    };
    for (const auto& [operation, path, operand, expected] : cases) {
        std::string changed = path;
        operation(changed, operand);
        EXPECT_EQ(changed, expected) << path << ' ' << operand;
    }
}

}  // namespace
}  // namespace mod2neu
