#include "shell/paths.h"

namespace mod2neu {

namespace {

constexpr const char* kCurrentDirectory = ".\\";
constexpr const char* kWhiteSpace = " \t\n\v\f\r";
constexpr const char* kSeparators = "\\/";
constexpr std::size_t kMaxErrorText = 159;

void CutToMaxPath(std::string& path) {
    if (path.size() > kMaxPath) {
        path.resize(kMaxPath);
    }
}

// The separator that `path` uses already, else the program's own.
char SeparatorOf(const std::string& path) {
    const std::size_t last = path.find_last_of(kSeparators);
    return last != std::string::npos ? path[last] : '\\';
}

bool HasDrive(const std::string& path) {
    return path.size() >= 2 && path[1] == ':';
}

// Where the file name begins, behind drive and directory.
std::size_t FileNameStart(const std::string& path) {
    const std::size_t last = path.find_last_of(kSeparators);
    if (last != std::string::npos) {
        return last + 1;
    }
    return HasDrive(path) ? 2 : 0;
}

std::string Join(const std::string& directory, const std::string& name) {
    std::string path = directory;
    if (!path.empty() && path.back() != ':' && !IsSeparator(path.back())) {
        path += SeparatorOf(directory);
    }
    return path + name;
}

std::string InCurrentDirectory(const std::string& path) {
    std::string qualified = path;
    QualifyWithDirectory(qualified, kCurrentDirectory);
    return qualified;
}

}  // namespace

bool IsSeparator(char c) {
    return c == '\\' || c == '/';
}

void TrimBlanks(std::string& text) {
    const std::size_t first = text.find_first_not_of(kWhiteSpace);
    if (first == std::string::npos) {
        return;
    }
    text.erase(text.find_last_not_of(kWhiteSpace) + 1);
    text.erase(0, first);
}

void FixDriveRelative(std::string& path) {
    const std::size_t colon = path.find(':');
    if (colon == std::string::npos || path.find_first_of(kSeparators, colon) != std::string::npos) {
        return;
    }
    path.insert(colon + 1, {'.', SeparatorOf(path)});
    CutToMaxPath(path);
}

std::size_t FindExtension(const std::string& path) {
    const std::size_t last = path.find_last_of(kSeparators);
    return path.find('.', last == std::string::npos ? 0 : last + 1);
}

std::string FileNameOf(const std::string& path) {
    return path.substr(FileNameStart(path));
}

void SetDefaultExtension(std::string& path, const std::string& ext, bool replace) {
    TrimBlanks(path);
    const std::size_t point = FindExtension(path);
    if (point == std::string::npos) {
        path += ext;
    } else if (replace) {
        path.replace(point, std::string::npos, ext);
    }
    CutToMaxPath(path);
    FixDriveRelative(path);
}

void QualifyWithDirectory(std::string& path, const std::string& directory) {
    if (FileNameStart(path) == 0 && !directory.empty()) {
        path = Join(directory, path);
        CutToMaxPath(path);
    }
    FixDriveRelative(path);
}

void ReplaceDirectory(std::string& path, const std::string& directory) {
    path = Join(directory, FileNameOf(path));
    CutToMaxPath(path);
    if (!directory.empty()) {
        FixDriveRelative(path);
    }
}

void FullPathOf(std::string& path) {
    const std::string full = Files().FullPath(path);
    if (!full.empty() && full.size() <= kMaxPath) {
        path = full;
    }
}

bool FileExists(const std::string& path, bool* sharingViolation, std::string* fullPath) {
    const std::string qualified = InCurrentDirectory(path);
    if (sharingViolation != nullptr) {
        *sharingViolation = false;
    }
    if (qualified.size() > kMaxTestedPath) {
        return false;
    }
    const bool exists = Files().Exists(qualified);
    const bool held =
        !exists && sharingViolation != nullptr && Files().LastError() == kSharingViolation;
    if (held) {
        *sharingViolation = true;
    }
    if (fullPath != nullptr && (exists || held)) {
        *fullPath = qualified;
        FullPathOf(*fullPath);
    }
    return exists;
}

bool DeleteFileByName(const std::string& path) {
    const std::string qualified = InCurrentDirectory(path);
    return qualified.size() <= kMaxTestedPath && Files().Delete(qualified);
}

std::int64_t FileSizeOf(const std::string& path) {
    const std::string qualified = InCurrentDirectory(path);
    if (qualified.size() > kMaxTestedPath) {
        return -1;
    }
    const ScopedFile file(Files().Open(qualified, {}));
    return file.IsOpen() ? Files().Seek(file.Get(), 0, SeekOrigin::kEnd) : -1;
}

unsigned MakeTempFileName(const std::string& directory, const std::string& prefix, unsigned unique,
                          std::string& name) {
    const unsigned number =
        Files().MakeTempFile(CopyBounded(directory, kMaxPath + 1), prefix, unique, &name);
    if (number != 0) {
        FullPathOf(name);
    }
    return number;
}

FileHandle OpenRawFile(const std::string& path, bool write, bool random) {
    OpenMode mode;
    mode.access = write ? FileAccess::kCreate : FileAccess::kRead;
    mode.pattern = random ? AccessPattern::kRandom : AccessPattern::kSequential;
    mode.ownerOnly = write;
    return Files().Open(path, mode);
}

std::string SystemErrorText() {
    return Files().LastErrorText().substr(0, kMaxErrorText);
}

bool IsBlank(const std::string& text) {
    return text.empty();
}

std::string CopyBounded(const std::string& source, std::size_t capacity) {
    return source.substr(0, capacity > 0 ? capacity - 1 : 0);
}

}  // namespace mod2neu
