#include "platform/posix_calls.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace mod2neu {

namespace {

int HostOpen(const char* path, int flags, mode_t mode) {
    return ::open(path, flags, mode);
}

int HostControl(int fd, int command, int argument) {
    return ::fcntl(fd, command, argument);
}

// Shares the blocks where the file system can, and copies within the kernel elsewhere.
ssize_t HostCopyRange(int from, int to, std::size_t size) {
    return ::copy_file_range(from, nullptr, to, nullptr, size, 0);
}

}  // namespace

const PosixCalls& HostCalls() {
    static const PosixCalls host = {
        .open = HostOpen,
        .close = ::close,
        .control = HostControl,
        .lock = ::flock,
        .statusOf = ::fstat,
        .statusAt = ::stat,
        .statusOfLink = ::lstat,
        .changeMode = ::fchmod,
        .truncate = ::ftruncate,
        .read = ::read,
        .readAt = ::pread,
        .write = ::write,
        .copyRange = HostCopyRange,
        .seek = ::lseek,
        .advise = ::posix_fadvise,
        .unlink = ::unlink,
        .effectiveUser = ::geteuid,
    };
    return host;
}

}  // namespace mod2neu
