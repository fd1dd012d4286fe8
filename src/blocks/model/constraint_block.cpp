#include <initializer_list>

#include "blocks/block_writers.h"
#include "blocks/entity_block.h"

namespace mod2neu {

namespace {

// clang-format off
constexpr auto kSetLines = Lines<kConstraintSet>(
    Id(), EndOfLine(),
    Text(8, 32), EndOfLine());
// clang-format on

// Colour, layer, six degrees of freedom and a flag stand alike in both kinds of constraint.
constexpr auto kConstraintFields = Fields(U16(8), I32(12), Bool(0, 6), Bool(6), EndOfLine());
constexpr auto kNodalLine = Lines<kNodalConstraint>(Id(), kConstraintFields);
constexpr auto kGeometricLine = Lines<kGeometricConstraint>(I32(16), kConstraintFields);
constexpr auto kConstraintsEnd = Lines<kNodalConstraint>(Const(-1, 3), Const(0, 7), EndOfLine());

// EntityType of the point, curve or surface that a geometric constraint holds.
constexpr Field kConstrainedType = I32(20);

// clang-format off
constexpr auto kEquationLine = Lines<kConstraintEquation>(
    Id(), U16(910), I32(912), EndOfLine());  // colour, layer
constexpr auto kEquationsEnd = Lines<kConstraintEquation>(Const(-1, 3), EndOfLine());
// clang-format on

// The terms of an equation: three parallel arrays, a term being in use when its node is not 0.
constexpr int kTerms = 70;
constexpr Field kCoefficient = F64(0, kTerms);
constexpr Field kNodeId = I32(560, kTerms);
constexpr Field kFreedom = I8(840, kTerms);

void WriteConstraintsEnd() {
    WriteLines<kConstraintsEnd>(Record<kNodalConstraint>(0, nullptr));
}

void WriteGeometricConstraints(std::int32_t setId, EntityType constrained) {
    ForEachRecord<kGeometricConstraint>(setId, [&](const Record<kGeometricConstraint>& record) {
        if (record.Value<kConstrainedType>() == constrained) {
            WriteLines<kGeometricLine>(record);
        }
    });
    WriteConstraintsEnd();
}

void WriteEquation(const Record<kConstraintEquation>& equation) {
    int used = 0;
    for (int i = 0; i < kTerms; ++i) {
        used += equation.Value<kNodeId>(i) != 0 ? 1 : 0;
    }
    WriteLines<kEquationLine>(equation);
    PutLong(used);
    EndLine();
    for (int i = 0; i < kTerms; ++i) {
        if (equation.Value<kNodeId>(i) != 0) {
            PutLong(equation.Value<kNodeId>(i));
            PutLong(equation.Value<kFreedom>(i));
            PutReal(equation.Value<kCoefficient>(i));
            EndLine();
        }
    }
}

void WriteConstraintSet(const Record<kConstraintSet>& set) {
    WriteLines<kSetLines>(set);
    WriteTable<kNodalLine, kConstraintsEnd>(set.Id());
    for (const EntityType constrained : {kPoint, kCurve, kSurface}) {
        WriteGeometricConstraints(set.Id(), constrained);
    }
    ForEachRecord<kConstraintEquation>(set.Id(), WriteEquation);
    WriteLines<kEquationsEnd>(Record<kConstraintEquation>(0, nullptr));
}

}  // namespace

void WriteConstraintBlock() {
    WriteEntityBlock<kConstraintSet>(kConstraintBlock, WriteConstraintSet);
}

}  // namespace mod2neu
