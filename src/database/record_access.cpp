#include "database/record_access.h"

#include <algorithm>
#include <cstring>

#include "database/block_allocation.h"
#include "database/block_index.h"
#include "database/existence_bitmap.h"
#include "database/record_tables.h"

namespace mod2neu {

namespace {

std::uint8_t* RecordAt(EntityType type, const RecordPlace& place) {
    return place.bytes + kBlockRecords + std::ptrdiff_t{place.index} * EntityRecordSize(type);
}

// Slots of a block whose first ID is `firstId`; the last block of the range of IDs has fewer than
// the others.
int SlotsOfBlock(EntityType type, std::int32_t firstId) {
    return std::min(EntityRecordsPerBlock(type), kHighestId - firstId + 1);
}

// Sets the record's existence bit and counts it.
void AddToBlock(EntityType type, const RecordPlace& place) {
    SetSlotLive(place.bytes, place.index, true);
    const int count = ReadLittleEndian<std::uint16_t>(place.bytes + kBlockLiveCount) + 1;
    WriteLittleEndian(place.bytes + kBlockLiveCount,
                      static_cast<std::uint16_t>(std::min(count, EntityRecordsPerBlock(type))));
}

// Clears the record's existence bit and counts down. Returns whether the block has records left:
// that the bitmap decides, since by a wrong count in a damaged file a block with records in it
// would be released.
bool RemoveFromBlock(EntityType type, const RecordPlace& place) {
    SetSlotLive(place.bytes, place.index, false);
    const int slots = EntityRecordsPerBlock(type);
    const bool recordsLeft = NextLiveSlot(place.bytes, 0, slots) < slots;
    const int count = ReadLittleEndian<std::uint16_t>(place.bytes + kBlockLiveCount) - 1;
    WriteLittleEndian(place.bytes + kBlockLiveCount,
                      static_cast<std::uint16_t>(recordsLeft ? std::max(count, 1) : 0));
    return recordsLeft;
}

// The smallest existing ID from `id` on.
std::int32_t FindUpward(EntityType type, std::int32_t database, std::int32_t id) {
    while (id <= kHighestId) {
        RecordPlace place;
        if (LocateRecord(type, database, id, place)) {
            const std::int32_t start = id - place.index;
            const int slots = SlotsOfBlock(type, start);
            const int slot = NextLiveSlot(place.bytes, place.index, slots);
            if (slot < slots) {
                return start + slot;
            }
            id = start + slots;
        } else {
            const std::int32_t start = AdjacentBlockStart(type, database, id, true);
            if (start <= id) {
                break;
            }
            id = start;
        }
    }
    return kNoId;
}

// The largest existing ID up to `id`.
std::int32_t FindDownward(EntityType type, std::int32_t database, std::int32_t id) {
    while (id >= 1) {
        RecordPlace place;
        if (LocateRecord(type, database, id, place)) {
            const std::int32_t start = id - place.index;
            const int slot = PreviousLiveSlot(place.bytes, place.index);
            if (slot >= 0) {
                return start + slot;
            }
            id = start - 1;
        } else {
            const std::int32_t start = AdjacentBlockStart(type, database, id, false);
            if (start < 1 || start >= id) {
                break;
            }
            id = std::min(id - 1, start + EntityRecordsPerBlock(type) - 1);
        }
    }
    return 0;
}

}  // namespace

const std::uint8_t* ViewRecord(EntityType type, std::int32_t database, std::int32_t id) {
    RecordPlace place;
    if (!LocateRecord(type, database, id, place) || !IsLiveSlot(place.bytes, place.index)) {
        return nullptr;
    }
    return RecordAt(type, place);
}

bool GetRecord(EntityType type, std::int32_t database, std::int32_t id, void* buffer) {
    const std::uint8_t* record = ViewRecord(type, database, id);
    if (record == nullptr) {
        return false;
    }
    std::memcpy(buffer, record, static_cast<std::size_t>(EntityRecordSize(type)));
    return true;
}

bool PutRecord(EntityType type, std::int32_t database, std::int32_t id, const void* record) {
    RecordPlace place;
    if (!IsValidId(id) || !LocateOrCreateBlock(type, database, id, place)) {
        return false;
    }
    std::memcpy(RecordAt(type, place), record, static_cast<std::size_t>(EntityRecordSize(type)));
    MarkChanged(place.block);
    const bool created = !IsLiveSlot(place.bytes, place.index);
    if (created) {
        AddToBlock(type, place);
    }
    if (database == kModelDbNumber) {
        NoteRecordStored(type, id, created);
    }
    return true;
}

bool DeleteRecord(EntityType type, std::int32_t database, std::int32_t id) {
    RecordPlace place;
    if (!LocateRecord(type, database, id, place)) {
        return false;
    }
    if (!IsLiveSlot(place.bytes, place.index)) {
        return true;
    }
    StampBlock(place.block);
    const bool recordsLeft = RemoveFromBlock(type, place);
    MarkChanged(place.block);
    if (!recordsLeft) {
        // A block that cannot be released stays, without records.
        ReleaseBlock(type, database, id);
    }
    if (database == kModelDbNumber) {
        NoteRecordRemoved(type, id);
    }
    return true;
}

std::int32_t NextRecordId(EntityType type, std::int32_t database, std::int32_t start,
                          SeekMode mode) {
    const std::int64_t from = start;
    switch (mode) {
        case SeekMode::kAfter:
        case SeekMode::kAtOrAfter: {
            const std::int64_t first =
                std::max<std::int64_t>(1, mode == SeekMode::kAfter ? from + 1 : from);
            return first <= kHighestId
                       ? FindUpward(type, database, static_cast<std::int32_t>(first))
                       : kNoId;
        }
        case SeekMode::kBefore:
        case SeekMode::kAtOrBefore: {
            const std::int64_t last =
                std::min<std::int64_t>(kHighestId, mode == SeekMode::kBefore ? from - 1 : from);
            return last >= 1 ? FindDownward(type, database, static_cast<std::int32_t>(last)) : 0;
        }
    }
    return 0;
}

bool ClearRecords(EntityType type, std::int32_t database) {
    std::int32_t id = NextRecordId(type, database, 1, SeekMode::kAtOrAfter);
    while (id <= kHighestId) {
        if (!DeleteRecord(type, database, id)) {
            return false;
        }
        id = NextRecordId(type, database, id, SeekMode::kAfter);
    }
    return true;
}

bool AppendRecord(EntityType type, std::int32_t database, const void* record, std::int32_t& id) {
    id = NextRecordId(type, database, kHighestId, SeekMode::kAtOrBefore) + 1;
    return PutRecord(type, database, id, record);
}

std::int32_t FindFreeDbNumber(EntityType type, std::int32_t start, bool inclusive) {
    std::int32_t candidate = inclusive ? start : start + 1;
    while (candidate <= kHighestId && AdjacentDatabase(type, candidate - 1, true) == candidate) {
        ++candidate;
    }
    return candidate;
}

RecordWalk::RecordWalk(EntityType type, std::int32_t database, std::int32_t firstId)
    : type_(type),
      database_(database),
      id_(firstId),
      recordSize_(EntityRecordSize(type)),
      slots_(EntityRecordsPerBlock(type)) {}

const std::uint8_t* RecordWalk::Next() {
    const std::uint8_t* record = NextInBlock();
    return record != nullptr ? record : EnterNextBlock();
}

const std::uint8_t* RecordWalk::NextInBlock() {
    const std::uint8_t* block = BlockIfStill(block_, type_, {database_, blockStart_});
    if (block == nullptr) {
        return nullptr;
    }
    const int slot = NextLiveSlot(block, id_ - blockStart_ + 1, slots_);
    if (slot == slots_) {
        return nullptr;
    }
    id_ = blockStart_ + slot;
    return block + kBlockRecords + std::ptrdiff_t{slot} * recordSize_;
}

const std::uint8_t* RecordWalk::EnterNextBlock() {
    id_ = NextRecordId(type_, database_, id_, mode_);
    mode_ = SeekMode::kAfter;
    RecordPlace place;
    if (id_ > kHighestId || !LocateRecord(type_, database_, id_, place)) {
        return nullptr;
    }
    block_ = place.block;
    blockStart_ = id_ - place.index;
    slots_ = SlotsOfBlock(type_, blockStart_);
    return RecordAt(type_, place);
}

}  // namespace mod2neu
