#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "database/catalogue.h"

namespace mod2neu {

// Records of one type and database number whose IDs start at 1 and lie `step` apart.
struct ModelTable {
    EntityType type;
    std::int32_t database;
    std::int32_t count;
    std::int32_t step;
    // Sets the fields of a record, whose bytes are zero.
    void (*fill)(std::int32_t database, std::int32_t id, std::uint8_t* record);
};

enum class BlockOrder {
    kSorted,    // ascending by type and key, as a modeller leaves a new model
    kShuffled,  // random, as years of deleting and creating leave one
};

// Writes a model file with the tables, which ascend by type and database number; one whose type
// has no records is left out. The file is never in memory: a block is made when its place is due.
// False when writing fails.
[[nodiscard]] bool WriteModel(const std::string& path, const std::vector<ModelTable>& tables,
                              BlockOrder order);

}  // namespace mod2neu
