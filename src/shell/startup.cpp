#include "shell/startup.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <optional>
#include <string_view>

#include "database/close.h"
#include "neutral/conversion.h"
#include "platform/desktop.h"
#include "shell/messages.h"
#include "shell/model_opening.h"
#include "shell/paths.h"
#include "shell/session.h"
#include "shell/string_table.h"

namespace mod2neu {

namespace {

constexpr std::uint32_t kMajorVersionMask = 0xFF;
constexpr std::uint32_t kNewShellVersion = 4;
constexpr std::uint32_t kNeutralFormatCode = 9;

char UpperCase(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

bool EqualWithoutCase(char a, char b) {
    return UpperCase(a) == UpperCase(b);
}

bool EqualWithoutCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return EqualWithoutCase(x, y); });
}

void DetectWindowsVersion() {
    CurrentSession().NewShell =
        (TheDesktop().VersionWord() & kMajorVersionMask) >= kNewShellVersion;
}

// The number at the start of `text` behind white space and a sign; 0 when there is none. A number
// beyond the type's range becomes its limit.
std::int32_t LeadingNumber(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    std::int64_t value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') {
            break;
        }
        value = std::min<std::int64_t>(value * 10 + (c - '0'),
                                       std::numeric_limits<std::int32_t>::max());
    }
    return static_cast<std::int32_t>(negative ? -value : value);
}

bool IsWindowSwitch(std::string_view name) {
    return EqualWithoutCase(name, "HWND");
}

bool IsDigitsSwitch(std::string_view name) {
    return EqualWithoutCase(name, "DIG");
}

// A slash begins a switch as well as an absolute path; only a path has a further separator.
bool IsSwitch(const std::string& argument) {
    return argument.starts_with('-') ||
           (argument.starts_with('/') &&
            std::none_of(argument.begin() + 1, argument.end(), IsSeparator));
}

void SetParentWindow(std::string_view value) {
    const WindowHandle window = LeadingNumber(value);
    CurrentSession().ParentWindow = TheDesktop().IsWindow(window) ? window : kNoWindow;
}

// Sets what the switches say and returns the model's name, empty when none is given.
std::string ReadArguments(const std::vector<std::string>& arguments) {
    std::string model;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string argument = CopyBounded(arguments[i], kMaxPath + 1);
        if (!IsSwitch(argument)) {
            model = argument;
            continue;
        }
        const std::string_view name = std::string_view(argument).substr(1);
        const bool hasValue = i + 1 < arguments.size();
        if (hasValue && IsWindowSwitch(name)) {
            SetParentWindow(arguments[++i]);
        } else if (hasValue && IsDigitsSwitch(name)) {
            CurrentSession().RealDigits = LeadingNumber(arguments[++i]);
        }
    }
    return model;
}

std::vector<std::string> FilterList() {
    const std::string joined = LoadText(TextId::kModelFilter) + LoadText(TextId::kAllFilter);
    std::vector<std::string> filters;
    std::size_t start = 0;
    for (std::size_t end = joined.find('|'); end != std::string::npos;
         end = joined.find('|', start)) {
        filters.push_back(joined.substr(start, end - start));
        start = end + 1;
    }
    return filters;
}

// The newer dialog appends its default extension to a name whose own extension it does not know,
// so the last of several extensions goes; a name without any gets the model's.
std::string AdjustChosenName(const OpenFileAnswer& answer) {
    std::string path = answer.path;
    const std::string file = FileNameOf(path);
    if (CurrentSession().NewShell && std::count(file.begin(), file.end(), '.') > 1) {
        path.erase(path.rfind('.'));
    }
    if (!answer.typed.ends_with('.') && FileNameOf(path).find('.') == std::string::npos) {
        path += ".MOD";
    }
    return CopyBounded(path, kMaxPath + 1);
}

// Empty when the user cancels.
std::optional<std::string> AskModelFile() {
    OpenFileRequest request;
    request.owner = CurrentSession().ParentWindow;
    request.title = LoadText(TextId::kOpenTitle);
    request.filters = FilterList();
    request.initialDirectory = ".";
    request.okCaption = "&Open";
    request.cancelCaption = "&New Model";
    const std::optional<OpenFileAnswer> answer = TheDesktop().AskOpenFile(request);
    if (!answer) {
        return std::nullopt;
    }
    const std::string path = AdjustChosenName(*answer);
    ShowMessage(MessageId::kOpening, {path});
    return path;
}

// The name up to its first ".MOD" in whatever case.
std::string WithoutModelExtension(const std::string& name) {
    constexpr std::string_view kExtension = ".MOD";
    const auto end = std::search(name.begin(), name.end(), kExtension.begin(), kExtension.end(),
                                 [](char a, char b) { return EqualWithoutCase(a, b); });
    return {name.begin(), end};
}

void SetModelTitle(const std::string& path) {
    Session& session = CurrentSession();
    session.ModelFileName = path;
    std::string name = FileNameOf(path);
    if (session.NewShell) {
        name = WithoutModelExtension(name) + " - " + session.MessageCaption;
    } else {
        std::transform(name.begin(), name.end(), name.begin(), UpperCase);
        name = session.MessageCaption + " - " + name;
    }
    TheDesktop().SetWindowTitle(session.ParentWindow, name);
}

// The line by which a script tells how the run ended.
void ShowOutcome(const std::string& outcome, const std::string& name) {
    TheDesktop().ShowOutcome("mod2neu: " + outcome + (name.empty() ? "(no model)" : name));
}

}  // namespace

bool StartUp(const std::vector<std::string>& arguments) {
    DetectWindowsVersion();
    Session& session = CurrentSession();
    std::string model = ReadArguments(arguments);
    if (session.ParentWindow == kNoWindow) {
        session.ParentWindow = TheDesktop().DesktopWindow();
    }
    session.MessageCaption = LoadText(TextId::kCaption, kMaxCaption);
    if (IsBlank(model)) {
        const std::optional<std::string> chosen = AskModelFile();
        if (!chosen) {
            return false;
        }
        model = *chosen;
    }
    SetDefaultExtension(model, ".mod", false);
    session.RequestedModel = model;
    if (!FileExists(model)) {
        ShowMessage(MessageId::kOpenFile, {model, " "});
        return false;
    }
    SetModelTitle(model);
    return OpenModel();
}

void ShowNotConverted() noexcept try {
    ShowOutcome("not converted: ", CurrentSession().RequestedModel);
} catch (const std::exception&) {
    // Without memory for one line, nothing can be told any more.
}

void RunProgram(const std::vector<std::string>& arguments) {
    if (!StartUp(arguments)) {
        ShowNotConverted();
        return;
    }
    std::string neutral = CurrentSession().ModelFileName;
    SetDefaultExtension(neutral, ".neu", true);
    const bool written = ConvertToNeutral(kNeutralFormatCode, neutral, CurrentSession().RealDigits);
    CloseModelSession();
    if (!written) {
        ShowNotConverted();
    } else {
        ShowOutcome(ErrorsOccurred() ? "complete with errors: " : "complete: ", neutral);
    }
}

}  // namespace mod2neu
