#include "database/working_file.h"

#include "database/block_format.h"
#include "database/index_block_copies.h"

namespace mod2neu {

namespace {

struct WorkingFileState {
    ScopedFile file;
    std::string path;
    std::string readFailure;
};

WorkingFileState working;

std::int64_t PositionOf(std::uint32_t block) {
    return std::int64_t{block} * kBlockSize;
}

bool SeekToBlock(std::uint32_t block) {
    const std::int64_t position = PositionOf(block);
    return Files().Seek(working.file.Get(), position, SeekOrigin::kBegin) == position;
}

std::int64_t ReadAndNoteFailure(std::uint32_t block, void* buffer, std::size_t size) {
    const std::int64_t read = Files().ReadAt(working.file.Get(), PositionOf(block), buffer, size);
    if (read < 0 && working.readFailure.empty()) {
        working.readFailure = Files().LastErrorText();
    }
    return read;
}

}  // namespace

void AttachWorkingFile(FileHandle file, const std::string& path) {
    working.file.Reset(file);
    working.path = path;
    working.readFailure.clear();
    FreeIndexBlockCopies();
}

std::int64_t ReadWorkingFile(std::uint32_t block, std::uint8_t* buffer, std::size_t size) {
    if (size != kBlockSize || !IsIndexBlockPlace(block)) {
        return ReadAndNoteFailure(block, buffer, size);
    }
    if (FindIndexBlockCopy(block, buffer)) {
        return kBlockSize;
    }
    const std::int64_t read = ReadAndNoteFailure(block, buffer, size);
    if (read == kBlockSize) {
        KeepIndexBlockCopy(block, buffer);
    }
    return read;
}

const std::string& WorkingFileReadFailure() {
    return working.readFailure;
}

bool WriteWorkingFile(std::uint32_t block, const void* data, std::size_t size) {
    ForgetIndexBlockCopies(block, static_cast<std::uint32_t>((size + kBlockSize - 1) / kBlockSize));
    return SeekToBlock(block) &&
           Files().Write(working.file.Get(), data, size) == static_cast<std::int64_t>(size);
}

std::int64_t WorkingFileSize() {
    return Files().Size(working.file.Get());
}

const std::string& WorkingFilePath() {
    return working.path;
}

bool CloseWorkingFile() {
    FreeIndexBlockCopies();
    return working.file.Close();
}

bool ReopenWorkingFile() {
    CloseWorkingFile();
    working.file.Reset(Files().Open(working.path, WorkingFileMode(FileAccess::kReadWrite)));
    return working.file.IsOpen();
}

OpenMode WorkingFileMode(FileAccess access) {
    OpenMode mode;
    mode.access = access;
    mode.sharing = FileSharing::kExclusive;
    mode.pattern = AccessPattern::kRandom;
    mode.ownerOnly = access == FileAccess::kCreate;
    return mode;
}

}  // namespace mod2neu
