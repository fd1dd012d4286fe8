#include "database/record_tables.h"

#include <algorithm>

#include "database/block_format.h"
#include "database/header_record.h"
#include "database/record_access.h"

namespace mod2neu {

namespace {

// The types whose IDs the tables follow; of the others only stored records are counted.
constexpr int kFirstTrackedType = kPoint;
constexpr int kLastTrackedType = kContactEntry;
// The three basic coordinate systems take the IDs below.
constexpr std::int32_t kFirstFreeCoordSys = 3;

bool IsTracked(EntityType type) {
    return type >= kFirstTrackedType && type <= kLastTrackedType;
}

// The count wraps at the ends of its range, where only a damaged header has it.
void AddToCount(EntityType type, std::int32_t change) {
    const auto count = static_cast<std::uint32_t>(HeaderTableValue(kHeaderRecordCount, type));
    SetHeaderTableValue(kHeaderRecordCount, type,
                        static_cast<std::int32_t>(count + static_cast<std::uint32_t>(change)));
}

// The first of `id`, `id` + `step`, ... that has no record; beyond the range of IDs when all have.
std::int32_t FirstFreeId(EntityType type, std::int64_t id, std::int64_t step) {
    while (id >= 1 && id <= kHighestId &&
           ViewRecord(type, kModelDbNumber, static_cast<std::int32_t>(id)) != nullptr) {
        id += step;
    }
    return static_cast<std::int32_t>(std::min<std::int64_t>(id, kNoId));
}

std::int32_t NextFreeIdAfter(EntityType type, std::int32_t id, bool created) {
    std::int32_t next = HeaderTableValue(kHeaderNextFreeId, type);
    if (created && id < kHighestId) {
        const std::int64_t step = HeaderTableValue(kHeaderIdStep, type);
        next = step == 0 ? FirstFreeId(type, id + 1, 1) : FirstFreeId(type, id + step, step);
    }
    if (id == kHighestId || next > kHighestId) {
        return FirstFreeId(type, type == kCoordSys ? kFirstFreeCoordSys : 1, 1);
    }
    return next < 1 ? FirstFreeId(type, kHighestId, -1) : next;
}

std::int32_t NewActiveId(EntityType type, std::int32_t removed) {
    const std::int32_t below = NextRecordId(type, kModelDbNumber, removed, SeekMode::kBefore);
    if (below != 0) {
        return below;
    }
    const std::int32_t above = NextRecordId(type, kModelDbNumber, removed, SeekMode::kAfter);
    return above == kNoId ? 0 : above;
}

}  // namespace

void NoteRecordStored(EntityType type, std::int32_t id, bool created) {
    if (created) {
        AddToCount(type, 1);
    }
    if (!IsTracked(type)) {
        return;
    }
    SetHeaderTableValue(kHeaderHighestId, type,
                        std::max(id, HeaderTableValue(kHeaderHighestId, type)));
    SetHeaderTableValue(kHeaderLowestId, type,
                        std::min(id, HeaderTableValue(kHeaderLowestId, type)));
    SetHeaderTableValue(kHeaderNextFreeId, type, NextFreeIdAfter(type, id, created));
}

void NoteRecordRemoved(EntityType type, std::int32_t id) {
    if (!IsTracked(type)) {
        return;
    }
    AddToCount(type, -1);
    if (id >= HeaderTableValue(kHeaderHighestId, type)) {
        SetHeaderTableValue(kHeaderHighestId, type,
                            NextRecordId(type, kModelDbNumber, id, SeekMode::kBefore));
    }
    if (id <= HeaderTableValue(kHeaderLowestId, type)) {
        SetHeaderTableValue(kHeaderLowestId, type,
                            NextRecordId(type, kModelDbNumber, id, SeekMode::kAfter));
    }
    if (id == HeaderTableValue(kHeaderActiveId, type)) {
        SetHeaderTableValue(kHeaderActiveId, type, NewActiveId(type, id));
    }
}

}  // namespace mod2neu
