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
#include "support/memory_files.h"
#include "support/recording_desktop.h"

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

    const Lines& Block(int number) {
        static const Lines kNone;
        const auto block = std::ranges::find(blocks_, number, &NeutralBlockText::number);
        return block == blocks_.end() ? kNone : block->lines;
    }

    // The lines stand in the block, one behind the other. When they do not, what follows the first
    // of them is shown.
    void ExpectIn(int number, const Lines& lines) {
        const Lines& block = Block(number);
        if (std::ranges::search(block, lines).empty()) {
            const auto first = std::ranges::find(block, lines.front());
            const auto count = std::min<std::ptrdiff_t>(std::ssize(lines), block.end() - first);
            EXPECT_EQ(Lines(first, first + count), lines) << "in block " << number;
        }
    }

    MemoryFiles files_;
    RecordingDesktop desktop_;
    std::string model_;
    std::vector<NeutralBlockText> blocks_;
};

TEST_F(WingBoxTest, FillsEveryKindOfBlockInOrder) {
    std::vector<int> numbers;
    for (const NeutralBlockText& block : blocks_) {
        numbers.push_back(block.number);
        EXPECT_FALSE(block.lines.empty()) << "block " << block.number;
    }
    EXPECT_EQ(numbers,
              (std::vector{100, 405, 475, 410, 413, 570, 571, 572, 573, 601, 402, 403, 404, 615,
                           514, 506, 507, 408, 409, 411, 420, 521, 412, 540, 540, 450, 451}));
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
    EXPECT_EQ(Block(100), (Lines{"Wing box", "6.,"}));
    // Lower rear corner at the root (1.2 m by 0.24 m), upper front at the tip (0.6 m by 0.12 m).
    ExpectIn(570, {"3,0,0,0,1,8,0.4,0,", "1.2,0.,-0.12,"});
    ExpectIn(570, {"5,0,0,0,1,8,0.4,0,", "0.,5.,0.06,"});
    // The front spar cap from point 1 to point 5 and its five places.
    ExpectIn(571, {"1,5,0,0,0,", "5,", "201,1.,0.2,", "301,1.,0.4,", "401,1.,0.6,", "501,1.,0.8,",
                   "601,1.,1.,"});
    ExpectIn(573, {"2,4,0,2,1,39,1,", ">>> Begin Solid Transmit >>>", "Tip fitting", "220,",
                   "fitting of the wing tip, lengths in m"});
    // E along and across, G, Poisson's ratio, density, expansion, temperature, strength.
    ExpectIn(601, {"73100000000.,73100000000.,28000000000.,0.33,2780.,0.0000229,0.0000229,"
                   "293.15,345000000.,0.,"});
    ExpectIn(402, {"8,", "0.00025,45.,1,", "0.00025,-45.,1,", "0.00025,0.,1,", "0.00025,90.,1,"});
    // Two thirds of the chord at the fourth rib (0.84 m by 0.168 m).
    EXPECT_EQ(Block(403).size(), 6U * 4 * 2 + 1);
    ExpectIn(403, {"1403,0,0,2,10,0,0,0,0,0,0,0.56,3.,-0.084,0,"});
    // A stringer points up and hangs 15 mm inside of the skin at both ends.
    ExpectIn(404, {"4102,4,4,1,2,4,0,0,0,0,0,0,", "102,202,0,0,0,0,0,0,0,0,",
                   "0,0,0,0,0,0,0,0,0,0,", "0.,0.,1.,", "0.,0.,-0.015,", "0.,0.,-0.015,"});
    // 9.6 kN upwards at the tip node; weight at 2.5 g, 4.8 kN/m over a mean chord of 0.9 m.
    ExpectIn(507, {"701,1,4,5,0,0,0,", "0,0,1,", "0.,0.,9600.,0.,0.,"});
    ExpectIn(507, {"Manoeuvre 2.5 g", "0,293.15,1,1,0,", "0.,0.,-24.525,"});
    ExpectIn(507, {"1101,9,4,5,0,0,0,", "", "5333.3333,0.,0.,0.,0.,"});
    ExpectIn(540, {"Half wing box for checks of the conversion."});
}

// With EI = 2 MN m2: under P = 9600 N at the tip the deflection is P y2 (15 - y) / 6 EI, and the
// stress in the middle of each bay is 50 GPa times half the depth times P (5 - y) / EI.
TEST_F(WingBoxTest, BendsLikeACantilever) {
    const std::string noIds = "0,0,0,0,0,0,0,0,0,0,";
    const std::pair<Lines, Lines> vectors[] = {
        // Set, vector; title; smallest, largest, largest of all; where they are, kind, of nodes.
        {{"1,4,1,", "T3 displacement", "0.,0.2,0.2,", noIds, noIds, "101,601,1,7,"},
         {"0.", "0.0112", "0.0416", "0.0864", "0.1408", "0.2"}},
        {{"1,5,1,", "Skin von Mises stress", "7920000.,123120000.,123120000.,"},
         {"123120000.", "85680000.", "54000000.", "28080000.", "7920000."}},
    };
    for (const auto& [head, values] : vectors) {
        ExpectIn(451, head);
        const Lines& block = Block(451);
        auto line = std::ranges::find(block, head.front()) + 7;
        for (std::size_t place = 0; place < values.size(); ++place) {
            // Nodes or panels of the front row of the upper skin, root to tip.
            const std::string wanted = Cat(100 * (place + 1) + 1, ",", values[place], ",");
            line = std::find(line, block.end(), wanted);
            ASSERT_NE(line, block.end()) << wanted << " of " << head[1];
        }
    }
}

}  // namespace
}  // namespace mod2neu
