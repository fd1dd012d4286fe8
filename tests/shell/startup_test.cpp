#include "shell/startup.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <tuple>

#include "database/close.h"
#include "shell/messages.h"
#include "shell/session.h"
#include "support/memory_files.h"
#include "support/model_builder.h"
#include "support/record_script.h"
#include "support/recording_desktop.h"

namespace mod2neu {
namespace {

using Arguments = std::vector<std::string>;

constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
constexpr WindowHandle kDesktop = RecordingDesktop::kDesktop;
constexpr WindowHandle kCaller = 4711;

class StartupTests : public testing::Test {
  protected:
    StartupTests() { desktop.liveWindows = {kCaller}; }
    ~StartupTests() override { CloseDatabase(); }  // a refused version leaves it open

    void PutModel(const std::string& path, double version) {
        files.Put(path, ModelBuilder().Version(version).Build().bytes);
    }

    // Runs the program; the texts of its boxes.
    Arguments Run(const Arguments& arguments) {
        EXPECT_TRUE(CloseDatabase());
        ResetSession();
        ResetMessages();
        desktop.boxes.clear();
        desktop.outcomes.clear();
        RunProgram(arguments);
        return desktop.BoxTexts();
    }

    // Runs the program without a model of that name, which tells how it was understood.
    void ExpectMissing(const Arguments& arguments, const std::string& name) {
        EXPECT_EQ(Run(arguments), Arguments{"Unable to Open File " + name + ":  ."});
        EXPECT_EQ(desktop.outcomes, Arguments{"mod2neu: not converted: " + name});
    }

