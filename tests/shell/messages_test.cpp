#include "shell/messages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "shell/session.h"
#include "shell/status_window.h"
#include "support/recording_desktop.h"

namespace mod2neu {
namespace {

class MessageTests : public testing::Test {
  protected:
    MessageTests() {
        ResetMessages();
        ResetSession();
        CurrentSession().MessageCaption = "TARNO";
        CurrentSession().ParentWindow = 77;
    }

    std::vector<std::string> Lines() {
        return {desktop.items[30000], desktop.items[30001], desktop.items[30002],
                desktop.items[30003]};
    }

    RecordingDesktop desktop;
};

// The kinds of message in use, by what the user sees of them.
enum class Shown { kErrorBox, kLine };

struct TextCase {
    MessageId id;
    int number;
    std::vector<MessageArgument> arguments;
    Shown shown;
    bool error;
    const char* text;
};

void Show(MessageId id, const std::vector<MessageArgument>& arguments) {
    switch (arguments.size()) {
        case 0:
            return ShowMessage(id);
        case 1:
            return ShowMessage(id, {arguments[0]});
        case 2:
            return ShowMessage(id, {arguments[0], arguments[1]});
        default:
            return ShowMessage(id, {arguments[0], arguments[1], arguments[2]});
    }
}

TEST_F(MessageTests, EveryMessageHasItsTextNumberAndFlags) {
    const std::vector<TextCase> cases = {
        {MessageId::kWriteDatabase,
         10003,
         {"no space"},
         Shown::kErrorBox,
         true,
         "Unable to Write to Database: no space."},
        {MessageId::kOpenFile,
         10004,
         {"D:\\data\\x.mod", " "},
         Shown::kErrorBox,
         true,
         "Unable to Open File D:\\data\\x.mod:  ."},
        {MessageId::kStartupMemory,
         10007,
         {},
         Shown::kErrorBox,
         true,
         "Unable to Allocate Memory for Database Startup."},
        {MessageId::kOperationMemory,
         10008,
         {40960},
         Shown::kErrorBox,
         true,
         "Insufficient memory for Operation. Need 40960 more bytes."},
        {MessageId::kCacheAllocated,
         10009,
         {25, 20, 2048},
         Shown::kLine,
         false,
         "Allocated 25 Cache Buffers, each with 20 - 2048 byte blocks."},
        {MessageId::kReadFile,
         10010,
         {"a.mod", "bad"},
         Shown::kErrorBox,
         true,
         "Error Reading File a.mod: bad."},
        {MessageId::kWriteFile,
         10011,
         {"a.neu", "full"},
         Shown::kErrorBox,
         true,
         "Error Writing File a.neu: full."},
        {MessageId::kReadDatabase,
         10047,
         {"bad"},
         Shown::kErrorBox,
         true,
         "Unable to Read From Database: bad."},
        {MessageId::kTranslated,
         10068,
         {-7, "Coordinate System"},
         Shown::kLine,
         false,
         "-7 Coordinate System(s) Translated."},
        {MessageId::kErrorsOccurred,
         10088,
         {},
         Shown::kErrorBox,
         true,
         "Errors have Occurred. Check Message Window."},
        {MessageId::kOpening, 10177, {"wing.MOD"}, Shown::kLine, false, "Opening File wing.MOD..."},
        {MessageId::kVersion,
         10299,
         {6.0, 5.1},
         Shown::kErrorBox,
         true,
         "Invalid Version 6 Model Database (5.1).\n\r\nIf this is an old model it must be "
         "converted, otherwise choose a different file."},
        {MessageId::kFileInUse,
         10484,
         {"a.mod"},
         Shown::kErrorBox,
         true,
         "Unable to open file a.mod\n\r\nThis file is in use. Close the application that is using "
         "it and try again."},
    };
    for (const TextCase& row : cases) {
        ResetMessages();
        CreateStatusWindow();
        desktop.boxes.clear();
        Show(row.id, row.arguments);
        EXPECT_EQ(static_cast<int>(row.id), row.number);
        EXPECT_EQ(ErrorsOccurred(), row.error) << row.text;
        if (row.shown == Shown::kLine) {
            EXPECT_EQ(desktop.items[30003], row.text);
            EXPECT_TRUE(desktop.boxes.empty()) << row.text;
            continue;
        }
        ASSERT_EQ(desktop.BoxTexts(), std::vector<std::string>{row.text});
        EXPECT_EQ(desktop.boxes[0].icon, BoxIcon::kStop);
        EXPECT_EQ(desktop.boxes[0].modality, BoxModality::kTask);
        EXPECT_EQ(desktop.boxes[0].caption, "TARNO");
    }
}

TEST_F(MessageTests, BreaksStandInTheBoxAndVanishFromTheLine) {
    CreateStatusWindow();
    ShowMessage(MessageId::kVersion, {6.0, 5.1});
    EXPECT_EQ(desktop.items[30003],
              "Invalid Version 6 Model Database (5.1).If this is an old model it must be "
              "converted, otherwise choose a different file.");
    ShowMessage(MSG_STATUS, MessageId::kOpening, {"a\tb\r\nc d"});
    EXPECT_EQ(desktop.items[30003], "Opening File abc d...");
}

struct FlagCase {
    std::uint32_t flags;
    int boxes;
    BoxModality modality;
    BoxIcon icon;
    bool error;
};

TEST_F(MessageTests, FlagsDecideBoxModalityAndIcon) {
    constexpr auto kTask = BoxModality::kTask;
    constexpr auto kSystem = BoxModality::kSystem;
    for (const auto& [flags, boxes, modality, icon, error] : {
             FlagCase{MSG_STATUS, 0, kTask, BoxIcon::kNone, false},
             FlagCase{MSG_INFO, 0, kTask, BoxIcon::kNone, false},
             FlagCase{MSG_ERROR, 0, kTask, BoxIcon::kNone, true},
             FlagCase{MSG_BOX, 1, kTask, BoxIcon::kNone, false},
             FlagCase{MSG_INFO | MSG_BOX, 1, kTask, BoxIcon::kInformation, false},
             FlagCase{MSG_ERROR | MSG_BOX, 1, kTask, BoxIcon::kStop, true},
             FlagCase{MSG_ERROR | MSG_SYSTEM_MODAL, 1, kSystem, BoxIcon::kStop, true},
             FlagCase{MSG_STATUS | MSG_SYSTEM_MODAL, 1, kSystem, BoxIcon::kNone, false},
         }) {
        ResetMessages();
        desktop.boxes.clear();
        ShowMessage(flags, MessageId::kStartupMemory);
        EXPECT_EQ(ErrorsOccurred(), error) << flags;
        ASSERT_EQ(desktop.boxes.size(), static_cast<std::size_t>(boxes)) << flags;
        if (boxes == 1) {
            EXPECT_EQ(desktop.boxes[0].modality, modality) << flags;
            EXPECT_EQ(desktop.boxes[0].icon, icon) << flags;
        }
    }
}

// A text of up to 160 characters stays whole in the box; the line never has more than 159.
TEST_F(MessageTests, LongTextsAreCut) {
    CreateStatusWindow();
    for (const std::size_t length : {158U, 159U, 160U, 161U, 5000U}) {
        std::string path;
        while (path.size() < length - 16) {
            path += static_cast<char>('a' + path.size() % 26);
        }
        const std::string whole = "Opening File " + path + "...";
        ASSERT_EQ(whole.size(), length);
        ShowMessage(MSG_BOX, MessageId::kOpening, {path});
        EXPECT_EQ(desktop.boxes.back().text, length <= 160 ? whole : whole.substr(0, 159));
        EXPECT_EQ(desktop.items[30003], whole.substr(0, 159));
    }
    // The cut comes before the breaks go.
    ShowMessage(MessageId::kFileInUse, {std::string(80, 'x')});
    EXPECT_EQ(desktop.boxes.back().text.size(), 159U);
    EXPECT_EQ(desktop.items[30003].size(), 156U);
}

TEST_F(MessageTests, ArgumentsAreNoFormats) {
    CreateStatusWindow();
    ShowMessage(MessageId::kOpening, {"100%s %ld%.MOD"});
    EXPECT_EQ(desktop.items[30003], "Opening File 100%s %ld%.MOD...");
    ShowMessage(MessageId::kOpening);
    EXPECT_EQ(desktop.items[30003], "Opening File ...");
}

struct RealCase {
    double value;
    const char* text;
};

TEST_F(MessageTests, VersionsHaveThreeSignificantDigits) {
    for (const auto& [value, text] : {
             RealCase{6.0, "6"},
             RealCase{std::nextafter(6.0, 7.0), "6"},
             RealCase{5.1, "5.1"},
             RealCase{5.126, "5.13"},
             RealCase{1234.0, "1.23e+03"},
             RealCase{-0.00001, "-1e-05"},
             RealCase{std::numeric_limits<double>::max(), "1.8e+308"},
             RealCase{std::numeric_limits<double>::infinity(), "inf"},
         }) {
        ShowMessage(MessageId::kVersion, {6.0, value});
        const std::string begin = std::string("Invalid Version 6 Model Database (") + text + ").\n";
        EXPECT_EQ(desktop.boxes.back().text.substr(0, begin.size()), begin);
    }
}

TEST_F(MessageTests, BoxBelongsToTheActiveWindowElseToTheParent) {
    ShowMessage(MessageId::kStartupMemory);
    EXPECT_EQ(desktop.boxes.back().owner, 77);
    desktop.activeWindow = 12;
    ShowMessage(MessageId::kStartupMemory);
    EXPECT_EQ(desktop.boxes.back().owner, 12);
}

TEST_F(MessageTests, BoxIsDismissedBeforeTheLineAppears) {
    CreateStatusWindow();
    std::string lineDuringBox = "none";
    desktop.onBox = [&](const ShownBox&) { lineDuringBox = desktop.items[30003]; };
    ShowMessage(MessageId::kStartupMemory);
    EXPECT_EQ(lineDuringBox, "");
    EXPECT_EQ(desktop.items[30003], "Unable to Allocate Memory for Database Startup.");
}

TEST_F(MessageTests, WindowShowsTheLastFourLines) {
    ShowMessage(MessageId::kOpening, {"before"});
    EXPECT_TRUE(desktop.items.empty());

    EXPECT_TRUE(CreateStatusWindow());
    EXPECT_EQ(desktop.statusParent, 77);
    EXPECT_EQ(desktop.statusCaption, "Model Database to Neutral File Conversion");
    EXPECT_EQ(desktop.statusGroup, "Status");
    for (int count = 1; count <= 5; ++count) {
        ShowMessage(MessageId::kTranslated, {count, "Node"});
    }
    EXPECT_EQ(Lines(),
              (std::vector<std::string>{"2 Node(s) Translated.", "3 Node(s) Translated.",
                                        "4 Node(s) Translated.", "5 Node(s) Translated."}));

    // What somebody else put into the window scrolls on with no more than a line's characters.
    desktop.items[30001] = std::string(200, 'x');
    SetStatusText("new");
    EXPECT_EQ(desktop.items[30000], std::string(159, 'x'));
}

TEST_F(MessageTests, ClosedWindowDropsLinesButNotBoxes) {
    CreateStatusWindow();
    ShowMessage(MessageId::kOpening, {"first"});
    desktop.CloseStatusDialog();
    ShowMessage(MessageId::kStartupMemory);
    EXPECT_EQ(desktop.boxes.size(), 1U);
    EXPECT_EQ(desktop.statusLines, std::vector<std::string>{"Opening File first..."});
}

}  // namespace
}  // namespace mod2neu
