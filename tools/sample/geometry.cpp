#include <string_view>

#include "sample/parts.h"
#include "sample/wing_box.h"

namespace mod2neu::sample {

namespace {

// A corner of the box. Points 1 to 4 go round the root, 5 to 8 likewise round the tip.
struct Corner {
    std::int32_t point;
    double y;
    bool rear;
    bool upper;
};

constexpr Corner kCorners[] = {
    {1, 0, false, true},         {2, 0, true, true},           {3, 0, true, false},
    {4, 0, false, false},        {5, kSemiSpan, false, true},  {6, kSemiSpan, true, true},
    {7, kSemiSpan, true, false}, {8, kSemiSpan, false, false},
};

// An edge of the box, and how many elements lie along it.
struct Edge {
    std::int32_t curve;
    std::int32_t from, to;
    std::int32_t elements;
};

constexpr Edge kEdges[] = {
    {1, 1, 2, kCells}, {2, 2, 3, 1},      {3, 3, 4, kCells}, {4, 4, 1, 1},
    {5, 5, 6, kCells}, {6, 6, 7, 1},      {7, 7, 8, kCells}, {8, 8, 5, 1},
    {9, 1, 5, kBays},  {10, 2, 6, kBays}, {11, 3, 7, kBays}, {12, 4, 8, kBays},
};

// Surfaces of kind 5 have nothing of their own, those of kind 7 a boundary; all others are
// spanned between curves.
constexpr std::int32_t kSpanned = 1;
constexpr std::int32_t kPlain = 5;
constexpr std::int32_t kBounded = 7;

struct Face {
    std::int32_t surface;
    std::int32_t kind;
    std::int32_t property;
    std::int32_t elements[2];  // along its first and second curve
    std::int32_t curves[4];
};

constexpr Face kFaces[] = {
    {1, kSpanned, kSkin, {kCells, kBays}, {1, 10, 5, 9}},   // upper skin
    {2, kSpanned, kSkin, {kCells, kBays}, {3, 11, 7, 12}},  // lower skin
    {3, kSpanned, kSparWeb, {1, kBays}, {4, 9, 8, 12}},     // front spar
    {4, kSpanned, kSparWeb, {1, kBays}, {2, 10, 6, 11}},    // rear spar
    {5, kSpanned, kRibWeb, {kCells, 1}, {1, 2, 3, 4}},      // root rib
    {6, kSpanned, kRibWeb, {kCells, 1}, {5, 6, 7, 8}},      // tip rib
    {7, kPlain, 0, {}, {}},                                 // middle plane
    {8, kBounded, 0, {}, {}},                               // access panel in the lower skin
};

void PutPoints(ModelWriter& model) {
    for (const Corner& corner : kCorners) {
        Record record(kPoint);
        record.I32(16, kGlobal);
        record.F64(32, corner.rear ? ChordAt(corner.y) : 0.0, corner.y,
                   corner.upper ? HalfDepthAt(corner.y) : -HalfDepthAt(corner.y));
        record.F64(56, 0.4);  // size of the elements around it
        record.U16(64, kGrey).I32(68, kGeometryLayer);
        model.Put(corner.point, record);
    }
}

void PutCurves(ModelWriter& model) {
    for (const Edge& edge : kEdges) {
        Record record(kCurve);
        record.I32(16, edge.from, edge.to);
        record.I32(40, edge.elements);
        record.F64(48, 1.0);
        record.F32(140, 0.25F);
        record.U16(144, kGrey).I32(148, kGeometryLayer);
        record.I32(160, 0);  // a straight line
        model.Put(edge.curve, record);
    }
    // The front spar cap is meshed at given places: node, value, parameter from root to tip.
    Record places(kCurveLocations);
    places.I32(0, 201, 301, 401, 501, 601);
    places.F32(640, 1, 1, 1, 1, 1);
    places.F32(1280, 0.2, 0.4, 0.6, 0.8, 1.0);
    model.Put(9, places);

    // The rear one by attributes: two rows with node and weight in front of two without.
    Record attributes(kCurveAttributes);
    attributes.U8(0, 0, 0, 1, 0).I32(4, 2, 2);
    attributes.I32(12, 204, 304).F64(456, 0.2, 0.4, 0.6, 0.8).F32(1424, 0.5, 0.25);
    attributes.F64(1864, 1.5, 0.01);
    model.Put(10, attributes);
}

void PutSurfaces(ModelWriter& model) {
    for (const Face& face : kFaces) {
        Record record(kSurface);
        record.I32(16, face.curves[0], face.curves[1], face.curves[2], face.curves[3]);
        record.I32(40, face.property).F64(48, 0.4);
        const auto [first, second] = face.elements;
        record.U8(56, 1).I32(60, first, second, first, second);
        record.U8(76, 0, 0, 1, 1);  // the last two curves run backwards
        record.U16(84, kGrey).I32(88, kGeometryLayer);
        record.I32(100, face.kind);
        model.Put(face.surface, record);
    }
    // Curves that lie on the upper skin; the slot between them is empty.
    model.Put(1, Record(kSurfaceList).I32(0, 9, 0, 10));

    Record boundary(kBoundary);
    boundary.I32(0, 2, 4);
    boundary.I32(8, 3, 11, 7, 12).U8(608, 1, 1, 2, 2).U8(758, 1);
    boundary.F64(760, 0.3, 2.5, -0.09);               // a point of its plane
    boundary.F64(784, 1, 0, 0).F64(808, 0, 0.0, -1);  // directions along and across
    boundary.F64(832, 0.001);
    model.Put(8, boundary);
}

constexpr std::string_view kFittingTransmit =
    "fitting of the wing tip, lengths in m\n"
    "box    0.600 0.040 0.120  at  0.300 5.020  0.000\n"
    "hole   radius 0.008       at  0.050 5.000  0.030\n"
    "hole   radius 0.008       at  0.550 5.000  0.030\n"
    "fillet radius 0.010       all edges";

// Body 1 is the volume inside the six faces, body 2 the solid tip fitting.
void PutBodies(ModelWriter& model) {
    model.Put(1, Record(kSolidIndex).I32(0, kVolume, 1));
    Record inside(kVolume);
    inside.I32(16, 1, 2, 3, 4, 5, 6);
    inside.U8(40, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0);
    inside.U16(58, kGrey).I32(60, kGeometryLayer).I32(64, 3);
    model.Put(1, inside);

    model.Put(2, Record(kSolidIndex).I32(0, kSolid, 1));
    Record fitting(kSolid);
    fitting.U8(8, 2).U16(10, kRed).I32(12, kGeometryLayer).Text(16, 28, "Tip fitting");
    model.Put(2, fitting);
    constexpr std::size_t kChunk = 128;  // so small that the text takes two
    model.PutChunks(kSolidTransmit, 2, kFittingTransmit, kChunk);
}

}  // namespace

void PutGeometry(ModelWriter& model) {
    PutPoints(model);
    PutCurves(model);
    PutSurfaces(model);
    PutBodies(model);
}

}  // namespace mod2neu::sample
