#include <algorithm>
#include <cerrno>

#include "blocks/conversion_fixture.h"

namespace mod2neu {
namespace {

constexpr Table kCurve{4, 168};
constexpr Table kCurveAttributes{38, 1880};
constexpr Table kCurveLocations{55, 1920};
constexpr Table kSurface{5, 104};
constexpr Table kSurfaceList{56, 600};
constexpr Table kBoundary{32, 840};
constexpr Table kVolume{6, 68};
constexpr Table kSolid{39, 44};
constexpr Table kTransmitChunk{40, 1964};
constexpr Table kSolidIndex{53, 8};

class CurveBlockTest : public ConversionTest {
  protected:
    Lines PutCurve(int id, bool attributes, bool locations) {
        return Put(kCurve, id,
                   Cat("id u144 i160 i148 i136 f140 b157 c156 =", attributes ? 1 : 0, " =",
                       locations ? 1 : 0, " / i40 c120 c121 b122*12 / d48*3 / d72*6 / i16*5 /"));
    }

    // `weighted` rows with an ID and a weight of the `rows` that are written, under these counts.
    Lines PutAttributes(int id, int countA, int countB, int rows, int weighted,
                        const std::string& countFields) {
        return Put(
            kCurveAttributes, id,
            Cat("b2 b0 b1 b3 d1864 d1872 ", countFields, " / ", weighted, "[ i12 d456 f1424 / ] ",
                rows - weighted, "[ =0 d", 456 + 8 * weighted, "+8 =0. / ]"),
            Cat("i4=", countA, " i8=", countB));
    }

    Lines PutAttributes(int id, int countA, int countB) {
        return PutAttributes(id, countA, countB, countA + countB, countB,
                             Cat("i4 i8 / =", countA + countB));
    }

