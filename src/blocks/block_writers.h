#pragma once

#include <cstdint>

namespace mod2neu {

// Numbers of the blocks of a Neutral file.
enum NeutralBlock : std::int32_t {
    kHeaderBlock = 100,
    kPropertyBlock = 402,
    kNodeBlock = 403,
    kElementBlock = 404,
    kCoordSysBlock = 405,
    kGroupBlock = 408,
    kViewBlock = 409,
    kVariableBlock = 410,
    kOutputFormatBlock = 411,
    kHeaderValuesBlock = 412,
    kLayerBlock = 413,
    kFunctionBlock = 420,
    kOutputSetBlock = 450,
    kOutputDataBlock = 451,
    kTextBlock = 475,
    kConstraintBlock = 506,
    kLoadBlock = 507,
    kGeometryListBlock = 514,
    kType45Block = 521,
    kStoredTextBlock = 540,
    kPointBlock = 570,
    kCurveBlock = 571,
    kSurfaceBlock = 572,
    kSolidBlock = 573,
    kMaterialBlock = 601,
    kContactSegmentBlock = 615,
};

// Each writes the whole block of its kind from the open database into the open Neutral stream,
// also when the model has nothing for it, and reports the number of entities in it.
void WriteCoordSysBlock();
void WriteTextBlock();
void WriteVariableBlock();
void WriteLayerBlock();
void WritePointBlock();
void WriteCurveBlock();
void WriteSurfaceBlock();
void WriteSolidBlock();
void WriteMaterialBlock();
void WritePropertyBlock();
void WriteNodeBlock();
void WriteElementBlock();
void WriteContactSegmentBlock();
void WriteConstraintBlock();
void WriteLoadBlock();
void WriteGroupBlock();
void WriteViewBlock();
void WriteOutputFormatBlock();
void WriteFunctionBlock();
void WriteOutputSetBlock();
void WriteOutputDataBlock();

// These report no number, and the last two write nothing when the model has nothing for them.
void WriteGeometryListBlock();
void WriteHeaderValuesBlock();
void WriteType45Block();
void WriteStoredTextBlocks();

}  // namespace mod2neu
