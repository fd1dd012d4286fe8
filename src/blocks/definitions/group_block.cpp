#include "blocks/block_writers.h"
#include "blocks/entity_block.h"
#include "database/flag_set.h"

namespace mod2neu {

namespace {

// Database numbers of the group's rules and lists, one per kind; 0 when there are none.
constexpr int kRuleKinds = 87;
constexpr int kListKinds = 23;
constexpr Field kRuleKey = I32(0, kRuleKinds);
constexpr Field kListKey = I32(356, kListKinds);

// clang-format off
constexpr auto kGroupLines = Lines<kGroup>(
    Id(), I8(808), Bool(835), EndOfLine(),
    Text(809, 26), EndOfLine(),
    I32(460), I32(464), I8(468), EndOfLine(),
    I16(496), I16(494), I16(492), I32(488), F64(472), F64(480), EndOfLine(),
    I16(498), Bool(500), EndOfLine(),
    Rows(6, Bool(507), Bool(501), EndOfLine(),
         F64(520, 3), EndOfLine(),
         F64(664, 3), EndOfLine()));
// clang-format on

constexpr auto kRuleLine = Lines<kGroupRule>(I32(0), I32(4), I32(8), I16(12), EndOfLine());
constexpr auto kRulesEnd = Lines<kGroupRule>(Const(-1, 4), EndOfLine());

void PutLine(std::int32_t value) {
    PutLong(value);
    EndLine();
}

void WriteRules(const Record<kGroup>& group) {
    PutLine(kRuleKinds);
    for (int kind = 0; kind < kRuleKinds; ++kind) {
        if (const std::int32_t key = group.Value<kRuleKey>(kind); key != 0) {
            PutLine(kind);
            WriteTable<kRuleLine, kRulesEnd>(key);
        }
    }
    PutLine(-1);
}

void WriteLists(const Record<kGroup>& group) {
    PutLine(kListKinds);
    for (int kind = 0; kind < kListKinds; ++kind) {
        if (const std::int32_t key = group.Value<kListKey>(kind); key != 0) {
            PutLine(kind);
            WriteMembers(kGroupList, key);
        }
    }
    PutLine(-1);
}

void WriteGroup(const Record<kGroup>& record) {
    const RecordBuffer<kGroup> group(record);
    WriteLines<kGroupLines>(group.View());
    WriteRules(group.View());
    WriteLists(group.View());
}

}  // namespace

void WriteGroupBlock() {
    WriteEntityBlock<kGroup>(kGroupBlock, WriteGroup);
}

}  // namespace mod2neu
