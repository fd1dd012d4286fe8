#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file_services.h"

namespace mod2neu {

// Thrown once by a write beyond what a run may write, which is more of the same: a few blocks may
// name one large table any number of times, and a list that stands for every ID fills 25 MB when
// it is sorted in the database.
struct LimitReached {};

// Ends the process, as a finding, when `condition` does not hold.
void Require(bool condition, const char* what);

// Files in memory for one conversion, which costs less than what is being tested. The model is
// read where it lies; an attempt to change it is a finding. They are the file services in use from
// construction to destruction.
class RunFiles final : public FileServices {
  public:
    static constexpr const char* kModel = "/m/wing.MOD";
    static constexpr const char* kNeutral = "/m/wing.neu";

    RunFiles() : previous_(SetFileServices(this)) {}
    ~RunFiles() override { SetFileServices(previous_); }

    // Only `model` is there, whose bytes must stay. What other files held is kept as spare memory.
    void Start(std::string_view model);

    [[nodiscard]] bool NothingIsOpen() const { return open_ == 0; }

    // True when the model and its Neutral file are all that there is.
    [[nodiscard]] bool OnlyNeutralFileIsNew() const;

    bool Exists(const std::string& path) override { return Find(path) != kNoFile; }
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
    bool SameFile(const std::string& first, const std::string& second) override {
        return first == second && Exists(first);
    }
    std::string FullPath(const std::string& path) override { return path; }
    std::string TempDirectory() override { return "/t"; }
    unsigned MakeTempFile(const std::string& directory, const std::string& prefix, unsigned unique,
                          std::string* name) override;
    int LastError() override { return lastError_; }
    std::string LastErrorText() override { return "failed"; }

  private:
    // Handles are indices of files, a file being open at most once at a time.
    struct File {
        std::string path;
        std::string_view bytes;  // of the model
        std::vector<char> written;
        std::size_t position = 0;
        bool isOpen = false;
    };
    static constexpr FileHandle kModelHandle = 1;

    FileHandle Find(const std::string& path) const;
    File& At(FileHandle file);

    FileServices* previous_;
    std::array<File, 8> files_;  // free ones have no path
    int open_ = 0;
    int writes_ = 0;  // but of text
    bool limited_ = true;
    int lastError_ = 0;
    unsigned nextUnique_ = 1;
};

}  // namespace mod2neu
