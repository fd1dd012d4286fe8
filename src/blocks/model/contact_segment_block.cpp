#include "blocks/block_writers.h"
#include "blocks/entity_block.h"

namespace mod2neu {

namespace {

// clang-format off
constexpr auto kSegmentLines = Lines<kContactSegment>(
    Id(), U16(18), I32(20), I32(12), I32(8), Bool(16), EndOfLine(),
    Text(24, 32), EndOfLine(),
    F64(56, 6), EndOfLine());

constexpr auto kEntryLine = Lines<kContactEntry>(
    I32(4), I32(8), I32(0), U8(12), EndOfLine());
constexpr auto kEntriesEnd = Lines<kContactEntry>(Const(-1, 2), Const(0, 2), EndOfLine());
// clang-format on

void WriteSegment(const Record<kContactSegment>& segment) {
    WriteLines<kSegmentLines>(segment);
    WriteTable<kEntryLine, kEntriesEnd>(segment.Id());
}

}  // namespace

void WriteContactSegmentBlock() {
    WriteEntityBlock<kContactSegment>(kContactSegmentBlock, WriteSegment);
}

}  // namespace mod2neu
