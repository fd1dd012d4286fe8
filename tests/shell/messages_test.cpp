#include "shell/messages.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>

#include "shell/progress.h"
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
        CreateStatusWindow();
    }

    RecordingDesktop desktop;
};

// An error stands in a box and, without its breaks, in the line; any other message in the line
// alone.
TEST_F(MessageTests, EveryMessageHasItsTextNumberAndFlags) {
    using Id = MessageId;
    struct Case {
        Id id;
        int number;
        std::array<MessageArgument, 3> arguments;
        bool error;
        std::string text;
    };
    const Case cases[] = {
        // clang-format off
        {Id::kWriteDatabase, 10003, {"no space"}, true, "Unable to Write to Database: no space."},
        {Id::kOpenFile, 10004, {"D:\\x.mod", " "}, true, "Unable to Open File D:\\x.mod:  ."},
        {Id::kStartupMemory, 10007, {}, true, "Unable to Allocate Memory for Database Startup."},
        {Id::kOperationMemory, 10008, {40960}, true, "Insufficient memory for Operation. Need 40960 more bytes."},
        {Id::kCacheAllocated, 10009, {25, 20, 2048}, false, "Allocated 25 Cache Buffers, each with 20 - 2048 byte blocks."},
        {Id::kReadFile, 10010, {"a.mod", "bad"}, true, "Error Reading File a.mod: bad."},
        {Id::kWriteFile, 10011, {"a.neu", "full"}, true, "Error Writing File a.neu: full."},
        {Id::kReadDatabase, 10047, {"bad"}, true, "Unable to Read From Database: bad."},
        {Id::kTranslated, 10068, {-7, "Coordinate System"}, false, "-7 Coordinate System(s) Translated."},
        {Id::kErrorsOccurred, 10088, {}, true, "Errors have Occurred. Check Message Window."},
        {Id::kOpening, 10177, {"100%s %ld%.MOD"}, false, "Opening File 100%s %ld%.MOD..."},
        {Id::kVersion, 10299, {6.0, 5.126}, true, "Invalid Version 6 Model Database (5.13).\n\r\nIf this is an old model it must be converted, otherwise choose a different file."},
        {Id::kFileInUse, 10484, {"a.mod"}, true, "Unable to open file a.mod\n\r\nThis file is in use. Close the application that is using it and try again."},
        // clang-format on
    };
    for (const auto& [id, number, arguments, error, text] : cases) {
        ResetMessages();
        CreateStatusWindow();
        desktop.boxes.clear();
        ShowMessage(id, {arguments[0], arguments[1], arguments[2]});
        EXPECT_EQ(static_cast<int>(id), number);
        EXPECT_EQ(ErrorsOccurred(), error) << text;
        std::string line = text;
        std::erase_if(line, [](char c) { return c == '\n' || c == '\r'; });
        EXPECT_EQ(desktop.items[30003], line);
        EXPECT_EQ(desktop.BoxTexts(), std::vector<std::string>(error ? 1 : 0, text));
        EXPECT_TRUE(!error || desktop.boxes[0].icon == BoxIcon::kStop);
    }
    EXPECT_EQ(desktop.boxes.back().caption, "TARNO");
}

// A text of up to 160 characters stays whole in the box; the line never has more than 159. The
// cut comes before the breaks go.
TEST_F(MessageTests, LongTextsAreCut) {
    for (const std::size_t length : {160U, 161U}) {
        const std::string path(length - 16, 'x');
        const std::string whole = "Opening File " + path + "...";
        ShowMessage(MSG_BOX, MessageId::kOpening, {path});
        EXPECT_EQ(desktop.boxes.back().text, whole.substr(0, length == 160 ? 160 : 159));
        EXPECT_EQ(desktop.items[30003], whole.substr(0, 159));
    }
    ShowMessage(MSG_STATUS, MessageId::kFileInUse, {"\t" + std::string(80, 'x')});
    EXPECT_EQ(desktop.items[30003].size(), 155U);
}

TEST_F(MessageTests, WindowShowsTheLastFourLines) {
    EXPECT_EQ(desktop.statusCaption, "Model Database to Neutral File Conversion");
    for (int count = 1; count <= 5; ++count) {
        ShowMessage(MessageId::kTranslated, {count, "Node"});
    }
    for (int item = 30000; item <= 30003; ++item) {
        EXPECT_EQ(desktop.items[item], std::to_string(item - 29998) + " Node(s) Translated.");
    }
    // The box comes before the line and belongs to the active window.
    desktop.onBox = [&](const ShownBox& box) {
        EXPECT_EQ(desktop.items[30003], "5 Node(s) Translated.");
        EXPECT_EQ(box.owner, desktop.activeWindow == kNoWindow ? 77 : desktop.activeWindow);
    };
    ShowMessage(MessageId::kErrorsOccurred);
    // A window that the user has closed drops lines but not boxes.
    desktop.activeWindow = 12;
    desktop.items[30003] = "5 Node(s) Translated.";
    desktop.CloseStatusDialog();
    ShowMessage(MessageId::kStartupMemory);
    EXPECT_EQ(desktop.boxes.size(), 2U);
    EXPECT_EQ(desktop.items[30003], "5 Node(s) Translated.");
}

TEST_F(MessageTests, ProgressIsRedrawnSeldomAndNeverBeyondTheWhole) {
    BeginProgress("Unwatched", 10);
    EXPECT_FALSE(IsProgressShown());
    desktop.watched = true;
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    BeginProgress("Converting", 1000);
    while (desktop.progress.size() < 3 && Clock::now() - start < std::chrono::seconds(60)) {
        AddProgress(1);
    }
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(150));
    for (const auto& [activity, permille] : desktop.progress) {
        EXPECT_EQ(activity, "Converting");
        EXPECT_TRUE(permille > 0 && permille <= 1000) << permille;
    }
    EndProgress();
    EXPECT_EQ(desktop.progress.back().second, -1);
}

}  // namespace
}  // namespace mod2neu
