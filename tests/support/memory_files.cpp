#include "support/memory_files.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstring>

namespace mod2neu {

namespace {

bool EqualWithoutCase(const std::string& a, const std::string& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return std::tolower(static_cast<unsigned char>(x)) ==
               std::tolower(static_cast<unsigned char>(y));
    });
}

std::string DirectoryOf(const std::string& fullPath) {
    return fullPath.substr(0, fullPath.rfind('/') + 1);
}

template <typename Faults>
const auto* FaultAt(const Faults& faults, std::size_t call) {
    const auto hit = std::find_if(faults.begin(), faults.end(), [call](const auto& fault) {
        return call >= fault.first && call - fault.first < fault.count;
    });
    return hit == faults.end() ? nullptr : &*hit;
}

}  // namespace

const char* NameOf(FileCall kind) {
    constexpr std::array kNames = {"exists", "open",  "read",   "write",     "seek",
                                   "size",   "close", "delete", "same file", "temporary file"};
    return kNames.at(static_cast<std::size_t>(kind));
}

MemoryFiles::MemoryFiles() : previous_(SetFileServices(this)) {}

MemoryFiles::~MemoryFiles() {
    SetFileServices(previous_);
}

void MemoryFiles::Put(const std::string& path, std::string_view bytes) {
    auto node = std::make_shared<Node>();
    node->bytes = bytes;
    files_[FullPath(path)] = node;
}

void MemoryFiles::Put(const std::string& path, const std::vector<std::uint8_t>& bytes) {
    Put(path, std::string(bytes.begin(), bytes.end()));
}

void MemoryFiles::Remove(const std::string& path) {
    const auto found = files_.find(FullPath(path));
    if (found != files_.end()) {
        --found->second->names;
        files_.erase(found);
    }
}

void MemoryFiles::Link(const std::string& name, const std::string& path) {
    const std::shared_ptr<Node> node = files_.at(FullPath(path));
    ++node->names;
    files_[FullPath(name)] = node;
}

bool MemoryFiles::Has(const std::string& path) const {
    return files_.count(const_cast<MemoryFiles*>(this)->FullPath(path)) != 0;
}

std::string MemoryFiles::Bytes(const std::string& path) const {
    const auto found = files_.find(const_cast<MemoryFiles*>(this)->FullPath(path));
    return found == files_.end() ? std::string() : found->second->bytes;
}

std::vector<std::string> MemoryFiles::Paths() const {
    std::vector<std::string> paths;
    for (const auto& [path, node] : files_) {
        paths.push_back(path);
    }
    return paths;
}

void MemoryFiles::HoldElsewhere(const std::string& path) {
    files_.at(FullPath(path))->heldExclusively = true;
}

void MemoryFiles::ReleaseElsewhere(const std::string& path) {
    files_.at(FullPath(path))->heldExclusively = false;
}

void MemoryFiles::ForbidCreation(const std::string& directory, int error) {
    forbidden_[FullPath(directory) + "/"] = error;
}

void MemoryFiles::FailCall(std::size_t call, int error, std::size_t count) {
    faults_.push_back({call, count, error});
}

void MemoryFiles::FailCall(FileCall kind, std::size_t call, int error, std::size_t count) {
    kindFaults_[kind].push_back({call, count, error});
}

void MemoryFiles::ShortenCall(std::size_t call, std::size_t size, int error) {
    shortenings_[call] = {size, error};
}

void MemoryFiles::ClearFaults() {
    faults_.clear();
    kindFaults_.clear();
    shortenings_.clear();
}

std::size_t MemoryFiles::CallCount(FileCall kind) const {
    const auto found = kindCounts_.find(kind);
    return found == kindCounts_.end() ? 0 : found->second;
}

// Logs the call; false when it is one that has to fail.
bool MemoryFiles::Begin(FileCall kind, const std::string& path, std::size_t size) {
    calls.push_back({kind, path, size});
    const std::size_t kindCount = ++kindCounts_[kind];
    if (onCall) {
        onCall(FileCallRecord(calls.back()));
    }
    const Fault* fault = FaultAt(faults_, calls.size());
    if (fault == nullptr) {
        fault = FaultAt(kindFaults_[kind], kindCount);
    }
    if (fault == nullptr) {
        return true;
    }
    ++faultsInjected;
    return Fail(fault->error);
}

bool MemoryFiles::Fail(int error) {
    lastError_ = error;
    return false;
}

