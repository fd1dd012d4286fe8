#include "blocks/block_writers.h"
#include "blocks/entity_block.h"

namespace mod2neu {

namespace {

// clang-format off
constexpr auto kLoadSetLines = Lines<kLoadSet>(
    Id(), EndOfLine(),
    Text(400, 32), EndOfLine(),
    I32(432), F64(8), Bool(544, 3), EndOfLine(),
    Rows(4, F64(16, 3), EndOfLine()),
    F64(112, 3), I32(568), EndOfLine(),
    F64(136), F64(144), F64(160), F64(152), EndOfLine(),
    F64(168, 4), EndOfLine(),
    I32(436), I32(440), I32(448), EndOfLine(),
    Bool(547, 3), EndOfLine(),
    F64(200, 4), EndOfLine(),
    F64(232, 3), EndOfLine(),
    F64(256, 6), EndOfLine(),
    F64(304, 9), EndOfLine(),
    I32(452, 9), EndOfLine(),
    I32(488, 8), EndOfLine(),
    I32(520, 5), I32(4), I32(540), EndOfLine(),
    U8(550), Bool(551, 6), EndOfLine(),
    U8(557, 2), Bool(559, 4), U8(563, 2), EndOfLine());
// clang-format on

// A load is seven lines; what the second one holds depends on the kind of load.
constexpr Field kLoadKind = I32(56);
// clang-format off
constexpr auto kLoadFirstLine = Fields(
    I32(0), kLoadKind, U16(136), I32(64),  // entity, kind, colour, layer
    I32(12), I32(60), Bool(138), EndOfLine());
// clang-format on
constexpr auto kLoadFlagsLine = Fields(Bool(48, 3), EndOfLine());
constexpr auto kLoadNumbersLine = Fields(U8(48, 3), EndOfLine());
// clang-format off
constexpr auto kLoadLastLines = Fields(
    F64(72, 5), EndOfLine(),
    I32(16, 5), EndOfLine(),
    U8(51, 3), I32(4, 2), EndOfLine(),
    I32(36, 3), EndOfLine(),
    F64(112, 3), EndOfLine());
// clang-format on

constexpr auto kFlagsLoadLines = Lines<kLoad>(kLoadFirstLine, kLoadFlagsLine, kLoadLastLines);
constexpr auto kNumbersLoadLines = Lines<kLoad>(kLoadFirstLine, kLoadNumbersLine, kLoadLastLines);
constexpr auto kOtherLoadLines = Lines<kLoad>(kLoadFirstLine, EndOfLine(), kLoadLastLines);

// clang-format off
constexpr auto kExtendedLoadLines = Lines<kExtendedLoad>(
    kLoadFirstLine, kLoadFlagsLine, kLoadLastLines,
    I32(144), I32(200), EndOfLine(),
    F64(152, 3), EndOfLine(),
    F64(176, 3), EndOfLine(),
    I32(204), I32(388), EndOfLine(),
    Text(208, 20), EndOfLine(),
    Text(228, 160), EndOfLine(),
    Rows(4, F64(392, 3), EndOfLine()),
    F64(488, 4), EndOfLine(),
    Bool(520, 2), EndOfLine());
constexpr auto kLoadsEnd = Lines<kLoad>(Const(-1, 6), Const(0), EndOfLine());

// Nodal and element temperatures are alike; the ID is that of the node or element.
constexpr auto kTemperatureFields = Fields(
    Id(), U16(16), I32(20),  // colour, layer
    F64(0), F64(8), I32(24), Bool(28), EndOfLine());
constexpr auto kNodalTemperatureLine = Lines<kNodalTemperature>(kTemperatureFields);
constexpr auto kElementTemperatureLine = Lines<kElementTemperature>(kTemperatureFields);
// clang-format on
constexpr auto kTemperaturesEnd =
    Lines<kNodalTemperature>(Const(-1, 3), Zero(2), Const(-1), Const(1), EndOfLine());

enum class SecondLine { kFlags, kNumbers, kEmpty };

SecondLine SecondLineOf(std::int32_t loadKind) {
    if ((loadKind >= 1 && loadKind <= 8) || (loadKind >= 10 && loadKind <= 12)) {
        return SecondLine::kFlags;
    }
    if (loadKind == 41 || loadKind == 42 || (loadKind >= 44 && loadKind <= 47)) {
        return SecondLine::kNumbers;
    }
    return SecondLine::kEmpty;
}

void WriteLoad(const Record<kLoad>& load) {
    switch (SecondLineOf(load.Value<kLoadKind>())) {
        case SecondLine::kFlags:
            return WriteLines<kFlagsLoadLines>(load);
        case SecondLine::kNumbers:
            return WriteLines<kNumbersLoadLines>(load);
        case SecondLine::kEmpty:
            return WriteLines<kOtherLoadLines>(load);
    }
}

void WriteLoadSetHeader(const Record<kLoadSet>& set) {
    WriteLines<kLoadSetLines>(set);
}

void WriteLoads(std::int32_t setId) {
    ForEachRecord<kLoad>(setId, WriteLoad);
    WriteLines<kLoadsEnd>(Record<kLoad>(0, nullptr));
}

void WriteExtendedLoads(std::int32_t setId) {
    WriteTable<kExtendedLoadLines, kLoadsEnd>(setId);
}

void WriteTemperatures(std::int32_t setId) {
    WriteTable<kNodalTemperatureLine, kTemperaturesEnd>(setId);
    WriteTable<kElementTemperatureLine, kTemperaturesEnd>(setId);
}

void WriteLoadSet(const Record<kLoadSet>& set) {
    WriteLoadSetHeader(set);
    WriteLoads(set.Id());
    WriteExtendedLoads(set.Id());
    WriteTemperatures(set.Id());
}

}  // namespace

void WriteLoadBlock() {
    WriteEntityBlock<kLoadSet>(kLoadBlock, WriteLoadSet);
}

}  // namespace mod2neu
