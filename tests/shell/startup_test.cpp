#include "shell/startup.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
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

constexpr WindowHandle kDesktop = RecordingDesktop::kDesktop;
class StartupTests : public testing::Test {
  protected:
    StartupTests() {
        ResetSession();
        ResetMessages();
    }
    ~StartupTests() override {
        files.ClearFaults();
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
        {{" model "}, "model.mod"},
        {{"WING.MOD"}, "WING.MOD"},
        {{"wing.old"}, "wing.old"},
        {{"D:model"}, "D:.\\model.mod"},
        {{"D:\\data\\x.mod"}, "D:\\data\\x.mod"},
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
        {{"-DIG", "2147483648", "a.mod"}, "a.mod", std::numeric_limits<std::int32_t>::max()},
        {{"-DIG", std::string(300, '9'), "a.mod"},
         "a.mod",
         std::numeric_limits<std::int32_t>::max()},
        {{"-DIG", "-99999999999999999999", "a.mod"},
         "a.mod",
         -std::numeric_limits<std::int32_t>::max()},
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
        {{"./models/v1.2/wing"}, "./models/v1.2/wing.mod"},
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
    EXPECT_EQ(desktop.statusDialogs, 0);
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
}

TEST_F(StartupTests, NothingBehindThePathLimitIsRead) {
    EXPECT_FALSE(StartUp({std::string(259, ' ') + "a.mod"}));
    EXPECT_EQ(desktop.boxes.at(0).text, "Unable to Open File " + std::string(139, ' '));
}

TEST_F(StartupTests, HeldModelIsReportedLikeAMissingOne) {
    files.Put("wing.mod", EmptyModel(6.0));
    files.HoldElsewhere("wing.mod");
    RunProgram({"wing"});
    EXPECT_EQ(desktop.BoxTexts(), Arguments{Missing("wing.mod")});
    EXPECT_EQ(desktop.boxes[0].icon, BoxIcon::kStop);
    EXPECT_EQ(desktop.boxes[0].owner, kDesktop);
    EXPECT_EQ(desktop.boxes[0].caption, "TARNO");
    EXPECT_TRUE(desktop.titles.empty());
    EXPECT_EQ(files.Paths(), Arguments{"/memory/wing.mod"});
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
    EXPECT_EQ(desktop.statusDialogs, 0);
    EXPECT_FALSE(ErrorsOccurred());
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
    const std::string model = EmptyModel(6.0);
    files.Put("/data/v1.2/wing.old.mod", model);
    RunProgram({"/data/v1.2/wing.old.mod", "-hwnd", "4711"});
    EXPECT_TRUE(desktop.boxes.empty()) << desktop.boxes[0].text;
    EXPECT_EQ(files.Paths(), (Arguments{"/data/v1.2/wing.neu", "/data/v1.2/wing.old.mod"}));
    EXPECT_EQ(files.Bytes("/data/v1.2/wing.old.mod"), model);
    const std::string begin = "   -1\r\n   100\r\nWing box\r\n6.,\r\n   -1\r\n";
    EXPECT_EQ(files.Bytes("/data/v1.2/wing.neu").substr(0, begin.size()), begin);
    EXPECT_EQ(desktop.statusDialogs, 1);
    EXPECT_EQ(desktop.statusParent, 4711);
    EXPECT_EQ(desktop.activated, std::vector<WindowHandle>{4711});
    EXPECT_EQ(desktop.statusLines.at(0),
              "Allocated 25 Cache Buffers, each with 20 - 2048 byte blocks.");
    EXPECT_EQ(files.OpenHandles(), 0U);
}

TEST_F(StartupTests, ChosenModelIsConvertedToo) {
    files.Put("/data/WING.MOD", EmptyModel(6.0));
    desktop.answers = {OpenFileAnswer{"/data/WING", "WING"}};
    RunProgram({});
    EXPECT_TRUE(desktop.boxes.empty()) << desktop.boxes[0].text;
    EXPECT_TRUE(files.Has("/data/WING.neu"));
    // The choice is reported before there is a window to show it.
    EXPECT_NE(desktop.statusLines.at(0), "Opening File /data/WING.MOD...");
}

TEST_F(StartupTests, OnlyVersionSixIsOpened) {
    struct VersionCase {
        double version;
        const char* shown;
    };
    for (const auto& [version, shown] : {
             VersionCase{5.0, "5"},
             VersionCase{5.1, "5.1"},
             VersionCase{6.000001, "6"},
             VersionCase{std::nextafter(6.0, 7.0), "6"},
             VersionCase{std::nextafter(6.0, 5.0), "6"},
             VersionCase{-6.0, "-6"},
             VersionCase{0.0, "0"},
         }) {
        ResetSession();
        ResetMessages();
        desktop.boxes.clear();
        const std::string model = EmptyModel(version);
        files.Put("wing.mod", model);
        RunProgram({"wing"});
        EXPECT_EQ(desktop.BoxTexts(),
                  Arguments{std::string("Invalid Version 6 Model Database (") + shown +
                            ").\n\r\nIf this is an old model it must be converted, otherwise "
                            "choose a different file."});
        EXPECT_EQ(files.Paths(), (Arguments{"/memory/wing.mod", "/temp/wing.scr"}));
        EXPECT_EQ(files.Bytes("wing.mod"), model);
        ASSERT_TRUE(CloseDatabase());
    }
}

// One half right is not enough.
TEST_F(StartupTests, BothHalvesOfTheVersionCount) {
    for (const std::uint64_t bits :
         {0x4018000000000001UL, 0x4018000100000000UL, 0x0000000040180000UL, 0x7FF8000000000000UL}) {
        ResetSession();
        files.Put("wing.mod", EmptyModel(bits));
        EXPECT_FALSE(StartUp({"wing"})) << std::hex << bits;
        ASSERT_TRUE(CloseDatabase());
    }
}

TEST_F(StartupTests, ShortModelIsRefusedWithoutANeutralFile) {
    for (const std::size_t size : {0U, 8U, 4815U}) {
        ResetSession();
        desktop.boxes.clear();
        files.Put("wing.mod", EmptyModel(6.0).substr(0, size));
        RunProgram({"wing"});
        ASSERT_EQ(desktop.boxes.size(), 1U) << size;
        EXPECT_EQ(desktop.boxes[0].text.substr(0, 29), "Unable to Read From Database:") << size;
        EXPECT_FALSE(files.Has("wing.neu"));
        EXPECT_EQ(desktop.statusDialogs, 1);
        ResetMessages();
        desktop.statusDialogs = 0;
    }
}

TEST_F(StartupTests, DatabaseIsClosedAlthoughTheNeutralFileFails) {
    files.Put("/data/wing.mod", EmptyModel(6.0));
    files.ForbidCreation("/data", EACCES);
    RunProgram({"/data/wing"});
    EXPECT_EQ(desktop.BoxTexts(),
              Arguments{"Unable to Open File /data/wing.neu: Permission denied."});
    EXPECT_EQ(files.Paths(), Arguments{"/data/wing.mod"});
    EXPECT_EQ(files.OpenHandles(), 0U);
}

}  // namespace
}  // namespace mod2neu
