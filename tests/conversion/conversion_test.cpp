#include "neutral/conversion.h"

#include <algorithm>
#include <cerrno>

#include "blocks/conversion_fixture.h"
#include "shell/messages.h"

namespace mod2neu {
namespace {

constexpr const char* kSummary = "Errors have Occurred. Check Message Window.";

class DriverTest : public ConversionTest {
  protected:
    // The texts of the boxes, each of which is a task-modal one with the stop icon.
    std::vector<std::string> ErrorBoxes() {
        for (const ShownBox& box : desktop_.boxes) {
            EXPECT_EQ(box.icon, BoxIcon::kStop) << box.text;
            EXPECT_EQ(box.modality, BoxModality::kTask) << box.text;
        }
        return desktop_.BoxTexts();
    }

    // The n-th call of `kind` on the Neutral file fails.
    void FailNeutralCall(FileCall kind, int n, int error) {
        files_.onCall = [this, kind, n, error, seen = 0](const FileCallRecord& call) mutable {
            if (call.kind == kind && call.path == kNeutralPath && ++seen == n) {
                files_.FailCall(files_.calls.size(), error);
            }
        };
    }
};

// The whole file of a model without anything in it.
TEST_F(DriverTest, EmptyModelHasTheFrameOfEveryBlock) {
    const Lines lines = {"   -1", "   100", "<NULL>",   "6.,",   "   -1",            //
                         "   -1", "   405", "   -1",    "   -1", "   475", "   -1",  //
                         "   -1", "   410", "   -1",    "   -1", "   413", "   -1",  //
                         "   -1", "   570", "   -1",    "   -1", "   571", "   -1",  //
                         "   -1", "   572", "   -1",    "   -1", "   573", "   -1",  //
                         "   -1", "   601", "   -1",    "   -1", "   402", "   -1",  //
                         "   -1", "   403", "   -1",    "   -1", "   404", "   -1",  //
                         "   -1", "   615", "   -1",    "   -1", "   514", "   -1",  //
                         "   -1", "   506", "   -1",    "   -1", "   507", "   -1",  //
                         "   -1", "   408", "   -1",    "   -1", "   409", "   -1",  //
                         "   -1", "   411", "   -1",    "   -1", "   420", "   -1",  //
                         "   -1", "   412", "0,0,0,0,", "   -1",                     //
                         "   -1", "   450", "   -1",    "   -1", "   451", "   -1"};
    std::string expected;
    for (const std::string& line : lines) {
        expected += line + "\r\n";
    }
    EXPECT_EQ(Convert(), expected);
    EXPECT_TRUE(desktop_.boxes.empty());
}

// Every block in its place, and one report from each of those that give one.
TEST_F(DriverTest, BlocksAndReportsComeInOrder) {
    Put({45, 88}, 1, "");
    for (const int database : {1, 2}) {
        Put({54, 1964}, database, 1, "", "i0=1 i4=0");
    }
    std::vector<int> numbers;
    for (const NeutralBlockText& block : SplitBlocks(Convert())) {
        numbers.push_back(block.number);
    }
    EXPECT_EQ(numbers, (std::vector<int>{100, 405, 475, 410, 413, 570, 571, 572, 573,
                                         601, 402, 403, 404, 615, 514, 506, 507, 408,
                                         409, 411, 420, 521, 412, 540, 540, 450, 451}));
    // clang-format off
    constexpr const char* kNames[] = {
        "Coordinate System", "Text", "Variable", "Layer", "Point", "Curve", "Surface",
        "Solid/Volume", "Material", "Property", "Node", "Element", "Contact Segment",
        "Constraint Set", "Load Set", "Group", "View", "Output Format", "Function",
        "Output Set", "Output Vector"};
    // clang-format on
    Lines reports;
    for (const char* name : kNames) {
        reports.push_back(Cat("0 ", name, "(s) Translated."));
    }
    Lines shown = desktop_.statusLines;
    std::erase_if(shown, [](const std::string& line) { return line.starts_with("Allocated"); });
    EXPECT_EQ(shown, reports);
    EXPECT_TRUE(desktop_.boxes.empty());
}

TEST_F(DriverTest, HeaderBlockHoldsTheWholeTitle) {
    const std::string title = "A wing box of forty-three characters, 100%!";
    ASSERT_EQ(title.size(), 43U);
    model_.Title(title);
    ExpectBlock(100, {title, "6.,"});
}

TEST_F(DriverTest, DigitsShortenTheReals) {
    Put({30, 8}, 9, 3, "", "d0=1234.56");
    Put({29, 160}, 1, 1, "", "i0=9");
    Put({28, 304}, 1, "");
    Convert(4);
    const Lines lines = Blocks(451).at(0);
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines[lines.size() - 2], "3,1235.,");
    EXPECT_EQ(lines.back(), "-1,0.,");
}

TEST_F(DriverTest, OldNeutralFileIsOverwritten) {
    const std::string fresh = Convert();
    files_.Put(kNeutralPath, std::string(3 * fresh.size(), 'x'));
    EXPECT_EQ(Convert(), fresh);
}

TEST_F(DriverTest, NeutralFileThatCannotBeCreatedEndsTheConversion) {
    files_.ForbidCreation("/models", EACCES);
    Convert();
    EXPECT_FALSE(files_.Has(kNeutralPath));
    EXPECT_EQ(ErrorBoxes(),
              std::vector<std::string>{"Unable to Open File /models/wing.neu: Permission denied."});
    EXPECT_EQ(std::ranges::count_if(
                  desktop_.statusLines,
                  [](const std::string& line) { return line.ends_with("Translated."); }),
              0);
}

TEST_F(DriverTest, EveryFailedWriteLeavesATruePrefix) {
    for (int id = 1; id <= 600; ++id) {  // several output buffers full
        Put({10, 1960}, id, "d312*200/10");
    }
    const std::string whole = Convert();
    const auto isWrite = [](const FileCallRecord& call) {
        return call.kind == FileCall::kWrite && call.path == kNeutralPath;
    };
    const auto writes = static_cast<int>(std::ranges::count_if(files_.calls, isWrite));
    ASSERT_GE(writes, 3);
    for (int n = 1; n <= writes; ++n) {
        SCOPED_TRACE(n);
        FailNeutralCall(FileCall::kWrite, n, ENOSPC);
        const std::string cut = Convert();
        EXPECT_TRUE(cut.size() < whole.size() && whole.starts_with(cut));
        EXPECT_EQ(ErrorBoxes(),
                  (std::vector<std::string>{
                      "Error Writing File /models/wing.neu: No space left on device.", kSummary}));
    }
}

TEST_F(DriverTest, FailedCloseIsAFailedWrite) {
    FailNeutralCall(FileCall::kClose, 1, EIO);
    Convert();
    EXPECT_EQ(ErrorBoxes(),
              (std::vector<std::string>{"Error Writing File /models/wing.neu: Input/output error.",
                                        kSummary}));
}

TEST_F(DriverTest, ModelThatBearsTheNameOfTheNeutralFileStaysWhole) {
    files_.onCall = [this](const FileCallRecord&) {
        if (!files_.Has(kNeutralPath)) {
            files_.Link(kNeutralPath, modelPath_);
        }
    };
    for (const char* path : {"/models/wing.MOD", kNeutralPath}) {
        modelPath_ = path;
        Convert();
        ASSERT_EQ(desktop_.boxes.size(), 1U);
        EXPECT_TRUE(desktop_.boxes[0].text.starts_with("Unable to Open File /models/wing.neu: "));
    }
}

}  // namespace
}  // namespace mod2neu
