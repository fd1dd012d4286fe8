#pragma once

#include "platform/file_services.h"
#include "platform/posix_calls.h"

namespace mod2neu {

// File services on a POSIX host. Locks are taken with flock on the open file, never waited for,
// and held until the handle is closed. No call ever waits for the other end of a FIFO.
class PosixFileServices final : public FileServices {
  public:
    // `calls` must outlive the services.
    explicit PosixFileServices(const PosixCalls& calls = HostCalls()) : calls_(calls) {}

    bool Exists(const std::string& path) override;
    FileHandle Open(const std::string& path, const OpenMode& mode) override;
    std::int64_t Read(FileHandle file, void* buffer, std::size_t size) override;
    std::int64_t ReadAt(FileHandle file, std::int64_t offset, void* buffer,
                        std::size_t size) override;
    std::int64_t Write(FileHandle file, const void* data, std::size_t size) override;
    std::int64_t CopyRange(FileHandle from, FileHandle to, std::size_t size) override;
    std::int64_t Seek(FileHandle file, std::int64_t offset, SeekOrigin origin) override;
    std::int64_t Size(FileHandle file) override;
    bool Close(FileHandle file) override;
    bool Delete(const std::string& path) override;
    bool SameFile(const std::string& first, const std::string& second) override;
    std::string FullPath(const std::string& path) override;
    std::string TempDirectory() override;
    unsigned MakeTempFile(const std::string& directory, const std::string& prefix, unsigned unique,
                          std::string* name) override;
    int LastError() override { return lastError_; }
    std::string LastErrorText() override;

  private:
    class Descriptor;
    struct OpenPlan;
    enum class Verdict { kGood, kRefused, kMoved };

    bool Fail(int code, const char* text = nullptr);
    bool FailWithErrno();
    std::int64_t OrFail(std::int64_t result);
    int OpenAbove(const std::string& path, int flags, unsigned mode);
    int OpenExisting(std::string& path, const OpenPlan& plan);
    int OpenOwnerOnly(const std::string& path, const OpenPlan& plan);
    bool MayUse(const struct stat& status, const OpenPlan& plan);
    bool Lock(int fd, const OpenPlan& plan);
    Verdict Secure(int fd, const std::string& path, const OpenPlan& plan);
    bool Empty(int fd, const struct stat& status, const OpenPlan& plan);
    Descriptor Acquire(std::string path, const OpenPlan& plan);
    bool StatusOf(const std::string& path, struct stat* status);

    const PosixCalls& calls_;
    int lastError_ = 0;
    const char* lastErrorText_ = nullptr;  // where the host's text would mislead
};

}  // namespace mod2neu
