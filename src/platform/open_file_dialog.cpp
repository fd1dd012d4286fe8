#include "platform/open_file_dialog.h"

#include <dirent.h>
#include <fnmatch.h>
#include <strings.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "platform/file_services.h"
#include "platform/posix_paths.h"

namespace mod2neu {

namespace {

using Names = std::vector<std::string>;

constexpr std::size_t kFirstPattern = 1;  // behind its display text
constexpr std::size_t kRowsBesideList = 6;

struct DirectoryCloser {
    void operator()(DIR* directory) const { ::closedir(directory); }
};

bool IsCurrentDirectory(const std::string& directory) {
    return directory.empty() || directory == ".";
}

std::string PatternOf(const OpenFileRequest& request) {
    return request.filters.size() > kFirstPattern ? request.filters[kFirstPattern] : "*";
}

// ".MOD" for the pattern "*.MOD"; empty for one that asks for no extension.
std::string DefaultExtension(const OpenFileRequest& request) {
    const std::string pattern = PatternOf(request);
    const std::string extension = pattern.substr(std::min(pattern.find('.'), pattern.size()));
    return extension.find_first_of("*?[") == std::string::npos ? extension : "";
}

bool IsRegularFile(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool ComesBefore(const std::string& a, const std::string& b) {
    const int order = ::strcasecmp(a.c_str(), b.c_str());
    return order != 0 ? order < 0 : a < b;
}

// The files of the dialog's directory that match its pattern in any case, in order.
Names MatchingFiles(const OpenFileRequest& request) {
    const std::string place =
        IsCurrentDirectory(request.initialDirectory) ? "." : HostPath(request.initialDirectory);
    const std::string pattern = PatternOf(request);
    const std::unique_ptr<DIR, DirectoryCloser> directory(::opendir(place.c_str()));
    Names names;
    while (const dirent* entry = directory != nullptr ? ::readdir(directory.get()) : nullptr) {
        const std::string name = static_cast<const char*>(entry->d_name);
        if (::fnmatch(pattern.c_str(), name.c_str(), FNM_CASEFOLD | FNM_PERIOD) == 0 &&
            IsRegularFile(JoinPath(place, name))) {
            names.push_back(name);
        }
    }
    std::sort(names.begin(), names.end(), ComesBefore);
    return names;
}

std::string WithoutAccessKey(std::string caption) {
    caption.erase(std::remove(caption.begin(), caption.end(), '&'), caption.end());
    return caption;
}

std::string Trimmed(const std::string& text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    const std::size_t last = text.find_last_not_of(" \t\r");
    return first == std::string::npos ? "" : text.substr(first, last - first + 1);
}

std::string PathOf(const std::string& name, const OpenFileRequest& request) {
    const bool absolute = name.front() == '/' || name.front() == '\\';
    return absolute || IsCurrentDirectory(request.initialDirectory)
               ? name
               : JoinPath(request.initialDirectory, name);
}

// The existing file that the typed name means: the name itself, else with the default extension
// when it has none. A point at its end asks for a name without extension.
std::optional<std::string> ExistingFile(const std::string& typed, const OpenFileRequest& request) {
    const std::string path = PathOf(typed, request);
    if (Files().Exists(path)) {
        return path;
    }
    const std::string file = path.substr(path.find_last_of("/\\") + 1);
    if (file.empty() || Files().LastError() == kSharingViolation) {
        return std::nullopt;
    }
    std::string other = path;
    if (file.back() == '.') {
        other.pop_back();
    } else if (file.find('.') == std::string::npos) {
        other += DefaultExtension(request);
    }
    return other != path && Files().Exists(other) ? std::optional(other) : std::nullopt;
}

// The name that a number of the list stands for; other texts are names themselves.
std::string NameMeant(const std::string& text, const Names& names) {
    const bool number = text.size() < 9 && text.find_first_not_of("0123456789") == text.npos;
    const std::size_t choice = number ? std::strtoul(text.c_str(), nullptr, 10) : 0;
    return choice >= 1 && choice <= names.size() ? names[choice - 1] : text;
}

void ShowList(const TerminalChannel& channel, const OpenFileRequest& request, const Names& names) {
    const Screen screen = channel.CurrentScreen();
    const std::size_t room =
        screen.rows > kRowsBesideList ? screen.rows - kRowsBesideList : std::size_t{1};
    const std::string footer = "Enter alone: " + WithoutAccessKey(request.cancelCaption);
    const Names none = {"No " + PatternOf(request) + " in this directory"};
    const ScreenLines box = names.empty() ? TextBox(request.title, none.front(), footer, screen)
                                          : ListBox(request.title, names, room, footer, screen);
    std::string text;
    for (const std::string& line : box) {
        text += line + "\n";
    }
    channel.Send(text);
}

void TellFailure(const TerminalChannel& channel, const std::string& name) {
    const std::string text = name + ": " + Files().LastErrorText();
    channel.Send(Printable(text, Charset::kUtf8) + "\n");
}

}  // namespace

std::optional<OpenFileAnswer> RunOpenFileDialog(const TerminalChannel& channel,
                                                const OpenFileRequest& request) {
    Names names;
    if (channel.IsInteractive()) {
        names = MatchingFiles(request);
        ShowList(channel, request, names);
    }
    const std::string prompt = WithoutAccessKey(request.okCaption) + " (number or name): ";
    do {
        channel.Send(channel.IsInteractive() ? prompt : request.title + "\n");
        const std::optional<std::string> line = channel.ReadLine();
        if (!line && channel.IsInteractive()) {
            channel.Send("\n");
        }
        const std::string typed = NameMeant(Trimmed(line.value_or("")), names);
        if (typed.empty()) {
            return std::nullopt;
        }
        if (const std::optional<std::string> path = ExistingFile(typed, request)) {
            return OpenFileAnswer{*path, typed};
        }
        TellFailure(channel, typed);
    } while (channel.IsInteractive());
    return std::nullopt;
}

}  // namespace mod2neu
