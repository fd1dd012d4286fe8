#include "blocks/block_writers.h"
#include "blocks/entity_block.h"

namespace mod2neu {

namespace {

// clang-format off
constexpr auto kTextRecordLines = Lines<kText>(
    Id(), U16(334), U16(330), U16(332), U8(328), I32(324), EndOfLine(),
    Bool(0), U8(56), U8(57), Bool(58), I32(60), Bool(64), Bool(65), EndOfLine(),
    F64(8, 3), EndOfLine(),
    F64(32, 3), EndOfLine(),
    TextLines(66, 258), EndOfLine());
// clang-format on

}  // namespace

void WriteTextBlock() {
    WriteLayoutBlock<kTextRecordLines>(kTextBlock);
}

}  // namespace mod2neu
