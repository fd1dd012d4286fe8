#pragma once

#include <cstdint>
#include <string>

#include "platform/file_services.h"

namespace mod2neu {

// Opens the model named by the session's ModelFileName through a working copy of its own. False
// when a database is open already or the model cannot be opened; except for a missing model the
// reason has been shown.
[[nodiscard]] bool OpenDatabase();

// Makes an empty model of the given version at the session's ModelFileName and opens that file
// itself, without a working copy; closing it leaves the finished model. An existing file is
// replaced. A failure has been shown.
[[nodiscard]] bool CreateDatabase(double version);

// Reads the header record from the open file into its declared place. A failure has been shown.
[[nodiscard]] bool ReadHeaderRecord();

bool IsDatabaseOpen();

// True when the open database works on a copy that the model does not depend on.
bool IsScratchCopy();

// The open database's header record, kHeaderRecordSize bytes; the copy in memory is the
// authoritative one.
std::uint8_t* HeaderRecord();

// Version of the database format and the model's title (at most 43 characters).
double DatabaseVersion();
std::string ModelTitle();

// ID of the active entity of `type`.
std::int32_t ActiveId(int type);

// Marks the database as closed; its file and memory are the caller's business.
void SetDatabaseClosed();

// Forgets the open database and all declarations the way the end of the process would: the file
// is closed as it stands, nothing is written or deleted. For tests that open many models.
void ResetDatabase();

}  // namespace mod2neu
