#include <algorithm>
#include <array>
#include <map>

#include "blocks/conversion_fixture.h"

namespace mod2neu {
namespace {

TEST_F(ConversionTest, MaterialsTakeTheFunctionsOfTheirId) {
    Lines expected;
    for (const int id : {1, 3, 4, 7, 8, 100, 101, 99999999}) {
        expected += Put({10, 1960}, id,
                        "id =-601 u1922 i4 i8 i1924 =0 / s1928:32 / =10 / b1912*10 / =25 /"
                        " i212*25/10 =200 / d312*200/10 =50 / i12*50/10 =60 /");
        const Lines functions = Put({34, 240}, id == 101 ? 102 : id, "i0*60/10");
        expected += id == 101 ? Lines(6, "0,0,0,0,0,0,0,0,0,0,") : functions;
    }
    ExpectBlock(601, expected, 8, "Material");
}

class PropertyBlockTest : public ConversionTest {
  protected:
    // A property whose value 55 is `laminate`.
    Lines PutProperty(int kind, const std::string& laminate) {
        return Put({11, 1944}, nextId_++,
                   "id u1904 i12 i376 i1908 i8 / s1912:32 / m380*4 / =90 / i16*90/8 =190 /"
                   " d384*190/5",
                   Cat("i376=", kind, " d816=", laminate));
    }

    // Laminate records 1 to `records` that claim `total` plies; returns the ply lines of the first
    // `plies` of them under their number.
    Lines PutLaminate(int laminate, int total, int records, int plies) {
        Lines lines = {Cat(plies, ",")};
        for (int record = 1; record <= records; ++record) {
            const int here = std::clamp(plies - 80 * (record - 1), 0, 80);
            lines += Put({57, 1928}, laminate, record, Cat(here, "[ d8+24 d16+24 c24+24 / ]"),
                         record == 1 ? Cat("i0=", total) : "");
        }
        return lines;
    }

