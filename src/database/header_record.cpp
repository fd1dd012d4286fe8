#include "database/header_record.h"

#include <cstring>

#include "database/block_format.h"
#include "database/database_file.h"
#include "database/record_access.h"

namespace mod2neu {

namespace {

alignas(double) std::uint8_t headerRecord[kHeaderRecordSize];

std::uint8_t* TableEntry(int table, int type) {
    return DeclaredPlace(kDeclareHeaderRecord) + table + std::ptrdiff_t{4} * type;
}

std::uint8_t* FingerEntry(int kind) {
    return DeclaredPlace(kDeclareIndexFinger) + std::ptrdiff_t{4} * kind;
}

}  // namespace

std::uint8_t* HeaderRecord() {
    return headerRecord;
}

double DatabaseVersion() {
    return ReadLittleEndian<double>(headerRecord + kHeaderVersion);
}

std::string ModelTitle() {
    const auto* title = reinterpret_cast<const char*>(headerRecord + kHeaderTitle);
    return {title, strnlen(title, kHeaderTitleSize - 1)};
}

std::int32_t ActiveId(int type) {
    return type >= 0 && type < kEntityTypeCount
               ? ReadLittleEndian<std::int32_t>(headerRecord + kHeaderActiveId +
                                                std::ptrdiff_t{4} * type)
               : 0;
}

bool IsHeaderDeclared() {
    return DeclaredPlace(kDeclareHeaderRecord) != nullptr && DeclaredHeaderSize() > 0 &&
           DeclaredPlace(kDeclareIndexFinger) != nullptr &&
           DeclaredPlace(kDeclareGenerationStamp) != nullptr;
}

std::uint32_t IndexFinger(int kind) {
    return ReadLittleEndian<std::uint32_t>(FingerEntry(kind));
}

void SetIndexFinger(int kind, std::uint32_t block) {
    WriteLittleEndian(FingerEntry(kind), block);
}

std::uint32_t GenerationStamp() {
    return ReadLittleEndian<std::uint32_t>(DeclaredPlace(kDeclareGenerationStamp));
}

void SetGenerationStamp(std::uint32_t stamp) {
    WriteLittleEndian(DeclaredPlace(kDeclareGenerationStamp), stamp);
}

std::int32_t HeaderTableValue(int table, int type) {
    return ReadLittleEndian<std::int32_t>(TableEntry(table, type));
}

void SetHeaderTableValue(int table, int type, std::int32_t value) {
    WriteLittleEndian(TableEntry(table, type), value);
}

void InitHeaderRecord(double version) {
    std::memset(headerRecord, 0, sizeof headerRecord);
    WriteLittleEndian(headerRecord + kHeaderVersion, version);
    for (int type = 0; type < kEntityTypeCount; ++type) {
        WriteLittleEndian(headerRecord + kHeaderLowestId + std::ptrdiff_t{4} * type, kNoId);
        WriteLittleEndian(headerRecord + kHeaderIdStep + std::ptrdiff_t{4} * type, std::int32_t{1});
        WriteLittleEndian(headerRecord + kHeaderNextFreeId + std::ptrdiff_t{4} * type,
                          std::int32_t{1});
    }
}

}  // namespace mod2neu
