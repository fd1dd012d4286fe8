#include "blocks/block_writers.h"
#include "blocks/entity_block.h"

namespace mod2neu {

namespace {

// clang-format off
constexpr auto kLayerLines = Lines<kLayer>(
    Id(), U16(34), EndOfLine(),  // colour
    Text(8, 26), EndOfLine());
// clang-format on

}  // namespace

void WriteLayerBlock() {
    WriteLayoutBlock<kLayerLines>(kLayerBlock);
}

}  // namespace mod2neu
