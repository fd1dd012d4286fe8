#include <algorithm>
#include <utility>

#include "blocks/conversion_fixture.h"

namespace mod2neu {
namespace {

constexpr Table kElement{8, 232};
constexpr Table kNodeListEntry{37, 24};
constexpr Table kLoadSet{12, 576};
constexpr Table kConstraintSet{17, 40};
constexpr Table kContactSegment{58, 104};
constexpr Table kContactEntry{59, 16};

class ModelBlocksTest : public ConversionTest {
  protected:
    // The lines of some records of a dependent table, with a decoy under the number before.
    Lines PutSome(Table table, int database, std::string_view script) {
        Put(table, database - 1, 7, script);
        Lines lines;
        for (const int id : {7, 8, 20, 21, 22, 300, 4000, 1234567}) {
            lines += Put(table, database, id, script);
        }
        return lines;
    }
};

constexpr const char* kElementScript =
    "id u128 i12 i16 i124 i132 i20 b228 i120 i136 i112 i116 / i24*20/10 d144*9/3"
    " b216*12 i104 i108 =0 =0 /";

TEST_F(ModelBlocksTest, ElementsBringTheirNodeLists) {
    const Lines end = {"-1,"};
    const Lines list = PutSome(kNodeListEntry, 5, "i0 h4 d8 b16*6 /") + end;
    const Lines other = PutSome(kNodeListEntry, 99999999, "i0 h4 d8 b16*6 /") + end;
    const auto element = [this](int id, const char* lists) {
        return Put(kElement, id, kElementScript, lists);
    };
    Lines expected = element(2, "i104=5 i108=0") + list;
    expected += element(3, "i104=0 i108=99999999") + other;
    expected += element(40, "i104=99999999 i108=5") + other + list;
    expected += element(41, "i104=5 i108=5") + list + list;
    expected += element(42, "i104=77 i108=0") + end;
    // Numbers under which nothing can be stored name empty lists.
    expected += element(43, "i104=-1 i108=100000000") + end + end;
    expected += element(44, "i104=2147483647 i108=-2147483648") + end + end;
    ExpectBlock(404, expected);
    ExpectCount(7, "Element");
}

constexpr const char* kLoadHead = "i0 i56 u136 i64 i12 i60 b138 / ";
constexpr const char* kLoadTail =
    " / d72 d80 d88 d96 d104 / i16 i20 i24 i28 i32 / c51 c52 c53 i4 i8 / i36 i40 i44 /"
    " d112 d120 d128 / ";
constexpr const char* kExtendedLoadLines =
    "i144 i200 / d152 d160 d168 / d176 d184 d192 / i204 i388 / s208:20 / s228:160 /"
    " d392 d400 d408 / d416 d424 d432 / d440 d448 d456 / d464 d472 d480 /"
    " d488 d496 d504 d512 / b520 b521 /";

// The second line of a load, by its kind.
const char* SecondLoadLine(int kind) {
    if ((kind >= 1 && kind <= 8) || (kind >= 10 && kind <= 12)) {
        return "b48 b49 b50";
    }
    const bool numbers = kind == 41 || kind == 42 || (kind >= 44 && kind <= 47);
    return numbers ? "c48 c49 c50" : "";
}

class LoadBlockTest : public ModelBlocksTest {
  protected:
    // Everything that belongs to one load set, its own lines first.
    Lines PutLoadSet(int set) {
        const Lines endOfLoads = {"-1,-1,-1,-1,-1,-1,0,"};
        const Lines endOfTemperatures = {"-1,-1,-1,0.,0.,-1,1,"};
        Lines lines = Put(kLoadSet, set,
                          "id / s400:32 / i432 d8 b544*3 / d16*12/3 d112*3 i568 / d136 d144 d160"
                          " d152 / d168*4 / i436 i440 i448 / b547*3 / d200*4 / d232*3 / d256*6 /"
                          " d304*9 / i452*9 / i488*8 / i520*5 i4 i540 / c550 b551*6 /"
                          " c557 c558 b559*4 c563 c564 /");
        int id = 10;
        for (const int kind : KindSweep()) {
            lines += Put({13, 144}, set, id, Cat(kLoadHead, SecondLoadLine(kind), kLoadTail),
                         Cat("i56=", kind));
            id += 3;
        }
        lines += endOfLoads;
        for (const int kind : KindSweep()) {
            lines += Put({14, 528}, set, id,
                         Cat(kLoadHead, "b48 b49 b50", kLoadTail, kExtendedLoadLines),
                         Cat("i56=", kind));
            id += 3;
        }
        lines += endOfLoads;
        const char* temperature = "id u16 i20 d0 d8 i24 b28 /";
        lines += PutSome({15, 32}, set, temperature) + endOfTemperatures;
        return lines + PutSome({16, 32}, set, temperature) + endOfTemperatures;
    }

