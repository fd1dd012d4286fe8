#pragma once

#include <cstdint>

#include "database/block_place.h"
#include "database/catalogue.h"

namespace mod2neu {

// Database number of the open model's own tables.
constexpr std::int32_t kModelDbNumber = 1;
// IDs and database numbers run from 1 to this.
constexpr std::int32_t kHighestId = 99'999'999;
// Result of an upward search that finds nothing.
constexpr std::int32_t kNoId = 0x7FFFFFFF;

enum class SeekMode {
    kAfter = 1,       // smallest ID greater than the start
    kBefore = 2,      // largest ID less than the start
    kAtOrAfter = 3,   // smallest ID greater than or equal to the start
    kAtOrBefore = 4,  // largest ID less than or equal to the start
};

// Copies the record into `buffer`, which has room for one record of `type`. False, with the
// buffer untouched, when there is no such record.
[[nodiscard]] bool GetRecord(EntityType type, std::int32_t database, std::int32_t id, void* buffer);

// The record's bytes in the cache, valid until the next call into the database; nullptr when
// there is no such record.
[[nodiscard]] const std::uint8_t* ViewRecord(EntityType type, std::int32_t database,
                                             std::int32_t id);

// Stores the whole record, new or in place of the old one. False for an ID that cannot be stored.
[[nodiscard]] bool PutRecord(EntityType type, std::int32_t database, std::int32_t id,
                             const void* record);

// True when the block that would hold the record exists, whether or not the record did.
[[nodiscard]] bool DeleteRecord(EntityType type, std::int32_t database, std::int32_t id);

// The ID found; kNoId (upward) or 0 (downward) when there is none.
std::int32_t NextRecordId(EntityType type, std::int32_t database, std::int32_t start,
                          SeekMode mode);

// Deletes every record of the table. False, with the rest left, at the first failed deletion.
[[nodiscard]] bool ClearRecords(EntityType type, std::int32_t database);

// Stores the record one above the highest existing ID, which `id` receives.
[[nodiscard]] bool AppendRecord(EntityType type, std::int32_t database, const void* record,
                                std::int32_t& id);

// The first database number at `start` (above it, when not inclusive) under which no record of
// `type` is stored.
std::int32_t FindFreeDbNumber(EntityType type, std::int32_t start, bool inclusive);

// Walks the records of one table in ascending ID order. Steps within a block need no search, and
// other tables may be read and changed in between.
//
//     RecordWalk walk(kNode, kModelDbNumber);
//     while (const std::uint8_t* record = walk.Next()) { ... walk.Id() ... }
class RecordWalk {
  public:
    RecordWalk(EntityType type, std::int32_t database, std::int32_t firstId = 1);

    // The next record's bytes, valid until the next call into the database; nullptr at the end.
    const std::uint8_t* Next();

    // ID of the record that Next gave last.
    [[nodiscard]] std::int32_t Id() const { return id_; }

  private:
    const std::uint8_t* NextInBlock();
    const std::uint8_t* EnterNextBlock();

    EntityType type_;
    std::int32_t database_;
    std::int32_t id_;
    SeekMode mode_ = SeekMode::kAtOrAfter;
    int recordSize_;
    int slots_;
    // The block that holds the record `id_`, as long as its header still says so.
    BlockPlace block_;
    std::int32_t blockStart_ = 0;
};

}  // namespace mod2neu
