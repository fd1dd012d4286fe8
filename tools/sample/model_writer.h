#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "database/catalogue.h"
#include "database/record_access.h"
#include "sample/record.h"

namespace mod2neu::sample {

// A run of consecutive IDs.
struct IdRun {
    std::int32_t first;
    std::int32_t last;
};

// Stores records in the open database. The first failure is kept and makes every later call do
// nothing, so that the builders need not test each record.
class ModelWriter {
  public:
    // Under the open model's own database number.
    void Put(std::int32_t id, const Record& record) { PutUnder(kModelDbNumber, id, record); }

    // Under the database number of a dependent table.
    void PutUnder(std::int32_t database, std::int32_t id, const Record& record);

    void PutFlags(EntityType setType, std::int32_t database, std::initializer_list<IdRun> members);

    // The ID list of a geometric entity. An entry -b stands for all IDs from the entry before it
    // up to b.
    void PutIdList(EntityType listType, std::int32_t entity,
                   const std::vector<std::int32_t>& entries);

    // Bytes cut into chunk records of `chunkSize` bytes each, the last one shorter.
    void PutChunks(EntityType chunkType, std::int32_t database, std::string_view bytes,
                   std::size_t chunkSize);

    // In the header record.
    void SetTitle(std::string_view title);
    void SetActive(EntityType type, std::int32_t id);

    // Empty while everything has been stored.
    [[nodiscard]] const std::string& Failure() const { return failure_; }

  private:
    void Fail(EntityType type, std::int32_t database, std::int32_t id, const char* reason);

    std::string failure_;
};

}  // namespace mod2neu::sample
