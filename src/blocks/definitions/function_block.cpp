#include "blocks/block_writers.h"
#include "blocks/entity_block.h"

namespace mod2neu {

namespace {

// clang-format off
constexpr auto kFunctionLines = Lines<kFunction>(
    Id(), I32(52), EndOfLine(),  // kind
    Text(24, 28), EndOfLine());
// clang-format on

constexpr auto kPointLine = Lines<kFunctionPoint>(Id(), F64(0, 2), EndOfLine());
constexpr auto kPointsEnd = Lines<kFunctionPoint>(Const(-1), Zero(2), EndOfLine());

void WriteFunction(const Record<kFunction>& function) {
    WriteLines<kFunctionLines>(function);
    WriteTable<kPointLine, kPointsEnd>(function.Id());
}

}  // namespace

void WriteFunctionBlock() {
    WriteEntityBlock<kFunction>(kFunctionBlock, WriteFunction);
}

}  // namespace mod2neu
