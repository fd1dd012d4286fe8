#include <array>
#include <sstream>

#include "blocks/conversion_fixture.h"

namespace mod2neu {
namespace {

class CurveBlockTest : public ConversionTest {
  protected:
    Lines PutCurve(bool attributes, bool locations) {
        return Put({4, 168}, id_,
                   Cat("id u144 i160 i148 i136 f140 b157 c156 =", attributes ? 1 : 0, " =",
                       locations ? 1 : 0, " / i40 c120 c121 b122*12 / d48*3 / d72*6 / i16*5 /"));
    }

    // Rows under the counts `countA` and `countB`, `a` and `b` of which are written: those of the
    // second kind, with an ID and a weight, before those of the first.
    Lines PutAttributes(int countA, int countB, int a, int b) {
        return Put({38, 1880}, id_,
                   Cat("b2 b0 b1 b3 d1864 d1872 =", a, " =", b, " / =", a + b, " / ", b,
                       "[ i12 d456 f1424 / ] ", a, "[ =0 d", 456 + 8 * b, "+8 =0. / ]"),
                   Cat("i4=", countA, " i8=", countB));
    }

    // `count` locations, the last at the parameter `last`.
    Lines PutLocations(int count, const std::string& last) {
        return Put({55, 1920}, id_, Cat("=", count, " / ", count, "[ i0 f640 f1280 / ]"),
                   Cat("f1280*160=-2.5 f1280=0.5 f1284=0.75 f", 1276 + 4 * count, "=", last));
    }

    int id_ = 2;
};

// A count beyond its array stands for the array's size, and the counts that are written say how
// many rows follow.
TEST_F(CurveBlockTest, CompanionsFollowTheCurve) {
    constexpr int kMost = 2147483647;
    PutAttributes(1, 1, 1, 1);  // of no curve
    Lines expected;
    const std::array<int, 4> cases[] = {
        {0, 0, 0, 0},     {5, 2, 5, 2},       {121, 0, 121, 0},   {122, 0, 121, 0},
        {0, 111, 0, 110}, {12, 110, 11, 110}, {kMost, 1, 120, 1}, {-kMost, -kMost, 0, 0}};
    for (const auto& [countA, countB, a, b] : cases) {
        id_ += 4;
        expected += PutCurve(true, false) + PutAttributes(countA, countB, a, b);
    }
    for (const auto& [count, last] : {std::pair(1, "1."), {159, "2."}, {160, "0.5"}}) {
        ++id_;
        expected += PutCurve(false, true) + PutLocations(count, last);
    }
    ++id_;
    expected += PutCurve(true, true) + PutAttributes(2, 3, 2, 3) + PutLocations(3, "1.");
    ++id_;
    ExpectBlock(571, expected + PutCurve(false, false), 13, "Curve");
}

TEST_F(ConversionTest, SurfaceSectionsFollowTheKind) {
    const std::string ids = "=2 / b76*6 / i16*6 /";
    const std::string none =
        "=25 / =0 =0 =0 =0. / 3[ =0. =0. =0. / ] 6[ 25[ =0 ] / ] 15[ 10[ =0 ] / ]";
    const auto surface = [this](int id, int kind, bool list, const std::string& section) {
        return Put({5, 104}, id,
                   Cat("id u84 i100 i88 c82 c83 =", list ? 1 : 0,
                       " b97 c96 / i40 d48 / c56 i60 i64 i68 i72 / ", section),
                   Cat("i100=", kind));
    };
    const auto list = [this](int id, const std::string& script, const std::string& given) {
        return Put({56, 600}, id, script, "i0*150=0 " + given);
    };
    const auto boundary = [this](int id) {
        return Put({32, 840}, id,
                   "c758 i0 i4 d832 / 3[ d760+24 d768+24 d776+24 / ] c608*150/25 i8*150/10");
    };
    Lines expected;
    int id = 1;
    for (const int kind : {-7, 0, 1, 2, 3, 4, 6, 8, 256 + 5, 65536 + 7}) {
        expected += surface(id++, kind, false, ids);
    }
    expected += surface(70001, -7, true, ids) +
                list(70001, "=4 / i0 / i12 / i16 / i596 /", "i0=-5 i12=900 i16=2147483647 i596=3");
    boundary(70001);
    expected += surface(70002, 5, true, "=0 /") + list(70002, "=0 /", "");
    boundary(70002);
    boundary(70003);  // of no surface
    expected += surface(70005, 7, false, "=25 /") + boundary(70005);
    expected += surface(70006, 7, true, "=25 /") + boundary(70006) +
                list(70006, "=150 / i0*150/1", "i0*150=8");
    expected += surface(70007, 7, false, none);
    ExpectBlock(572, expected, 15, "Surface");
}

class SolidBlockTest : public ConversionTest {
  protected:
    void PutIndex(int id, int kind, int value) {
        Put({53, 8}, id, "", Cat("i0=", kind, " i4=", value));
    }
    Lines PutVolume(int id, int value) {
        PutIndex(id, 6, value);
        return Put({6, 68}, id, Cat("id u58 i64 =0 i60 =6 =", value, " / b40*18 / i16*6 /"));
    }

    // A solid with the lines of its transmit data: its size and the bytes, which the line feeds
    // in them divide.
    Lines PutSolid(int id, int value, const std::string& data) {
        PutIndex(id, 39, value);
        const Lines own = Put({39, 44}, id, Cat("id u10 =0 c8 i12 =39 =", value, " / s16:28 /"));
        Lines lines = {own[0], ">>> Begin Solid Transmit >>>", own[1], Cat(data.size(), ",")};
        std::istringstream in(data + "\n<<< End Solid Transmit <<<");
        for (std::string line; std::getline(in, line);) {
            lines.push_back(line);
        }
        return lines;
    }
};

TEST_F(SolidBlockTest, IndexNamesVolumesAndSolids) {
    std::string whole;
    for (int i = 0; i < 1960; ++i) {
        whole += static_cast<char>(i * 7);
    }
    const std::string part = "a <<< End Solid Transmit <<<\n\n   -1\r\n>>> %s\n";
    Lines expected = PutVolume(1, 77);
    const int kinds[] = {6, 39, 0, 7, 6 + 256};
    for (int id = 2; id <= 6; ++id) {
        PutIndex(id, kinds[id - 2], 1);
        // The other kind, or a kind that is not written.
        Put(id == 2 ? Table{39, 44} : Table{6, 68}, id, "");
    }
    PutChunk(40, 10, 1, whole);
    PutChunk(40, 10, 2, "");
    PutChunk(40, 10, 3, part);
    PutChunk(40, 10, 5, "behind the gap");
    PutChunk(40, 12, 2, "without a first chunk");
    // A chunk has no more bytes than it has room for.
    PutChunk(40, 20, 1, whole, 1961);
    PutChunk(40, 20, 2, whole, -1);
    PutChunk(40, 20, 3, "end");
    expected += PutSolid(10, -5, whole + part) + PutSolid(12, 2147483647, "");
    expected += PutSolid(20, 4, whole + "end");
    for (int id = 100; id < 130; id += 2) {
        expected += PutVolume(id, -id) + PutSolid(id + 1, id, "");
    }
    ExpectBlock(573, expected, 34, "Solid/Volume");
}

}  // namespace
}  // namespace mod2neu
