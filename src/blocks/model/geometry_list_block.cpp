#include <algorithm>
#include <array>

#include "blocks/block_writers.h"
#include "blocks/entity_block.h"
#include "database/flag_set.h"

namespace mod2neu {

namespace {

// The kinds of geometry that carry ID lists, in the order of the block. The number that an
// entity's line starts with is its kind's place here.
struct ListedGeometry {
    EntityType geometry;
    EntityType list;
};
constexpr std::array kListedGeometry = {
    ListedGeometry{kPoint, kPointIdList},
    ListedGeometry{kCurve, kCurveIdList},
    ListedGeometry{kSurface, kSurfaceIdList},
    ListedGeometry{kSolidIndex, kSolidIdList},
};

constexpr int kEntrySize = 4;

constexpr auto kRangeLine = Lines<kIdRange>(I32(0), I32(4), EndOfLine());
constexpr auto kRangesEnd = Lines<kIdRange>(Const(-1, 2), EndOfLine());

constexpr int kRangeFirst = 0;
constexpr int kRangeLast = 4;
constexpr int kRangeOne = 8;
constexpr int kRangeShortOne = 12;

// Adds what one list entry stands for: the ID itself, or for -b every ID behind the previous
// entry up to b. A list that starts with a negative entry counts from ID 1, which keeps whatever
// the entry can mean. IDs that no entity can have are left out.
bool AddEntry(std::int32_t entry, std::int32_t previous, EntityType setType,
              std::int32_t setDatabase) {
    if (entry >= 0) {
        return SetFlagRange(setType, setDatabase, entry, entry);
    }
    const std::int64_t first = std::int64_t{previous} + 1;
    const std::int64_t last = -std::int64_t{entry};
    return SetFlagRange(setType, setDatabase,
                        static_cast<std::int32_t>(std::clamp<std::int64_t>(first, 1, kNoId)),
                        static_cast<std::int32_t>(std::min<std::int64_t>(last, kHighestId)));
}

EntityType ListTypeOf(EntityType geometry) {
    const auto* row =
        std::find_if(kListedGeometry.begin(), kListedGeometry.end(),
                     [&](const ListedGeometry& listed) { return listed.geometry == geometry; });
    return row == kListedGeometry.end() ? kNeverUsed : row->list;
}

// Empties the set and fills it from the entity's list. False when the list breaks off early.
bool ListToFlags(EntityType geometry, std::int32_t id, EntityType setType,
                 std::int32_t setDatabase) {
    const EntityType listType = ListTypeOf(geometry);
    if (listType == kNeverUsed || !ClearRecords(setType, setDatabase)) {
        return false;
    }
    std::array<std::uint8_t, Record<kCurveIdList>::kSize> chunk{};
    const int entriesPerChunk = EntityRecordSize(listType) / kEntrySize;
    std::int32_t count = 0;
    std::int32_t taken = 0;
    std::int32_t previous = 0;
    for (std::int32_t number = 1; GetRecord(listType, number, id, chunk.data()); ++number) {
        int index = 0;
        if (number == 1) {
            count = ReadLittleEndian<std::int32_t>(chunk.data());
            index = 1;
        }
        for (; index < entriesPerChunk; ++index) {
            const auto entry = ReadLittleEndian<std::int32_t>(chunk.data() + index * kEntrySize);
            if (!AddEntry(entry, previous, setType, setDatabase)) {
                return false;
            }
            previous = entry;
            if (++taken >= count) {
                return true;
            }
        }
    }
    return false;
}

// Appends a range record for every run of consecutive members. False when one cannot be stored.
bool FlagsToRanges(EntityType setType, std::int32_t setDatabase, EntityType rangeType,
                   std::int32_t rangeDatabase) {
    std::int32_t first = NextFlag(setType, setDatabase, -1);
    while (first <= kHighestId) {
        const std::int32_t last = LastFlagOfRun(setType, setDatabase, first);
        std::array<std::uint8_t, Record<kIdRange>::kSize> range{};
        WriteLittleEndian(range.data() + kRangeFirst, first);
        WriteLittleEndian(range.data() + kRangeLast, last == first ? 0 : last);
        WriteLittleEndian(range.data() + kRangeOne, std::int32_t{1});
        WriteLittleEndian(range.data() + kRangeShortOne, std::uint16_t{1});
        std::int32_t id = 0;
        if (!AppendRecord(rangeType, rangeDatabase, range.data(), id)) {
            return false;
        }
        first = NextFlag(setType, setDatabase, last);
    }
    return true;
}

}  // namespace

void WriteGeometryListBlock() {
    const std::int32_t setDatabase = FindFreeDbNumber(kTemporaryIdSet, 1, true);
    const std::int32_t rangeDatabase = FindFreeDbNumber(kIdRange, 1, true);
    BeginBlock(kGeometryListBlock);
    for (std::size_t pass = 0; pass < kListedGeometry.size(); ++pass) {
        const EntityType geometry = kListedGeometry[pass].geometry;
        std::int32_t id = NextRecordId(geometry, kModelDbNumber, 1, SeekMode::kAtOrAfter);
        for (; id <= kHighestId;
             id = NextRecordId(geometry, kModelDbNumber, id, SeekMode::kAfter)) {
            if (!ListToFlags(geometry, id, kTemporaryIdSet, setDatabase) ||
                !ClearRecords(kIdRange, rangeDatabase) ||
                !FlagsToRanges(kTemporaryIdSet, setDatabase, kIdRange, rangeDatabase)) {
                continue;
            }
            PutLong(static_cast<std::int32_t>(pass));
            PutLong(id);
            EndLine();
            WriteTable<kRangeLine, kRangesEnd>(rangeDatabase);
        }
    }
    EndBlock();
}

}  // namespace mod2neu