    // `count` locations, the last at the parameter `last`.
    Lines PutLocations(int id, int count, const std::string& last) {
        std::string given;
        for (int i = 0; i < 160; ++i) {
            const std::string below = i == 0 ? "0.5" : Cat("-", i, ".5");
            given += Cat("f", 1280 + 4 * i, "=",
                         i == count - 1 ? last
                         : i < count    ? below
                                        : "1.",
                         " ");
        }
        return Put(kCurveLocations, id, Cat("=", count, " / ", count, "[ i0 f640 f1280 / ]"),
                   given);
    }
};

TEST_F(CurveBlockTest, CompanionsFollowTheCurve) {
    Lines expected = PutCurve(1, false, false);
    PutAttributes(2, 1, 1);  // of no curve
    int id = 3;
    const int counts[][2] = {{0, 0}, {3, 0}, {0, 4}, {5, 2}, {121, 0}, {11, 110}};
    for (const auto& [countA, countB] : counts) {
        expected += PutCurve(id, true, false) + PutAttributes(id, countA, countB);
        id += 4;
    }
    const std::pair<int, const char*> locations[] = {{1, "1."},   {1, "7.5"},  {2, "1."},
                                                     {159, "2."}, {160, "1."}, {160, "0.5"}};
    for (const auto& [count, last] : locations) {
        expected += PutCurve(id, false, true) + PutLocations(id, count, last);
        id += 4;
    }
    expected += PutCurve(id, true, true) + PutAttributes(id, 2, 3) + PutLocations(id, 3, "1.");
    ExpectBlock(571, expected);
    ExpectCount(14, "Curve");
}

// A count beyond its array stands for the array's size, and the counts that are written say how
// many rows follow.
TEST_F(CurveBlockTest, CountsBeyondTheArraysAreBounded) {
    struct Case {
        int countA, countB, boundedA, boundedB;
    };
    constexpr int kMost = 2147483647;
    const Case cases[] = {{122, 0, 121, 0},   {0, 111, 0, 110},      {12, 110, 11, 110},
                          {-1, 3, 0, 3},      {3, -1, 3, 0},         {kMost, kMost, 11, 110},
                          {kMost, 1, 120, 1}, {-kMost, -kMost, 0, 0}};
    Lines expected;
    int id = 1;
    for (const Case& c : cases) {
        expected +=
            PutCurve(id, true, false) +
            PutAttributes(id, c.countA, c.countB, c.boundedA + c.boundedB, c.boundedB,
                          Cat("=", c.boundedA, " =", c.boundedB, " / =", c.boundedA + c.boundedB));
        ++id;
    }
    ExpectBlock(571, expected);
}

class SurfaceBlockTest : public ConversionTest {
  protected:
    Lines PutSurface(int id, int kind, bool list, const std::string& section) {
        return Put(kSurface, id,
                   Cat("id u84 i100 i88 c82 c83 =", list ? 1 : 0,
                       " b97 c96 / i40 d48 / c56 i60 i64 i68 i72 / ", section),
                   Cat("i100=", kind));
    }
    Lines PutList(int id, const std::string& script, const std::string& given) {
        return Put(kSurfaceList, id, script, "i0*150=0 " + given);
    }
    Lines PutBoundary(int id) {
        return Put(kBoundary, id,
                   "c758 i0 i4 d832 / 3[ d760+24 d768+24 d776+24 / ] c608*150/25 i8*150/10");
    }
};

TEST_F(SurfaceBlockTest, SectionsFollowTheKind) {
    const char* sparse = "=4 / i0 / i12 / i16 / i596 /";
    const char* sparseGiven = "i0=-5 i12=900 i16=2147483647 i596=3";
    Lines expected;
    int id = 1;
    for (const int kind : {-2147483647, -7, 0, 1, 2, 3, 4, 6, 8, 9, 256 + 5, 65536 + 7}) {
        expected += PutSurface(id++, kind, false, "=2 / b76*6 / i16*6 /");
    }
    expected +=
        PutSurface(70001, -7, true, "=2 / b76*6 / i16*6 /") + PutList(70001, sparse, sparseGiven);
    PutBoundary(70001);
    expected += PutSurface(70002, 5, false, "=0 /");
    PutBoundary(70002);
    PutBoundary(70003);  // of no surface
    expected += PutSurface(70004, 5, true, "=0 /") + PutList(70004, "=0 /", "");
    expected += PutSurface(70005, 7, false, "=25 /") + PutBoundary(70005);
    expected += PutSurface(70006, 7, true, "=25 /") + PutBoundary(70006) +
                PutList(70006, "=150 / i0*150/1", "i0*150=8");
    expected += PutSurface(70007, 7, true,
                           "=25 / =0 =0 =0 =0. / 3[ =0. =0. =0. / ]"
                           " 6[ 25[ =0 ] / ] 15[ 10[ =0 ] / ]") +
                PutList(70007, sparse, sparseGiven);
    ExpectBlock(572, expected);
    ExpectCount(18, "Surface");
}

class SolidBlockTest : public ConversionTest {
  protected:
    void PutIndex(int id, int kind, int value) {
        Put(kSolidIndex, id, "", Cat("i0=", kind, " i4=", value));
    }
    Lines PutVolume(int id, int value) {
        return Put(kVolume, id, Cat("id u58 i64 =0 i60 =6 =", value, " / b40*18 / i16*6 /"));
    }

    void PutChunk(int solid, int chunk, const std::string& data, int count) {
        Bytes bytes = MakeRecord("", kTransmitChunk.size, 1, seed_++, Cat("i0=", count)).bytes;
        std::copy(data.begin(), data.end(), bytes.begin() + 4);
        model_.Add(kTransmitChunk.type, solid, chunk, bytes);
    }
    void PutChunk(int solid, int chunk, const std::string& data) {
        PutChunk(solid, chunk, data, static_cast<int>(data.size()));
    }