  private:
    static std::vector<int> KindSweep() {
        std::vector<int> kinds = {-2147483647, -44, -1, 256 + 3, 65536 + 44, 2147483647};
        for (int kind = 0; kind <= 60; ++kind) {
            kinds.push_back(kind);
        }
        return kinds;
    }
};

TEST_F(LoadBlockTest, LoadSetsBringTheirFourTables) {
    Lines expected = PutLoadSet(3);
    expected += PutLoadSet(8);
    ExpectBlock(507, expected);
    ExpectCount(2, "Load Set");
}

TEST_F(ModelBlocksTest, ConstraintSetsBringTheirFiveLists) {
    const std::string flags = "u8 i12 b0*6 b6 /";
    const Lines end = {"-1,-1,-1,0,0,0,0,0,0,0,"};
    Lines expected;
    for (const int set : {4, 9}) {
        expected += Put(kConstraintSet, set, "id / s8:32 /");
        expected += PutSome({18, 16}, set, "id " + flags) + end;
        // Three kinds of geometry in mixed order of ID, and kinds that have no list.
        Lines byKind[3];
        for (int id = 1; id <= 40; ++id) {
            const int kind = (id * 5) % 9;
            const Lines lines = Put({19, 24}, set, id, "i16 " + flags, Cat("i20=", kind));
            if (kind >= 3 && kind <= 5) {
                byKind[kind - 3] = byKind[kind - 3] + lines;
            }
        }
        Put({19, 24}, set, 41, "", "i20=259");
        Put({19, 24}, set, 42, "", "i20=65540");
        expected += byKind[0] + end + byKind[1] + end + byKind[2] + end;
        expected +=
            Put({20, 920}, set, 6, "id u910 i912 / =2 / i572 m843 d24 / i720 m880 d320 /",
                "i560*70=0 i572=31 i720=-7 m843=-1") +
            Put({20, 920}, set, 7, "id u910 i912 / =0 /", "i560*70=0") +
            Put({20, 920}, set, 900, "id u910 i912 / =70 / 70[ i560 m840 d0 / ]", "i560*70=5");
        expected += Lines{"-1,-1,-1,"};
    }
    ExpectBlock(506, expected);
    ExpectCount(2, "Constraint Set");
}

TEST_F(ModelBlocksTest, ContactSegmentsBringTheirEntries) {
    Lines expected;
    for (const int id : {2, 60}) {
        expected += Put(kContactSegment, id, "id u18 i20 i12 i8 b16 / s24:32 / d56*6 /");
        expected += PutSome(kContactEntry, id, "i4 i8 i0 c12 /") + Lines{"-1,-1,0,0,"};
    }
    ExpectBlock(615, expected);
    ExpectCount(2, "Contact Segment");
}

// Geometry ID lists.

struct GeometryKind {
    Table geometry;
    Table list;
    int pass;
};
constexpr GeometryKind kPoint{{3, 80}, {49, 20}, 0};
constexpr GeometryKind kCurve{{4, 168}, {50, 140}, 1};
constexpr GeometryKind kSurface{{5, 104}, {51, 140}, 2};
constexpr GeometryKind kSolid{{53, 8}, {52, 140}, 3};

class GeometryListTest : public ConversionTest {
  protected:
    // Stores the list in as many chunks as it takes, garbage behind it.
    void PutList(const GeometryKind& kind, int id, std::vector<int> entries, int count) {
        entries.insert(entries.begin(), count);
        const std::size_t perChunk = kind.list.size / 4;
        int chunk = 1;
        for (std::size_t start = 0; start < entries.size(); start += perChunk, ++chunk) {
            std::string given;
            for (std::size_t i = start; i < std::min(start + perChunk, entries.size()); ++i) {
                given += Cat("i", 4 * (i - start), "=", entries[i], " ");
            }
            Put(kind.list, chunk, id, "", given);
        }
    }

    // An entity with a list; returns what block 514 must hold for it.
    Lines PutEntity(const GeometryKind& kind, int id, const std::vector<int>& entries, int count,
                    const Lines& ranges) {
        Put(kind.geometry, id, "");
        PutList(kind, id, entries, count);
        return Lines{Cat(kind.pass, ",", id, ",")} + ranges + Lines{"-1,-1,"};
    }

    Lines PutEntity(const GeometryKind& kind, int id, const std::vector<int>& entries,
                    const Lines& ranges) {
        return PutEntity(kind, id, entries, static_cast<int>(entries.size()), ranges);
    }

    static std::vector<int> Sequence(int first, int step, int count) {
        std::vector<int> entries(static_cast<std::size_t>(count));
        std::generate(entries.begin(), entries.end(),
                      [&first, step] { return std::exchange(first, first + step); });
        return entries;
    }

