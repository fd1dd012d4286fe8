#include "blocks/block_writers.h"
#include "blocks/entity_block.h"

namespace mod2neu {

namespace {

constexpr Field kSurfaceKind = I32(100);
constexpr std::int32_t kPlainKind = 5;
constexpr std::int32_t kBoundedKind = 7;

// Whether the surface has a list stands between these parts of its first line.
// clang-format off
constexpr auto kSurfaceFirstFields = Lines<kSurface>(
    Id(), U16(84), kSurfaceKind, I32(88), U8(82, 2));  // colour, kind, layer
constexpr auto kSurfaceOtherLines = Lines<kSurface>(
    Bool(97), U8(96), EndOfLine(),
    I32(40), F64(48), EndOfLine(),
    U8(56), I32(60, 4), EndOfLine());
// clang-format on

// What follows depends on the kind of surface and starts with the number of its lines.
constexpr auto kPlainLines = Lines<kSurface>(Const(0), EndOfLine());
// clang-format off
constexpr auto kEdgeLines = Lines<kSurface>(
    Const(2), EndOfLine(),
    Bool(76, 6), EndOfLine(),
    I32(16, 6), EndOfLine());
constexpr auto kBoundaryLines = Lines<kBoundary>(
    Const(25), EndOfLine(),
    U8(758), I32(0), I32(4), F64(832), EndOfLine(),
    Rows(3, F64(760, 3), EndOfLine()),
    Rows(6, U8(608, 25), EndOfLine()),                 // codes
    Rows(15, I32(8, 10), EndOfLine()));                // IDs
// clang-format on

constexpr int kListSlots = 150;
constexpr Field kListEntry = I32(0, kListSlots);

// A bounded surface without its boundary record is written with zeros in its place.
void WriteBoundary(std::int32_t surfaceId) {
    RecordBuffer<kBoundary> boundary;
    static_cast<void>(boundary.Read(kModelDbNumber, surfaceId));
    WriteLines<kBoundaryLines>(boundary.View());
}

void WriteKindSection(const Record<kSurface>& surface) {
    switch (surface.Value<kSurfaceKind>()) {
        case kPlainKind:
            return WriteLines<kPlainLines>(surface);
        case kBoundedKind:
            return WriteBoundary(surface.Id());
        default:
            return WriteLines<kEdgeLines>(surface);
    }
}

void WriteList(const Record<kSurfaceList>& list) {
    int used = 0;
    for (int i = 0; i < kListSlots; ++i) {
        used += list.Value<kListEntry>(i) != 0 ? 1 : 0;
    }
    PutLong(used);
    EndLine();
    for (int i = 0; i < kListSlots; ++i) {
        if (list.Value<kListEntry>(i) != 0) {
            PutLong(list.Value<kListEntry>(i));
            EndLine();
        }
    }
}

void WriteSurface(const Record<kSurface>& record) {
    const RecordBuffer<kSurface> surface(record);
    RecordBuffer<kSurfaceList> list;
    const bool hasList = list.Read(kModelDbNumber, record.Id());

    WriteLines<kSurfaceFirstFields>(surface.View());
    PutBool(hasList);
    WriteLines<kSurfaceOtherLines>(surface.View());
    WriteKindSection(surface.View());
    if (hasList) {
        WriteList(list.View());
    }
}

}  // namespace

void WriteSurfaceBlock() {
    WriteEntityBlock<kSurface>(kSurfaceBlock, WriteSurface);
}

}  // namespace mod2neu
