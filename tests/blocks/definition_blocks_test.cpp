#include <algorithm>
#include <iterator>

#include "blocks/conversion_fixture.h"

namespace mod2neu {
namespace {

constexpr Table kMaterial{10, 1960};
constexpr Table kProperty{11, 1944};
constexpr Table kLaminate{57, 1928};
constexpr Table kOutputSet{28, 304};
constexpr Table kOutputVector{29, 160};
constexpr Table kOutputData{30, 8};
constexpr Table kGroup{24, 840};
constexpr Table kGroupRule{25, 16};
constexpr Table kView{22, 1480};
constexpr Table kFunction{35, 56};
constexpr Table kFunctionPoint{36, 16};
constexpr Table kStoredText{54, 1964};

class DefinitionBlocksTest : public ConversionTest {};

TEST_F(DefinitionBlocksTest, MaterialsTakeTheFunctionsOfTheirId) {
    const auto material = [this](int id) {
        return Put(kMaterial, id,
                   "id =-601 u1922 i4 i8 i1924 =0 / s1928:32 / =10 / b1912*10 / =25 / i212*25/10"
                   " =200 / d312*200/10 =50 / i12*50/10 =60 /");
    };
    const auto functions = [this](int id) { return Put({34, 240}, id, "i0*60/10"); };
    const Lines none(6, "0,0,0,0,0,0,0,0,0,0,");
    Lines expected = material(1) + functions(1);
    functions(2);
    expected += material(3) + none;
    expected += material(99999999) + functions(99999999);
    ExpectBlock(601, expected);
    ExpectCount(3, "Material");
}

class PropertyBlockTest : public ConversionTest {
  protected:
    // A property whose value 55 is `laminate`.
    Lines PutProperty(int kind, const std::string& laminate) {
        return Put(kProperty, nextId_++,
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
            lines += Put(kLaminate, laminate, record, Cat(here, "[ d8+24 d16+24 c24+24 / ]"),
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
    const Lines last = PutLaminate(99999999, 1, 1, 1);
    Lines expected;
    const std::pair<const char*, Lines> plies[] = {
        {"2.4", two},   {"2.5", three}, {"1.5", two},  {"3.49", three},    {"0.4", none},
        {"-0.4", none}, {"-2.5", none}, {"12.", none}, {"99999999.", last}};
    for (const int kind : {2, 5, 8}) {
        for (const auto& [value, lines] : plies) {
            expected += PutProperty(kind, value) + lines;
        }
    }
    for (const int kind : {-2, 0, 1, 3, 4, 6, 7, 9, 17, 258}) {
        expected += PutProperty(kind, "2.") + none;
    }
    ExpectBlock(402, expected);
    ExpectCount(37, "Property");
}

TEST_F(PropertyBlockTest, PliesRunThroughTheChainOfRecords) {
    struct Case {
        int total, records, plies;
    };
    const Case cases[] = {{0, 1, 0},   {1, 1, 1},           {80, 1, 80},         {80, 2, 80},
                          {81, 2, 81}, {240, 3, 240},       {81, 1, 80},         {200, 2, 160},
                          {-1, 1, 0},  {-2147483647, 1, 0}, {2147483647, 2, 160}};
    Lines expected;
    int laminate = 50;
    for (const Case& c : cases) {
        expected += PutProperty(5, Cat(laminate, "."));
        expected += PutLaminate(laminate, c.total, c.records, c.plies);
        ++laminate;
    }
    // A chain that does not start with record 1 is none.
    expected += PutProperty(5, Cat(laminate, ".")) + Lines{"0,"};
    Put(kLaminate, laminate, 2, "");
    ExpectBlock(402, expected);
}

// Values that name no laminate because no ID is that large, or because they are no numbers.
TEST_F(PropertyBlockTest, UnboundedValuesNameNoLaminate) {
    PutLaminate(1, 3, 1, 3);
    const char* values[] = {"1e300", "-1e300", "2147483648.5", "4294967297", "inf", "-inf", "nan"};
    for (const char* value : values) {
        PutProperty(2, value);
    }
    const Lines lines = Blocks(402).at(0);
    ASSERT_EQ(lines.size(), 56 * std::size(values));
    for (std::size_t i = 55; i < lines.size(); i += 56) {
        EXPECT_EQ(lines[i], "0,");
        // Value 55 ends the eleventh of 38 lines, and is one field whatever it holds.
        EXPECT_EQ(std::ranges::count(lines[i - 38 + 10], ','), 5);
    }
}

TEST_F(DefinitionBlocksTest, OutputDataIsStoredUnderTheKeyOfItsVector) {
    const auto vector = [this](int set, int id, int key) {
        return Put(kOutputVector, set, id,
                   Cat("=", set,
                       " id =1 / s128:32 / d112 d104 d96 / i4*20/10 i124 i120 i84 i88 /"
                       " b92 c93 b94 /"),
                   Cat("i0=", key));
    };
    const auto data = [this](int key, const std::vector<int>& ids) {
        Lines lines;
        for (const int id : ids) {
            lines += Put(kOutputData, key, id, "id d0 /");
        }
        return lines + Lines{"-1,0.,"};
    };
    for (const int set : {2, 5, 6}) {
        Put(kOutputSet, set, "");
    }
    const Lines first = data(700, {1, 2, 245, 246, 99999999});
    const Lines second = data(3, {9});
    const Lines none = {"-1,0.,"};
    Lines expected = vector(2, 3, 700) + first + vector(2, 4, 3) + second;
    expected += vector(2, 9000, 700) + first;
    expected += vector(6, 1, 4) + none + vector(6, 2, 0) + none + vector(6, 3, -1) + none +
                vector(6, 4, 65536 + 3) + none;
    for (int id = 10; id < 20; ++id) {
        expected += vector(6, id, 3) + second;
    }
    vector(7, 1, 700);  // of no set
    ExpectBlock(451, expected);
    ExpectCount(3, "Output Set");
    ExpectCount(17, "Output Vector");
}

TEST_F(DefinitionBlocksTest, GroupsBringRulesAndLists) {
    const std::string script =
        "id m808 b835 / s809:26 / i460 i464 m468 / h496 h494 h492 i488 d472 d480 / h498 b500 /"
        " 6[ b507 b501 / d520+24 d528+24 d536+24 / d664+24 d672+24 d680+24 / ] =87 /";
    const char* rule = "i0 i4 i8 h12 /";
    const Lines rules = Put(kGroupRule, 40, 2, rule) + Put(kGroupRule, 40, 99999999, rule);
    const Lines other = Put(kGroupRule, 99999999, 1, rule);
    const Lines ruleEnd = {"-1,-1,-1,-1,"};
    const Lines end = {"-1,"};
    PutFlags(26, 12, {99999999, 16, 1, 15, 17, 491 * 16, 31, 0});
    const Lines members = {"1,", "15,", "16,", "17,", "31,", "7856,", "99999999,"};
    PutFlags(26, 40, {5});
    Put(kGroupRule, 12, 2, rule);
    Lines expected =
        Put(kGroup, 7, script, "i0*87=0 i356*23=0 i0=40 i44=99999999 i344=13 i356=12 i444=40");
    expected += Lines{"0,"} + rules + ruleEnd + Lines{"11,"} + other + ruleEnd + Lines{"86,"} +
                ruleEnd + end;
    expected += Lines{"23,", "0,"} + members + end + Lines{"22,", "5,"} + end + end;
    // Every kind of rule and of list, most of them empty or under impossible numbers.
    expected += Put(kGroup, 8, script, "i0*87=40 i340=-1 i356*23=-2147483648 i360=40");
    for (int kind = 0; kind < 87; ++kind) {
        expected += Lines{Cat(kind, ",")} + (kind == 85 ? Lines{} : rules) + ruleEnd;
    }
    expected += Lines{"-1,", "23,"};
    for (int kind = 0; kind < 23; ++kind) {
        expected += Lines{Cat(kind, ",")} + (kind == 1 ? Lines{"5,"} : Lines{}) + end;
    }
    ExpectBlock(408, expected + end);
    ExpectCount(2, "Group");
}

TEST_F(DefinitionBlocksTest, ViewsBringTheirIdSet) {
    constexpr std::ptrdiff_t kFixedLines = 156;
    PutFlags(23, 3, {6});  // of no view
    for (const int id : {1, 2, 44}) {
        Put(kView, id, "s0:28 s556:26 s582:26 /");
    }
    PutFlags(23, 1, {300, 1});
    PutFlags(23, 44, {99999999, 43});
    const std::vector<Lines> sets = {{"1,", "300,", "-1,"}, {"-1,"}, {"43,", "99999999,", "-1,"}};
    const Lines block = Blocks(409).at(0);
    auto at = block.begin();
    for (const Lines& set : sets) {
        ASSERT_GE(block.end() - at, kFixedLines + std::ssize(set));
        at += kFixedLines;
        EXPECT_EQ(Lines(at, at + std::ssize(set)), set);
        at += std::ssize(set);
    }
    EXPECT_EQ(at, block.end());
    ExpectCount(3, "View");
}

TEST_F(DefinitionBlocksTest, FunctionsBringTheirPoints) {
    Lines expected;
    for (const int id : {2, 3, 50}) {
        expected += Put(kFunction, id, "id i52 / s24:28 /");
        for (const int point : {1, 2, 10 + id}) {
            expected += Put(kFunctionPoint, id, point, "id d0 d8 /");
        }
        expected += Lines{"-1,0.,0.,"};
    }
    Put(kFunctionPoint, 1, 4, "");
    ExpectBlock(420, expected);
    ExpectCount(3, "Function");
}

TEST_F(DefinitionBlocksTest, HeaderValuesAreFourActiveIds) {
    RecordImage header(4816, 3);
    header.I32(2816, 17).I32(2796, -12).I32(2844, 2147483647).I32(2872, 31);
    model_.Header(2748, Bytes(header.Bytes().begin() + 2748, header.Bytes().begin() + 3196));
    ExpectBlock(412, {"17,-12,2147483647,31,"});
}

class StoredTextTest : public ConversionTest {
  protected:
    void PutChunk(int database, int id, const std::string& text, int count) {
        Bytes bytes = MakeRecord("", kStoredText.size, 1, seed_++, Cat("i0=", count)).bytes;
        std::copy(text.begin(), text.end(), bytes.begin() + 4);
        model_.Add(kStoredText.type, database, id, bytes);
    }
    void PutChunk(int database, int id, const std::string& text) {
        PutChunk(database, id, text, static_cast<int>(text.size()));
    }
};

TEST_F(StoredTextTest, ChunksAreJoinedUpToTheTerminator) {
    using namespace std::string_literals;
    const std::string whole(1960, 'x');
    PutChunk(1, 3, whole);
    PutChunk(1, 9, "yz\r\n\nend\0behind"s);
    PutChunk(1, 10, "lost"s);
    PutChunk(2, 99999999, "no terminator\n"s);
    PutChunk(3, 1, "of neither number"s);
    const std::vector<Lines> expected = {{"1,", "1979,", "3,", whole + "yz", "<NULL>", "end"},
                                         {"2,", "14,", "2,", "no terminator", "<NULL>"}};
    EXPECT_EQ(Blocks(540), expected);
}

TEST_F(StoredTextTest, OnlyATextWithBytesHasABlock) {
    using namespace std::string_literals;
    PutChunk(1, 1, "", 0);
    PutChunk(2, 1, "\0gone"s);
    EXPECT_EQ(Blocks(540), (std::vector<Lines>{{"2,", "5,", "1,", "<NULL>"}}));
}

TEST_F(StoredTextTest, ByteCountsAreBoundedByTheChunk) {
    const std::string whole(1960, 'q');
    PutChunk(1, 1, whole, 1961);
    PutChunk(1, 2, whole, -1);
    PutChunk(1, 3, whole, 2147483647);
    PutChunk(2, 1, whole, -2147483647);
    EXPECT_EQ(Blocks(540), (std::vector<Lines>{{"1,", "3920,", "1,", whole + whole}}));
}

}  // namespace
}  // namespace mod2neu