MemoryFiles::Handle* MemoryFiles::Find(FileHandle file) {
    const auto found = handles_.find(file);
    if (found == handles_.end()) {
        Fail(EBADF);
        return nullptr;
    }
    return &found->second;
}

// The file of that name, else the only one whose name differs in case alone.
std::shared_ptr<MemoryFiles::Node> MemoryFiles::FindExisting(const std::string& fullPath) const {
    const auto exact = files_.find(fullPath);
    if (exact != files_.end()) {
        return exact->second;
    }
    std::shared_ptr<Node> match;
    int matches = 0;
    for (const auto& [path, node] : files_) {
        if (DirectoryOf(path) == DirectoryOf(fullPath) && EqualWithoutCase(path, fullPath)) {
            match = node;
            ++matches;
        }
    }
    return matches == 1 ? match : nullptr;
}

std::shared_ptr<MemoryFiles::Node> MemoryFiles::FindOrCreate(const std::string& fullPath,
                                                             const OpenMode& mode) {
    for (const auto& [directory, error] : forbidden_) {
        if (fullPath.compare(0, directory.size(), directory) == 0) {
            Fail(error);
            return nullptr;
        }
    }
    std::shared_ptr<Node>& node = files_[fullPath];
    if (node == nullptr) {
        node = std::make_shared<Node>();
    }
    if (mode.ownerOnly && node->names > 1) {
        Fail(EEXIST);
        return nullptr;
    }
    return node;
}

bool MemoryFiles::Hold(Node& node, FileSharing sharing) {
    if (node.heldExclusively || (sharing == FileSharing::kExclusive && node.sharedHolders > 0)) {
        return Fail(kSharingViolation);
    }
    if (sharing == FileSharing::kExclusive) {
        node.heldExclusively = true;
    } else {
        ++node.sharedHolders;
    }
    return true;
}

std::int64_t MemoryFiles::Used() const {
    std::int64_t used = 0;
    for (const auto& [path, node] : files_) {
        used += static_cast<std::int64_t>(node->bytes.size()) / node->names;
    }
    return used;
}

bool MemoryFiles::Exists(const std::string& path) {
    const std::string fullPath = FullPath(path);
    if (!Begin(FileCall::kExists, fullPath)) {
        return false;
    }
    const std::shared_ptr<Node> node = FindExisting(fullPath);
    if (node == nullptr) {
        return Fail(ENOENT);
    }
    return !node->heldExclusively || Fail(kSharingViolation);
}

FileHandle MemoryFiles::Open(const std::string& path, const OpenMode& mode) {
    const std::string fullPath = FullPath(path);
    if (!Begin(FileCall::kOpen, fullPath)) {
        return kNoFile;
    }
    const bool create = mode.access == FileAccess::kCreate;
    const std::shared_ptr<Node> node =
        create ? FindOrCreate(fullPath, mode) : FindExisting(fullPath);
    if (node == nullptr) {
        if (!create) {
            Fail(ENOENT);
        }
        return kNoFile;
    }
    if (!Hold(*node, mode.sharing)) {
        return kNoFile;
    }
    if (create) {
        node->bytes.clear();
    }
    handles_[nextHandle_] = {node, fullPath, mode, 0};
    return nextHandle_++;
}

// Applies the shortening ordered for the present call; *error stays when there is none.
void MemoryFiles::CutToShortening(std::size_t* size, int* error) {
    const auto found = shortenings_.find(calls.size());
    if (found != shortenings_.end() && found->second.size < *size) {
        *size = found->second.size;
        *error = found->second.error;
        ++faultsInjected;
    }
}

std::int64_t MemoryFiles::Read(FileHandle file, void* buffer, std::size_t size) {
    Handle* handle = Find(file);
    if (handle == nullptr || !Begin(FileCall::kRead, handle->path, size)) {
        return -1;
    }
    int error = 0;
    CutToShortening(&size, &error);
    const std::string& bytes = handle->node->bytes;
    const auto position = static_cast<std::size_t>(handle->position);
    const std::size_t count = position < bytes.size() ? std::min(size, bytes.size() - position) : 0;
    if (count > 0) {
        std::memcpy(buffer, bytes.data() + position, count);
    }
    handle->position += static_cast<std::int64_t>(count);
    return static_cast<std::int64_t>(count);
}

