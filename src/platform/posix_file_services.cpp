#include "platform/posix_file_services.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "platform/posix_paths.h"

namespace mod2neu {

namespace {

constexpr int kCommonFlags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
constexpr int kFirstHandle = 3;   // above the standard streams, even when these are closed
constexpr int kOpenAttempts = 8;  // against a path that others keep deleting and creating
constexpr int kTempAttempts = 1000;
constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;
constexpr mode_t kOthers = S_IRWXG | S_IRWXO;
constexpr mode_t kAnybody = 0666;  // less the umask

// Repeats an interrupted call. Not for close, after which the descriptor is gone in any case.
template <typename Call>
auto Retry(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR) {
        result = call();
    }
    return result;
}

// Repeats `readSome`, which continues behind what was read before, until the buffer is full or the
// file ends. The number of bytes; -1, with the reason in errno, on failure.
template <typename ReadSome>
std::int64_t ReadFully(void* buffer, std::size_t size, ReadSome readSome) {
    auto* const bytes = static_cast<char*>(buffer);
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = Retry([&] { return readSome(bytes + done, size - done, done); });
        if (count < 0) {
            return -1;
        }
        if (count == 0) {
            break;
        }
        done += static_cast<std::size_t>(count);
    }
    return static_cast<std::int64_t>(done);
}

// The two forms of strerror_r: one returns the text, the other fills the buffer.
[[maybe_unused]] const char* TextOf(const char* result, const char* /*buffer*/) {
    return result;
}
[[maybe_unused]] const char* TextOf(int result, const char* buffer) {
    return result == 0 ? buffer : "Unknown error";
}

std::string HostText(int error) {
    std::array<char, 160> buffer{};
    return TextOf(::strerror_r(error, buffer.data(), buffer.size()), buffer.data());
}

bool IsSameInode(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

int AccessFlags(FileAccess access) {
    switch (access) {
        case FileAccess::kRead:
            return O_RDONLY;
        case FileAccess::kOverwrite:
            return O_WRONLY;
        default:
            return O_RDWR;
    }
}

bool LocksUnsupported(int error) {
    return error == ENOLCK || error == EOPNOTSUPP || error == ENOSYS;
}

std::string Environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

unsigned FirstUnique() {
    const auto ticks = std::chrono::system_clock::now().time_since_epoch().count();
    return static_cast<unsigned>(ticks) ^ (static_cast<unsigned>(::getpid()) << 16U);
}

}  // namespace

// What has to hold of a file before it is handed out.
struct PosixFileServices::OpenPlan {
    int flags = 0;
    FileSharing sharing = FileSharing::kShared;
    bool create = false;
    bool ownerOnly = false;
    bool followLinks = true;
    bool lockOptional = false;
    bool anyCase = false;  // a name that differs in case alone will do
};