    // The lines of a solid around those of its transmit data.
    Lines PutSolid(int id, int value, const Lines& transmit) {
        PutIndex(id, 39, value);
        const Lines own = Put(kSolid, id, Cat("id u10 =0 c8 i12 =39 =", value, " / s16:28 /"));
        return Lines{own[0], ">>> Begin Solid Transmit >>>", own[1]} + transmit +
               Lines{"<<< End Solid Transmit <<<"};
    }

    // The size line and the data, which the line feeds in it divide.
    static Lines TransmitLines(const std::string& data) {
        Lines lines = {Cat(data.size(), ",")};
        std::size_t start = 0;
        for (std::size_t end; (end = data.find('\n', start)) != std::string::npos;
             start = end + 1) {
            lines.push_back(data.substr(start, end - start));
        }
        lines.push_back(data.substr(start));
        return lines;
    }

    static std::string AllBytes(std::size_t size, unsigned step) {
        std::string data;
        for (unsigned i = 0; data.size() < size; ++i) {
            data += static_cast<char>(i * step);
        }
        return data;
    }
};

TEST_F(SolidBlockTest, IndexNamesVolumesAndSolids) {
    PutIndex(1, 6, 77);
    Lines expected = PutVolume(1, 77);
    PutIndex(2, 6, 1);   // without its volume
    PutIndex(3, 39, 1);  // without its solid
    PutIndex(4, 0, 1);
    PutIndex(5, 7, 1);
    PutIndex(6, 6 + 256, 1);
    for (const int id : {2, 3, 4, 5, 6}) {
        Put(id == 2 ? kSolid : kVolume, id, "");  // the other kind, or a kind that is not written
    }
    const std::string whole = AllBytes(1960, 7);
    const std::string part = "a <<< End Solid Transmit <<<\n\n   -1\r\n>>> %s\n";
    PutChunk(10, 1, whole);
    PutChunk(10, 2, "");
    PutChunk(10, 3, part);
    PutChunk(10, 5, "behind the gap");
    expected += PutSolid(10, -5, TransmitLines(whole + part));
    PutChunk(1, 1, "of the number before");
    expected += PutSolid(11, 2147483647, TransmitLines(""));
    PutChunk(12, 2, "without a first chunk");
    expected += PutSolid(12, 0, TransmitLines(""));
    for (int id = 100; id < 130; id += 2) {
        PutIndex(id, 6, -id);
        expected += PutVolume(id, -id) + PutSolid(id + 1, id, TransmitLines(""));
    }
    ExpectBlock(573, expected);
    ExpectCount(34, "Solid/Volume");
}

TEST_F(SolidBlockTest, ChunkCountsAreBoundedByTheChunk) {
    const std::string first = AllBytes(1960, 3);
    PutChunk(20, 1, first, 1961);
    PutChunk(20, 2, first, -1);
    PutChunk(20, 3, first, 2147483647);
    PutChunk(20, 4, "end");
    ExpectBlock(573, PutSolid(20, 4, TransmitLines(first + first + "end")));
}

// Only the size line and the data are missing when the temporary file cannot be opened.
TEST_F(SolidBlockTest, UnusableTemporaryFileIsReported) {
    PutChunk(20, 1, "data");
    const Lines expected = PutSolid(20, 4, {""});
    std::string name;
    files_.onCall = [&](const FileCallRecord& call) {
        if (call.kind == FileCall::kOpen && call.path.starts_with("/temp/SOL")) {
            name = call.path;
            files_.FailCall(files_.calls.size(), EACCES);
        }
    };
    ExpectBlock(573, expected);
    ExpectCount(1, "Solid/Volume");
    EXPECT_EQ(std::ranges::count(desktop_.statusLines, "Error Writing File " + name + ":  ."), 1);
    EXPECT_EQ(desktop_.BoxTexts(),
              std::vector<std::string>{"Errors have Occurred. Check Message Window."});
}

}  // namespace
}  // namespace mod2neu
