#include "blocks/conversion_fixture.h"

namespace mod2neu {
namespace {

// Records of a table, or a flag set, stored under the ID of the record to which they belong.
struct Dependents {
    Table table{};
    const char* script = "";  // of a flag set: empty
    const char* end = "";     // the line behind the last one
};

// A kind of block whose records have nothing, or one table, that belongs to them.
struct RecordKind {
    int number;
    const char* name;  // in the count message; empty: there is none
    Table table;
    const char* script;
    Dependents dependents{};
    int firstId = 1;
};

// clang-format off
const RecordKind kRecordKinds[] = {
    {403, "Node", {7, 72}, "id i24 i20 i64 u68 b56*6 d32*3 i28 /"},
    {405, "Coordinate System", {9, 200}, "id i32 c88 u172 i168 / s174:26 / d40*6/3", {}, 3},
    {413, "Layer", {33, 36}, "id u34 / s8:26 /"},
    {615, "Contact Segment", {58, 104}, "id u18 i20 i12 i8 b16 / s24:32 / d56*6 /",
     {{59, 16}, "i4 i8 i0 c12 /", "-1,-1,0,0,"}},
    {570, "Point", {3, 80}, "id i24 c72 i16 i68 u64 d56 i20 / d32*3 /"},
    {475, "Text", {21, 336},
     "id u334 u330 u332 c328 i324 / b0 c56 c57 b58 i60 b64 b65 / d8*6/3 t66:258 /"},
    {450, "Output Set", {28, 304}, "id / s16:26 / i8 i12 / d0 / t42:262 /"},
    {409, "View", {22, 1480},
     "id / s0:28 / i28*3 / d40*6/3 d88*2 / d1128*3 / d1152 / f104*4 / h122 u126 b120 b124 b1236 /"
     "  i128*5 i1104 i148 i152 i1228 i1232 / =9 / 9[ i156 i192 i228 / ]"
     "  f1116 f1120 b1160 c1108 / c1226 u1224 d1216 / d1168*6/3 f264*4 /"
     "  f280*5 b1304 f1348 f1308*4 / f300*5 /"
     "  u320 u322 u1248 i1252 b1256 u1258 i1272 i1260*3 d1280*3 / i1352*6 u1376 u1378 /"
     "  b1380*7 b1392*12 / i1388 i1404 d1408*6 u1456 / b1464*6 d1472 i1460 /"
     "  =12 / 12[ h424 d328 / ] h448*3 i1324 i1328 d1336 f1344 / u454*6 / d472*2 / d488*4 /"
     "  =9 / f520*9/1 =2 / s556:26 / s582:26 / i608 c612 h614 h616 / f620*4 /"
     "  f636 f644 f640 f648 / =90 90[ c652 u742 c1012 b922 / ]",
     {{23, 4}, "", "-1,"}},
    {420, "Function", {35, 56}, "id i52 / s24:28 /", {{36, 16}, "id d0 d8 /", "-1,0.,0.,"}},
    {410, "Variable", {27, 192}, "=1 / s8:20 / s28:164 / d0 /"},
    {411, "Output Format", {31, 968}, "id i0 / s939:29 / =2 / b4 b6 / b5 b7 / =7 / 7[ s8:133 / ]"},
    {521, "", {45, 88}, "i0*5 / i20*3 b32 d40*3 / i64 i68 d72 d80 /"},
};
// clang-format on

class RecordBlocksTest : public ConversionTest, public ::testing::WithParamInterface<RecordKind> {
  protected:
    Lines PutDependents(int owner) {
        const auto& [table, script, end] = GetParam().dependents;
        const std::vector<int> ids = {1, 8, 9, 300, 4000, 99999999};
        const bool some = *end != '\0' && owner % 3 != 0;
        Lines lines;
        for (const int id : some ? ids : std::vector<int>()) {
            lines += *script == '\0' ? Lines{Cat(id, ",")} : Put(table, owner, id, script);
        }
        if (some && *script == '\0') {
            PutFlags(table.type, owner, ids);
        }
        return *end == '\0' ? lines : lines + Lines{end};
    }
};

TEST_P(RecordBlocksTest, AreWrittenFieldByFieldInIdOrder) {
    const RecordKind& kind = GetParam();
    Lines expected;
    int count = 0;
    for (const int id : {1,  2,  3,   4,   5,    11,    12,     28,       29,       54,      55,
                         56, 99, 122, 490, 1000, 12345, 262144, 16777216, 99999998, 99999999}) {
        const Lines lines = Put(kind.table, id, kind.script) + PutDependents(id);
        if (id >= kind.firstId) {
            expected += lines;
            ++count;
        }
        // The same kind elsewhere in the file is no part of the model.
        Put(kind.table, 2, id, kind.script);
    }
    ExpectBlock(kind.number, expected, count, kind.name);
}

INSTANTIATE_TEST_SUITE_P(Blocks, RecordBlocksTest, ::testing::ValuesIn(kRecordKinds),
                         [](const auto& test) { return Cat("Block", test.param.number); });

}  // namespace
}  // namespace mod2neu