// Closes on the way out of a failed open, leaving errno alone.
class PosixFileServices::Descriptor {
  public:
    Descriptor(const PosixCalls& calls, int fd) : calls_(calls), fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept
        : calls_(other.calls_), fd_(std::exchange(other.fd_, kNoFile)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor& operator=(Descriptor&&) = delete;
    ~Descriptor() {
        if (IsOpen()) {
            const int error = errno;
            calls_.close(fd_);
            errno = error;
        }
    }
    [[nodiscard]] bool IsOpen() const { return fd_ >= 0; }
    [[nodiscard]] int Get() const { return fd_; }
    int Release() { return std::exchange(fd_, kNoFile); }

  private:
    const PosixCalls& calls_;
    int fd_;
};

bool PosixFileServices::Fail(int code, const char* text) {
    lastError_ = code;
    lastErrorText_ = text;
    return false;
}

bool PosixFileServices::FailWithErrno() {
    const int error = errno;
    if (error == EWOULDBLOCK) {
        return Fail(kSharingViolation, "The file is in use by another process");
    }
    // The host's number for a broken pipe is the sharing violation's code.
    return Fail(error == EPIPE ? EIO : error);
}

// The result of a call that reports a failure by a negative one.
std::int64_t PosixFileServices::OrFail(std::int64_t result) {
    if (result < 0) {
        FailWithErrno();
    }
    return result;
}

// Opens without letting the file take the place of a closed standard stream, where the next
// diagnostic would be written into it.
int PosixFileServices::OpenAbove(const std::string& path, int flags, unsigned mode) {
    const int fd =
        Retry([&] { return calls_.open(path.c_str(), flags | kCommonFlags, mode_t{mode}); });
    if (fd < 0 || fd >= kFirstHandle) {
        return fd;
    }
    const Descriptor low(calls_, fd);
    return Retry([&] { return calls_.control(fd, F_DUPFD_CLOEXEC, kFirstHandle); });
}

int PosixFileServices::OpenExisting(std::string& path, const OpenPlan& plan) {
    const int fd = OpenAbove(path, plan.flags, 0);
    if (fd >= 0 || errno != ENOENT || !plan.anyCase) {
        return fd;
    }
    std::optional<std::string> match = MatchWithoutCase(path);
    if (!match) {
        errno = ENOENT;
        return kNoFile;
    }
    path = std::move(*match);
    return OpenAbove(path, plan.flags, 0);
}

// A new file, or one that is ours alone. Looks before it opens: opening a device can have effects.
int PosixFileServices::OpenOwnerOnly(const std::string& path, const OpenPlan& plan) {
    const int fd = OpenAbove(path, plan.flags | O_CREAT | O_EXCL, kOwnerOnly);
    if (fd >= 0 || errno != EEXIST) {
        if (fd < 0) {
            FailWithErrno();
        }
        return fd;
    }
    struct stat status {};
    if (Retry([&] { return calls_.statusOfLink(path.c_str(), &status); }) != 0) {
        FailWithErrno();
        return kNoFile;
    }
    if (!MayUse(status, plan)) {
        return kNoFile;
    }
    const int existing = OpenAbove(path, plan.flags, 0);
    if (existing < 0) {
        FailWithErrno();
    }
    return existing;
}

bool PosixFileServices::MayUse(const struct stat& status, const OpenPlan& plan) {
    if (S_ISDIR(status.st_mode)) {
        return Fail(EISDIR);
    }
    if (S_ISLNK(status.st_mode)) {
        return Fail(ELOOP, "The file is a symbolic link");
    }
    const bool deviceWillDo = plan.create && !plan.ownerOnly && S_ISCHR(status.st_mode);
    if (!S_ISREG(status.st_mode) && !deviceWillDo) {
        return Fail(ENXIO, "Not a regular file");
    }
    if (plan.ownerOnly && status.st_nlink > 1) {
        return Fail(EEXIST, "The file has a second name");
    }
    if (plan.ownerOnly && status.st_uid != calls_.effectiveUser()) {
        return Fail(EACCES, "The file belongs to another user");
    }
    return true;
}

// A file system without locks may still be read from and written to; what the program works on
// alone may not lie there.
bool PosixFileServices::Lock(int fd, const OpenPlan& plan) {
    const bool exclusive = plan.sharing == FileSharing::kExclusive;
    const int operation = (exclusive ? LOCK_EX : LOCK_SH) | LOCK_NB;
    return Retry([&] { return calls_.lock(fd, operation); }) == 0 ||
           ((!exclusive || plan.lockOptional) && LocksUnsupported(errno)) || FailWithErrno();
}

bool PosixFileServices::Empty(int fd, const struct stat& status, const OpenPlan& plan) {
    if (plan.ownerOnly && (status.st_mode & kOthers) != 0 &&
        Retry([&] { return calls_.changeMode(fd, kOwnerOnly); }) != 0) {
        return FailWithErrno();
    }
    return status.st_size == 0 || Retry([&] { return calls_.truncate(fd, 0); }) == 0 ||
           FailWithErrno();
}

// Checks and locks an open file. kMoved when the path has come to lead to another file meanwhile:
// its last holder deletes a file under the lock, and a lock on a nameless file protects nothing.
PosixFileServices::Verdict PosixFileServices::Secure(int fd, const std::string& path,
                                                     const OpenPlan& plan) {
    struct stat status {};
    if (Retry([&] { return calls_.statusOf(fd, &status); }) != 0) {
        FailWithErrno();
        return Verdict::kRefused;
    }
    if (!MayUse(status, plan)) {
        return Verdict::kRefused;
    }
    if (!S_ISREG(status.st_mode)) {
        const bool blocking = Retry([&] { return calls_.control(fd, F_SETFL, 0); }) == 0;
        return blocking || FailWithErrno() ? Verdict::kGood : Verdict::kRefused;
    }
    if (!Lock(fd, plan)) {
        return Verdict::kRefused;
    }
    struct stat named {};
    const auto look = plan.followLinks ? calls_.statusAt : calls_.statusOfLink;
    if (Retry([&] { return look(path.c_str(), &named); }) != 0) {
        const bool gone = errno == ENOENT;
        FailWithErrno();
        return gone ? Verdict::kMoved : Verdict::kRefused;
    }
    if (!IsSameInode(status, named)) {
        Fail(kSharingViolation, "The file is in use by another process");
        return Verdict::kMoved;
    }
    return !plan.create || Empty(fd, named, plan) ? Verdict::kGood : Verdict::kRefused;
}

PosixFileServices::Descriptor PosixFileServices::Acquire(std::string path, const OpenPlan& plan) {
    for (int attempt = 0; attempt < kOpenAttempts; ++attempt) {
        int fd = kNoFile;
        if (plan.ownerOnly) {
            fd = OpenOwnerOnly(path, plan);
        } else if ((fd = plan.create ? OpenAbove(path, plan.flags | O_CREAT, kAnybody)
                                     : OpenExisting(path, plan)) < 0) {
            FailWithErrno();
        }
        Descriptor file(calls_, fd);
        if (!file.IsOpen()) {
            if (plan.ownerOnly && lastError_ == ENOENT) {
                continue;
            }
            return file;
        }
        const Verdict verdict = Secure(file.Get(), path, plan);
        if (verdict == Verdict::kGood) {
            return file;
        }
        if (verdict == Verdict::kRefused) {
            break;
        }
    }
    return {calls_, kNoFile};
}

bool PosixFileServices::Exists(const std::string& path) {
    return Acquire(HostPath(path), {.flags = O_RDONLY, .anyCase = true}).IsOpen();
}

FileHandle PosixFileServices::Open(const std::string& path, const OpenMode& mode) {
    OpenPlan plan;
    plan.create = Creates(mode.access);
    plan.ownerOnly = plan.create && mode.ownerOnly;
    plan.followLinks = !plan.ownerOnly;
    plan.anyCase = !plan.create;
    plan.sharing = mode.sharing;
    plan.lockOptional = mode.access == FileAccess::kOverwrite;
    plan.flags = AccessFlags(mode.access) | (plan.followLinks ? 0 : O_NOFOLLOW);
    Descriptor file = Acquire(HostPath(path), plan);
    if (file.IsOpen()) {
        // A hint alone: a file system that does not take it serves the file all the same.
        calls_.advise(
            file.Get(), 0, 0,
            mode.pattern == AccessPattern::kRandom ? POSIX_FADV_RANDOM : POSIX_FADV_SEQUENTIAL);
    }
    return file.Release();
}

std::int64_t PosixFileServices::Read(FileHandle file, void* buffer, std::size_t size) {
    return OrFail(ReadFully(buffer, size, [&](char* to, std::size_t rest, std::size_t /*done*/) {
        return calls_.read(file, to, rest);
    }));
}

std::int64_t PosixFileServices::ReadAt(FileHandle file, std::int64_t offset, void* buffer,
                                       std::size_t size) {
    return OrFail(ReadFully(buffer, size, [&](char* to, std::size_t rest, std::size_t done) {
        return calls_.readAt(file, to, rest, offset + static_cast<off_t>(done));
    }));
}

std::int64_t PosixFileServices::Write(FileHandle file, const void* data, std::size_t size) {
    const auto* const bytes = static_cast<const char*>(data);
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = Retry([&] { return calls_.write(file, bytes + done, size - done); });
        if (count <= 0) {
            count < 0 ? FailWithErrno() : Fail(EIO);
            return done == 0 ? -1 : static_cast<std::int64_t>(done);
        }
        done += static_cast<std::size_t>(count);
    }
    return static_cast<std::int64_t>(done);
}

