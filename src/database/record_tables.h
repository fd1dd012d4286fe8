#pragma once

#include <cstdint>

#include "database/catalogue.h"

namespace mod2neu {

// Keep the header record's per-type numbers (highest, lowest, active and next free ID, record
// count) after a record of the open model has been stored or removed.
void NoteRecordStored(EntityType type, std::int32_t id, bool created);
void NoteRecordRemoved(EntityType type, std::int32_t id);

}  // namespace mod2neu