  private:
    int nextId_ = 3;
};

TEST_F(PropertyBlockTest, LaminateIsTheRoundedValue55) {
    const Lines none = {"0,"};
    const Lines two = PutLaminate(2, 7, 1, 7);
    const Lines three = PutLaminate(3, 3, 2, 3);
    std::vector<std::pair<std::string, Lines>> laminates = {
        {"1.5", two}, {"2.4", two}, {"2.5", three}, {"3.49", three}};
    PutLaminate(1, 3, 1, 3);
    // Values that name none, for want of such an ID or of a number.
    for (const char* value : {"0.4", "-2.5", "12.", "2147483648.", "4294967297.", "-inf", "nan"}) {
        laminates.emplace_back(value, none);
    }
    // Plies that are claimed, records to hold 80 each, and plies that are written.
    const std::array<int, 3> chains[] = {{0, 1, 0},           {80, 2, 80},   {81, 2, 81},
                                         {81, 1, 80},         {240, 3, 240}, {-1, 1, 0},
                                         {2147483647, 2, 160}};
    int laminate = 99999990;
    for (const auto& [total, records, plies] : chains) {
        ++laminate;
        laminates.emplace_back(Cat(laminate, "."), PutLaminate(laminate, total, records, plies));
    }
    laminates.emplace_back(Cat(++laminate, "."), none);
    Put({57, 1928}, laminate, 2, "");  // a chain that does not start with record 1
    Lines expected;
    for (const auto& [value, lines] : laminates) {
        for (const int kind : {2, 5, 8}) {
            expected += PutProperty(kind, value) + lines;
        }
    }
    for (const int kind : {-2, 0, 1, 3, 4, 6, 7, 9, 17, 258}) {
        expected += PutProperty(kind, "2.") + none;
    }
    ExpectBlock(402, expected, 67, "Property");
}

TEST_F(ConversionTest, OutputDataIsStoredUnderTheKeyOfItsVector) {
    const Lines end = {"-1,0.,"};
    Lines many;
    for (const int id : {1, 2, 245, 246, 99999999}) {
        many += Put({30, 8}, 700, id, "id d0 /");
    }
    const std::map<int, Lines> data = {{700, many}, {3, Put({30, 8}, 3, 9, "id d0 /")}};
    Lines expected;
    for (const int set : {2, 5, 6}) {
        Put({28, 304}, set, "");
        int id = 1;
        for (const int key : {700, 3, 700, 4, 0, -1, 65536 + 3, 3}) {
            expected += Put({29, 160}, set, id *= 5,
                            Cat("=", set,
                                " id =1 / s128:32 / d112 d104 d96 / i4*20/10 i124 i120 i84 i88 /"
                                " b92 c93 b94 /"),
                            Cat("i0=", key));
            expected += (data.contains(key) ? data.at(key) : Lines{}) + end;
        }
    }
    Put({29, 160}, 7, 1, "");  // of no set
    ExpectBlock(451, expected, 24, "Output Vector");
}

TEST_F(ConversionTest, GroupsBringRulesAndLists) {
    const Lines rules =
        Put({25, 16}, 40, 2, "i0 i4 i8 h12 /") + Put({25, 16}, 40, 99999999, "i0 i4 i8 h12 /");
    const Lines ruleEnd = {"-1,-1,-1,-1,"};
    const Lines end = {"-1,"};
    PutFlags(26, 12, {99999999, 16, 1, 15, 17, 491 * 16, 31, 0});
    const Lines members = {"1,", "15,", "16,", "17,", "31,", "7856,", "99999999,"};
    // A kind of rule or of list is left out when it has no number, and empty when nothing is, or
    // can be, stored under its number.
    const auto group = [this](int id, const std::string& numbers) {
        return Put({24, 840}, id,
                   "id m808 b835 / s809:26 / i460 i464 m468 / h496 h494 h492 i488 d472 d480 /"
                   " h498 b500 / 6[ b507 b501 / d520+24 d528+24 d536+24 /"
                   " d664+24 d672+24 d680+24 / ] =87 /",
                   numbers);
    };
    Lines expected = group(7, "i0*87=0 i356*23=0 i0=40 i44=12 i344=40 i356=12 i444=40");
    expected += Lines{"0,"} + rules + ruleEnd + Lines{"11,"} + ruleEnd + Lines{"86,"} + rules +
                ruleEnd + end;
    expected += Lines{"23,", "0,"} + members + end + Lines{"22,"} + end + end;
    for (const int id : {8, 9, 10, 11, 12}) {
        expected += group(id, "i0*87=40 i340=-1 i356*23=-2147483648 i360=12");
        for (int kind = 0; kind < 87; ++kind) {
            expected += Lines{Cat(kind, ",")} + (kind == 85 ? Lines{} : rules) + ruleEnd;
        }
        expected += Lines{"-1,", "23,"};
        for (int kind = 0; kind < 23; ++kind) {
            expected += Lines{Cat(kind, ",")} + (kind == 1 ? members : Lines{}) + end;
        }
        expected += end;
    }
    ExpectBlock(408, expected, 6, "Group");
}

TEST_F(ConversionTest, HeaderValuesAreFourActiveIds) {
    RecordImage header(4816, 3);
    header.I32(2816, 17).I32(2796, -12).I32(2844, 2147483647).I32(2872, 31);
    model_.Header(2748, Bytes(header.Bytes().begin() + 2748, header.Bytes().begin() + 3196));
    ExpectBlock(412, {"17,-12,2147483647,31,"});
}

TEST_F(ConversionTest, StoredTextIsJoinedUpToTheTerminator) {
    using namespace std::string_literals;
    const std::string whole(1960, 'x');
    PutChunk(54, 1, 3, whole);
    PutChunk(54, 1, 9, "yz\r\n\nend\0behind"s);
    PutChunk(54, 1, 10, "lost");
    PutChunk(54, 2, 99999999, "no terminator\n");
    PutChunk(54, 3, 1, "of neither number");
    EXPECT_EQ(Blocks(540), (std::vector<Lines>{{"1,", "1979,", "3,", whole + "yz", "<NULL>", "end"},
                                               {"2,", "14,", "2,", "no terminator", "<NULL>"}}));
    // Only a text with bytes has a block; a chunk has no more of them than it has room for.
    model_ = {};
    PutChunk(54, 1, 1, "");
    PutChunk(54, 2, 1, whole, 1961);
    PutChunk(54, 2, 2, whole, -1);
    PutChunk(54, 2, 3, whole, 2147483647);
    EXPECT_EQ(Blocks(540), (std::vector<Lines>{{"2,", "3920,", "1,", whole + whole}}));
}

}  // namespace
}  // namespace mod2neu
