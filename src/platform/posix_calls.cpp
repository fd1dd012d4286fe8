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

}  // namespace

const PosixCalls& HostCalls() {
    static const PosixCalls host = {
        HostOpen,    ::close, HostControl, ::flock, ::fstat,         ::stat,   ::lstat,   ::fchmod,
        ::ftruncate, ::read,  ::write,     ::lseek, ::posix_fadvise, ::unlink, ::geteuid,
    };
    return host;
}

}  // namespace mod2neu
