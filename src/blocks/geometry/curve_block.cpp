#include <algorithm>

#include "blocks/block_writers.h"
#include "blocks/entity_block.h"

namespace mod2neu {

namespace {

// Whether the companion records exist stands between the first line's fields and its end.
// clang-format off
constexpr auto kCurveFirstFields = Lines<kCurve>(
    Id(), U16(144), I32(160), I32(148),  // colour, kind, layer
    I32(136), F32(140), Bool(157), U8(156));
constexpr auto kCurveOtherLines = Lines<kCurve>(
    I32(40), U8(120, 2), Bool(122, 6), Bool(128, 6), EndOfLine(),
    F64(48, 3), EndOfLine(),
    F64(72, 6), EndOfLine(),
    I32(16, 5), EndOfLine());
// clang-format on

// Attributes: rows of an ID, a position and a weight; the rows behind the first count B have a
// position only.
constexpr int kMaxRowIds = 111;
constexpr int kMaxRowPositions = 121;
constexpr int kMaxRowWeights = 110;
constexpr Field kCountA = I32(4);
constexpr Field kCountB = I32(8);
constexpr Field kRowId = I32(12, kMaxRowIds);
constexpr Field kRowPosition = F64(456, kMaxRowPositions);
constexpr Field kRowWeight = F32(1424, kMaxRowWeights);
constexpr auto kAttributeFields =
    Lines<kCurveAttributes>(Bool(2), Bool(0), Bool(1), Bool(3), F64(1864), F64(1872));

// Custom mesh locations; the list ends with the first parameter that reaches the curve's end.
constexpr int kMaxLocations = 160;
constexpr Field kLocationId = I32(0, kMaxLocations);
constexpr Field kLocationValue = F32(640, kMaxLocations);
constexpr Field kLocationParameter = F32(1280, kMaxLocations);
constexpr float kCurveEnd = 1.0F;

// Counts that a sound record cannot hold are brought within its arrays, so that what is announced
// is what is written.
void WriteAttributes(const Record<kCurveAttributes>& record) {
    const int countB = std::clamp(record.Value<kCountB>(), 0, kMaxRowWeights);
    const int countA = std::clamp(record.Value<kCountA>(), 0, kMaxRowPositions - countB);
    WriteLines<kAttributeFields>(record);
    PutLong(countA);
    PutLong(countB);
    EndLine();
    PutLong(countA + countB);
    EndLine();
    for (int i = 0; i < countA + countB; ++i) {
        PutLong(i < countB ? record.Value<kRowId>(i) : 0);
        PutReal(record.Value<kRowPosition>(i));
        PutFloat(i < countB ? record.Value<kRowWeight>(i) : 0.0F);
        EndLine();
    }
}

void WriteLocations(const Record<kCurveLocations>& record) {
    int count = 1;
    while (count < kMaxLocations && !(record.Value<kLocationParameter>(count - 1) >= kCurveEnd)) {
        ++count;
    }
    PutLong(count);
    EndLine();
    for (int i = 0; i < count; ++i) {
        PutLong(record.Value<kLocationId>(i));
        PutFloat(record.Value<kLocationValue>(i));
        PutFloat(record.Value<kLocationParameter>(i));
        EndLine();
    }
}

void WriteCurve(const Record<kCurve>& record) {
    const RecordBuffer<kCurve> curve(record);
    RecordBuffer<kCurveAttributes> attributes;
    RecordBuffer<kCurveLocations> locations;
    const bool hasAttributes = attributes.Read(kModelDbNumber, record.Id());
    const bool hasLocations = locations.Read(kModelDbNumber, record.Id());

    WriteLines<kCurveFirstFields>(curve.View());
    PutBool(hasAttributes);
    PutBool(hasLocations);
    EndLine();
    WriteLines<kCurveOtherLines>(curve.View());
    if (hasAttributes) {
        WriteAttributes(attributes.View());
    }
    if (hasLocations) {
        WriteLocations(locations.View());
    }
}

}  // namespace

void WriteCurveBlock() {
    WriteEntityBlock<kCurve>(kCurveBlock, WriteCurve);
}

}  // namespace mod2neu
