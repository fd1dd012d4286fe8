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
#include "shell/status_window.h"
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
        ForgetLastRun();
        std::string failure;
        ASSERT_TRUE(sample::WriteSampleModel(kModel, failure)) << failure;
        model_ = files_.Bytes(kModel);
        ForgetLastRun();
        RunProgram({kModel});
        blocks_ = SplitBlocks(files_.Bytes("/models/wing_box.neu"));
    }

    static void ForgetLastRun() {
        ResetSession();
        ResetMessages();
        ResetStatusWindow();
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
        if (std::search(block.begin(), block.end(), lines.begin(), lines.end()) != block.end()) {
            return;
        }
        const auto first = std::ranges::find(block, lines.front());
        const auto count = std::min<std::ptrdiff_t>(std::ssize(lines), block.end() - first);
        EXPECT_EQ(Lines(first, first + count), lines) << "in block " << number;
    }

    // The values of an output vector behind its seven lines, for nodes or panels of the front
    // row of the upper skin, root to tip.
    void ExpectUpperFront(const Lines& vectorHead, const Lines& values) {
        ExpectIn(451, vectorHead);
        const Lines& block = Block(451);
        auto line = std::ranges::find(block, vectorHead.front());
        for (std::size_t place = 0; place < values.size(); ++place) {
            const std::string id = std::to_string(100 * (place + 1) + 1) + ",";
            line = std::find_if(line + 1, block.end(), [&](const std::string& text) {
                return text.starts_with(id) && std::ranges::count(text, ',') == 2;
            });
            ASSERT_NE(line, block.end()) << "no value for " << id;
            EXPECT_EQ(*line, id + values[place] + ",") << vectorHead[1];
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
}

TEST_F(WingBoxTest, IsTheSameEveryTime) {
    std::string failure;
    ASSERT_TRUE(sample::WriteSampleModel("/models/again.MOD", failure)) << failure;
    EXPECT_EQ(files_.Bytes("/models/again.MOD"), model_);
}

TEST_F(WingBoxTest, ReportsWhereItCannotWrite) {
    files_.ForbidCreation("/locked", 13);
    std::string failure;
    EXPECT_FALSE(sample::WriteSampleModel("/locked/box.MOD", failure));
    EXPECT_EQ(failure, "cannot create /locked/box.MOD");
    EXPECT_FALSE(files_.Has("/locked/box.MOD"));
    EXPECT_TRUE(sample::WriteSampleModel("/models/box.MOD", failure)) << failure;
}

TEST_F(WingBoxTest, HasItsFrameOfReference) {
    EXPECT_EQ(Block(100), (Lines{"Wing box", "6.,"}));
    // ID, the system it is defined in, rectangular, colour, layer; origin; rotations.
    EXPECT_EQ(Block(405), (Lines{"3,0,0,8,1,", "Root", "0.,0.,0.,", "0.,0.,0.,",  //
                                 "4,0,0,8,1,", "Tip", "0.3,5.,0.,", "0.,0.,90.,"}));
    EXPECT_EQ(Block(410), (Lines{"1,", "SPAN", "5", "5.,",        //
                                 "1,", "PITCH", "SPAN/5", "1.,",  //
                                 "1,", "CHORD", "1.2", "1.2,",    //
                                 "1,", "SKIN", "8*0.00025", "0.002,"}));
    EXPECT_EQ(Block(413), (Lines{"1,8,", "Geometry", "2,10,", "Skins", "3,12,", "Spars and ribs",
                                 "4,4,", "Stringers", "5,15,", "Loads, supports"}));
    ExpectIn(475, {"2,", "Wing box, half model", "Units: m, N, kg, s"});
}

TEST_F(WingBoxTest, HasItsGeometry) {
    // Upper front and lower rear corner, at root (1.2 m by 0.24 m) and tip (0.6 m by 0.12 m).
    ExpectIn(570, {"1,0,0,0,1,8,0.4,0,", "0.,0.,0.12,"});
    ExpectIn(570, {"3,0,0,0,1,8,0.4,0,", "1.2,0.,-0.12,"});
    ExpectIn(570, {"5,0,0,0,1,8,0.4,0,", "0.,5.,0.06,"});
    ExpectIn(570, {"7,0,0,0,1,8,0.4,0,", "0.6,5.,-0.06,"});
    // The front spar cap from point 1 to point 5 and its five places.
    ExpectIn(571, {"1,5,0,0,0,", "5,", "201,1.,0.2,", "301,1.,0.4,", "401,1.,0.6,", "501,1.,0.8,",
                   "601,1.,1.,", "10,8,0,1,0,0.25,0,0,1,0,"});
    // The rear one: two rows with node and weight, two without.
    ExpectIn(571, {"1,0,0,0,1.5,0.01,2,2,", "4,", "204,0.2,0.5,", "304,0.4,0.25,", "0,0.6,0.,",
                   "0,0.8,0.,"});
    // The upper skin between curves 1, 10, 5 and 9, with its list of two curves.
    ExpectIn(572, {"1,8,1,1,0,0,1,0,0,", "3,0.4,", "1,3,5,3,5,", "2,", "0,0,1,1,0,0,",
                   "1,10,5,9,0,0,", "2,", "9,", "10,"});
    // The middle plane has nothing of its own, the access panel a boundary of 25 lines.
    ExpectIn(572, {"7,8,5,1,0,0,0,0,0,", "0,0.4,", "1,0,0,0,0,", "0,", "8,8,7,1,0,0,0,0,0,",
                   "0,0.4,", "1,0,0,0,0,", "25,", "1,2,4,0.001,", "0.3,2.5,-0.09,"});
    EXPECT_EQ(Block(573),
              (Lines{"1,8,3,0,1,6,1,", "1,0,0,1,0,0,1,0,0,1,0,0,1,0,0,1,0,0,", "1,2,3,4,5,6,",
                     "2,4,0,2,1,39,1,", ">>> Begin Solid Transmit >>>", "Tip fitting", "220,",
                     "fitting of the wing tip, lengths in m",
                     "box    0.600 0.040 0.120  at  0.300 5.020  0.000",
                     "hole   radius 0.008       at  0.050 5.000  0.030",
                     "hole   radius 0.008       at  0.550 5.000  0.030",
                     "fillet radius 0.010       all edges", "<<< End Solid Transmit <<<"}));
}

TEST_F(WingBoxTest, HasItsMaterialsAndProperties) {
    ExpectIn(601, {"1,-601,12,0,0,3,0,", "Aluminium 2024-T3", "10,", "1,0,0,0,0,0,0,0,0,0,"});
    // E along and across, G, Poisson's ratio, density, expansion, temperature, strength.
    ExpectIn(601, {"73100000000.,73100000000.,28000000000.,0.33,2780.,0.0000229,0.0000229,"
                   "293.15,345000000.,0.,"});
    ExpectIn(601, {"135000000000.,10000000000.,5000000000.,0.3,1580.,-0.0000003,0.000028,"
                   "293.15,1500000000.,0.,"});
    // It refers to function 1 itself and to function 2 through its function table.
    ExpectIn(601, {"50,", "1,0,0,0,0,0,0,0,0,0,"});
    ExpectIn(601, {"60,", "2,0,0,0,0,0,0,0,0,0,"});
    ExpectIn(420, {"1,4,", "2024-T3 stress-strain", "1,0.,0.,", "2,0.004,292400000.,"});

    ExpectIn(402, {"1,12,1,4,3,0,", "Spar web 4 mm", "0,0,0,0,", "90,"});
    ExpectIn(402, {"190,", "0.004,0.,0.,0.,0.,"});
    ExpectIn(402, {"8,", "0.00025,45.,1,", "0.00025,-45.,1,", "0.00025,0.,1,", "0.00025,90.,1,",
                   "0.00025,90.,1,", "0.00025,0.,1,", "0.00025,-45.,1,", "0.00025,45.,1,",
                   "4,4,1,1,4,0,", "Stringer 30 x 4 mm", "1,-1,0,0,"});
    // 30 mm by 4 mm: 1.2E-4 m2, 4 * 30^3 / 12 mm4, 30 * 4^3 / 12 mm4.
    ExpectIn(402, {"0.00012,9.E-9,1.6E-10,6.4E-10,0.,"});
}

TEST_F(WingBoxTest, HasItsMesh) {
    EXPECT_EQ(Block(403).size(), 6U * 4 * 2 + 1);
    // A third of the chord at the root, two thirds at the fourth rib (0.84 m by 0.168 m), the
    // rear spar at the tip; and the tip node, whose results refer to system 4.
    ExpectIn(403, {"102,0,0,2,10,0,0,0,0,0,0,0.4,0.,0.12,0,"});
    ExpectIn(403, {"1403,0,0,2,10,0,0,0,0,0,0,0.56,3.,-0.084,0,"});
    ExpectIn(403,
             {"604,0,0,2,10,0,0,0,0,0,0,0.6,5.,0.06,0,", "701,0,4,2,10,0,0,0,0,0,0,0.3,5.,0.,0,"});

    const std::string noNodes = "0,0,0,0,0,0,0,0,0,0,";
    const std::string noFlags = "0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,";
    const std::string zero = "0.,0.,0.,";
    ExpectIn(404, {"101,10,3,5,4,2,0,0,0,0,0,0,", "101,102,202,201,0,0,0,0,0,0,", noNodes, zero,
                   zero, zero, noFlags, "102,10,3,5,4,2,0,0,0,0,0,0,"});
    // A stringer points up and hangs 15 mm inside of the skin at both ends.
    ExpectIn(404, {"4102,4,4,1,2,4,0,0,0,0,0,0,", "102,202,0,0,0,0,0,0,0,0,", noNodes, "0.,0.,1.,",
                   "0.,0.,-0.015,", "0.,0.,-0.015,", noFlags});
    ExpectIn(404,
             {"1,1,1,1,1,1,0,0,0,0,0,0,9001,0,0,0,", "601,1,0.125,1,1,1,0,0,0,",
              "602,1,0.125,1,1,1,0,0,0,", "603,1,0.125,1,1,1,0,0,0,", "604,1,0.125,1,1,1,0,0,0,",
              "1601,1,0.125,1,1,1,0,0,0,", "1602,1,0.125,1,1,1,0,0,0,", "1603,1,0.125,1,1,1,0,0,0,",
              "1604,1,0.125,1,1,1,0,0,0,", "-1,"});
    // Element, side, node, code.
    ExpectIn(615, {"2101,3,101,1,", "2102,3,201,1,", "2103,3,301,1,", "2104,3,401,1,",
                   "2105,3,501,1,", "-1,-1,0,0,"});
}

TEST_F(WingBoxTest, KnowsWhatWasMeshedOnTheGeometry) {
    ExpectIn(514, {"0,1,", "101,0,", "-1,-1,", "0,2,", "104,0,", "-1,-1,"});
    // Curve 5 named 601 to 604 and 602 once more; curve 9 its nodes from tip to root.
    ExpectIn(514, {"1,5,", "601,604,", "-1,-1,", "1,9,", "101,0,", "201,0,", "301,0,", "401,0,",
                   "501,0,", "601,0,", "-1,-1,"});
    // Skins, spars, and the ribs at both ends: two chunks of single IDs.
    ExpectIn(514, {"3,1,", "101,103,", "201,203,", "301,303,", "401,403,", "501,503,", "1101,1103,",
                   "1201,1203,", "1301,1303,", "1401,1403,", "1501,1503,", "2101,2105,",
                   "2201,2205,", "3101,3103,", "3601,3603,", "-1,-1,"});
}

TEST_F(WingBoxTest, IsHeldAndLoaded) {
    const std::string end = "-1,-1,-1,0,0,0,0,0,0,0,";
    const auto held = [](const std::string& id) { return id + ",15,5,1,1,1,1,1,1,0,"; };
    ExpectIn(506, {"Root clamped", held("101"),  held("102"),  held("103"),   held("104"),
                   held("1101"),   held("1102"), held("1103"), held("1104"),  end,
                   held("1"),      held("2"),    held("3"),    held("4"),     end,  // points
                   held("1"),      held("2"),    held("3"),    held("4"),     end,  // curves
                   held("5"),      end,                                             // the root rib
                   "1,15,5,",      "2,",         "604,3,1.,",  "1604,3,-1.,", "-1,-1,-1,"});

    // 9.6 kN upwards at the tip node.
    ExpectIn(507, {"701,1,4,5,0,0,0,", "0,0,1,", "0.,0.,9600.,0.,0.,"});
    // Weight at 2.5 g, 4.8 kN/m over a mean chord of 0.9 m, the aileron's hinge forces.
    ExpectIn(507, {"Manoeuvre 2.5 g", "0,293.15,1,1,0,", "0.,0.,-24.525,"});
    ExpectIn(507, {"1101,9,4,5,0,0,0,", "", "5333.3333,0.,0.,0.,0.,"});
    ExpectIn(507, {"10,42,4,5,0,0,0,", "0,0,200,", "0.,0.,-150.,0.,0.,"});
    ExpectIn(507, {"Y", "-800*(1-Y/SPAN)"});
    ExpectIn(507, {"604,4,5,333.15,0.,0,1,", "-1,-1,-1,0.,0.,-1,1,", "1101,4,5,303.15,0.,0,1,"});
}

TEST_F(WingBoxTest, HasItsGroupsViewAndRemarks) {
    // By a rule, and by lists of 24 nodes and 15 panels.
    ExpectIn(408, {"87,", "8,", "101,503,1,1,", "-1,-1,-1,-1,", "-1,", "23,", "7,", "101,", "102,",
                   "103,", "104,", "201,"});
    ExpectIn(408, {"8,", "301,503,1,1,", "1301,1503,1,1,", "9001,9001,1,1,", "-1,-1,-1,-1,"});
    EXPECT_EQ(Block(409).size(), 156U + 3);
    EXPECT_EQ(Lines(Block(409).end() - 3, Block(409).end()), (Lines{"1,", "2,", "-1,"}));
    EXPECT_EQ(Block(412), (Lines{"1,1,1,1,"}));
    EXPECT_EQ(Block(521),
              (Lines{"1,3,101,503,0,", "8,1,3,1,0.002,0.001,0.004,", "1,5,0.,345000000.,",
                     "2,3,1101,1503,0,", "8,1,3,1,0.002,0.001,0.004,", "1,5,0.,345000000.,"}));
    ExpectIn(411, {"Nodal displacements", "2,", "1,1,", "0,0,", "7,",
                   "WING BOX - NODAL DISPLACEMENTS IN M", "<NULL>"});
    ExpectIn(540, {"Half wing box for checks of the conversion.",
                   "Five bays of 1 m, tapered from 1.2 m x 0.24 m to 0.6 m x 0.12 m."});
    EXPECT_EQ(blocks_.at(24).lines,
              (Lines{"2,", "51,", "1,", "Compare the tip deflection of 0.2 m with the test."}));
}

// With EI = 2 MN m2: under P = 9600 N at the tip the deflection is P y2 (15 - y) / 6 EI, under
// q = 4800 N/m it is q y2 (150 - 20 y + y2) / 24 EI.
TEST_F(WingBoxTest, BendsLikeACantilever) {
    EXPECT_EQ(Block(450), (Lines{"1,", "Tip shear 9.6 kN", "1,1,", "0.,", "2,",
                                 "Linear static, beam theory", "Tip deflection 0.2 m",  //
                                 "2,", "Manoeuvre 2.5 g", "1,1,", "0.,", "2,",
                                 "Linear static, beam theory", "Tip deflection 0.1875 m"}));
    const std::string noIds = "0,0,0,0,0,0,0,0,0,0,";
    // Set, vector; title; smallest, largest, largest of all; where they are, kind, of nodes.
    ExpectUpperFront({"1,4,1,", "T3 displacement", "0.,0.2,0.2,", noIds, noIds, "101,601,1,7,"},
                     {"0.", "0.0112", "0.0416", "0.0864", "0.1408", "0.2"});
    ExpectUpperFront({"2,4,1,", "T3 displacement", "0.,0.1875,0.1875,"},
                     {"0.", "0.0131", "0.0456", "0.0891", "0.1376", "0.1875"});
    // Half the depth times the slope P y (10 - y) / 2 EI, or q y (75 - 15 y + y2) / 6 EI.
    ExpectUpperFront({"1,3,1,", "T2 displacement", "-0.0042336,0.0042336,0.0042336,", noIds, noIds,
                      "401,1401,1,7,"},
                     {"0.", "-0.0023328", "-0.0036864", "-0.0042336", "-0.0041472", "-0.0036"});
    ExpectUpperFront({"2,3,1,", "T2 displacement", "-0.0039312,0.0039312,0.0039312,"},
                     {"0.", "-0.0026352", "-0.0037632", "-0.0039312", "-0.0035712", "-0.003"});
    ExpectUpperFront({"1,2,1,", "T1 displacement"}, {"0.", "0.", "0.", "0.", "0.", "0."});
    // The root of the sum of both squares: 0.2 and 0.0036, 0.1875 and 0.003.
    ExpectIn(451, {"1,1,1,", "Total displacement", "0.,0.2000324,0.2000324,",
                   "2,3,4,0,0,0,0,0,0,0,", noIds, "101,601,1,7,", "0,0,1,"});
    ExpectIn(451, {"2,1,1,", "Total displacement", "0.,0.187524,0.187524,"});
    // 50 GPa times half the depth times the curvature P (5 - y) / EI, or q (5 - y)2 / 2 EI, in
    // the middle of each bay.
    ExpectUpperFront({"1,5,1,", "Skin von Mises stress", "7920000.,123120000.,123120000.,", noIds,
                      noIds, "501,101,3,8,"},
                     {"123120000.", "85680000.", "54000000.", "28080000.", "7920000."});
    ExpectUpperFront({"2,5,1,", "Skin von Mises stress", "990000.,138510000.,138510000.,"},
                     {"138510000.", "74970000.", "33750000.", "10530000.", "990000."});
}

TEST(SampleRecordTest, RefusesWhatLeavesTheRecord) {
    using sample::Record;
    EXPECT_TRUE(Record(kLayer).U16(34, 1).Fits());
    EXPECT_FALSE(Record(kLayer).U16(35, 1).Fits());
    EXPECT_FALSE(Record(kLayer).U16(34, 1, 2).Fits());
    EXPECT_TRUE(Record(kLayer).Text(8, 5, "Skin").Fits());
    EXPECT_FALSE(Record(kLayer).Text(8, 5, "Skins").Fits());
    EXPECT_FALSE(Record(kLayer).Text(33, 4, "Rib").Fits());
}

}  // namespace
}  // namespace mod2neu
