#include "blocks/block_writers.h"
#include "blocks/entity_block.h"

namespace mod2neu {

namespace {

// clang-format off
constexpr auto kNodeLines = Lines<kNode>(
    Id(), I32(24), I32(20),       // two coordinate systems
    I32(64), U16(68),             // layer, colour
    Bool(56, 6),
    F64(32, 3),                   // location
    I32(28), EndOfLine());
// clang-format on

}  // namespace

void WriteNodeBlock() {
    WriteLayoutBlock<kNodeLines>(kNodeBlock);
}

}  // namespace mod2neu