    static Lines Singles(const std::vector<int>& entries) {
        Lines lines;
        for (const int entry : entries) {
            lines.push_back(Cat(entry, ",0,"));
        }
        return lines;
    }
};

TEST_F(GeometryListTest, ListsBecomeSortedMaximalRanges) {
    const std::vector<int> fortyOne = Sequence(10, 2, 41);
    Lines expected;
    // A list that ends on the last entry of its chunk, and one more: 4 + 5 to a point, 34 + 35
    // else.
    for (const int length : {1, 4, 5, 9, 10}) {
        const std::vector<int> list = Sequence(99, 3, length);
        expected += PutEntity(kPoint, length, list, Singles(list));
    }
    expected += PutEntity(kCurve, 1, {7, 3, -5, 4, 9}, {"3,5,", "7,0,", "9,0,"});
    expected += PutEntity(kCurve, 2, {7, 3, -5, 4, 9, 6}, {"3,7,", "9,0,"});
    expected += PutEntity(kCurve, 8, {9, 5, 9, 7, 5}, {"5,0,", "7,0,", "9,0,"});
    expected += PutEntity(kCurve, 9, {15, -17, 30, -34, 31}, {"15,17,", "30,34,"});
    for (const int length : {34, 35, 40, 69, 70}) {
        const std::vector<int> list = Sequence(16, 16, length);
        expected += PutEntity(kCurve, 100 + length, list, Singles(list));
    }
    expected += PutEntity(kSurface, 99999999, fortyOne, Singles(fortyOne));
    expected += PutEntity(kSolid, 1, {1, 2, 99999998, 99999999}, {"1,2,", "99999998,99999999,"});
    expected += PutEntity(kSolid, 3, {1, -40}, {"1,40,"});
    ExpectBlock(514, expected);
}

TEST_F(GeometryListTest, OnlyWholeListsOfExistingEntitiesAreWritten) {
    Put(kCurve.geometry, 1, "");                // no list
    PutList(kCurve, 2, {5, 6}, 2);              // no entity
    PutEntity(kPoint, 3, {5, 6}, 5, {});        // breaks off in the only chunk
    PutEntity(kPoint, 4, {5, 6, 7, 8}, 5, {});  // breaks off behind it
    PutEntity(kPoint, 5, Sequence(5, 1, 9), 2147483647, {});
    Put(kPoint.list, 3, 4, "", "i0*5=9");  // chunk 3 does not stand in for chunk 2
    Put(kPoint.list, 2, 6, "", "i0*5=9");  // no first chunk
    Put(kPoint.geometry, 6, "");
    // The first entry is taken whatever the count says.
    Lines expected = PutEntity(kPoint, 20, {0}, 0, {});
    expected += PutEntity(kPoint, 21, {8, 9}, 0, {"8,0,"});
    expected += PutEntity(kPoint, 22, {8, 9}, -3, {"8,0,"});
    expected += PutEntity(kPoint, 23, {8, 9, 12, 13}, 2, {"8,9,"});
    ExpectBlock(514, expected);
}

TEST_F(GeometryListTest, EntriesBeyondTheIdsAreLeftOut) {
    constexpr int kLowest = -2147483647 - 1;
    Lines expected = PutEntity(kCurve, 1, {-5}, {"1,5,"});
    expected += PutEntity(kCurve, 2, {0, -5, 9}, {"1,5,", "9,0,"});
    expected += PutEntity(kCurve, 3, {100000000, 2147483647, 4}, {"4,0,"});
    expected += PutEntity(kCurve, 4, {99999998, kLowest}, {"99999998,99999999,"});
    expected += PutEntity(kCurve, 5, {9, -3}, {"9,0,"});
    expected += PutEntity(kCurve, 6, {2147483647, -5, 2}, {"2,0,"});
    expected += PutEntity(kCurve, 7, {1, -99999999}, {"1,99999999,"});
    ExpectBlock(514, expected);
}

// The working tables of the ranges keep out of the way of whatever the model holds.
TEST_F(GeometryListTest, TablesOfTheModelAreNoWorkingSpace) {
    Put({78, 4}, 1, 1, "", "u0=65535 u2=0");
    Put({76, 16}, 1, 1, "", "i0=5 i4=6");
    Put({76, 16}, 2, 9, "", "i0=5 i4=6");
    const Lines expected =
        PutEntity(kCurve, 4, {20, 3}, {"3,0,", "20,0,"}) + PutEntity(kCurve, 5, {2, 1}, {"1,2,"});
    ExpectBlock(514, expected);
}

TEST_F(GeometryListTest, OtherBlocksAreTheSameAsWithoutLists) {
    const Table tables[] = {{4, 168}, {7, 72}, {17, 40}, {12, 576}, {24, 840}, {22, 1480},
                            {23, 4},  {26, 4}, {35, 56}, {28, 304}, {29, 160}, {30, 8}};
    for (const Table& table : tables) {
        for (const int id : {1, 2, 900}) {
            Put(table, id, "");
        }
    }
    const std::vector<NeutralBlockText> without = SplitBlocks(Convert());
    PutList(kCurve, 1, {70, 9}, 2);
    PutList(kCurve, 2, {5, -30000, 90000}, 3);
    const std::vector<NeutralBlockText> with = SplitBlocks(Convert());
    ASSERT_EQ(with.size(), without.size());
    for (std::size_t i = 0; i < with.size(); ++i) {
        EXPECT_TRUE(with[i].number == 514 || with[i].lines == without[i].lines) << with[i].number;
    }
}

}  // namespace
}  // namespace mod2neu
