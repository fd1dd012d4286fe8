#include <array>

#include "sample/parts.h"
#include "sample/wing_box.h"

namespace mod2neu::sample {

namespace {

constexpr std::int32_t kRootClamped = 1;
constexpr std::int32_t kSymmetryPlane = 2;

// Three translations and three rotations, 1 when held.
using Freedoms = std::array<std::uint8_t, 6>;
constexpr Freedoms kAllHeld = {1, 1, 1, 1, 1, 1};
constexpr Freedoms kSymmetric = {0, 1, 0, 1, 0, 1};

Record Held(EntityType type, const Freedoms& held) {
    Record record(type);
    record.U8(0, held[0], held[1], held[2], held[3], held[4], held[5]);
    return record.U16(8, kWhite).I32(12, kLoadLayer);
}

void PutSet(ModelWriter& model, std::int32_t set, const char* title, const Freedoms& held) {
    model.Put(set, Record(kConstraintSet).Text(8, 32, title));
    for (const bool lower : {false, true}) {
        for (int station = 1; station <= kStations; ++station) {
            model.PutUnder(set, NodeId(1, station, lower), Held(kNodalConstraint, held));
        }
    }
}

// The geometry of the root: its points, curves and the surface of the rib.
void HoldRootGeometry(ModelWriter& model) {
    std::int32_t id = 0;
    const auto hold = [&](EntityType type, std::int32_t entity) {
        Record record = Held(kGeometricConstraint, kAllHeld);
        model.PutUnder(kRootClamped, ++id, record.I32(16, entity, type));
    };
    hold(kSurface, 5);
    for (std::int32_t entity = 1; entity <= 4; ++entity) {
        hold(kCurve, entity);
        hold(kPoint, entity);
    }
}

// The rear spar keeps its depth at the tip: upper and lower node rise alike.
void TieRearSpar(ModelWriter& model) {
    Record equation(kConstraintEquation);
    equation.F64(0, 1.0, -1.0);
    equation.I32(560, NodeId(kRibs, kStations), NodeId(kRibs, kStations, true));
    equation.U8(840, 3, 3);  // along z
    model.PutUnder(kRootClamped, 1, equation.U16(910, kWhite).I32(912, kLoadLayer));
}

}  // namespace

void PutConstraints(ModelWriter& model) {
    PutSet(model, kRootClamped, "Root clamped", kAllHeld);
    HoldRootGeometry(model);
    TieRearSpar(model);
    PutSet(model, kSymmetryPlane, "Symmetry plane", kSymmetric);
    model.SetActive(kConstraintSet, kRootClamped);
}

}  // namespace mod2neu::sample
