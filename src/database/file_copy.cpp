#include "database/file_copy.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "database/block_format.h"
#include "database/engine_memory.h"
#include "platform/desktop.h"
#include "shell/messages.h"
#include "shell/progress.h"

namespace mod2neu {

namespace {

constexpr std::size_t kMaxTransferBlocks = 48;
constexpr std::size_t kHostCopyBytes = std::size_t{8} * 1024 * 1024;

struct TransferBuffer {
    std::unique_ptr<std::uint8_t[]> bytes;
    std::size_t size = 0;
};

// As many blocks as memory allows, none when it does not allow one.
TransferBuffer AllocateTransferBuffer() {
    for (std::size_t blocks = kMaxTransferBlocks; blocks > 0; --blocks) {
        TransferBuffer buffer{TryAllocate<std::uint8_t>(blocks * kBlockSize), blocks * kBlockSize};
        if (buffer.bytes != nullptr) {
            return buffer;
        }
    }
    return {};
}

bool Fail(MessageId message, const std::string& path) {
    const std::string reason = Files().LastErrorText();
    ShowMessage(message, {path, reason});
    return false;
}

FileHandle OpenShown(const std::string& path, const OpenMode& mode) {
    const FileHandle file = Files().Open(path, mode);
    if (file <= 0) {
        Fail(MessageId::kOpenFile, path);
    }
    return file;
}

FileHandle OpenCopyDestination(const std::string& path) {
    OpenMode mode;
    mode.access = FileAccess::kCreate;
    mode.sharing = FileSharing::kExclusive;
    return OpenShown(path, mode);
}

// The open source and destination, and the paths that messages name.
struct CopyEnds {
    const std::string& sourcePath;
    const std::string& destinationPath;
    FileHandle source;
    FileHandle destination;
};

// Copies as much as the host can copy by itself. Where it cannot go on, for whatever reason, the
// transfer buffer does, and meets the reason itself.
void CopyWithinHost(const CopyEnds& ends) {
    std::int64_t size = 0;
    do {
        size = Files().CopyRange(ends.source, ends.destination, kHostCopyBytes);
        AddProgress(std::max<std::int64_t>(size, 0));
    } while (size > 0);
}

bool Transfer(const CopyEnds& ends, const TransferBuffer& buffer) {
    CopyWithinHost(ends);
    for (;;) {
        const std::int64_t size = Files().Read(ends.source, buffer.bytes.get(), buffer.size);
        if (size == 0) {
            return true;
        }
        if (size < 0) {
            return Fail(MessageId::kReadFile, ends.sourcePath);
        }
        if (Files().Write(ends.destination, buffer.bytes.get(), static_cast<std::size_t>(size)) !=
            size) {
            return Fail(MessageId::kWriteFile, ends.destinationPath);
        }
        AddProgress(size);
    }
}

// Copies with a progress bar for those who watch.
bool TransferWatched(const CopyEnds& ends, const TransferBuffer& buffer) {
    BeginProgress("Copying", TheDesktop().ShowsProgress() ? Files().Size(ends.source) : 0);
    const bool done = Transfer(ends, buffer);
    EndProgress();
    return done;
}

}  // namespace

FileHandle OpenCopySource(const std::string& path) {
    return OpenShown(path, {});
}

bool CopyFileContents(const std::string& sourcePath, const std::string& destinationPath,
                      FileHandle source, FileHandle destination) {
    const TransferBuffer buffer = AllocateTransferBuffer();
    if (buffer.bytes == nullptr) {
        return false;
    }
    ScopedFile ownSource;
    if (source <= 0) {
        ownSource.Reset(OpenCopySource(sourcePath));
        source = ownSource.Get();
    }
    if (source <= 0) {
        return false;
    }
    ScopedFile ownDestination;
    if (destination <= 0) {
        ownDestination.Reset(OpenCopyDestination(destinationPath));
        destination = ownDestination.Get();
    }
    if (destination <= 0 ||
        !TransferWatched({sourcePath, destinationPath, source, destination}, buffer)) {
        return false;
    }
    // A close may be what tells that written data was lost.
    return ownDestination.Close() || Fail(MessageId::kWriteFile, destinationPath);
}

}  // namespace mod2neu
