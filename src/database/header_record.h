#pragma once

#include <cstdint>

namespace mod2neu {

// Access to the header record by its declared places (DeclareEntityType).

// True when the header record, the index fingers and the generation stamp have been declared.
bool IsHeaderDeclared();

// Block number of the index entry at which the next search for `kind` starts; 0 when the kind
// has no blocks.
std::uint32_t IndexFinger(int kind);
void SetIndexFinger(int kind, std::uint32_t block);

// Goes into the stamp of every block that is changed.
std::uint32_t GenerationStamp();
void SetGenerationStamp(std::uint32_t stamp);

// One of the per-type tables, by its offset in the header record.
std::int32_t HeaderTableValue(int table, int type);
void SetHeaderTableValue(int table, int type, std::int32_t value);

// An empty model's header record of the given version: no blocks, no IDs in use.
void InitHeaderRecord(double version);

}  // namespace mod2neu
