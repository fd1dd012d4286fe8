#pragma once

#include <dirent.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>

namespace mod2neu {

// The system calls behind the file services, one pointer each, so that a test can make any of them
// fail, be interrupted or do only part of its work. All report through errno.
struct PosixCalls {
    int (*open)(const char* path, int flags, mode_t mode);
    int (*close)(int fd);
    int (*control)(int fd, int command, int argument);  // fcntl
    int (*lock)(int fd, int operation);                 // flock
    int (*statusOf)(int fd, struct stat* status);       // fstat
    int (*statusAt)(const char* path, struct stat* status);
    int (*statusOfLink)(const char* path, struct stat* status);  // lstat
    int (*changeMode)(int fd, mode_t mode);                      // fchmod
    int (*truncate)(int fd, off_t size);                         // ftruncate
    ssize_t (*read)(int fd, void* buffer, std::size_t size);
    ssize_t (*readAt)(int fd, void* buffer, std::size_t size, off_t offset);  // pread
    ssize_t (*write)(int fd, const void* data, std::size_t size);
    ssize_t (*copyRange)(int from, int to, std::size_t size);  // copy_file_range
    off_t (*seek)(int fd, off_t offset, int origin);
    int (*advise)(int fd, off_t offset, off_t size, int advice);
    int (*unlink)(const char* path);
    uid_t (*effectiveUser)();
};

// The host's own.
const PosixCalls& HostCalls();

}  // namespace mod2neu
