#include "blocks/block_writers.h"
#include "blocks/entity_block.h"

namespace mod2neu {

namespace {

// clang-format off
constexpr auto kPointLines = Lines<kPoint>(
    Id(), I32(24), U8(72), I32(16), I32(68), U16(64),  // -, -, coordinate system, layer, colour
    F64(56), I32(20), EndOfLine(),
    F64(32, 3), EndOfLine());                          // location
// clang-format on

}  // namespace

void WritePointBlock() {
    WriteLayoutBlock<kPointLines>(kPointBlock);
}

}  // namespace mod2neu
