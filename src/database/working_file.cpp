#include "database/working_file.h"

#include "database/block_format.h"

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

}  // namespace

void AttachWorkingFile(FileHandle file, const std::string& path) {
    working.file.Reset(file);
    working.path = path;
    working.readFailure.clear();
}

std::int64_t ReadWorkingFile(std::uint32_t block, std::uint8_t* buffer, std::size_t size) {
    const std::int64_t read = Files().ReadAt(working.file.Get(), PositionOf(block), buffer, size);
    if (read < 0 && working.readFailure.empty()) {
        working.readFailure = Files().LastErrorText();
    }
    return read;
}

const std::string& WorkingFileReadFailure() {
    return working.readFailure;
}

bool WriteWorkingFile(std::uint32_t block, const void* data, std::size_t size) {
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
