#include "shell/startup.h"

#include <gtest/gtest.h>

#include <bit>
#include <limits>

#include "database/close.h"
#include "database/settings.h"
#include "shell/empty_model.h"
#include "shell/messages.h"
#include "shell/session.h"
#include "support/memory_files.h"
#include "support/recording_desktop.h"

namespace mod2neu {
namespace {

using Arguments = std::vector<std::string>;

constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
constexpr WindowHandle kDesktop = RecordingDesktop::kDesktop;
class StartupTests : public testing::Test {
  protected:
    StartupTests() {
        ResetSession();
        ResetMessages();
    }
    ~StartupTests() override {
        CloseDatabase();  // a refused version leaves it open
    }

    MemoryFiles files;
    RecordingDesktop desktop;
};

// A model that does not exist is named in the message, so that it tells what was understood.
std::string Missing(const std::string& name) {
    return "Unable to Open File " + name + ":  .";
}

struct ArgumentCase {
    Arguments arguments;
    std::string model;
    std::int32_t digits = 8;
    WindowHandle parent = kDesktop;
};

TEST_F(StartupTests, ArgumentsNameModelDigitsAndWindow) {
    desktop.liveWindows = {4711};
    const std::vector<ArgumentCase> cases = {
        {{"model"}, "model.mod"},
        {{"wing.old"}, "wing.old"},
        {{"D:model"}, "D:.\\model.mod"},
        {{"a.mod", "b.mod"}, "b.mod"},
        {{"-X", "model.mod"}, "model.mod"},
        {{"-", "/", "model.mod", "-dig12"}, "model.mod"},
        {{"a.mod", "-DIG", "12"}, "a.mod", 12},
        {{"/dig", "3", "a.mod"}, "a.mod", 3},
        {{"a.mod", "-dig"}, "a.mod"},
        {{"a.mod", "-HWND"}, "a.mod"},
        {{"-DIG", "b.mod", "a.mod"}, "a.mod", 0},
        {{"-DIG", "-3", "a.mod"}, "a.mod", -3},
        {{"-DIG", " \t+30x", "a.mod"}, "a.mod", 30},
        {{"-DIG", "- 5", "a.mod"}, "a.mod", 0},
        {{"-DIG", "", "a.mod"}, "a.mod", 0},
        {{"-DIG", "5", "-dig", "6", "a.mod"}, "a.mod", 6},
        {{"-DIG", "2147483648", "a.mod"}, "a.mod", kMost},
        {{"-DIG", "-" + std::string(300, '9'), "a.mod"}, "a.mod", -kMost},
        {{"-hwnd", "4711", "a.mod"}, "a.mod", 8, 4711},
        {{"/Hwnd", "4711", "a.mod"}, "a.mod", 8, 4711},
        {{"-HWND", "4712", "a.mod"}, "a.mod"},
        {{"-HWND", "4711", "-HWND", "4712", "a.mod"}, "a.mod"},
        {{"-HWND", "-DIG", "a.mod"}, "a.mod"},
        {{"-HWND", "x.mod", "a.mod"}, "a.mod"},
        {{"/data/wing.mod"}, "/data/wing.mod"},
        {{"/wing.mod", "a.mod"}, "a.mod"},
        {{"/data\\wing", "-x/y", "/Z"}, "/data\\wing.mod"},
        {{"/hwnd/wing"}, "/hwnd/wing.mod"},
    };
    for (const ArgumentCase& row : cases) {
        ResetSession();
        desktop.boxes.clear();
        EXPECT_FALSE(StartUp(row.arguments));
        EXPECT_EQ(desktop.BoxTexts(), Arguments{Missing(row.model)});
        EXPECT_EQ(CurrentSession().RealDigits, row.digits) << row.model;
        EXPECT_EQ(CurrentSession().ParentWindow, row.parent) << row.arguments[0];
    }
    EXPECT_TRUE(desktop.openRequests.empty());
}

TEST_F(StartupTests, ModelNameIsCutAndLongPathsAreNotFound) {
    for (const std::size_t length : {127U, 128U, 259U, 260U, 5000U}) {
        const std::string path = "/d/" + std::string(length - 9, 'd') + "/a.mod";
        files.Put(path, EmptyModel(5.1));
        desktop.boxes.clear();
        EXPECT_FALSE(StartUp({path}));
        const std::string begin =
            length == 127 ? "Invalid Version 6" : "Unable to Open File /d/ddd";
        EXPECT_EQ(desktop.boxes.at(0).text.substr(0, begin.size()), begin) << length;
        EXPECT_EQ(CurrentSession().ModelFileName, length == 127 ? path : "");
        ASSERT_TRUE(CloseDatabase());
        ResetSession();
    }
    // Nothing behind the path limit is read at all.
    desktop.boxes.clear();
    EXPECT_FALSE(StartUp({std::string(259, ' ') + "a.mod"}));
    EXPECT_EQ(desktop.boxes.at(0).text, "Unable to Open File " + std::string(139, ' '));
}

TEST_F(StartupTests, HeldModelIsReportedLikeAMissingOne) {
    files.Put("wing.mod", EmptyModel(6.0));
    files.HoldElsewhere("wing.mod");
    RunProgram({"wing"});
    EXPECT_EQ(desktop.BoxTexts(), Arguments{Missing("wing.mod")});
    EXPECT_EQ(desktop.boxes[0].owner, kDesktop);
    EXPECT_TRUE(desktop.titles.empty());
    EXPECT_EQ(files.Paths(), Arguments{"/memory/wing.mod"});
    EXPECT_EQ(desktop.outcomes, Arguments{"mod2neu: not converted: wing.mod"});
}

struct TitleCase {
    std::uint32_t version;
    const char* path;
    const char* title;
};

TEST_F(StartupTests, TitleFollowsTheStyleOfTheWindowSystem) {
    desktop.liveWindows = {4711};
    for (const auto& [version, path, title] : {
             TitleCase{4, "D:\\data\\wing.mod", "wing - TARNO"},
             TitleCase{0x80000004, "/data/Wing.Mod", "Wing - TARNO"},
             TitleCase{0x03F40A0A, "wing.old.mod", "wing.old - TARNO"},
             TitleCase{10, "wing.model.mod", "wing - TARNO"},
             TitleCase{10, "a.mod\\wing.x", "wing.x - TARNO"},
             TitleCase{3, "D:\\data\\wing.mod", "TARNO - WING.MOD"},
             TitleCase{0xFFFFFF03, "data/wing.old.mod", "TARNO - WING.OLD.MOD"},
         }) {
        ResetSession();
        desktop.versionWord = version;
        desktop.titles.clear();
        files.Put(path, "no model");
        EXPECT_FALSE(StartUp({"-HWND", "4711", path}));
        ASSERT_EQ(desktop.titles.size(), 1U) << path;
        EXPECT_EQ(desktop.titles[0].window, 4711);
        EXPECT_EQ(desktop.titles[0].title, title);
        EXPECT_EQ(CurrentSession().ModelFileName, path);
    }
}

TEST_F(StartupTests, OpenDialogAsksForAModel) {
    desktop.liveWindows = {4711};
    RunProgram({"-HWND", "4711", "-x"});
    ASSERT_EQ(desktop.openRequests.size(), 1U);
    const OpenFileRequest& request = desktop.openRequests[0];
    EXPECT_EQ(request.owner, 4711);
    EXPECT_EQ(request.title, "Open Model File");
    EXPECT_EQ(request.filters,
              (Arguments{"Model Files (*.MOD)", "*.MOD", "All Files (*.*)", "*.*"}));
    EXPECT_EQ(request.initialDirectory, ".");
    EXPECT_EQ(request.okCaption, "&Open");
    EXPECT_EQ(request.cancelCaption, "&New Model");
    EXPECT_TRUE(desktop.boxes.empty());
    EXPECT_TRUE(files.calls.empty());
}

struct ChoiceCase {
    std::uint32_t version;
    const char* path;
    const char* typed;
    const char* model;  // as looked for
};

TEST_F(StartupTests, ChosenNameIsAdjusted) {
    for (const auto& [version, path, typed, model] : {
             ChoiceCase{4, "/m/wing.MOD", "wing.MOD", "/m/wing.MOD"},
             ChoiceCase{4, "/m/wing.old.mod", "wing.old.mod", "/m/wing.old"},
             ChoiceCase{3, "/m/wing.old.mod", "wing.old.mod", "/m/wing.old.mod"},
             ChoiceCase{4, "/m/a.b.c.mod", "a.b.c.mod", "/m/a.b.c"},
             ChoiceCase{4, "/m.v1.2/wing.mod", "wing.mod", "/m.v1.2/wing.mod"},
             ChoiceCase{4, "D:\\m.v1.2\\wing.mod", "wing", "D:\\m.v1.2\\wing.mod"},
             ChoiceCase{4, "/m/wing", "wing", "/m/wing.MOD"},
             ChoiceCase{3, "/m.d/wing", "wing", "/m.d/wing.MOD"},
             ChoiceCase{4, "/m/wing", "wing.", "/m/wing.mod"},
             ChoiceCase{4, "/m/wing.", "wing.", "/m/wing."},
         }) {
        desktop.versionWord = version;
        desktop.boxes.clear();
        desktop.answers = {OpenFileAnswer{path, typed}};
        EXPECT_FALSE(StartUp({}));
        EXPECT_EQ(desktop.BoxTexts(), Arguments{Missing(model)}) << path << ' ' << typed;
    }
}

TEST_F(StartupTests, ModelIsConvertedBesideItself) {
    desktop.liveWindows = {4711};
    DatabaseSettings smaller;
    smaller.MinBuffers = 5;  // back to the default with every opening
    SetDatabaseSettings(smaller);
    files.Put("/data/v1.2/wing.old.mod", EmptyModel(6.0));
    RunProgram({"/data/v1.2/wing.old.mod", "-hwnd", "4711"});
    EXPECT_TRUE(desktop.boxes.empty()) << desktop.boxes[0].text;
    EXPECT_EQ(files.Paths(), (Arguments{"/data/v1.2/wing.neu", "/data/v1.2/wing.old.mod"}));
    EXPECT_EQ(desktop.statusParent, 4711);
    EXPECT_EQ(desktop.activated, std::vector<WindowHandle>{4711});
    EXPECT_EQ(desktop.statusLines.at(0),
              "Allocated 25 Cache Buffers, each with 20 - 2048 byte blocks.");
    EXPECT_EQ(desktop.outcomes, Arguments{"mod2neu: complete: /data/v1.2/wing.neu"});
}

// Both halves of the version count: one that is right is not enough.
TEST_F(StartupTests, OnlyVersionSixIsOpened) {
    const std::vector<std::pair<std::uint64_t, std::string>> cases = {
        {std::bit_cast<std::uint64_t>(5.0), "5"},
        {std::bit_cast<std::uint64_t>(-6.0), "-6"},
        {0x4018000000000001, "6"},
        {0x4017FFFFFFFFFFFF, "6"},
        {0x4018000100000000, "6"},
        {0x0000000040180000, "5.31e-315"},
        {0x7FF8000000000000, "nan"},
    };
    for (const auto& [bits, shown] : cases) {
        ResetSession();
        desktop.boxes.clear();
        const std::string model = EmptyModel(bits);
        files.Put("wing.mod", model);
        RunProgram({"wing"});
        EXPECT_EQ(desktop.BoxTexts(),
                  Arguments{"Invalid Version 6 Model Database (" + shown +
                            ").\n\r\nIf this is an old model it must be converted, otherwise "
                            "choose a different file."});
        EXPECT_EQ(files.Paths(), (Arguments{"/memory/wing.mod", "/temp/wing.scr"}));
        EXPECT_EQ(files.Bytes("wing.mod"), model);
        ASSERT_TRUE(CloseDatabase());
    }
}

}  // namespace
}  // namespace mod2neu