std::int64_t MemoryFiles::Write(FileHandle file, const void* data, std::size_t size) {
    Handle* handle = Find(file);
    if (handle == nullptr || !Begin(FileCall::kWrite, handle->path, size)) {
        return -1;
    }
    if (handle->mode.access == FileAccess::kRead) {
        Fail(EBADF);
        return -1;
    }
    int error = 0;
    std::size_t count = size;
    CutToShortening(&count, &error);
    std::string& bytes = handle->node->bytes;
    const auto position = static_cast<std::size_t>(handle->position);
    const auto free = static_cast<std::size_t>(std::max<std::int64_t>(capacity - Used(), 0));
    const std::size_t room = std::max(bytes.size(), position) - position + free;
    if (count > room) {
        count = room;
        error = ENOSPC;
    }
    if (position + count > bytes.size()) {
        bytes.resize(position + count);
    }
    if (count > 0) {
        std::memcpy(bytes.data() + position, data, count);
    }
    handle->position += static_cast<std::int64_t>(count);
    if (count < size) {
        Fail(error);
    }
    return count == 0 && size > 0 ? -1 : static_cast<std::int64_t>(count);
}

std::int64_t MemoryFiles::Seek(FileHandle file, std::int64_t offset, SeekOrigin origin) {
    Handle* handle = Find(file);
    if (handle == nullptr || !Begin(FileCall::kSeek, handle->path)) {
        return -1;
    }
    const auto size = static_cast<std::int64_t>(handle->node->bytes.size());
    const std::int64_t position = origin == SeekOrigin::kBegin ? offset : size + offset;
    if (position < 0) {
        Fail(EINVAL);
        return -1;
    }
    handle->position = position;
    return position;
}

std::int64_t MemoryFiles::Size(FileHandle file) {
    Handle* handle = Find(file);
    if (handle == nullptr || !Begin(FileCall::kSize, handle->path)) {
        return -1;
    }
    return static_cast<std::int64_t>(handle->node->bytes.size());
}

bool MemoryFiles::Close(FileHandle file) {
    Handle* handle = Find(file);
    if (handle == nullptr) {
        return false;
    }
    const bool succeeds = Begin(FileCall::kClose, handle->path);
    if (handle->mode.sharing == FileSharing::kExclusive) {
        handle->node->heldExclusively = false;
    } else {
        --handle->node->sharedHolders;
    }
    handles_.erase(file);
    return succeeds;
}

bool MemoryFiles::Delete(const std::string& path) {
    const std::string fullPath = FullPath(path);
    if (!Begin(FileCall::kDelete, fullPath)) {
        return false;
    }
    const auto found = files_.find(fullPath);
    if (found == files_.end()) {
        return Fail(ENOENT);
    }
    if (found->second->heldExclusively || found->second->sharedHolders > 0) {
        return Fail(kSharingViolation);
    }
    Remove(fullPath);
    return true;
}

bool MemoryFiles::SameFile(const std::string& first, const std::string& second) {
    if (!Begin(FileCall::kSameFile, FullPath(first) + " " + FullPath(second))) {
        return false;
    }
    const std::shared_ptr<Node> node = FindExisting(FullPath(first));
    return node != nullptr && node == FindExisting(FullPath(second));
}

std::string MemoryFiles::FullPath(const std::string& path) {
    std::string text = path;
    std::replace(text.begin(), text.end(), '\\', '/');
    if (text.empty() || text.front() != '/') {
        text = std::string(kCurrentDirectory) + "/" + text;
    }
    std::string full;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('/', begin), text.size());
        const std::string part = text.substr(begin, end - begin);
        if (part == "..") {
            full.erase(std::min(full.rfind('/'), full.size()));
        } else if (!part.empty() && part != ".") {
            full += "/" + part;
        }
        begin = end + 1;
    }
    return full.empty() ? "/" : full;
}

unsigned MemoryFiles::MakeTempFile(const std::string& directory, const std::string& prefix,
                                   unsigned unique, std::string* name) {
    std::string base = directory.empty() ? tempDirectory : directory;
    base = (base.empty() ? "/tmp" : base) + "/" + prefix.substr(0, 3);
    if (!Begin(FileCall::kMakeTempFile, FullPath(base))) {
        return 0;
    }
    const unsigned number = unique != 0 ? unique : nextUnique_++;
    std::array<char, 16> digits{};
    std::snprintf(digits.data(), digits.size(), "%X", number);
    *name = base + digits.data() + ".TMP";
    if (unique != 0) {
        return number;
    }
    OpenMode mode;
    mode.ownerOnly = true;
    return FindOrCreate(FullPath(*name), mode) != nullptr ? number : 0;
}

std::string MemoryFiles::LastErrorText() {
    return lastError_ == kSharingViolation ? "The file is in use by another process"
                                           : std::strerror(lastError_);
}

}  // namespace mod2neu
