#include "platform/posix_paths.h"

#include <dirent.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <string_view>

namespace mod2neu {

namespace {

struct DirectoryCloser {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

std::string CurrentDirectory() {
    std::string buffer(PATH_MAX, '\0');
    if (::getcwd(buffer.data(), buffer.size()) == nullptr) {
        return ".";
    }
    buffer.resize(buffer.find('\0'));
    return buffer;
}

bool IsRealDirectory(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

void AppendComponent(std::string& path, std::string_view component) {
    if (component.empty() || component == ".") {
        return;
    }
    const std::size_t last = path.rfind('/');
    const bool removable = last == std::string::npos || path.compare(last, 4, "/..") != 0;
    if (component == ".." && removable && (path.empty() || IsRealDirectory(path))) {
        path.erase(std::min(last, path.size()));
        return;
    }
    path.append("/").append(component);
}

}  // namespace

std::string HostPath(const std::string& path) {
    // The host would silently stop at a NUL and mean another file; no file has the empty name.
    if (path.find('\0') != std::string::npos) {
        return {};
    }
    std::string host = path;
    std::replace(host.begin(), host.end(), '\\', '/');
    return host;
}

std::optional<std::string> MatchWithoutCase(const std::string& path) {
    const std::size_t nameStart = path.rfind('/') + 1;
    const std::string directoryPath = path.substr(0, nameStart);
    const std::unique_ptr<DIR, DirectoryCloser> directory(
        ::opendir(directoryPath.empty() ? "." : directoryPath.c_str()));
    if (directory == nullptr) {
        return std::nullopt;
    }
    std::optional<std::string> match;
    while (const dirent* entry = ::readdir(directory.get())) {
        if (::strcasecmp(entry->d_name, path.c_str() + nameStart) != 0) {
            continue;
        }
        if (match) {
            return std::nullopt;
        }
        match = directoryPath + entry->d_name;
    }
    return match;
}

std::string AbsolutePath(const std::string& path) {
    const std::string host = HostPath(path);
    const std::string whole =
        !host.empty() && host.front() == '/' ? host : CurrentDirectory() + "/" + host;
    std::string absolute;
    for (std::size_t begin = 0; begin < whole.size();) {
        const std::size_t end = std::min(whole.find('/', begin), whole.size());
        AppendComponent(absolute, std::string_view(whole).substr(begin, end - begin));
        begin = end + 1;
    }
    return absolute.empty() ? "/" : absolute;
}

std::string JoinPath(const std::string& directory, const std::string& name) {
    if (directory.empty() || directory.back() == '/' || directory.back() == '\\') {
        return directory + name;
    }
    const bool backslash =
        directory.find('\\') != std::string::npos && directory.find('/') == std::string::npos;
    return directory + (backslash ? '\\' : '/') + name;
}

}  // namespace mod2neu