    MemoryFiles files;
    RecordingDesktop desktop;
};

TEST_F(StartupTests, ArgumentsNameModelDigitsAndWindow) {
    struct Case {
        Arguments arguments;
        std::string model = "a.mod";
        std::int32_t digits = 8;
        WindowHandle parent = kDesktop;
    };
    // clang-format off
    const Case cases[] = {
        {{"wing.old"}, "wing.old"}, {{"b.mod", "D:a"}, "D:.\\a.mod"},
        {{"-", "/", "-X", "a.mod", "-dig12"}}, {{"a.mod", "-dig"}},
        {{"/dig", "3", "a.mod"}, "a.mod", 3}, {{"-DIG", "b.mod", "a.mod"}, "a.mod", 0},
        {{"-DIG", "5", "-dig", " \t+30x", "a.mod"}, "a.mod", 30},
        {{"-DIG", "-" + std::string(300, '9'), "a.mod"}, "a.mod", -kMost},
        {{"/Hwnd", "4711", "a.mod"}, "a.mod", 8, kCaller},
        {{"-HWND", "4711", "-HWND", "4712", "a.mod"}}, {{"-HWND", "-DIG", "a.mod"}},
        {{"/data/wing.mod"}, "/data/wing.mod"}, {{"/wing.mod", "a.mod"}},
        {{"/data\\wing", "-x/y", "/Z"}, "/data\\wing.mod"},
    };
    // clang-format on
    for (const auto& [arguments, model, digits, parent] : cases) {
        ExpectMissing(arguments, model);
        EXPECT_EQ(CurrentSession().RealDigits, digits) << arguments.back();
        EXPECT_EQ(CurrentSession().ParentWindow, parent) << arguments.front();
    }
    EXPECT_TRUE(desktop.openRequests.empty());
}

// A path that is too long is not found, nothing behind the path limit is read, and a model that is
// held is reported like a missing one.
TEST_F(StartupTests, ModelsOutOfReachAreMissing) {
    for (const std::size_t length : {127U, 128U}) {
        const std::string path = "/d/" + std::string(length - 9, 'd') + "/a.mod";
        PutModel(path, 5.1);
        const std::string begin = length == 127 ? "Invalid Version 6" : "Unable to Open File /d/dd";
        EXPECT_TRUE(Run({path}).at(0).starts_with(begin)) << length;
        EXPECT_EQ(CurrentSession().ModelFileName, length == 127 ? path : "");
    }
    EXPECT_EQ(Run({std::string(259, ' ') + "a.mod"}),
              Arguments{"Unable to Open File " + std::string(139, ' ')});
    PutModel("wing.mod", 6);
    files.HoldElsewhere("wing.mod");
    ExpectMissing({"wing"}, "wing.mod");
}

TEST_F(StartupTests, TitleFollowsTheStyleOfTheWindowSystem) {
    for (const auto& [version, path, title] :
         {std::tuple(0x80000004, "/data/Wing.Mod", "Wing - TARNO"),
          {10U, "a.mod\\wing.x", "wing.x - TARNO"},
          {0xFFFFFF03, "data/wing.old.mod", "TARNO - WING.OLD.MOD"}}) {
        desktop.versionWord = version;
        PutModel(path, 5.1);
        Run({"-HWND", "4711", path});
        EXPECT_EQ(desktop.titles.back().window, kCaller);
        EXPECT_EQ(desktop.titles.back().title, title);
    }
}

TEST_F(StartupTests, OpenDialogAsksForAModel) {
    EXPECT_EQ(Run({"-HWND", "4711", "-x"}), Arguments());
    EXPECT_EQ(desktop.outcomes, Arguments{"mod2neu: not converted: (no model)"});
    EXPECT_TRUE(files.calls.empty());
    EXPECT_EQ(desktop.openRequests.at(0).owner, kCaller);
    for (const auto& [version, path, typed, model] :
         {std::tuple(4U, "/m/a.b.c.mod", "a.b.c.mod", "/m/a.b.c"),
          {3U, "/m/wing.old.mod", "wing.old.mod", "/m/wing.old.mod"},
          {4U, "D:\\m.v1.2\\wing.mod", "wing", "D:\\m.v1.2\\wing.mod"},
          {3U, "/m.d/wing", "wing", "/m.d/wing.MOD"},
          {4U, "/m/wing.", "wing.", "/m/wing."}}) {
        desktop.versionWord = version;
        desktop.answers = {OpenFileAnswer{path, typed}};
        ExpectMissing({}, model);
    }
}

TEST_F(StartupTests, ModelIsConvertedBesideItself) {
    PutModel("/data/v1.2/wing.old.mod", 6);
    EXPECT_EQ(Run({"/data/v1.2/wing.old.mod", "-hwnd", "4711"}), Arguments());
    EXPECT_EQ(files.Paths(), (Arguments{"/data/v1.2/wing.neu", "/data/v1.2/wing.old.mod"}));
    EXPECT_EQ(desktop.statusParent, kCaller);
    EXPECT_EQ(desktop.activated, std::vector<WindowHandle>{kCaller});
    EXPECT_EQ(desktop.outcomes, Arguments{"mod2neu: complete: /data/v1.2/wing.neu"});
}

// Both halves of the version count: one that is right is not enough.
TEST_F(StartupTests, OnlyVersionSixIsOpened) {
    for (const auto& [version, shown] :
         {std::pair(5.126, "5.13"), {6 + 0x1p-50, "6"}, {6 + 0x1p-18, "6"}, {NAN, "nan"}}) {
        PutModel("wing.mod", version);
        EXPECT_TRUE(Run({"wing"}).at(0).starts_with(
            Cat("Invalid Version 6 Model Database (", shown, ").\n")));
        EXPECT_EQ(files.Paths(), (Arguments{"/memory/wing.mod", "/temp/wing.scr"}));
    }
}

// The program itself, its streams no terminal. It ends with exit code 0 also when it refuses.
TEST(Program, AnswersOrRefuses) {
    for (const auto& [argument, says] :
         {std::pair("--version", "mod2neu " MOD2NEU_VERSION "\n"),
          {"--help", "Usage: mod2neu "},
          {"missing", "Error: Unable to Open File missing.mod:  .\nmod2neu: not converted: "}}) {
        const std::string command = Cat(MOD2NEU_PROGRAM " ", argument, " </dev/null 2>&1");
        // NOLINTNEXTLINE(cert-env33-c): the text is ours.
        FILE* const output = ::popen(command.c_str(), "r");
        std::string said(1000, ' ');
        said.resize(std::fread(said.data(), 1, said.size(), output));
        EXPECT_EQ(::pclose(output), 0);
        EXPECT_TRUE(said.starts_with(says)) << said;
    }
}

}  // namespace
}  // namespace mod2neu