std::int64_t PosixFileServices::CopyRange(FileHandle from, FileHandle to, std::size_t size) {
    return Retry([&] { return calls_.copyRange(from, to, size); });
}

std::int64_t PosixFileServices::Seek(FileHandle file, std::int64_t offset, SeekOrigin origin) {
    const int whence = origin == SeekOrigin::kBegin ? SEEK_SET : SEEK_END;
    return OrFail(Retry([&] { return calls_.seek(file, off_t{offset}, whence); }));
}

std::int64_t PosixFileServices::Size(FileHandle file) {
    struct stat status {};
    if (Retry([&] { return calls_.statusOf(file, &status); }) != 0) {
        FailWithErrno();
        return -1;
    }
    return status.st_size;
}

bool PosixFileServices::Close(FileHandle file) {
    // An interrupted close has closed; nothing says that data was lost.
    return calls_.close(file) == 0 || errno == EINTR || FailWithErrno();
}

bool PosixFileServices::Delete(const std::string& path) {
    const std::string name = HostPath(path);
    const OpenPlan plan = {
        .flags = O_RDWR | O_NOFOLLOW, .sharing = FileSharing::kExclusive, .followLinks = false};
    const Descriptor held = Acquire(name, plan);
    return held.IsOpen() &&
           (Retry([&] { return calls_.unlink(name.c_str()); }) == 0 || FailWithErrno());
}

