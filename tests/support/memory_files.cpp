#include "support/memory_files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

namespace mod2neu {

std::string MemoryFiles::Absolute(const std::string& path) {
    std::string text = path;
    std::replace(text.begin(), text.end(), '\\', '/');
    text = (kCurrentDirectory / std::filesystem::path(text)).lexically_normal();
    return text.size() > 1 && text.back() == '/' ? text.substr(0, text.size() - 1) : text;
}

MemoryFiles::MemoryFiles() : previous_(SetFileServices(this)) {}

MemoryFiles::~MemoryFiles() {
    SetFileServices(previous_);
}

void MemoryFiles::Put(const std::string& path, std::string_view bytes) {
    files_[Absolute(path)] = std::make_shared<Node>(Node{std::string(bytes)});
}

void MemoryFiles::Remove(const std::string& path) {
    if (const std::shared_ptr<Node> node = Find(path)) {
        --node->names;
        files_.erase(Absolute(path));
    }
}

void MemoryFiles::Link(const std::string& name, const std::string& path) {
    const std::shared_ptr<Node> node = files_.at(Absolute(path));
    ++node->names;
    files_[Absolute(name)] = node;
}

std::string MemoryFiles::Bytes(const std::string& path) const {
    const std::shared_ptr<Node> node = Find(path);
    return node == nullptr ? std::string() : node->bytes;
}

std::vector<std::string> MemoryFiles::Paths() const {
    std::vector<std::string> paths;
    for (const auto& [path, node] : files_) {
        paths.push_back(path);
    }
    return paths;
}

std::size_t MemoryFiles::CallCount(FileCall kind) const {
    return static_cast<std::size_t>(std::ranges::count(calls, kind, &FileCallRecord::kind));
}

// Logs the call; false when it is one that has to fail.
bool MemoryFiles::Begin(FileCall kind, const std::string& path, std::size_t size) {
    calls.push_back({kind, path, size});
    if (onCall) {
        onCall(FileCallRecord(calls.back()));
    }
    for (const Fault& fault : faults_) {
        const std::size_t call = !fault.kind          ? calls.size()
                                 : fault.kind == kind ? CallCount(kind)
                                                      : 0;
        if (call >= fault.first && call - fault.first < fault.count) {
            ++faultsInjected;
            return Fail(fault.error);
        }
    }
    return true;
}

// The same for a call by handle; the handle's record, or null.
MemoryFiles::Handle* MemoryFiles::Begin(FileCall kind, FileHandle file, std::size_t size) {
    const auto found = handles_.find(file);
    if (found == handles_.end()) {
        return Fail<Handle*>(EBADF);
    }
    return Begin(kind, found->second.path, size) ? &found->second : nullptr;
}

std::shared_ptr<MemoryFiles::Node> MemoryFiles::Find(const std::string& path) const {
    const auto found = files_.find(Absolute(path));
    return found == files_.end() ? nullptr : found->second;
}

std::shared_ptr<MemoryFiles::Node> MemoryFiles::FindOrCreate(const std::string& fullPath,
                                                             const OpenMode& mode) {
    for (const auto& [directory, error] : forbidden_) {
        if (fullPath.starts_with(directory)) {
            return Fail<std::shared_ptr<Node>>(error);
        }
    }
    std::shared_ptr<Node> node =
        files_.try_emplace(fullPath, std::make_shared<Node>()).first->second;
    return mode.ownerOnly && node->names > 1 ? Fail<std::shared_ptr<Node>>(EEXIST) : node;
}

bool MemoryFiles::Exists(const std::string& path) {
    const std::string fullPath = Absolute(path);
    if (!Begin(FileCall::kExists, fullPath)) {
        return false;
    }
    const std::shared_ptr<Node> node = Find(fullPath);
    if (node == nullptr) {
        return Fail(ENOENT);
    }
    return node->holders != kHeldExclusively || Fail(kSharingViolation);
}

FileHandle MemoryFiles::Open(const std::string& path, const OpenMode& mode) {
    const std::string fullPath = Absolute(path);
    if (!Begin(FileCall::kOpen, fullPath)) {
        return kNoFile;
    }
    const bool create = Creates(mode.access);
    const std::shared_ptr<Node> node = create ? FindOrCreate(fullPath, mode) : Find(fullPath);
    if (node == nullptr) {
        return create ? kNoFile : Fail(ENOENT, kNoFile);
    }
    const bool exclusive = mode.sharing == FileSharing::kExclusive;
    if (node->holders == kHeldExclusively || (exclusive && node->holders > 0)) {
        return Fail(kSharingViolation, kNoFile);
    }
    node->holders = exclusive ? kHeldExclusively : node->holders + 1;
    if (create) {
        node->bytes.clear();
    }
    handles_[nextHandle_] = {node, fullPath, mode, 0};
    return nextHandle_++;
}

// What the present call moves of so many bytes.
std::size_t MemoryFiles::Shortened(std::size_t size) {
    if (calls.size() != shortening_.call || shortening_.size >= size) {
        return size;
    }
    ++faultsInjected;
    return shortening_.size;
}

std::int64_t MemoryFiles::Read(FileHandle file, void* buffer, std::size_t size) {
    const auto found = handles_.find(file);
    const std::int64_t position = found != handles_.end() ? found->second.position : 0;
    const std::int64_t count = ReadAt(file, position, buffer, size);
    if (count > 0) {
        found->second.position += count;
    }
    return count;
}

std::int64_t MemoryFiles::ReadAt(FileHandle file, std::int64_t offset, void* buffer,
                                 std::size_t size) {
    const Handle* handle = Begin(FileCall::kRead, file, size);
    if (handle == nullptr) {
        return -1;
    }
    const std::string& bytes = handle->node->bytes;
    const std::size_t position = std::min(static_cast<std::size_t>(offset), bytes.size());
    return static_cast<std::int64_t>(
        bytes.copy(static_cast<char*>(buffer), Shortened(size), position));
}

std::int64_t MemoryFiles::Write(FileHandle file, const void* data, std::size_t size) {
    Handle* handle = Begin(FileCall::kWrite, file, size);
    if (handle == nullptr) {
        return -1;
    }
    if (handle->mode.access == FileAccess::kRead) {
        return Fail(EBADF, -1);
    }
    const std::size_t count = Shortened(size);
    std::string& bytes = handle->node->bytes;
    const auto position = static_cast<std::size_t>(handle->position);
    bytes.resize(std::max(bytes.size(), position + count));
    std::copy_n(static_cast<const char*>(data), count, bytes.begin() + handle->position);
    handle->position += static_cast<std::int64_t>(count);
    if (count < size) {
        Fail(shortening_.error);
    }
    return count == 0 && size > 0 ? -1 : static_cast<std::int64_t>(count);
}

std::int64_t MemoryFiles::Seek(FileHandle file, std::int64_t offset, SeekOrigin origin) {
    Handle* handle = Begin(FileCall::kSeek, file);
    if (handle == nullptr) {
        return -1;
    }
    const auto size = static_cast<std::int64_t>(handle->node->bytes.size());
    const std::int64_t position = origin == SeekOrigin::kBegin ? offset : size + offset;
    if (position < 0) {
        return Fail(EINVAL, -1);
    }
    handle->position = position;
    return position;
}

std::int64_t MemoryFiles::Size(FileHandle file) {
    const Handle* handle = Begin(FileCall::kSize, file);
    return handle == nullptr ? -1 : static_cast<std::int64_t>(handle->node->bytes.size());
}

// A file whose closing fails is closed all the same.
bool MemoryFiles::Close(FileHandle file) {
    const bool succeeds = Begin(FileCall::kClose, file) != nullptr;
    const auto found = handles_.find(file);
    if (found == handles_.end()) {
        return false;
    }
    int& holders = found->second.node->holders;
    holders = holders == kHeldExclusively ? 0 : holders - 1;
    handles_.erase(found);
    return succeeds;
}

bool MemoryFiles::Delete(const std::string& path) {
    const std::string fullPath = Absolute(path);
    if (!Begin(FileCall::kDelete, fullPath)) {
        return false;
    }
    const std::shared_ptr<Node> node = Find(fullPath);
    if (node == nullptr) {
        return Fail(ENOENT);
    }
    if (node->holders != 0) {
        return Fail(kSharingViolation);
    }
    Remove(fullPath);
    return true;
}

bool MemoryFiles::SameFile(const std::string& first, const std::string& second) {
    if (!Begin(FileCall::kSameFile, Absolute(first) + " " + Absolute(second))) {
        return false;
    }
    const std::shared_ptr<Node> node = Find(first);
    return node != nullptr && node == Find(second);
}

unsigned MemoryFiles::MakeTempFile(const std::string& directory, const std::string& prefix,
                                   unsigned unique, std::string* name) {
    const std::string base = (directory.empty() ? tempDirectory : directory) + "/" + prefix;
    if (!Begin(FileCall::kMakeTempFile, Absolute(base))) {
        return 0;
    }
    const unsigned number = unique != 0 ? unique : nextUnique_++;
    *name = base + std::to_string(number) + ".TMP";
    return unique != 0 || FindOrCreate(Absolute(*name), {}) != nullptr ? number : 0;
}

std::string MemoryFiles::LastErrorText() {
    return lastError_ == kSharingViolation ? "The file is in use by another process"
                                           : std::strerror(lastError_);
}

}  // namespace mod2neu
