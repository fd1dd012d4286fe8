#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

namespace mod2neu {

// Kind of a record, and of the block that holds such records.
enum EntityType : std::uint8_t {
    kNeverUsed = 0,
    kFreeBlock = 1,
    kIndexBlock = 2,
    kPoint = 3,
    kCurve = 4,
    kSurface = 5,
    kVolume = 6,
    kNode = 7,
    kElement = 8,
    kCoordSys = 9,
    kMaterial = 10,
    kProperty = 11,
    kLoadSet = 12,
    kLoad = 13,
    kExtendedLoad = 14,
    kNodalTemperature = 15,
    kElementTemperature = 16,
    kConstraintSet = 17,
    kNodalConstraint = 18,
    kGeometricConstraint = 19,
    kConstraintEquation = 20,
    kText = 21,
    kView = 22,
    kViewIdSet = 23,
    kGroup = 24,
    kGroupRule = 25,
    kGroupList = 26,
    kVariable = 27,
    kOutputSet = 28,
    kOutputVector = 29,
    kOutputData = 30,
    kOutputFormat = 31,
    kBoundary = 32,
    kLayer = 33,
    kMaterialFunctions = 34,
    kFunction = 35,
    kFunctionPoint = 36,
    kNodeListEntry = 37,
    kCurveAttributes = 38,
    kSolid = 39,
    kSolidTransmit = 40,
    kType45 = 45,
    kPointIdList = 49,
    kCurveIdList = 50,
    kSurfaceIdList = 51,
    kSolidIdList = 52,
    kSolidIndex = 53,
    kStoredText = 54,
    kCurveLocations = 55,
    kSurfaceList = 56,
    kLaminate = 57,
    kContactSegment = 58,
    kContactEntry = 59,
    kIdRange = 76,
    kTemporaryIdSet = 78,
};

constexpr int kEntityTypeCount = 112;
constexpr int kBlockHeaderSize = 84;
constexpr int kRecordAreaSize = 1964;
constexpr int kIndexEntrySize = 16;
constexpr int kHeaderRecordSize = 4816;

// One declared record type: the size of its records is part of the file format.
struct CatalogueRow {
    std::uint8_t type;
    std::int16_t recordSize;
    const char* displayName;  // at most 19 characters; empty for types the user never sees
};

// Every record type of a model database, in the order in which they are declared.
constexpr auto kCatalogue = std::to_array<CatalogueRow>({
    {kPoint, 80, "Point"},
    {kCurve, 168, "Curve"},
    {kSurface, 104, "Surface"},
    {kVolume, 68, "Volume"},
    {kNode, 72, "Node"},
    {kElement, 232, "Element"},
    {kCoordSys, 200, "Coordinate System"},
    {kMaterial, 1960, "Material"},
    {kProperty, 1944, "Property"},
    {kLoadSet, 576, "Load Set"},
    {kLoad, 144, "Load"},
    {kExtendedLoad, 528, "Load"},
    {kNodalTemperature, 32, "Nodal Temperature"},
    {kElementTemperature, 32, "Element Temperature"},
    {kConstraintSet, 40, "Constraint Set"},
    {kNodalConstraint, 16, "Constraint"},
    {kGeometricConstraint, 24, "Constraint"},
    {kConstraintEquation, 920, "Constraint Equation"},
    {kText, 336, "Text"},
    {kView, 1480, "View"},
    {kViewIdSet, 4, ""},
    {kGroup, 840, "Group"},
    {kGroupRule, 16, "Group Rule"},
    {kGroupList, 4, "Group List"},
    {kVariable, 192, "Variable"},
    {kOutputSet, 304, "Output Set"},
    {kOutputVector, 160, "Output Vector"},
    {kOutputData, 8, "Output Data"},
    {kOutputFormat, 968, "Output Format"},
    {kBoundary, 840, "Boundary"},
    {kLayer, 36, "Layer"},
    {kMaterialFunctions, 240, ""},
    {kFunction, 56, "Function"},
    {kFunctionPoint, 16, ""},
    {kNodeListEntry, 24, ""},
    {kCurveAttributes, 1880, ""},
    {kSolid, 44, "Solid"},
    {kSolidTransmit, 1964, ""},
    {41, 664, ""},
    {42, 48, ""},
    {43, 16, ""},
    {44, 72, ""},
    {kType45, 88, ""},
    {46, 16, ""},
    {47, 16, ""},
    {48, 16, ""},
    {kPointIdList, 20, ""},
    {kCurveIdList, 140, ""},
    {kSurfaceIdList, 140, ""},
    {kSolidIdList, 140, ""},
    {kSolidIndex, 8, "Solid/Volume"},
    {kStoredText, 1964, ""},
    {kCurveLocations, 1920, ""},
    {kSurfaceList, 600, ""},
    {kLaminate, 1928, ""},
    {kContactSegment, 104, "Contact Segment"},
    {kContactEntry, 16, ""},
    {60, 104, ""},
    {61, 24, ""},
    {62, 24, ""},
    {63, 28, ""},
    {64, 104, ""},
    {65, 12, ""},
    {66, 8, ""},
    {67, 1, ""},
    {68, 16, ""},
    {69, 56, ""},
    {70, 4, ""},
    {71, 48, ""},
    {72, 16, ""},
    {73, 224, ""},
    {74, 32, ""},
    {75, 8, ""},
    {kIdRange, 16, ""},
    {77, 16, ""},
    {kTemporaryIdSet, 4, ""},
    {79, 28, ""},
    {80, 64, ""},
    {81, 436, ""},
    {82, 32, ""},
    {83, 8, ""},
    {84, 80, ""},
    {85, 160, ""},
    {86, 16, ""},
    {87, 60, ""},
    {88, 8, ""},
    {89, 4, ""},
    {90, 4, ""},
    {91, 88, ""},
    {92, 20, ""},
    {93, 164, ""},
    {94, 56, ""},
    {95, 4, ""},
    {96, 4, ""},
    {97, 8, ""},
    {98, 240, ""},
    {99, 24, ""},
    {100, 96, ""},
    {101, 4, ""},
    {102, 64, ""},
    {103, 16, ""},
    {104, 16, ""},
    {105, 16, ""},
    {106, 16, ""},
    {107, 16, ""},
    {108, 16, ""},
    {109, 16, ""},
    {110, 16, ""},
    {111, 16, ""},
});

// Size in bytes of the records of `type` by the catalogue, 0 for a code that is none. For use at
// compile time.
constexpr int CatalogueRecordSize(int type) {
    for (const CatalogueRow& row : kCatalogue) {
        if (row.type == type) {
            return row.recordSize;
        }
    }
    return 0;
}

// At most 511 although the existence bitmap has 512 bits.
constexpr int RecordsPerBlockOf(int recordSize) {
    return recordSize > 0 ? std::min(511, kRecordAreaSize / recordSize) : 0;
}

// Codes of DeclareEntityType that are no record tables.
constexpr int kDeclareHeaderRecord = -1;
constexpr int kDeclareIndexFinger = -2;
constexpr int kDeclareGenerationStamp = -3;

// For `code` 0 to 111 sets the record size in bytes and, from it, the records per block; for the
// three negative codes records the place of the header record (with its size), of the index
// fingers and of the generation stamp. The caller keeps ownership of `place`.
void DeclareEntityType(int code, int recordSize, void* place = nullptr);

// Declares the header record with its places and every row of kCatalogue.
void DeclareCatalogue();

// Fills the display names; they are empty before.
void LoadEntityTypeNames();

// Declared size in bytes, 0 when `code` is not declared.
int EntityRecordSize(int code);

// 0 when `code` is not declared.
int EntityRecordsPerBlock(int code);

// Empty for a type without a name and for codes outside 0 to 111.
const std::string& EntityTypeName(int code);

// The place declared with one of the three negative codes; nullptr before.
std::uint8_t* DeclaredPlace(int code);

// Bytes of the header record as declared; 0 before.
int DeclaredHeaderSize();

// Forgets all declarations and names.
void ResetCatalogue();

}  // namespace mod2neu