bool PosixFileServices::StatusOf(const std::string& path, struct stat* status) {
    const std::string name = HostPath(path);
    if (Retry([&] { return calls_.statusAt(name.c_str(), status); }) == 0) {
        return true;
    }
    const std::optional<std::string> match =
        errno == ENOENT ? MatchWithoutCase(name) : std::nullopt;
    if (match && Retry([&] { return calls_.statusAt(match->c_str(), status); }) == 0) {
        return true;
    }
    return FailWithErrno();
}

bool PosixFileServices::SameFile(const std::string& first, const std::string& second) {
    struct stat a {};
    struct stat b {};
    return StatusOf(first, &a) && StatusOf(second, &b) && IsSameInode(a, b);
}

std::string PosixFileServices::FullPath(const std::string& path) {
    return AbsolutePath(path);
}

std::string PosixFileServices::TempDirectory() {
    const std::string temp = Environment("TEMP");
    return temp.empty() ? Environment("TMPDIR") : temp;
}

unsigned PosixFileServices::MakeTempFile(const std::string& directory, const std::string& prefix,
                                         unsigned unique, std::string* name) {
    std::string place = directory.empty() ? TempDirectory() : directory;
    if (place.empty()) {
        place = "/tmp";
    }
    unsigned number = unique != 0 ? unique : FirstUnique();
    for (int attempt = 0; attempt < kTempAttempts; ++attempt, ++number) {
        if (number == 0) {
            continue;
        }
        std::array<char, 16> digits{};
        static_cast<void>(std::snprintf(digits.data(), digits.size(), "%X.TMP", number));
        *name = JoinPath(place, prefix.substr(0, 3) + digits.data());
        if (unique != 0) {
            return number;
        }
        const int fd = OpenAbove(HostPath(*name), O_RDWR | O_CREAT | O_EXCL, kOwnerOnly);
        if (fd >= 0) {
            return Close(fd) ? number : 0;
        }
        FailWithErrno();
        if (lastError_ != EEXIST) {
            return 0;
        }
    }
    return 0;
}

std::string PosixFileServices::LastErrorText() {
    return lastErrorText_ != nullptr ? lastErrorText_ : HostText(lastError_);
}

}  // namespace mod2neu
