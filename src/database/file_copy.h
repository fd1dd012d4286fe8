#pragma once

#include <string>

#include "platform/file_services.h"

namespace mod2neu {

// Opens the file to be copied, for reading and shared with others. kNoFile on failure, which has
// been shown.
FileHandle OpenCopySource(const std::string& path);

// Copies the whole source into the destination. A handle greater than 0 is used from where it
// stands and left open, with its path for messages only; otherwise the file is opened by its path
// (the destination created, or emptied) and closed at the end. A failure has been shown, except
// that of memory for the transfer.
[[nodiscard]] bool CopyFileContents(const std::string& sourcePath,
                                    const std::string& destinationPath, FileHandle source = kNoFile,
                                    FileHandle destination = kNoFile);

}  // namespace mod2neu
