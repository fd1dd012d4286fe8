#include "run_files.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "database/block_format.h"
#include "neutral/output_buffer.h"

namespace mod2neu {

namespace {

constexpr std::size_t kMostGrowth = 12 * kBlockSize;
constexpr int kMostWrites = 200;

}  // namespace

void Require(bool condition, const char* what) {
    if (!condition) {
        (void)std::fprintf(stderr, "A promise is broken: %s\n", what);
        std::abort();
    }
}

void RunFiles::Start(std::string_view model) {
    for (File& file : files_) {
        file.path.clear();
        file.isOpen = false;
    }
    files_[kModelHandle].path = kModel;
    files_[kModelHandle].bytes = model;
    open_ = 0;
    writes_ = 0;
    limited_ = true;
}

bool RunFiles::OnlyNeutralFileIsNew() const {
    return Find(kNeutral) != kNoFile &&
           std::count_if(files_.begin(), files_.end(),
                         [](const File& file) { return !file.path.empty(); }) == 2;
}

FileHandle RunFiles::Find(const std::string& path) const {
    for (std::size_t i = kModelHandle; i < files_.size(); ++i) {
        if (files_[i].path == path) {
            return static_cast<FileHandle>(i);
        }
    }
    return kNoFile;
}

RunFiles::File& RunFiles::At(FileHandle file) {
    Require(file > 0 && files_.at(static_cast<std::size_t>(file)).isOpen,
            "handles in use are open");
    return files_[static_cast<std::size_t>(file)];
}

FileHandle RunFiles::Open(const std::string& path, const OpenMode& mode) {
    const bool create = Creates(mode.access);
    FileHandle handle = Find(path);
    if (handle == kNoFile && create) {
        handle = Find("");
        Require(handle != kNoFile, "few files exist at a time");
    }
    if (handle == kNoFile) {
        lastError_ = ENOENT;
        return kNoFile;
    }
    File& file = files_[static_cast<std::size_t>(handle)];
    Require(!file.isOpen, "no file is opened twice at a time");
    Require(handle != kModelHandle || mode.access == FileAccess::kRead, "the model is only read");
    if (create) {
        file.path = path;
        file.written.clear();
    }
    file.position = 0;
    file.isOpen = true;
    ++open_;
    return handle;
}

std::int64_t RunFiles::Read(FileHandle handle, void* buffer, std::size_t size) {
    File& file = At(handle);
    const std::int64_t count =
        ReadAt(handle, static_cast<std::int64_t>(file.position), buffer, size);
    file.position += static_cast<std::size_t>(count);
    return count;
}

std::int64_t RunFiles::ReadAt(FileHandle handle, std::int64_t offset, void* buffer,
                              std::size_t size) {
    const File& file = At(handle);
    const std::string_view bytes = handle == kModelHandle
                                       ? file.bytes
                                       : std::string_view(file.written.data(), file.written.size());
    const std::size_t start = std::min(static_cast<std::size_t>(offset), bytes.size());
    return static_cast<std::int64_t>(bytes.copy(static_cast<char*>(buffer), size, start));
}

std::int64_t RunFiles::Write(FileHandle handle, const void* data, std::size_t size) {
    File& file = At(handle);
    Require(handle != kModelHandle, "the model is not written to");
    const std::size_t end = file.position + size;
    const bool isTooMuch =
        file.path == kNeutral
            ? end >= kOutputBlock
            : end > files_[kModelHandle].bytes.size() + kMostGrowth || ++writes_ > kMostWrites;
    if (limited_ && isTooMuch) {
        limited_ = false;
        throw LimitReached();
    }
    file.written.resize(std::max(file.written.size(), end));
    if (size > 0) {
        std::memcpy(file.written.data() + file.position, data, size);
    }
    file.position = end;
    return static_cast<std::int64_t>(size);
}

std::int64_t RunFiles::Seek(FileHandle handle, std::int64_t offset, SeekOrigin origin) {
    File& file = At(handle);
    const std::int64_t position = origin == SeekOrigin::kBegin ? offset : Size(handle) + offset;
    if (position < 0) {
        lastError_ = EINVAL;
        return -1;
    }
    file.position = static_cast<std::size_t>(position);
    return position;
}

std::int64_t RunFiles::Size(FileHandle handle) {
    const File& file = At(handle);
    return static_cast<std::int64_t>(handle == kModelHandle ? file.bytes.size()
                                                            : file.written.size());
}

bool RunFiles::Close(FileHandle handle) {
    At(handle).isOpen = false;
    --open_;
    return true;
}

bool RunFiles::Delete(const std::string& path) {
    const FileHandle handle = Find(path);
    if (handle == kNoFile) {
        lastError_ = ENOENT;
        return false;
    }
    Require(handle != kModelHandle, "the model is not deleted");
    File& file = files_[static_cast<std::size_t>(handle)];
    Require(!file.isOpen, "no open file is deleted");
    file.path.clear();
    return true;
}

unsigned RunFiles::MakeTempFile(const std::string& directory, const std::string& prefix,
                                unsigned unique, std::string* name) {
    const unsigned number = unique != 0 ? unique : nextUnique_++;
    *name = (directory.empty() ? TempDirectory() : directory) + "/" + prefix +
            std::to_string(number) + ".TMP";
    if (unique == 0) {
        Close(Open(*name, {FileAccess::kCreate, FileSharing::kExclusive}));
    }
    return number;
}

}  // namespace mod2neu
