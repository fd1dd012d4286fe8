#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/file_services.h"

namespace mod2neu {

// The one file that the open database works on: the model's working copy, or the model itself
// when a model is being made.

// Takes over `file`, which is open for reading and writing and held exclusively.
void AttachWorkingFile(FileHandle file, const std::string& path);

// Bytes read from the beginning of `block`, short only at the end of the file; -1 on failure.
std::int64_t ReadWorkingFile(std::uint32_t block, std::uint8_t* buffer, std::size_t size);

// The host's text for the first read that failed since the file was attached; empty when none did.
// What a record search could not read it takes as not there, so this tells whether it was.
const std::string& WorkingFileReadFailure();

// False when not everything could be written.
bool WriteWorkingFile(std::uint32_t block, const void* data, std::size_t size);

// Bytes; -1 on failure.
std::int64_t WorkingFileSize();

// Empty until a file is attached.
const std::string& WorkingFilePath();

// Closes the file; its path stays known. True when nothing was open.
bool CloseWorkingFile();

// Opens the file again as it was open before.
bool ReopenWorkingFile();

// The mode in which a working file is held open.
OpenMode WorkingFileMode(FileAccess access);

}  // namespace mod2neu
