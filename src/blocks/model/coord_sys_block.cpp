#include "blocks/block_writers.h"
#include "blocks/entity_block.h"

namespace mod2neu {

namespace {

// Coordinate systems 0 to 2 are the built-in global ones and never written.
constexpr std::int32_t kFirstUserCoordSys = 3;

// clang-format off
constexpr auto kCoordSysLines = Lines<kCoordSys>(
    Id(), I32(32), U8(88), U16(172), I32(168), EndOfLine(),  // kind, colour, layer
    Text(174, 26), EndOfLine(),
    F64(40, 3), EndOfLine(),
    F64(64, 3), EndOfLine());
// clang-format on

}  // namespace

void WriteCoordSysBlock() {
    WriteLayoutBlock<kCoordSysLines>(kCoordSysBlock, kFirstUserCoordSys);
}

}  // namespace mod2neu
