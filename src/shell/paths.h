#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/file_services.h"

namespace mod2neu {

// The longest path in characters, and the longest that the existence, deletion, size and copy
// operations accept.
constexpr std::size_t kMaxPath = 259;
constexpr std::size_t kMaxTestedPath = 127;

// True for the backslash and the slash.
bool IsSeparator(char c);

// Removes white space at both ends; a text of nothing but white space is left alone.
void TrimBlanks(std::string& text);

// "D:model.mod" becomes "D:.\model.mod"; paths with a separator behind the colon stay.
void FixDriveRelative(std::string& path);

// Position of the extension's point: the first point after the last separator; npos without one.
std::size_t FindExtension(const std::string& path);

// The last component of the path, extension included.
std::string FileNameOf(const std::string& path);

// Trims `path` and gives it the extension `ext` (with its point): appended when it has none,
// exchanged when `replace` is set. Cut to kMaxPath characters.
void SetDefaultExtension(std::string& path, const std::string& ext, bool replace);

// Puts a name without drive and directory into `directory`, unless that is empty.
void QualifyWithDirectory(std::string& path, const std::string& directory);

// Puts the path's file name into `directory`; with an empty one only the file name remains.
void ReplaceDirectory(std::string& path, const std::string& directory);

void FullPathOf(std::string& path);

// True when the file exists and can be opened. Otherwise `sharingViolation`, when given, tells
// whether another program holds it; `fullPath`, when given, receives its absolute path in both
// cases. A path of more than kMaxTestedPath characters does not exist.
bool FileExists(const std::string& path, bool* sharingViolation = nullptr,
                std::string* fullPath = nullptr);

// False when the file is missing, held by somebody, or its path too long.
bool DeleteFileByName(const std::string& path);

// Bytes; -1 when the file cannot be opened.
std::int64_t FileSizeOf(const std::string& path);

// Creates a temporary file (FileServices::MakeTempFile) and gives its absolute path in `name`.
// Returns the number in its name, 0 on failure.
unsigned MakeTempFileName(const std::string& directory, const std::string& prefix, unsigned unique,
                          std::string& name);

// Opens an existing file for reading, or creates one for reading and writing. kNoFile on failure.
FileHandle OpenRawFile(const std::string& path, bool write, bool random);

// The host's text for the last failed file call, at most 159 characters.
std::string SystemErrorText();

bool IsBlank(const std::string& text);

// At most `capacity` - 1 characters of `source`.
std::string CopyBounded(const std::string& source, std::size_t capacity);

}  // namespace mod2neu
