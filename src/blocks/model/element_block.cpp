#include "blocks/block_writers.h"
#include "blocks/entity_block.h"

namespace mod2neu {

namespace {

// Database numbers of the element's two node lists; 0 when there is none.
constexpr Field kNodeList1 = I32(104);
constexpr Field kNodeList2 = I32(108);

// clang-format off
constexpr auto kElementLines = Lines<kElement>(
    Id(), U16(128), I32(12), I32(16), I32(124), I32(132),  // colour, -, kind, -, layer
    I32(20), Bool(228), I32(120), I32(136), I32(112, 2), EndOfLine(),
    Rows(2, I32(24, 10), EndOfLine()),                     // node IDs
    Rows(3, F64(144, 3), EndOfLine()),
    Bool(216, 6), Bool(222, 6), kNodeList1, kNodeList2, Const(0, 2), EndOfLine());

constexpr auto kNodeListEntryLine = Lines<kNodeListEntry>(
    I32(0), I16(4), F64(8), Bool(16, 6), EndOfLine());     // node ID, ...
constexpr auto kNodeListEnd = Lines<kNodeListEntry>(Const(-1), EndOfLine());
// clang-format on

void WriteNodeList(std::int32_t database) {
    if (database != 0) {
        WriteTable<kNodeListEntryLine, kNodeListEnd>(database);
    }
}

void WriteElement(const Record<kElement>& element) {
    const std::int32_t list1 = element.Value<kNodeList1>();
    const std::int32_t list2 = element.Value<kNodeList2>();
    WriteLines<kElementLines>(element);
    WriteNodeList(list1);
    WriteNodeList(list2);
}

}  // namespace

void WriteElementBlock() {
    WriteEntityBlock<kElement>(kElementBlock, WriteElement);
}

}  // namespace mod2neu
