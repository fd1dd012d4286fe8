#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file_services.h"

namespace mod2neu {

enum class FileCall {
    kExists,
    kOpen,
    kRead,
    kWrite,
    kSeek,
    kSize,
    kClose,
    kDelete,
    kSameFile,
    kMakeTempFile,
};

struct FileCallRecord {
    FileCall kind = FileCall::kExists;
    std::string path;  // absolute, also for calls by handle; both joined by a blank for kSameFile
    std::size_t size = 0;  // bytes asked for by kRead and kWrite
};

// Files in memory, with faults on order. They are the file services in use from construction to
// destruction. Calls are counted from 1, all kinds together, in the order of `calls`; full path
// and temporary directory cannot fail and do not count. Relative paths lie in kCurrentDirectory.
class MemoryFiles final : public FileServices {
  public:
    static constexpr const char* kCurrentDirectory = "/memory";

    MemoryFiles();
    ~MemoryFiles() override;

    // The files.
    void Put(const std::string& path, std::string_view bytes);
    void Put(const std::string& path, const std::vector<std::uint8_t>& bytes) {
        Put(path, std::string(bytes.begin(), bytes.end()));
    }
    void Remove(const std::string& path);

    // A second name of the file at `path`.
    void Link(const std::string& name, const std::string& path);
    [[nodiscard]] bool Has(const std::string& path) const { return Find(path) != nullptr; }

    // Contents; empty when there is no such file.
    [[nodiscard]] std::string Bytes(const std::string& path) const;

    // Absolute paths in ascending order.
    [[nodiscard]] std::vector<std::string> Paths() const;

    // The surroundings.
    std::string tempDirectory = "/temp";
    std::function<void(const FileCallRecord&)> onCall;  // before the call's work

    // Another program holds the file exclusively, or lets go of it.
    void HoldElsewhere(const std::string& path) { Find(path)->holders = kHeldExclusively; }
    void ReleaseElsewhere(const std::string& path) { Find(path)->holders = 0; }

    // Opening for creation below this directory fails with `error`, whatever the call.
    void ForbidCreation(const std::string& directory, int error) {
        forbidden_[Absolute(directory) + "/"] = error;
    }

    // The `count` calls from the `call`-th on fail with `error`.
    void FailCall(std::size_t call, int error, std::size_t count = 1) {
        faults_.push_back({std::nullopt, call, count, error});
    }

    // The same, counting only calls of one kind.
    void FailCall(FileCall kind, std::size_t call, int error, std::size_t count = 1) {
        faults_.push_back({kind, call, count, error});
    }

    // The `call`-th call, when it is a read or a write, moves at most `size` bytes. A shortened
    // read looks like the end of the file; a shortened write fails with `error`.
    void ShortenCall(std::size_t call, std::size_t size, int error) {
        shortening_ = {call, size, error};
    }

    // What happened.
    std::vector<FileCallRecord> calls;
    std::size_t faultsInjected = 0;
    [[nodiscard]] std::size_t CallCount(FileCall kind) const;
    [[nodiscard]] std::size_t OpenHandles() const { return handles_.size(); }

    bool Exists(const std::string& path) override;
    FileHandle Open(const std::string& path, const OpenMode& mode) override;
    std::int64_t Read(FileHandle file, void* buffer, std::size_t size) override;
    std::int64_t ReadAt(FileHandle file, std::int64_t offset, void* buffer,
                        std::size_t size) override;
    std::int64_t Write(FileHandle file, const void* data, std::size_t size) override;
    std::int64_t CopyRange(FileHandle /*from*/, FileHandle /*to*/, std::size_t /*size*/) override {
        return -1;
    }
    std::int64_t Seek(FileHandle file, std::int64_t offset, SeekOrigin origin) override;
    std::int64_t Size(FileHandle file) override;
    bool Close(FileHandle file) override;
    bool Delete(const std::string& path) override;
    bool SameFile(const std::string& first, const std::string& second) override;
    std::string FullPath(const std::string& path) override { return Absolute(path); }
    std::string TempDirectory() override { return tempDirectory; }
    unsigned MakeTempFile(const std::string& directory, const std::string& prefix, unsigned unique,
                          std::string* name) override;
    int LastError() override { return lastError_; }
    std::string LastErrorText() override;

  private:
    static constexpr int kHeldExclusively = -1;
    struct Node {
        std::string bytes;
        int names = 1;
        int holders = 0;  // that share it, or kHeldExclusively
    };
    struct Handle {
        std::shared_ptr<Node> node;
        std::string path;
        OpenMode mode;
        std::int64_t position = 0;
    };
    struct Fault {
        std::optional<FileCall> kind;  // any when empty
        std::size_t first = 0;
        std::size_t count = 0;
        int error = 0;
    };
    struct Shortening {
        std::size_t call = 0;
        std::size_t size = 0;
        int error = 0;
    };

    static std::string Absolute(const std::string& path);
    bool Begin(FileCall kind, const std::string& path, std::size_t size = 0);
    template <typename Result = bool>
    Result Fail(int error, Result result = {}) {
        lastError_ = error;
        return result;
    }
    Handle* Begin(FileCall kind, FileHandle file, std::size_t size = 0);
    [[nodiscard]] std::shared_ptr<Node> Find(const std::string& path) const;
    std::shared_ptr<Node> FindOrCreate(const std::string& fullPath, const OpenMode& mode);
    std::size_t Shortened(std::size_t size);

    FileServices* previous_;
    std::map<std::string, std::shared_ptr<Node>> files_;
    std::map<FileHandle, Handle> handles_;
    std::map<std::string, int> forbidden_;
    std::vector<Fault> faults_;
    Shortening shortening_;
    FileHandle nextHandle_ = 3;
    unsigned nextUnique_ = 1;
    int lastError_ = 0;
};

}  // namespace mod2neu
