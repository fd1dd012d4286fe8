#include <algorithm>

#include "blocks/conversion_fixture.h"

namespace mod2neu {
namespace {

// A kind of block whose records have nothing that belongs to them.
struct LoneRecords {
    int number;
    const char* name;  // in the count message; empty: there is none
    Table table;
    std::size_t linesPerRecord;  // 0: depends on the texts in the record
    const char* script;
    const char* given = "";
    int firstId = 1;
};

// clang-format off
const LoneRecords kLoneRecords[] = {
    {403, "Node", {7, 72}, 1, "id i24 i20 i64 u68 b56 b57 b58 b59 b60 b61 d32 d40 d48 i28 /"},
    {404, "Element", {8, 232}, 7,
     "id u128 i12 i16 i124 i132 i20 b228 i120 i136 i112 i116 /"
     "  i24*10/10 i64*10/10"
     "  d144 d152 d160 / d168 d176 d184 / d192 d200 d208 /"
     "  b216*6 b222*6 i104 i108 =0 =0 /", "i104=0 i108=0"},
    {405, "Coordinate System", {9, 200}, 4,
     "id i32 c88 u172 i168 / s174:26 / d40 d48 d56 / d64 d72 d80 /", "", 3},
    {506, "Constraint Set", {17, 40}, 7,
     "id / s8:32 / 4[ =-1 =-1 =-1 =0 =0 =0 =0 =0 =0 =0 / ] =-1 =-1 =-1 /"},
    {507, "Load Set", {12, 576}, 25,
     "id / s400:32 / i432 d8 b544 b545 b546 / d16 d24 d32 / d40 d48 d56 / d64 d72 d80 /"
     "  d88 d96 d104 / d112 d120 d128 i568 / d136 d144 d160 d152 / d168 d176 d184 d192 /"
     "  i436 i440 i448 / b547 b548 b549 / d200 d208 d216 d224 / d232 d240 d248 /"
     "  d256 d264 d272 d280 d288 d296 / d304 d312 d320 d328 d336 d344 d352 d360 d368 /"
     "  i452 i456 i460 i464 i468 i472 i476 i480 i484 / i488 i492 i496 i500 i504 i508 i512 i516 /"
     "  i520 i524 i528 i532 i536 i4 i540 / c550 b551 b552 b553 b554 b555 b556 /"
     "  c557 c558 b559 b560 b561 b562 c563 c564 /"
     "  2[ =-1 =-1 =-1 =-1 =-1 =-1 =0 / ] 2[ =-1 =-1 =-1 =0. =0. =-1 =1 / ]"},
    {413, "Layer", {33, 36}, 2, "id u34 / s8:26 /"},
    {615, "Contact Segment", {58, 104}, 4,
     "id u18 i20 i12 i8 b16 / s24:32 / d56 d64 d72 d80 d88 d96 / =-1 =-1 =0 =0 /"},
    {570, "Point", {3, 80}, 2, "id i24 c72 i16 i68 u64 d56 i20 / d32 d40 d48 /"},
    {571, "Curve", {4, 168}, 5,
     "id u144 i160 i148 i136 f140 b157 c156 =0 =0 /"
     "  i40 c120 c121 b122*6 b128*6 / d48 d56 d64 / d72 d80 d88 d96 d104 d112 /"
     "  i16 i20 i24 i28 i32 /"},
    {572, "Surface", {5, 104}, 4,
     "id u84 i100 i88 c82 c83 =0 b97 c96 / i40 d48 / c56 i60 i64 i68 i72 / =0 /", "i100=5"},
    {572, "Surface", {5, 104}, 6,
     "id u84 i100 i88 c82 c83 =0 b97 c96 / i40 d48 / c56 i60 i64 i68 i72 / =2 / b76*6 / i16*6 /",
     "i100=6"},
    {572, "Surface", {5, 104}, 29,
     "id u84 i100 i88 c82 c83 =0 b97 c96 / i40 d48 / c56 i60 i64 i68 i72 / =25 / =0 =0 =0 =0. /"
     "  3[ =0. =0. =0. / ] 6[ 25[ =0 ] / ] 15[ 10[ =0 ] / ]", "i100=7"},
    {475, "Text", {21, 336}, 0,
     "id u334 u330 u332 c328 i324 / b0 c56 c57 b58 i60 b64 b65 / d8 d16 d24 / d32 d40 d48 /"
     "  t66:258 /"},
    {601, "Material", {10, 1960}, 42,
     "id =-601 u1922 i4 i8 i1924 =0 / s1928:32 / =10 / b1912*10 / =25 / i212*25/10 =200 /"
     "  d312*200/10 =50 / i12*50/10 =60 / 6[ 10[ =0 ] / ]"},
    {402, "Property", {11, 1944}, 56,
     "id u1904 i12 i376 i1908 i8 / s1912:32 / m380 m381 m382 m383 / =90 / i16*90/8 =190 /"
     "  d384*190/5 =0 /", "i376=6"},
    {450, "Output Set", {28, 304}, 0, "id / s16:26 / i8 i12 / d0 / t42:262 /"},
    {408, "Group", {24, 840}, 27,
     "id m808 b835 / s809:26 / i460 i464 m468 / h496 h494 h492 i488 d472 d480 / h498 b500 /"
     "  6[ b507 b501 / d520+24 d528+24 d536+24 / d664+24 d672+24 d680+24 / ] =87 / =-1 /"
     "  =23 / =-1 /", "i0*87=0 i356*23=0"},
    {409, "View", {22, 1480}, 157,
     "id / s0:28 / i28 i32 i36 / d40 d48 d56 / d64 d72 d80 / d88 d96 / d1128 d1136 d1144 / d1152 /"
     "  f104 f108 f112 f116 / h122 u126 b120 b124 b1236 /"
     "  i128 i132 i136 i140 i144 i1104 i148 i152 i1228 i1232 / =9 / 9[ i156 i192 i228 / ]"
     "  f1116 f1120 b1160 c1108 / c1226 u1224 d1216 / d1168 d1176 d1184 / d1192 d1200 d1208 /"
     "  f264 f268 f272 f276 /"
     "  f280 f284 f288 f292 f296 b1304 f1348 f1308 f1312 f1316 f1320 /"
     "  f300 f304 f308 f312 f316 /"
     "  u320 u322 u1248 i1252 b1256 u1258 i1272 i1260 i1264 i1268 d1280 d1288 d1296 /"
     "  i1352 i1356 i1360 i1364 i1368 i1372 u1376 u1378 / b1380 b1381*6 b1392*12 /"
     "  i1388 i1404 d1408 d1416 d1424 d1432 d1440 d1448 u1456 / b1464*6 d1472 i1460 /"
     "  =12 / 12[ h424 d328 / ] h448 h450 h452 i1324 i1328 d1336 f1344 /"
     "  u454 u456 u458 u460 u462 u464 / d472 d480 / d488 d496 d504 d512 / =9 / f520*9/1 =2 /"
     "  s556:26 / s582:26 / i608 c612 h614 h616 / f620 f624 f628 f632 / f636 f644 f640 f648 /"
     "  =90 90[ c652 u742 c1012 b922 / ] =-1 /"},
    {420, "Function", {35, 56}, 3, "id i52 / s24:28 / =-1 =0. =0. /"},
    {410, "Variable", {27, 192}, 4, "=1 / s8:20 / s28:164 / d0 /"},
    {411, "Output Format", {31, 968}, 13,
     "id i0 / s939:29 / =2 / b4 b6 / b5 b7 / =7 / 7[ s8:133 / ]"},
    {521, "", {45, 88}, 3,
     "i0 i4 i8 i12 i16 / i20 i24 i28 b32 d40 d48 d56 / i64 i68 d72 d80 /"},
};
// clang-format on

class LoneRecordsTest : public ConversionTest, public ::testing::WithParamInterface<LoneRecords> {};

TEST_P(LoneRecordsTest, AreWrittenFieldByFieldInIdOrder) {
    const LoneRecords& kind = GetParam();
    constexpr int kIds[] = {1,    2,     3,      4,        5,        11,      12,  28,
                            29,   54,    55,     56,       99,       122,     123, 490,
                            1000, 12345, 262144, 16777216, 99999998, 99999999};
    Lines expected;
    int count = 0;
    for (const int id : kIds) {
        const Lines lines = Put(kind.table, id, kind.script, kind.given);
        if (kind.linesPerRecord > 0) {
            ASSERT_EQ(lines.size(), kind.linesPerRecord) << "the script lacks lines";
        }
        if (id >= kind.firstId) {
            expected += lines;
            ++count;
        }
        // The same kind elsewhere in the file is no part of the model.
        Put(kind.table, 2, id, kind.script);
    }
    ExpectBlock(kind.number, expected);
    const std::string message = Cat(count, " ", kind.name, "(s) Translated.");
    EXPECT_EQ(std::ranges::count(desktop_.statusLines, message), *kind.name == '\0' ? 0 : 1);
}

INSTANTIATE_TEST_SUITE_P(Blocks, LoneRecordsTest, ::testing::ValuesIn(kLoneRecords),
                         [](const auto& test) {
                             return Cat("Block", test.param.number, "_", test.index);
                         });

}  // namespace
}  // namespace mod2neu
