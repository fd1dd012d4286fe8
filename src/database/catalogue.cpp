#include "database/catalogue.h"

#include "database/block_format.h"
#include "database/database_file.h"

namespace mod2neu {

namespace {

constexpr std::size_t kMaxNameLength = 19;
constexpr int kDeclaredPlaces = 3;

struct CatalogueState {
    std::array<int, kEntityTypeCount> recordSize{};
    std::array<int, kEntityTypeCount> recordsPerBlock{};
    std::array<std::string, kEntityTypeCount> names;
    std::array<void*, kDeclaredPlaces> places{};
    int headerSize = 0;
};

CatalogueState catalogue;

bool IsTypeCode(int code) {
    return code >= 0 && code < kEntityTypeCount;
}

}  // namespace

void DeclareEntityType(int code, int recordSize, void* place) {
    if (IsTypeCode(code)) {
        const auto type = static_cast<std::size_t>(code);
        catalogue.recordSize[type] = recordSize;
        catalogue.recordsPerBlock[type] = RecordsPerBlockOf(recordSize);
    } else if (code < 0 && code >= -kDeclaredPlaces) {
        catalogue.places[static_cast<std::size_t>(-code - 1)] = place;
        if (code == kDeclareHeaderRecord) {
            catalogue.headerSize = recordSize;
        }
    }
}

void DeclareCatalogue() {
    std::uint8_t* header = HeaderRecord();
    DeclareEntityType(kDeclareHeaderRecord, kHeaderRecordSize, header);
    DeclareEntityType(kDeclareIndexFinger, 0, header + kHeaderFingers);
    DeclareEntityType(kDeclareGenerationStamp, 0, header + kHeaderGenerationStamp);
    for (const CatalogueRow& row : kCatalogue) {
        DeclareEntityType(row.type, row.recordSize);
    }
}

void LoadEntityTypeNames() {
    for (const CatalogueRow& row : kCatalogue) {
        catalogue.names[row.type] = std::string(row.displayName).substr(0, kMaxNameLength);
    }
}

int EntityRecordSize(int code) {
    return IsTypeCode(code) ? catalogue.recordSize[static_cast<std::size_t>(code)] : 0;
}

int EntityRecordsPerBlock(int code) {
    return IsTypeCode(code) ? catalogue.recordsPerBlock[static_cast<std::size_t>(code)] : 0;
}

const std::string& EntityTypeName(int code) {
    static const std::string noName;
    return IsTypeCode(code) ? catalogue.names[static_cast<std::size_t>(code)] : noName;
}

std::uint8_t* DeclaredPlace(int code) {
    return static_cast<std::uint8_t*>(catalogue.places[static_cast<std::size_t>(-code - 1)]);
}

int DeclaredHeaderSize() {
    return catalogue.headerSize;
}

void ResetCatalogue() {
    catalogue = {};
}

}  // namespace mod2neu
