#include <algorithm>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <utility>
#include <vector>

#include "sample/parts.h"
#include "sample/wing_box.h"

namespace mod2neu::sample {

namespace {

// A cantilever's answer at `y` metres from its root.
struct Bending {
    double deflection;  // m, upwards
    double slope;
    double curvature;  // 1/m
};

Bending UnderTipForce(double y) {
    constexpr double kScale = kTipForce / kBendingStiffness;
    return {kScale * y * y * (3 * kSemiSpan - y) / 6, kScale * y * (2 * kSemiSpan - y) / 2,
            kScale * (kSemiSpan - y)};
}

Bending UnderLift(double y) {
    constexpr double kScale = kLiftPerSpan / kBendingStiffness;
    constexpr double kSquare = kSemiSpan * kSemiSpan;
    const double rest = kSemiSpan - y;
    return {kScale * y * y * (6 * kSquare - 4 * kSemiSpan * y + y * y) / 24,
            kScale * y * (3 * kSquare - 3 * kSemiSpan * y + y * y) / 6, kScale * rest * rest / 2};
}

struct Case {
    std::int32_t set;
    const char* title;
    const char* notes;
    Bending (*bendingAt)(double y);
};

const Case kCases[] = {
    {kTipShear, "Tip shear 9.6 kN", "Linear static, beam theory\nTip deflection 0.2 m",
     UnderTipForce},
    {kManoeuvre, "Manoeuvre 2.5 g", "Linear static, beam theory\nTip deflection 0.1875 m",
     UnderLift},
};

enum VectorId : std::int32_t { kTotal = 1, kT1, kT2, kT3, kVonMises };
enum VectorKind : std::int32_t { kDisplacements = 1, kStresses = 3 };

// IDs of nodes or elements with their values, in any order.
using Values = std::vector<std::pair<std::int32_t, double>>;

struct Displacements {
    Values total, t1, t2, t3;
};

double Length(double along, double up) {
    return std::sqrt(along * along + up * up);
}

// Plane sections turn with the slope: what lies above the middle moves inboard.
Displacements DisplacementsOf(const Case& loadCase) {
    Displacements result;
    for (int rib = 1; rib <= kRibs; ++rib) {
        const Bending bending = loadCase.bendingAt(RibY(rib));
        for (const bool lower : {false, true}) {
            const double z = lower ? -HalfDepthAt(RibY(rib)) : HalfDepthAt(RibY(rib));
            const double inboard = -z * bending.slope;
            for (int station = 1; station <= kStations; ++station) {
                const std::int32_t node = NodeId(rib, station, lower);
                result.total.emplace_back(node, Length(inboard, bending.deflection));
                result.t1.emplace_back(node, 0.0);
                result.t2.emplace_back(node, inboard);
                result.t3.emplace_back(node, bending.deflection);
            }
        }
    }
    return result;
}

// The skins' stress in the middle of each panel.
Values StressesOf(const Case& loadCase) {
    Values values;
    for (int bay = 1; bay <= kBays; ++bay) {
        const double y = RibY(bay) + kRibPitch / 2;
        const double stress = kSkinModulus * loadCase.bendingAt(y).curvature * HalfDepthAt(y);
        for (int cell = 1; cell <= kCells; ++cell) {
            values.emplace_back(SkinPanelId(bay, cell), stress);
            values.emplace_back(SkinPanelId(bay, cell, true), stress);
        }
    }
    return values;
}

// The values lie under a number of their own, which the vector holds.
void PutVector(ModelWriter& model, std::int32_t set, VectorId id, const char* title,
               VectorKind kind, const Values& values) {
    const auto byValue = [](const auto& left, const auto& right) {
        return left.second < right.second;
    };
    const auto lowest = std::min_element(values.begin(), values.end(), byValue);
    const auto highest = std::max_element(values.begin(), values.end(), byValue);
    const double largest = std::max(std::abs(lowest->second), std::abs(highest->second));
    const std::int32_t dataKey = 100 * set + id;

    Record record(kOutputVector);
    record.I32(0, dataKey);
    if (id == kTotal) {
        record.I32(4, kT1, kT2, kT3);  // its components
    }
    record.I32(84, kind, kind == kDisplacements ? kNode : kElement);
    record.U8(92, id == kTotal ? 0 : 1, 0, 1);
    record.F64(96, largest, highest->second, lowest->second);
    record.I32(120, highest->first, lowest->first);
    model.PutUnder(set, id, record.Text(128, 32, title));
    for (const auto& [entity, value] : values) {
        model.PutUnder(dataKey, entity, Record(kOutputData).F64(0, value));
    }
}

}  // namespace

void PutResults(ModelWriter& model) {
    for (const Case& loadCase : kCases) {
        Record set(kOutputSet);
        set.I32(8, 1, 1).Text(16, 26, loadCase.title).Text(42, 262, loadCase.notes);
        model.Put(loadCase.set, set);

        const Displacements moved = DisplacementsOf(loadCase);
        PutVector(model, loadCase.set, kTotal, "Total displacement", kDisplacements, moved.total);
        PutVector(model, loadCase.set, kT1, "T1 displacement", kDisplacements, moved.t1);
        PutVector(model, loadCase.set, kT2, "T2 displacement", kDisplacements, moved.t2);
        PutVector(model, loadCase.set, kT3, "T3 displacement", kDisplacements, moved.t3);
        PutVector(model, loadCase.set, kVonMises, "Skin von Mises stress", kStresses,
                  StressesOf(loadCase));
    }
    model.SetActive(kOutputSet, kTipShear);
}

}  // namespace mod2neu::sample
