#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <vector>

#include "blocks/block_writers.h"
#include "blocks/entity_block.h"

namespace mod2neu {

namespace {

constexpr Field kPropertyKind = I32(376);
constexpr Field kLaminateId = F64(816);  // a real number, to be rounded

// clang-format off
constexpr auto kPropertyLines = Lines<kProperty>(
    Id(), U16(1904), I32(12), kPropertyKind, I32(1908), I32(8), EndOfLine(),
    Text(1912, 32), EndOfLine(),
    I8(380, 4), EndOfLine(),
    Const(90), EndOfLine(),
    Rows(11, I32(16, 8), EndOfLine()), I32(368, 2), EndOfLine(),
    Const(190), EndOfLine(),
    Rows(38, F64(384, 5), EndOfLine()));
// clang-format on

// A laminate is a chain of records 1, 2, 3 ... of 80 plies each; the first one says how many plies
// there are.
constexpr int kPliesPerRecord = 80;
constexpr int kPlySize = 24;
constexpr Field kPlyTotal = I32(0);
constexpr int kFirstPly = 8;
static_assert(kFirstPly + kPliesPerRecord * kPlySize <= Record<kLaminate>::kSize);

struct Ply {
    double first;
    double second;
    std::uint8_t code;
};

Ply PlyAt(const std::uint8_t* bytes) {
    return {ReadLittleEndian<double>(bytes), ReadLittleEndian<double>(bytes + 8), bytes[16]};
}

// Rounds half away from zero. A number that no 32-bit integer can hold gives the nearest one, and
// none at all gives 0.
std::int32_t RoundToLong(double value) {
    if (std::isnan(value)) {
        return 0;
    }
    constexpr double kLowest = std::numeric_limits<std::int32_t>::min();
    constexpr double kHighest = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::clamp(std::round(value), kLowest, kHighest));
}

bool HasLaminate(std::int32_t propertyKind) {
    return propertyKind == 2 || propertyKind == 5 || propertyKind == 8;
}

// Gathers the laminate's plies. False when it has no first record or memory ends. A chain that
// breaks off gives the plies that are there.
bool ReadLaminatePlies(std::int32_t laminateId, std::vector<Ply>& plies) try {
    const std::uint8_t* bytes = ViewRecord(kLaminate, laminateId, 1);
    if (bytes == nullptr) {
        return false;
    }
    std::int32_t remaining = Record<kLaminate>(1, bytes).Value<kPlyTotal>();
    for (std::int32_t number = 2; remaining > 0 && bytes != nullptr; ++number) {
        for (int i = 0; i < std::min(remaining, kPliesPerRecord); ++i) {
            plies.push_back(PlyAt(bytes + kFirstPly + std::ptrdiff_t{i} * kPlySize));
        }
        remaining -= kPliesPerRecord;
        bytes = remaining > 0 ? ViewRecord(kLaminate, laminateId, number) : nullptr;
    }
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

void WritePlies(const std::vector<Ply>& plies) {
    PutLong(static_cast<std::int32_t>(plies.size()));
    EndLine();
    for (const Ply& ply : plies) {
        PutReal(ply.first);
        PutReal(ply.second);
        PutByte(ply.code);
        EndLine();
    }
}

void WriteProperty(const Record<kProperty>& property) {
    const bool hasLaminate = HasLaminate(property.Value<kPropertyKind>());
    const std::int32_t laminateId = hasLaminate ? RoundToLong(property.Value<kLaminateId>()) : 0;
    WriteLines<kPropertyLines>(property);
    std::vector<Ply> plies;
    if (laminateId != 0 && !ReadLaminatePlies(laminateId, plies)) {
        plies.clear();
    }
    WritePlies(plies);
}

}  // namespace

void WritePropertyBlock() {
    WriteEntityBlock<kProperty>(kPropertyBlock, WriteProperty);
}

}  // namespace mod2neu
