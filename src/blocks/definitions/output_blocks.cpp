#include "blocks/block_writers.h"
#include "blocks/entity_block.h"

namespace mod2neu {

namespace {

// clang-format off
constexpr auto kOutputSetLines = Lines<kOutputSet>(
    Id(), EndOfLine(),
    Text(16, 26), EndOfLine(),
    I32(8, 2), EndOfLine(),
    F64(0), EndOfLine(),
    TextLines(42, 262), EndOfLine());
// clang-format on

// Database number of the vector's values.
constexpr Field kDataKey = I32(0);

// Behind the output set's ID.
// clang-format off
constexpr auto kVectorLines = Lines<kOutputVector>(
    Id(), Const(1), EndOfLine(),
    Text(128, 32), EndOfLine(),
    F64(112), F64(104), F64(96), EndOfLine(),
    Rows(2, I32(4, 10), EndOfLine()),
    I32(124), I32(120), I32(84), I32(88), EndOfLine(),
    Bool(92), U8(93), Bool(94), EndOfLine());
// clang-format on

constexpr auto kValueLine = Lines<kOutputData>(Id(), F64(0), EndOfLine());
constexpr auto kValuesEnd = Lines<kOutputData>(Const(-1), Zero(), EndOfLine());

}  // namespace

void WriteOutputSetBlock() {
    WriteLayoutBlock<kOutputSetLines>(kOutputSetBlock);
}

void WriteOutputDataBlock() {
    std::int32_t vectors = 0;
    BeginBlock(kOutputDataBlock);
    ForEachRecord<kOutputSet>(kModelDbNumber, [&](const Record<kOutputSet>& set) {
        ForEachRecord<kOutputVector>(set.Id(), [&](const Record<kOutputVector>& vector) {
            const std::int32_t dataKey = vector.Value<kDataKey>();
            PutLong(set.Id());
            WriteLines<kVectorLines>(vector);
            WriteTable<kValueLine, kValuesEnd>(dataKey);
            ++vectors;
        });
    });
    EndBlock();
    ReportTranslated(kOutputVector, vectors);
}

}  // namespace mod2neu
