#include "sample/model_writer.h"

#include <algorithm>

#include "database/database_file.h"
#include "database/flag_set.h"
#include "platform/little_endian.h"

namespace mod2neu::sample {

namespace {

// In the header record.
constexpr std::size_t kTitle = 464;
constexpr std::size_t kTitleWidth = 44;
constexpr std::size_t kActiveIds = 2748;  // one per entity type

}  // namespace

void ModelWriter::PutUnder(std::int32_t database, std::int32_t id, const Record& record) {
    if (!failure_.empty()) {
        return;
    }
    if (!record.Fits()) {
        Fail(record.Type(), database, id, "does not fit its record");
    } else if (!PutRecord(record.Type(), database, id, record.Bytes())) {
        Fail(record.Type(), database, id, "cannot be stored");
    }
}

void ModelWriter::PutFlags(EntityType setType, std::int32_t database,
                           std::initializer_list<IdRun> members) {
    for (const IdRun& run : members) {
        for (std::int32_t id = run.first; id <= run.last && failure_.empty(); ++id) {
            if (!SetFlag(setType, database, id)) {
                Fail(setType, database, id, "cannot be added to its set");
            }
        }
    }
}

void ModelWriter::PutIdList(EntityType listType, std::int32_t entity,
                            const std::vector<std::int32_t>& entries) {
    std::vector<std::int32_t> values{static_cast<std::int32_t>(entries.size())};
    values.insert(values.end(), entries.begin(), entries.end());
    const std::size_t perRecord =
        static_cast<std::size_t>(CatalogueRecordSize(listType)) / sizeof(std::int32_t);
    std::int32_t chunk = 1;
    for (std::size_t first = 0; first < values.size(); first += perRecord, ++chunk) {
        Record record(listType);
        const std::size_t end = std::min(values.size(), first + perRecord);
        for (std::size_t i = first; i < end; ++i) {
            record.I32((i - first) * sizeof(std::int32_t), values[i]);
        }
        PutUnder(chunk, entity, record);
    }
}

void ModelWriter::PutChunks(EntityType chunkType, std::int32_t database, std::string_view bytes,
                            std::size_t chunkSize) {
    std::int32_t id = 1;
    for (; !bytes.empty(); ++id) {
        const std::string_view chunk = bytes.substr(0, chunkSize);
        bytes.remove_prefix(chunk.size());
        PutUnder(database, id, Record(chunkType).I32(0, chunk.size()).Raw(4, chunk));
    }
}

void ModelWriter::SetTitle(std::string_view title) {
    title.copy(reinterpret_cast<char*>(HeaderRecord() + kTitle), kTitleWidth - 1);
}

void ModelWriter::SetActive(EntityType type, std::int32_t id) {
    WriteLittleEndian(HeaderRecord() + kActiveIds + sizeof(id) * type, id);
}

void ModelWriter::Fail(EntityType type, std::int32_t database, std::int32_t id,
                       const char* reason) {
    failure_ = "record " + std::to_string(id) + " of type " + std::to_string(type) +
               " under number " + std::to_string(database) + " " + reason;
}

}  // namespace mod2neu::sample
