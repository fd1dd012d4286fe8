#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace mod2neu {

// Names an open file; greater than 0 when open.
using FileHandle = int;
constexpr FileHandle kNoFile = -1;

// Error code of a file that somebody else holds in a way that excludes the wanted access.
constexpr int kSharingViolation = 32;

enum class FileAccess {
    kRead,       // an existing regular file, for reading
    kReadWrite,  // an existing regular file, for both
    kCreate,     // for both; created, or emptied once the lock is held
    kOverwrite,  // for writing; created, or emptied once the lock is held, if locks there are
};

constexpr bool Creates(FileAccess access) {
    return access == FileAccess::kCreate || access == FileAccess::kOverwrite;
}

enum class FileSharing {
    kShared,     // others may hold the file shared, nobody exclusively
    kExclusive,  // nobody else may hold the file at all
};

enum class AccessPattern { kSequential, kRandom };

struct OpenMode {
    FileAccess access = FileAccess::kRead;
    FileSharing sharing = FileSharing::kShared;
    AccessPattern pattern = AccessPattern::kSequential;
    // For kCreate: owner-only permission, never through a symbolic link, and an existing file is
    // taken over only when it is a regular file with one link that belongs to this user.
    bool ownerOnly = false;
};

enum class SeekOrigin { kBegin, kEnd };

// The host's files, as the program needs them. Paths may use the backslash or the slash as
// separator. Locks are advisory, whole-file, and never waited for. Every call that fails leaves
// its reason in LastError; one that succeeds leaves LastError alone.
class FileServices {
  public:
    FileServices() = default;
    FileServices(const FileServices&) = delete;
    FileServices& operator=(const FileServices&) = delete;
    virtual ~FileServices() = default;

    // True when `path` names a regular file that can be opened shared for reading at this moment.
    // False with kSharingViolation when it exists but is held exclusively.
    virtual bool Exists(const std::string& path) = 0;

    // kNoFile on failure. The caller closes the handle.
    virtual FileHandle Open(const std::string& path, const OpenMode& mode) = 0;

    // Bytes read, short only at the end of the file; -1 on failure.
    virtual std::int64_t Read(FileHandle file, void* buffer, std::size_t size) = 0;

    // The same from `offset` bytes behind the beginning; the position stays where it is.
    virtual std::int64_t ReadAt(FileHandle file, std::int64_t offset, void* buffer,
                                std::size_t size) = 0;

    // Bytes written; fewer than `size` means failure. -1 when none could be written.
    virtual std::int64_t Write(FileHandle file, const void* data, std::size_t size) = 0;

    // Copies up to `size` bytes from the one file's position to the other's without taking them
    // through the program; both positions move on. Bytes copied; 0 at the end of `from`; -1 when
    // the host has no such way between these files or it failed, which reading and writing will
    // tell apart. LastError stays as it was.
    virtual std::int64_t CopyRange(FileHandle from, FileHandle to, std::size_t size) = 0;

    // The new position in bytes from the beginning; -1 on failure.
    virtual std::int64_t Seek(FileHandle file, std::int64_t offset, SeekOrigin origin) = 0;

    // Size in bytes; -1 on failure.
    virtual std::int64_t Size(FileHandle file) = 0;

    // False when the host reports that written data was lost; the handle is gone in any case.
    virtual bool Close(FileHandle file) = 0;

    // Deletes a file that nobody else holds.
    virtual bool Delete(const std::string& path) = 0;

    // True when both paths lead to one existing file, through whatever links.
    virtual bool SameFile(const std::string& first, const std::string& second) = 0;

    // Absolute form of `path` relative to the current directory; the file need not exist.
    virtual std::string FullPath(const std::string& path) = 0;

    // TEMP, else TMPDIR, else empty.
    virtual std::string TempDirectory() = 0;

    // Creates an empty owner-only file with a name that nobody used: `directory` (TempDirectory
    // when empty, else /tmp), the prefix's first three characters, a hexadecimal number and
    // ".TMP". With `unique` other than 0 that number is used and nothing is created. Returns the
    // number used, 0 on failure.
    virtual unsigned MakeTempFile(const std::string& directory, const std::string& prefix,
                                  unsigned unique, std::string* name) = 0;

    // Reason of this services' last failure: kSharingViolation, else the host's error number.
    virtual int LastError() = 0;

    // The host's text for LastError.
    virtual std::string LastErrorText() = 0;
};

// The services in use: the host's until a test replaces them.
FileServices& Files();

// Makes `services` the ones in use and returns the previous ones; nullptr restores the host's.
// The caller keeps ownership.
FileServices* SetFileServices(FileServices* services);

// Closes its file when it goes out of scope.
class ScopedFile {
  public:
    explicit ScopedFile(FileHandle file = kNoFile) : file_(file) {}
    ScopedFile(const ScopedFile&) = delete;
    ScopedFile& operator=(const ScopedFile&) = delete;
    ~ScopedFile() { Close(); }

    [[nodiscard]] bool IsOpen() const { return file_ > 0; }
    [[nodiscard]] FileHandle Get() const { return file_; }

    // Closes the held file, if any, and holds `file` instead.
    void Reset(FileHandle file) {
        Close();
        file_ = file;
    }

    // Hands the open file over to the caller.
    [[nodiscard]] FileHandle Release() {
        const FileHandle file = file_;
        file_ = kNoFile;
        return file;
    }

    // True when nothing was open or the close succeeded.
    bool Close() {
        const FileHandle file = Release();
        return file <= 0 || Files().Close(file);
    }

  private:
    FileHandle file_;
};

}  // namespace mod2neu
