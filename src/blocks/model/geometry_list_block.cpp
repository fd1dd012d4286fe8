#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "blocks/block_writers.h"
#include "blocks/entity_block.h"
#include "blocks/model/id_ranges.h"
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

// The members of one list. They are held in memory as ranges; where these become too many, the
// flag set takes them over. A range of a hundred million IDs fills millions of words of the set,
// and any number of lists may hold one, so only lists of very many entries are worth a set.
class ListMembers {
  public:
    ListMembers(EntityType setType, std::int32_t setDatabase)
        : setType_(setType), setDatabase_(setDatabase) {}

    // Also empties the set when it was used.
    [[nodiscard]] bool Clear() {
        ranges_.Clear();
        return !std::exchange(inSet_, false) || ClearRecords(setType_, setDatabase_);
    }

    [[nodiscard]] bool Add(IdSpan span) {
        return ranges_.Add(span) ||
               (MoveToSet() && SetFlagRange(setType_, setDatabase_, span.first, span.last));
    }

    // Adds to the set what is in memory.
    [[nodiscard]] bool MoveToSet() {
        inSet_ = true;
        const std::vector<IdSpan>& spans = ranges_.Merged();
        const bool done = std::all_of(spans.begin(), spans.end(), [this](IdSpan span) {
            return SetFlagRange(setType_, setDatabase_, span.first, span.last);
        });
        ranges_.Clear();
        return done;
    }

    // True once the set holds some of the members.
    [[nodiscard]] bool InSet() const { return inSet_; }

    // The members in memory; all of them unless some are in the set.
    const std::vector<IdSpan>& Ranges() { return ranges_.Merged(); }

  private:
    EntityType setType_;
    std::int32_t setDatabase_;
    IdRanges ranges_;
    bool inSet_ = false;
};

// Adds what one list entry stands for: the ID itself, or for -b every ID behind the previous
// entry up to b. A list that starts with a negative entry counts from ID 1, which keeps whatever
// the entry can mean. IDs that no entity can have are left out.
bool AddEntry(std::int32_t entry, std::int32_t previous, ListMembers& members) {
    const std::int64_t first = entry >= 0 ? entry : std::int64_t{previous} + 1;
    const std::int64_t last = entry >= 0 ? entry : -std::int64_t{entry};
    const auto lowest = static_cast<std::int32_t>(std::clamp<std::int64_t>(first, 1, kNoId));
    const auto highest = static_cast<std::int32_t>(std::min<std::int64_t>(last, kHighestId));
    return lowest > highest || members.Add({lowest, highest});
}

EntityType ListTypeOf(EntityType geometry) {
    const auto* row =
        std::find_if(kListedGeometry.begin(), kListedGeometry.end(),
                     [&](const ListedGeometry& listed) { return listed.geometry == geometry; });
    return row == kListedGeometry.end() ? kNeverUsed : row->list;
}

// Empties `members` and fills them from the entity's list. False when the list breaks off early.
bool ListToFlags(EntityType geometry, std::int32_t id, ListMembers& members) {
    const EntityType listType = ListTypeOf(geometry);
    if (listType == kNeverUsed || !members.Clear()) {
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
            const auto entry =
                ReadLittleEndian<std::int32_t>(chunk.data() + std::ptrdiff_t{index} * kEntrySize);
            if (!AddEntry(entry, previous, members)) {
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

void WriteHead(std::size_t pass, std::int32_t id) {
    PutLong(static_cast<std::int32_t>(pass));
    PutLong(id);
    EndLine();
}

void WriteRanges(const std::vector<IdSpan>& ranges) {
    for (const IdSpan range : ranges) {
        PutLong(range.first);
        PutLong(range.last == range.first ? 0 : range.last);
        EndLine();
    }
    WriteLines<kRangesEnd>(Record<kIdRange>(0, nullptr));
}

}  // namespace

void WriteGeometryListBlock() {
    const std::int32_t setDatabase = FindFreeDbNumber(kTemporaryIdSet, 1, true);
    const std::int32_t rangeDatabase = FindFreeDbNumber(kIdRange, 1, true);
    ListMembers members(kTemporaryIdSet, setDatabase);
    BeginBlock(kGeometryListBlock);
    for (std::size_t pass = 0; pass < kListedGeometry.size(); ++pass) {
        const EntityType geometry = kListedGeometry[pass].geometry;
        std::int32_t id = NextRecordId(geometry, kModelDbNumber, 1, SeekMode::kAtOrAfter);
        for (; id <= kHighestId;
             id = NextRecordId(geometry, kModelDbNumber, id, SeekMode::kAfter)) {
            if (!ListToFlags(geometry, id, members)) {
                continue;
            }
            if (!members.InSet()) {
                WriteHead(pass, id);
                WriteRanges(members.Ranges());
            } else if (members.MoveToSet() && ClearRecords(kIdRange, rangeDatabase) &&
                       FlagsToRanges(kTemporaryIdSet, setDatabase, kIdRange, rangeDatabase)) {
                WriteHead(pass, id);
                WriteTable<kRangeLine, kRangesEnd>(rangeDatabase);
            }
        }
    }
    EndBlock();
}

}  // namespace mod2neu
