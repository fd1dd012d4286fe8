#include "blocks/block_writers.h"
#include "blocks/entity_block.h"
#include "database/database_file.h"

namespace mod2neu {

namespace {

// clang-format off
constexpr auto kVariableLines = Lines<kVariable>(
    Const(1), EndOfLine(),  // for every variable
    Text(8, 20), EndOfLine(),
    Text(28, 164), EndOfLine(),
    F64(0), EndOfLine());

constexpr auto kOutputFormatLines = Lines<kOutputFormat>(
    Id(), I32(0), EndOfLine(),
    Text(939, 29), EndOfLine(),
    Const(2), EndOfLine(),
    Bool(4), Bool(6), EndOfLine(),
    Bool(5), Bool(7), EndOfLine(),
    Const(7), EndOfLine(),
    Rows(7, Text(8, 133), EndOfLine()));

constexpr auto kType45Lines = Lines<kType45>(
    I32(0, 5), EndOfLine(),
    I32(20, 3), Bool(32), F64(40, 3), EndOfLine(),
    I32(64, 2), F64(72, 2), EndOfLine());
// clang-format on

}  // namespace

void WriteVariableBlock() {
    WriteLayoutBlock<kVariableLines>(kVariableBlock);
}

void WriteOutputFormatBlock() {
    WriteLayoutBlock<kOutputFormatLines>(kOutputFormatBlock);
}

void WriteHeaderValuesBlock() {
    BeginBlock(kHeaderValuesBlock);
    for (const EntityType type : {kConstraintSet, kLoadSet, kGroup, kOutputFormat}) {
        PutLong(ActiveId(type));
    }
    EndLine();
    EndBlock();
}

void WriteType45Block() {
    if (NextRecordId(kType45, kModelDbNumber, 1, SeekMode::kAtOrAfter) > kHighestId) {
        return;
    }
    BeginBlock(kType45Block);
    ForEachRecord<kType45>(kModelDbNumber, WriteLines<kType45Lines, kType45>);
    EndBlock();
}

}  // namespace mod2neu
