#include "blocks/block_writers.h"
#include "blocks/entity_block.h"

namespace mod2neu {

namespace {

// One row here is one line of the block, unless Rows() says otherwise. The number 90 shares its
// line with the first of the 90 entries.
// clang-format off
constexpr auto kViewLines = Lines<kView>(
    Id(), EndOfLine(),
    Text(0, 28), EndOfLine(),
    I32(28, 3), EndOfLine(),
    F64(40, 3), EndOfLine(),
    F64(64, 3), EndOfLine(),
    F64(88, 2), EndOfLine(),
    F64(1128, 3), EndOfLine(),
    F64(1152), EndOfLine(),
    F32(104, 4), EndOfLine(),
    I16(122), U16(126), Bool(120), Bool(124), Bool(1236), EndOfLine(),
    I32(128, 5), I32(1104), I32(148, 2), I32(1228, 2), EndOfLine(),
    Const(9), EndOfLine(),
    Rows(9, I32(156), I32(192), I32(228), EndOfLine()),
    F32(1116, 2), Bool(1160), U8(1108), EndOfLine(),
    U8(1226), U16(1224), F64(1216), EndOfLine(),
    F64(1168, 3), EndOfLine(),
    F64(1192, 3), EndOfLine(),
    F32(264, 4), EndOfLine(),
    F32(280, 5), Bool(1304), F32(1348), F32(1308), F32(1312, 3), EndOfLine(),
    F32(300, 5), EndOfLine(),
    U16(320, 2), U16(1248), I32(1252), Bool(1256), U16(1258), I32(1272), I32(1260, 3),
        F64(1280, 3), EndOfLine(),
    I32(1352, 6), U16(1376, 2), EndOfLine(),
    Bool(1380), Bool(1381, 6), Bool(1392, 12), EndOfLine(),
    I32(1388), I32(1404), F64(1408), F64(1416, 2), F64(1432, 3), U16(1456), EndOfLine(),
    Bool(1464, 6), F64(1472), I32(1460), EndOfLine(),
    Const(12), EndOfLine(),
    Rows(12, I16(424), F64(328), EndOfLine()),
    I16(448, 3), I32(1324, 2), F64(1336), F32(1344), EndOfLine(),
    U16(454, 6), EndOfLine(),
    F64(472, 2), EndOfLine(),
    F64(488, 4), EndOfLine(),
    Const(9), EndOfLine(),
    Rows(9, F32(520), EndOfLine()),
    Const(2), EndOfLine(),
    Rows(2, Text(556, 26), EndOfLine()),
    I32(608), U8(612), I16(614, 2), EndOfLine(),
    F32(620, 4), EndOfLine(),
    F32(636), F32(644), F32(640), F32(648), EndOfLine(),
    Const(90), Rows(90, U8(652), U16(742), U8(1012), Bool(922), EndOfLine()));
// clang-format on

void WriteView(const Record<kView>& view) {
    WriteLines<kViewLines>(view);
    WriteMembers(kViewIdSet, view.Id());
}

}  // namespace

void WriteViewBlock() {
    WriteEntityBlock<kView>(kViewBlock, WriteView);
}

}  // namespace mod2neu
