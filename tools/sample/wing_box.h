#pragma once

#include <cstdint>

// The half wing that the sample model describes: a tapered box of five bays between six ribs,
// four nodes along the chord on each skin. Axes: x aft, y towards the tip, z up. SI units.
namespace mod2neu::sample {

constexpr int kRibs = 6;
constexpr int kBays = kRibs - 1;
constexpr int kStations = 4;  // along the chord, front spar to rear spar
constexpr int kCells = kStations - 1;

constexpr double kSemiSpan = 5.0;
constexpr double kRibPitch = 1.0;
constexpr double kRootChord = 1.2;  // of the box: 1.20, 1.08, 0.96, 0.84, 0.72, 0.60 m
constexpr double kTipChord = 0.6;
constexpr double kRootHalfDepth = 0.12;  // 0.120, 0.108, 0.096, 0.084, 0.072, 0.060 m
constexpr double kTipHalfDepth = 0.06;

// Numbers that tell their place: rib r, station s is node r0s on the upper skin and 1r0s on the
// lower one; bay b, cell c likewise for the panels.
constexpr std::int32_t kLower = 1000;
constexpr std::int32_t NodeId(int rib, int station, bool lower = false) {
    return 100 * rib + station + (lower ? kLower : 0);
}
constexpr std::int32_t SkinPanelId(int bay, int cell, bool lower = false) {
    return 100 * bay + cell + (lower ? kLower : 0);
}
constexpr std::int32_t SparPanelId(bool rear, int bay) {
    return (rear ? 2200 : 2100) + bay;
}
constexpr std::int32_t RibPanelId(int rib, int cell) {
    return 3000 + 100 * rib + cell;
}
constexpr std::int32_t StringerId(int bay, int station, bool lower) {
    return 4000 + 100 * bay + station + (lower ? kLower : 0);
}

// Middle of the tip rib, which takes the tip load.
constexpr std::int32_t kTipNode = 701;
// Spreads the tip load over the eight nodes of the tip rib.
constexpr std::int32_t kTipSpreader = 9001;

// Measures at `y` metres from the root.
constexpr double ChordAt(double y) {
    return kRootChord + (kTipChord - kRootChord) * y / kSemiSpan;
}
constexpr double HalfDepthAt(double y) {
    return kRootHalfDepth + (kTipHalfDepth - kRootHalfDepth) * y / kSemiSpan;
}

// Ribs and stations count from 1.
constexpr double RibY(int rib) {
    return kRibPitch * (rib - 1);
}
constexpr double StationX(int rib, int station) {
    return ChordAt(RibY(rib)) * (station - 1) / kCells;
}

enum Layer : std::int32_t {
    kGeometryLayer = 1,
    kSkinLayer = 2,
    kWebLayer = 3,
    kStringerLayer = 4,
    kLoadLayer = 5,
};

enum Colour : std::uint16_t {
    kGrey = 8,
    kRed = 4,
    kGreen = 10,
    kBlue = 12,
    kWhite = 15,
};

enum CoordSysId : std::int32_t {
    kGlobal = 0,
    kRootSystem = 3,
    kTipSystem = 4,
};

// The element kind says which property kind an element takes. Properties of kind 5 carry a
// laminate.
enum Kind : std::int32_t {
    kBarKind = 1,
    kPlateKind = 4,
    kLaminateKind = 5,
    kSpreaderKind = 9,
};

enum MaterialId : std::int32_t {
    kAluminium = 1,
    kCarbonPly = 2,
};

enum PropertyId : std::int32_t {
    kSparWeb = 1,
    kRibWeb = 2,
    kSkin = 3,
    kStringer = 4,
};

enum FunctionId : std::int32_t {
    kStressStrain = 1,
    kModulusOverTemperature = 2,
};

enum LoadCase : std::int32_t {
    kTipShear = 1,
    kManoeuvre = 2,
};

constexpr double kTipForce = 9600.0;         // N, upwards
constexpr double kLiftPerSpan = 4800.0;      // N/m, upwards
constexpr double kBendingStiffness = 2.0e6;  // N m2, of the whole box
constexpr double kSkinModulus = 50.0e9;      // Pa, of the laminate along the span

}  // namespace mod2neu::sample
