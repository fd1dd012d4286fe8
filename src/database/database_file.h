#pragma once

#include <cstdint>
#include <string>

#include "platform/file_services.h"

namespace mod2neu {

// Opens the model named by the session's ModelFileName through a working copy of its own. False
// when a database is open already or the model cannot be opened; except for a missing model the
// reason has been shown.
[[nodiscard]] bool OpenDatabase();

// The open database's header record, kHeaderRecordSize bytes; the copy in memory is the
// authoritative one.
std::uint8_t* HeaderRecord();

// Version of the database format and the model's title (at most 43 characters).
double DatabaseVersion();
std::string ModelTitle();

// ID of the active entity of `type`.
std::int32_t ActiveId(int type);

}  // namespace mod2neu
