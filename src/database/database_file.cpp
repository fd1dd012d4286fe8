#include "database/database_file.h"

#include <cerrno>
#include <cstring>
#include <system_error>

#include "database/block_cache.h"
#include "database/block_format.h"
#include "database/file_copy.h"
#include "database/header_record.h"
#include "database/settings.h"
#include "database/working_file.h"
#include "shell/messages.h"
#include "shell/paths.h"
#include "shell/session.h"

namespace mod2neu {

namespace {

constexpr const char* kScratchExtension = ".scr";
constexpr const char* kCurrentDirectory = ".\\";

struct DatabaseState {
    bool open = false;
    bool scratchCopy = false;
};

DatabaseState database;

bool ReportInUse(const std::string& path) {
    ShowMessage(MessageId::kFileInUse, {path});
    return false;
}

bool ReportNotOpened(const std::string& path, const std::string& reason) {
    ShowMessage(MessageId::kOpenFile, {path, reason});
    return false;
}

std::string TextOfError(int error) {
    return std::generic_category().message(error);
}

// Reports why a working file could not be opened.
bool ReportOpenFailure(const std::string& path) {
    return Files().LastError() == kSharingViolation ? ReportInUse(path)
                                                    : ReportNotOpened(path, SystemErrorText());
}

std::string ScratchPathOf(const std::string& modelPath) {
    std::string path = modelPath;
    SetDefaultExtension(path, kScratchExtension, true);
    const std::string& directory = CurrentDatabaseSettings().scratchDirectory;
    ReplaceDirectory(
        path, directory.empty() ? Files().TempDirectory() : CopyBounded(directory, kMaxPath + 1));
    return path;
}

bool IsTooLongToTest(std::string path) {
    QualifyWithDirectory(path, kCurrentDirectory);
    return path.size() > kMaxTestedPath;
}

// False, with the reason shown, when the working copy must not be made there: another run holds
// it, or it is the model itself, which would be emptied.
bool MayBecomeScratch(const std::string& scratchPath, const std::string& modelPath) {
    if (IsTooLongToTest(scratchPath)) {
        return ReportNotOpened(scratchPath, TextOfError(ENAMETOOLONG));
    }
    bool held = false;
    if (!FileExists(scratchPath, &held)) {
        return !held || ReportInUse(scratchPath);
    }
    return !Files().SameFile(scratchPath, modelPath) ||
           ReportNotOpened(scratchPath, TextOfError(EEXIST));
}

// The working copy is created once, held exclusively from then on, filled through that handle and
// worked on through that handle. If it were copied first and opened afterwards, another run on a
// model of the same name could put its own copy there in between.
bool OpenScratchCopy(const std::string& modelPath) {
    std::string path = ScratchPathOf(modelPath);
    if (!MayBecomeScratch(path, modelPath)) {
        return false;
    }
    const ScopedFile model(OpenCopySource(modelPath));
    if (!model.IsOpen()) {
        return false;
    }
    ScopedFile scratch(Files().Open(path, WorkingFileMode(FileAccess::kCreate)));
    if (!scratch.IsOpen()) {
        return ReportOpenFailure(path);
    }
    if (!CopyFileContents(modelPath, path, model.Get(), scratch.Get())) {
        return false;
    }
    FullPathOf(path);
    AttachWorkingFile(scratch.Release(), path);
    return true;
}

// Opens the model itself for reading and writing.
bool OpenInPlace(const std::string& path, FileAccess access) {
    OpenMode mode = WorkingFileMode(access);
    mode.ownerOnly = false;
    const FileHandle file = Files().Open(path, mode);
    if (file <= 0) {
        return ReportOpenFailure(path);
    }
    AttachWorkingFile(file, path);
    return true;
}

bool AdmitDatabase(bool newDatabase, bool scratchCopy) {
    if (!InitCache(newDatabase)) {
        return false;
    }
    database = {.open = true, .scratchCopy = scratchCopy};
    return true;
}

// Lets go of the file when opening fails half-way; what is on disk stays.
bool AbandonOpening() {
    CloseWorkingFile();
    return false;
}

// The header record and the rest of its blocks.
bool WriteEmptyModel() {
    std::uint8_t blocks[kFirstIndexBlock * kBlockSize] = {};
    std::memcpy(blocks, HeaderRecord(), kHeaderRecordSize);
    if (WriteWorkingFile(0, blocks, sizeof blocks)) {
        return true;
    }
    const std::string reason = SystemErrorText();
    ShowMessage(MessageId::kWriteDatabase, {reason});
    return false;
}

}  // namespace

bool OpenDatabase() {
    if (database.open || !IsHeaderDeclared()) {
        return false;
    }
    const std::string& modelPath = CurrentSession().ModelFileName;
    bool held = false;
    if (!FileExists(modelPath, &held)) {
        return held && ReportInUse(modelPath);
    }
    const bool scratchCopy = CurrentDatabaseSettings().workOnScratchCopy;
    const bool opened =
        scratchCopy ? OpenScratchCopy(modelPath) : OpenInPlace(modelPath, FileAccess::kReadWrite);
    return opened &&
           ((ReadHeaderRecord() && AdmitDatabase(false, scratchCopy)) || AbandonOpening());
}

bool CreateDatabase(double version) {
    if (database.open || !IsHeaderDeclared() ||
        !OpenInPlace(CurrentSession().ModelFileName, FileAccess::kCreate)) {
        return false;
    }
    DeclareEntityType(kIndexBlock, kIndexEntrySize);
    InitHeaderRecord(version);
    return (WriteEmptyModel() && AdmitDatabase(true, false)) || AbandonOpening();
}

bool ReadHeaderRecord() {
    DeclareEntityType(kIndexBlock, kIndexEntrySize);
    const int size = DeclaredHeaderSize();
    const std::int64_t read =
        ReadWorkingFile(0, DeclaredPlace(kDeclareHeaderRecord), static_cast<std::size_t>(size));
    if (read == size) {
        return true;
    }
    // A file that ends too early is no error of the host, whose last one would mislead.
    const std::string reason = read < 0 ? SystemErrorText() : TextOfError(ENODATA);
    ShowMessage(MessageId::kReadDatabase, {reason});
    return false;
}

bool IsDatabaseOpen() {
    return database.open;
}

bool IsScratchCopy() {
    return database.scratchCopy;
}

void SetDatabaseClosed() {
    database = {};
}

void ResetDatabase() {
    CloseWorkingFile();
    ResetCache();
    ResetCatalogue();
    SetDatabaseClosed();
}

}  // namespace mod2neu
