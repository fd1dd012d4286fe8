#include "blocks/block_writers.h"
#include "blocks/entity_block.h"

namespace mod2neu {

namespace {

// Every array stands behind its length. The last field of the first line counts embedded function
// tables, of which there are none: functions have a block of their own.
// clang-format off
constexpr auto kMaterialLines = Lines<kMaterial>(
    Id(), Const(-601), U16(1922), I32(4), I32(8), I32(1924), Const(0), EndOfLine(),
    Text(1928, 32), EndOfLine(),
    Const(10), EndOfLine(),
    Bool(1912, 10), EndOfLine(),
    Const(25), EndOfLine(),
    Rows(2, I32(212, 10), EndOfLine()), I32(292, 5), EndOfLine(),
    Const(200), EndOfLine(),
    Rows(20, F64(312, 10), EndOfLine()),
    Const(50), EndOfLine(),
    Rows(5, I32(12, 10), EndOfLine()));
constexpr auto kMoreFunctionLines = Lines<kMaterialFunctions>(
    Const(60), EndOfLine(),
    Rows(6, I32(0, 10), EndOfLine()));
// clang-format on

void WriteMaterial(const Record<kMaterial>& material) {
    WriteLines<kMaterialLines>(material);
    RecordBuffer<kMaterialFunctions> functions;
    static_cast<void>(functions.Read(kModelDbNumber, material.Id()));
    WriteLines<kMoreFunctionLines>(functions.View());
}

}  // namespace

void WriteMaterialBlock() {
    WriteEntityBlock<kMaterial>(kMaterialBlock, WriteMaterial);
}

}  // namespace mod2neu
