#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "blocks/conversion_fixture.h"
#include "sample/record.h"
#include "sample/sample_model.h"
#include "shell/messages.h"
#include "shell/session.h"
#include "shell/startup.h"

namespace mod2neu {
namespace {

// The sample model through the whole program, as `./demo` does it. What a line must say follows
// from the wing box itself: its measures, its material, a cantilever's deflection.
class WingBoxTest : public ::testing::Test {
  protected:
    static constexpr const char* kModel = "/models/wing_box.MOD";

    void SetUp() override {
        ResetSession();
        ResetMessages();
        std::string failure;
        ASSERT_TRUE(sample::WriteSampleModel(kModel, failure)) << failure;
        model_ = files_.Bytes(kModel);
        RunProgram({kModel});
        blocks_ = SplitBlocks(files_.Bytes("/models/wing_box.neu"));
    }

    // The lines stand in the block in that order, with others between them.
    void ExpectIn(int number, const Lines& lines) {
        const auto block =
            std::ranges::find(blocks_, Cat("   ", number), [](const Lines& b) { return b[0]; });
        ASSERT_NE(block, blocks_.end()) << number;
        auto from = block->begin();
        for (const std::string& line : lines) {
            from = std::find(from, block->end(), line);
            ASSERT_NE(from, block->end()) << line << " in block " << number;
        }
    }

    MemoryFiles files_;
    RecordingDesktop desktop_;
    std::string model_;
    std::vector<Lines> blocks_;
};

TEST_F(WingBoxTest, FillsEveryKindOfBlockInOrder) {
    auto block = blocks_.begin();
    for (const int number : {100, 405, 475, 410, 413, 570, 571, 572, 573, 601, 402, 403, 404, 615,
                             514, 506, 507, 408, 409, 411, 420, 521, 412, 540, 540, 450, 451}) {
        ASSERT_TRUE(block != blocks_.end() && block->size() > 1) << number;
        EXPECT_EQ((block++)->at(0), Cat("   ", number));
    }
    EXPECT_TRUE(block == blocks_.end());
    EXPECT_TRUE(desktop_.boxes.empty());
    EXPECT_EQ(files_.Bytes(kModel), model_) << "the model has changed";
    EXPECT_EQ(files_.Paths(), (std::vector<std::string>{kModel, "/models/wing_box.neu"}));

    std::string failure;
    ASSERT_TRUE(sample::WriteSampleModel(kModel, failure)) << failure;
    EXPECT_EQ(files_.Bytes(kModel), model_) << "not the same every time";
    files_.ForbidCreation("/locked", 13);
    EXPECT_FALSE(sample::WriteSampleModel("/locked/box.MOD", failure));
    EXPECT_EQ(failure, "cannot create /locked/box.MOD");
    EXPECT_FALSE(sample::Record(kLayer).U16(35, 1).Fits()) << "it leaves the record";
}

TEST_F(WingBoxTest, HasItsMeasuresMaterialAndLoads) {
    ExpectIn(100, {"Wing box", "6.,"});
    // Lower rear corner at the root (1.2 m by 0.24 m), upper front at the tip (0.6 m by 0.12 m).
    ExpectIn(570, {"1.2,0.,-0.12,", "0.,5.,0.06,"});
    // E along and across, G, Poisson's ratio, density, expansion, temperature, strength.
    ExpectIn(601, {"73100000000.,73100000000.,28000000000.,0.33,2780.,0.0000229,0.0000229,"
                   "293.15,345000000.,0.,"});
    // Two thirds of the chord at the fourth rib (0.84 m by 0.168 m).
    ExpectIn(403, {"1403,0,0,2,10,0,0,0,0,0,0,0.56,3.,-0.084,0,"});
    // A stringer hangs 15 mm inside of the skin.
    ExpectIn(404, {"4102,4,4,1,2,4,0,0,0,0,0,0,", "0.,0.,1.,", "0.,0.,-0.015,"});
    // 9.6 kN upwards at the tip; 2.5 g; 4.8 kN/m over a mean chord of 0.9 m.
    ExpectIn(507, {"0.,0.,9600.,0.,0.,", "0.,0.,-24.525,", "5333.3333,0.,0.,0.,0.,"});
    ExpectIn(540, {"Half wing box for checks of the conversion."});
}

// With EI = 2 MN m2: under P = 9600 N at the tip the deflection is P y2 (15 - y) / 6 EI, and the
// stress in the middle of each bay is 50 GPa times half the depth times P (5 - y) / EI. Nodes and
// panels of the front row of the upper skin, root to tip.
TEST_F(WingBoxTest, BendsLikeACantilever) {
    ExpectIn(451, {"T3 displacement", "0.,0.2,0.2,", "101,0.,", "201,0.0112,", "301,0.0416,",
                   "401,0.0864,", "501,0.1408,", "601,0.2,"});
    ExpectIn(451, {"Skin von Mises stress", "7920000.,123120000.,123120000.,", "101,123120000.,",
                   "201,85680000.,", "301,54000000.,", "401,28080000.,", "501,7920000.,"});
}

}  // namespace
}  // namespace mod2neu
