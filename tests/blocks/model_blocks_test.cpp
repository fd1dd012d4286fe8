#include <algorithm>
#include <map>
#include <optional>

#include "blocks/conversion_fixture.h"

namespace mod2neu {
namespace {

class ModelBlocksTest : public ConversionTest {
  protected:
    // The lines of some records of a dependent table, with a decoy under the number before.
    Lines PutSome(Table table, int database, std::string_view script) {
        Put(table, database - 1, 7, script);
        Lines lines;
        for (const int id : {7, 8, 20, 300, 1234567}) {
            lines += Put(table, database, id, script);
        }
        return lines;
    }
};

TEST_F(ModelBlocksTest, ElementsBringTheirNodeLists) {
    const Lines end = {"-1,"};
    std::map<int, Lines> lists = {{0, {}}};
    for (const int number : {5, 99999999}) {
        lists[number] = PutSome({37, 24}, number, "i0 h4 d8 b16*6 /") + end;
    }
    // Empty lists: one that is not there, and numbers under which nothing can be stored.
    for (const int number : {77, -1, 100000000, 2147483647, -2147483647}) {
        lists[number] = end;
    }
    Lines expected;
    int id = 1;
    for (const auto& [first, firstLines] : lists) {
        for (const auto& [second, secondLines] : lists) {
            expected += Put({8, 232}, ++id,
                            "id u128 i12 i16 i124 i132 i20 b228 i120 i136 i112 i116 / i24*20/10"
                            " d144*9/3 b216*12 i104 i108 =0 =0 /",
                            Cat("i104=", first, " i108=", second));
            expected += firstLines + secondLines;
        }
    }
    ExpectBlock(404, expected, 64, "Element");
}

// The second of a load's lines holds flags, numbers or nothing.
const char* SecondLine(int kind) {
    const bool flags = kind >= 1 && kind <= 12 && kind != 9;
    return flags ? "b48*3" : kind >= 41 && kind <= 47 && kind != 43 ? "c48*3" : "";
}

TEST_F(ModelBlocksTest, LoadSetsBringTheirFourTables) {
    // As far as kinds go and beyond.
    std::vector<int> kinds = {-2147483647, -44, 256 + 3, 65536 + 44, 2147483647};
    for (int kind = -1; kind <= 60; ++kind) {
        kinds.push_back(kind);
    }
    // `more`: the fields of an extended load.
    const auto putLoads = [&](Table table, int set, const char* more) {
        Lines lines;
        int id = 10;
        for (const int kind : kinds) {
            lines += Put(
                table, set, id += 3,
                Cat("i0 i56 u136 i64 i12 i60 b138 / ", *more != '\0' ? "b48*3" : SecondLine(kind),
                    " / d72*5 / i16*5 / c51*3 i4 i8 / i36*3 / d112*3 / ", more),
                Cat("i56=", kind));
        }
        return lines + Lines{"-1,-1,-1,-1,-1,-1,0,"};
    };
    const char* extended =
        "i144 i200 / d152*6/3 i204 i388 / s208:20 / s228:160 / d392*12/3"
        " d488*4 / b520*2 /";
    const char* temperature = "id u16 i20 d0 d8 i24 b28 /";
    const Lines endOfTemperatures = {"-1,-1,-1,0.,0.,-1,1,"};
    Lines expected;
    for (const int set : {3, 5, 8, 10, 12, 14}) {
        expected += Put({12, 576}, set,
                        "id / s400:32 / i432 d8 b544*3 / d16*12/3 d112*3 i568 / d136 d144 d160"
                        " d152 / d168*4 / i436 i440 i448 / b547*3 / d200*4 / d232*3 / d256*6 /"
                        " d304*9 / i452*9 / i488*8 / i520*5 i4 i540 / c550 b551*6 /"
                        " c557 c558 b559*4 c563 c564 /");
        expected += putLoads({13, 144}, set, "") + putLoads({14, 528}, set, extended);
        expected += PutSome({15, 32}, set, temperature) + endOfTemperatures;
        expected += PutSome({16, 32}, set, temperature) + endOfTemperatures;
    }
    ExpectBlock(507, expected, 6, "Load Set");
}

TEST_F(ModelBlocksTest, ConstraintSetsBringTheirFiveLists) {
    const Lines end = {"-1,-1,-1,0,0,0,0,0,0,0,"};
    Lines expected;
    for (const int set : {4, 6, 9, 11, 13}) {
        expected += Put({17, 40}, set, "id / s8:32 /");
        expected += PutSome({18, 16}, set, "id u8 i12 b0*7 /") + end;
        // Three kinds of geometry in mixed order of ID, and kinds that have no list.
        std::map<int, Lines> ofKind;
        for (int id = 1; id <= 40; ++id) {
            const int kind = id < 38 ? (id * 5) % 9 : id * 256 + 4;
            ofKind[kind] += Put({19, 24}, set, id, "i16 u8 i12 b0*7 /", Cat("i20=", kind));
        }
        expected += ofKind[3] + end + ofKind[4] + end + ofKind[5] + end;
        expected +=
            Put({20, 920}, set, 6, "id u910 i912 / =2 / i572 m843 d24 / i720 m880 d320 /",
                "i560*70=0 i572=31 i720=-7 m843=-1") +
            Put({20, 920}, set, 7, "id u910 i912 / =0 /", "i560*70=0") +
            Put({20, 920}, set, 900, "id u910 i912 / =70 / 70[ i560 m840 d0 / ]", "i560*70=5");
        expected += Lines{"-1,-1,-1,"};
    }
    ExpectBlock(506, expected, 5, "Constraint Set");
}

struct GeometryKind {
    int pass;
    Table geometry;
    Table list;
};
// Points, curves, surfaces and solids.
constexpr GeometryKind kGeometry[] = {{0, {3, 80}, {49, 20}},
                                      {1, {4, 168}, {50, 140}},
                                      {2, {5, 104}, {51, 140}},
                                      {3, {53, 8}, {52, 140}}};

class GeometryListTest : public ConversionTest {
  protected:
    // An entity with a list, its count first, in as many chunks as it takes and garbage behind it.
    // Returns what block 514 must hold for it.
    Lines PutEntity(const GeometryKind& kind, int id, std::vector<int> entries, const Lines& ranges,
                    std::optional<int> count = {}) {
        Put(kind.geometry, id, "");
        entries.insert(entries.begin(), count.value_or(static_cast<int>(entries.size())));
        const std::size_t perChunk = kind.list.size / 4;
        for (std::size_t start = 0; start < entries.size(); start += perChunk) {
            std::string given;
            for (std::size_t i = start; i < std::min(start + perChunk, entries.size()); ++i) {
                given += Cat("i", 4 * (i - start), "=", entries[i], " ");
            }
            Put(kind.list, static_cast<int>(start / perChunk) + 1, id, "", given);
        }
        return Lines{Cat(kind.pass, ",", id, ",")} + ranges + Lines{"-1,-1,"};
    }
};

TEST_F(GeometryListTest, ListsBecomeSortedMaximalRanges) {
    constexpr int kLowest = -2147483647 - 1;
    // What the model holds in the tables of flag sets is in nobody's way.
    Put({78, 4}, 1, 1, "", "u0=65535 u2=0");
    Put({76, 16}, 1, 1, "", "i0=5 i4=6");
    Lines expected;
    // A list that ends on the last entry of its chunk, and one more: 4 + 5 to a point, 34 + 35
    // else.
    for (const GeometryKind& kind : kGeometry) {
        for (const int length : {1, 4, 5, 9, 10, 34, 35, 40, 69, 70}) {
            std::vector<int> list;
            Lines singles;
            for (int i = 0; i < length; ++i) {
                list.push_back(16 + 3 * i);
                singles.push_back(Cat(list.back(), ",0,"));
            }
            expected += PutEntity(kind, length, list, singles);
        }
        const std::pair<std::vector<int>, Lines> lists[] = {
            {{7, 3, -5, 4, 9}, {"3,5,", "7,0,", "9,0,"}},
            {{7, 3, -5, 4, 9, 6}, {"3,7,", "9,0,"}},
            {{9, 5, 9, 7, 5}, {"5,0,", "7,0,", "9,0,"}},
            {{15, -17, 30, -34, 31}, {"15,17,", "30,34,"}},
            // Entries beyond the IDs.
            {{0, -5, 9}, {"1,5,", "9,0,"}},
            {{100000000, 2147483647, 4}, {"4,0,"}},
            {{99999998, kLowest}, {"99999998,99999999,"}},
            {{9, -3}, {"9,0,"}},
        };
        int id = 1000;
        for (const auto& [entries, ranges] : lists) {
            expected += PutEntity(kind, ++id, entries, ranges);
        }
    }
    ExpectBlock(514, expected);
}

TEST_F(GeometryListTest, OnlyWholeListsOfExistingEntitiesAreWritten) {
    const GeometryKind& point = kGeometry[0];
    Put(point.geometry, 1, "");                // no list
    Put(point.list, 1, 2, "", "i0=1 i4=5");    // no entity
    PutEntity(point, 3, {5, 6}, {}, 5);        // breaks off in the only chunk
    PutEntity(point, 4, {5, 6, 7, 8}, {}, 5);  // breaks off behind it
    PutEntity(point, 5, {5, 6, 7, 8, 9}, {}, 2147483647);
    Put(point.list, 3, 4, "", "i0*5=9");  // chunk 3 does not stand in for chunk 2
    // The first entry is taken whatever the count says.
    Lines expected = PutEntity(point, 20, {0}, {}, 0);
    expected += PutEntity(point, 22, {8, 9}, {"8,0,"}, -3);
    expected += PutEntity(point, 23, {8, 9, 12, 13}, {"8,9,"}, 2);
    ExpectBlock(514, expected);
}

}  // namespace
}  // namespace mod2neu
