#pragma once

#include "support/model_builder.h"

namespace mod2neu {

// Parts of a model that can be left out.
enum ModelPart : unsigned {
    kFramePart = 1,  // coordinate systems, texts, variables, layers, stored texts
    kGeometryPart = 2,
    kSolidPart = 4,
    kIdListPart = 8,  // the lists of points, curves, surfaces and solids
    kMaterialPart = 16,
    kMeshPart = 32,
    kConstraintPart = 64,
    kLoadPart = 128,
    kGroupPart = 256,
    kViewPart = 512,
    kFunctionPart = 1024,
    kResultPart = 2048,
    kAllParts = 4095,
};

struct RichModelOptions {
    unsigned parts = kAllParts;
    int scale = 1;       // of the tables that take several blocks
    unsigned noise = 0;  // other than 0: fields that nothing depends on are random bytes
};

// A model with records of every kind that is read, in which every key leads to the table that it
// names: 60 to 70 data blocks at scale 1. Blocks lie in order, without free ones.
ModelBuilder RichModel(const RichModelOptions& options = {});

}  // namespace mod2neu
