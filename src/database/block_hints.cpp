#include "database/block_hints.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "database/engine_memory.h"

namespace mod2neu {

namespace {

struct HintState {
    std::unique_ptr<KindHints[]> table;  // one per kind
};

HintState hints;

KindHints& TableOf(EntityType kind) {
    return hints.table[kind];
}

// Makes the first row the new database number's, over the row that was filled longest ago.
HintRow& ReplaceOldestRow(KindHints& rows, std::uint32_t lastUse) {
    std::uint64_t smallest = std::uint64_t{lastUse} + 1;
    std::size_t oldest = 0;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].lastUse < smallest) {
            smallest = rows[i].lastUse;
            oldest = i;
            if (smallest == 0) {
                break;
            }
        }
    }
    const auto end = rows.begin() + static_cast<std::ptrdiff_t>(oldest);
    std::move_backward(rows.begin(), end, end + 1);
    rows[0] = {};
    return rows[0];
}

}  // namespace

bool InitBlockHints() {
    hints.table = TryAllocate<KindHints>(kEntityTypeCount);
    return hints.table != nullptr;
}

void ClearBlockHints() {
    if (hints.table != nullptr) {
        std::fill_n(hints.table.get(), kEntityTypeCount, KindHints{});
    }
}

void FreeBlockHints() {
    hints.table.reset();
}

const KindHints& HintsOf(EntityType kind) {
    return TableOf(kind);
}

void RememberBlock(EntityType kind, std::uint32_t blockNumber, BlockKey key,
                   std::uint32_t lastUse) {
    KindHints& rows = TableOf(kind);
    const auto known = std::find_if(rows.begin(), rows.end(), [&](const HintRow& row) {
        return row.database == key.database || row.database == 0;
    });
    if (known != rows.end() && known->database == key.database &&
        std::any_of(known->entries.begin(), known->entries.end(),
                    [&](const BlockHint& hint) { return hint.blockNumber == blockNumber; })) {
        return;
    }
    HintRow& row = known != rows.end() ? *known : ReplaceOldestRow(rows, lastUse);
    std::move_backward(row.entries.begin(), row.entries.end() - 1, row.entries.end());
    row.entries[0] = {key.firstId, blockNumber};
    row.lastUse = lastUse;
    row.database = key.database;
}

void ForgetBlock(EntityType kind, BlockKey key) {
    KindHints& rows = TableOf(kind);
    const auto row = std::find_if(rows.begin(), rows.end(), [&](const HintRow& candidate) {
        return candidate.database == key.database;
    });
    if (row == rows.end()) {
        return;
    }
    auto& entries = row->entries;
    const auto entry = std::find_if(entries.begin(), entries.end(), [&](const BlockHint& hint) {
        return hint.blockNumber != 0 && hint.firstId == key.firstId;
    });
    if (entry != entries.end()) {
        std::move(entry + 1, entries.end(), entry);
        entries.back() = {};
    }
}

const HintRow* NearestHintRow(EntityType kind, std::int32_t database, std::int64_t limit) {
    const HintRow* nearest = nullptr;
    for (const HintRow& row : TableOf(kind)) {
        const std::int64_t distance = std::llabs(std::int64_t{row.database} - database);
        if (row.database != 0 && distance <= limit) {
            limit = distance;
            nearest = &row;
            if (distance == 0) {
                break;
            }
        }
    }
    return nearest;
}

}  // namespace mod2neu
