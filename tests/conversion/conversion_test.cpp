#include "neutral/conversion.h"

#include <cerrno>

#include "blocks/conversion_fixture.h"

namespace mod2neu {
namespace {

// The whole file of a model without anything in it.
TEST_F(ConversionTest, EmptyModelHasTheFrameOfEveryBlock) {
    std::string expected = "   -1\r\n   100\r\n<NULL>\r\n6.,\r\n   -1\r\n";
    for (const int number : {405, 475, 410, 413, 570, 571, 572, 573, 601, 402, 403, 404,
                             615, 514, 506, 507, 408, 409, 411, 420, 412, 450, 451}) {
        expected +=
            Cat("   -1\r\n   ", number, number == 412 ? "\r\n0,0,0,0," : "", "\r\n   -1\r\n");
    }
    EXPECT_EQ(Convert(), expected);
    EXPECT_TRUE(desktop_.boxes.empty());
}

TEST_F(ConversionTest, TitleAndDigitsAreTheModelsAndTheCallers) {
    const std::string title = "A wing box of forty-three characters, 100%!";
    model_.Title(title);
    Put({27, 192}, 1, "", "d0=1234.56");
    EXPECT_EQ(Blocks(410, 4).at(0).back(), "1235.,");
    ExpectBlock(100, {title, "6.,"});
}

TEST_F(ConversionTest, FailuresOfTheNeutralFileAreShown) {
    const Lines notOpened = {"Unable to Open File /models/wing.neu: Permission denied."};
    const Lines notWritten = {"Error Writing File /models/wing.neu: Permission denied.",
                              "Errors have Occurred. Check Message Window."};
    for (const auto& [kind, boxes] : {std::pair(FileCall::kOpen, notOpened),
                                      {FileCall::kWrite, notWritten},
                                      {FileCall::kClose, notWritten}}) {
        files_.onCall = [this, kind = kind](const FileCallRecord& call) {
            if (call.kind == kind && call.path == kNeutralPath) {
                files_.FailCall(files_.calls.size(), EACCES);
            }
        };
        Convert();
        EXPECT_EQ(desktop_.BoxTexts(), boxes);
    }
}

TEST_F(ConversionTest, ModelThatBearsTheNameOfTheNeutralFileStaysWhole) {
    files_.onCall = [this](const FileCallRecord&) {
        if (!files_.Has(kNeutralPath)) {
            files_.Link(kNeutralPath, modelPath_);
        }
    };
    for (const char* path : {"/models/wing.MOD", kNeutralPath}) {
        modelPath_ = path;
        Convert();
        EXPECT_TRUE(desktop_.BoxTexts().at(0).starts_with("Unable to Open File /models/wing.neu"));
    }
}

}  // namespace
}  // namespace mod2neu
