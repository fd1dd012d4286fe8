#include "sample/parts.h"
#include "sample/wing_box.h"

namespace mod2neu::sample {

namespace {

// Loads of kinds 1 to 8 and 10 to 12 carry three switches, of kinds 41, 42 and 44 to 47 three
// small numbers, of all others neither.
constexpr std::int32_t kForce = 1;
constexpr std::int32_t kDisplacement = 3;
constexpr std::int32_t kPressure = 9;
constexpr std::int32_t kCurveForce = 42;
constexpr std::int32_t kSurfacePressure = 44;

constexpr double kRoomTemperature = 293.15;
constexpr double kGravity = 9.81;
constexpr double kLoadFactor = 2.5;

Record LoadSetTitled(const char* title) {
    Record record(kLoadSet);
    record.F64(8, kRoomTemperature).U8(544, 1);
    record.F64(168, 1.0, 1.0);
    return record.Text(400, 32, title);
}

Record LoadOn(EntityType recordType, std::int32_t entity, std::int32_t kind) {
    Record record(recordType);
    record.I32(0, entity).I32(56, kind);
    return record.I32(64, kLoadLayer).U16(136, kRed);
}

void PutTipShear(ModelWriter& model) {
    model.Put(kTipShear, LoadSetTitled("Tip shear 9.6 kN"));
    Record force = LoadOn(kLoad, kTipNode, kForce);
    model.PutUnder(kTipShear, 1, force.U8(48, 0, 0, 1).F64(72, 0, 0, kTipForce));
    // The root rib does not slide along the fuselage.
    Record rest = LoadOn(kLoad, NodeId(1, 1), kDisplacement);
    model.PutUnder(kTipShear, 2, rest.U8(48, 1, 0, 0).F64(72, 0.0));
}

// Lift on the lower skin, spread along the mean chord, and the weight at 2.5 g.
void PutManoeuvre(ModelWriter& model) {
    Record set = LoadSetTitled("Manoeuvre 2.5 g");
    set.F64(16, 0, 0, -kLoadFactor * kGravity).U8(545, 1);
    model.Put(kManoeuvre, set);

    const double pressure = kLiftPerSpan / ((kRootChord + kTipChord) / 2);
    std::int32_t id = 0;
    for (int bay = 1; bay <= kBays; ++bay) {
        for (int cell = 1; cell <= kCells; ++cell) {
            Record lift = LoadOn(kLoad, SkinPanelId(bay, cell, true), kPressure);
            model.PutUnder(kManoeuvre, ++id, lift.F64(72, pressure));
        }
    }
    // Hinge forces of the aileron along the rear spar, in N/m.
    Record hinge = LoadOn(kLoad, 10, kCurveForce);
    model.PutUnder(kManoeuvre, ++id, hinge.U8(48, 0, 0, 200).F64(72, 0, 0, -150.0));
}

// Suction on the upper skin that falls off towards the tip.
void PutSuction(ModelWriter& model) {
    Record suction = LoadOn(kExtendedLoad, 1, kSurfacePressure);
    suction.U8(48, 1).F64(72, -800.0);
    suction.I32(144, 3).I32(200, 1);
    suction.F64(152, 0, 0, 0).F64(176, 0, kSemiSpan, 0);  // from root to tip
    suction.I32(204, kModulusOverTemperature);
    suction.Text(208, 20, "Y").Text(228, 160, "-800*(1-Y/SPAN)");
    suction.F64(488, -800.0, 0.0).U8(520, 1);
    model.PutUnder(kManoeuvre, 1, suction);
}

Record Temperature(EntityType type, double kelvin) {
    return Record(type).F64(0, kelvin).U16(16, kRed).I32(20, kLoadLayer).U8(28, 1);
}

// The sun heats the upper skin; the lower one stays in the shade.
void PutTemperatures(ModelWriter& model) {
    for (int rib = 1; rib <= kRibs; ++rib) {
        for (int station = 1; station <= kStations; ++station) {
            model.PutUnder(kManoeuvre, NodeId(rib, station),
                           Temperature(kNodalTemperature, 333.15));
        }
    }
    for (int bay = 1; bay <= kBays; ++bay) {
        for (int cell = 1; cell <= kCells; ++cell) {
            model.PutUnder(kManoeuvre, SkinPanelId(bay, cell, true),
                           Temperature(kElementTemperature, 303.15));
        }
    }
}

}  // namespace

void PutLoads(ModelWriter& model) {
    PutTipShear(model);
    PutManoeuvre(model);
    PutSuction(model);
    PutTemperatures(model);
    model.SetActive(kLoadSet, kTipShear);
}

}  // namespace mod2neu::sample
