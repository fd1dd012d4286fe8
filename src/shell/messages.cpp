#include "shell/messages.h"

#include <array>
#include <cstdio>

#include "platform/desktop.h"
#include "shell/session.h"
#include "shell/status_window.h"

namespace mod2neu {

namespace {

struct MessageRow {
    MessageId id;
    std::uint32_t flags;  // what the message usually bears
    std::string_view text;
};

constexpr std::uint32_t kBoxedError = MSG_ERROR | MSG_BOX;

constexpr auto kMessages = std::to_array<MessageRow>({
    // clang-format off
    {MessageId::kWriteDatabase,   kBoxedError, "Unable to Write to Database: %s."},
    {MessageId::kOpenFile,        kBoxedError, "Unable to Open File %s: %s."},
    {MessageId::kStartupMemory,   kBoxedError, "Unable to Allocate Memory for Database Startup."},
    {MessageId::kOperationMemory, kBoxedError, "Insufficient memory for Operation. Need %ld more bytes."},
    {MessageId::kCacheAllocated,  MSG_STATUS,  "Allocated %i Cache Buffers, each with %i - %i byte blocks."},
    {MessageId::kReadFile,        kBoxedError, "Error Reading File %s: %s."},
    {MessageId::kWriteFile,       kBoxedError, "Error Writing File %s: %s."},
    {MessageId::kReadDatabase,    kBoxedError, "Unable to Read From Database: %s."},
    {MessageId::kTranslated,      MSG_INFO,    "%ld %s(s) Translated."},
    {MessageId::kErrorsOccurred,  kBoxedError, "Errors have Occurred. Check Message Window."},
    {MessageId::kOpening,         MSG_STATUS,  "Opening File %s..."},
    {MessageId::kVersion,         kBoxedError, "Invalid Version %.3lg Model Database (%.3lg).\n\r\nIf this is an old model it must be converted, otherwise choose a different file."},
    {MessageId::kFileInUse,       kBoxedError, "Unable to open file %s\n\r\nThis file is in use. Close the application that is using it and try again."},
    // clang-format on
});

// A table text is loaded into a buffer that holds this many characters. A formatted text keeps
// its whole length up to kMaxFormatted and is cut to kCutFormatted beyond.
constexpr std::size_t kMaxLoaded = 158;
constexpr std::size_t kMaxFormatted = 160;
constexpr std::size_t kCutFormatted = 159;

static_assert([] {
    for (const MessageRow& row : kMessages) {
        if (row.text.size() > kMaxLoaded) {
            return false;
        }
    }
    return true;
}());

bool errorsOccurred = false;

const MessageRow* FindMessage(MessageId id) {
    for (const MessageRow& row : kMessages) {
        if (row.id == id) {
            return &row;
        }
    }
    return nullptr;
}

std::string TextOf(const MessageArgument& argument) {
    if (const auto* number = std::get_if<std::int64_t>(&argument)) {
        return std::to_string(*number);
    }
    if (const auto* real = std::get_if<double>(&argument)) {
        std::array<char, 32> text{};
        const int length = std::snprintf(text.data(), text.size(), "%.3g", *real);
        return {text.data(), static_cast<std::size_t>(length)};
    }
    return std::string(std::get<std::string_view>(argument));
}

// Length of the conversion at the start of `text`, 0 when there is none.
std::size_t ConversionLength(std::string_view text) {
    for (const std::string_view conversion : {"%ld", "%i", "%s", "%.3lg"}) {
        if (text.starts_with(conversion)) {
            return conversion.size();
        }
    }
    return 0;
}

// Conversions beyond the last argument give no text.
std::string Format(std::string_view format, MessageArguments arguments) {
    std::string result;
    const MessageArgument* argument = arguments.begin();
    while (!format.empty()) {
        const std::size_t length = ConversionLength(format);
        if (length == 0) {
            result += format.front();
            format.remove_prefix(1);
            continue;
        }
        if (argument != arguments.end()) {
            result += TextOf(*argument++);
        }
        format.remove_prefix(length);
    }
    if (result.size() > kMaxFormatted) {
        result.resize(kCutFormatted);
    }
    return result;
}

WindowHandle MessageBoxOwner() {
    const WindowHandle active = TheDesktop().ActiveWindow();
    return active != kNoWindow ? active : CurrentSession().ParentWindow;
}

BoxIcon IconOf(std::uint32_t flags) {
    if ((flags & MSG_ERROR) != 0) {
        return BoxIcon::kStop;
    }
    return (flags & MSG_INFO) != 0 ? BoxIcon::kInformation : BoxIcon::kNone;
}

void ShowBox(std::uint32_t flags, const std::string& text) {
    const BoxModality modality =
        (flags & MSG_SYSTEM_MODAL) != 0 ? BoxModality::kSystem : BoxModality::kTask;
    TheDesktop().MessageBox(MessageBoxOwner(), text, CurrentSession().MessageCaption, modality,
                            IconOf(flags));
}

// A status line has one line only; what breaks it leaves no blank behind.
std::string WithoutBreaks(std::string text) {
    std::erase_if(text, [](char c) { return c == '\n' || c == '\r' || c == '\t'; });
    return text;
}

}  // namespace

void ShowMessage(std::uint32_t flags, MessageId id, MessageArguments arguments) {
    const MessageRow* row = FindMessage(id);
    const std::string text = row != nullptr ? Format(row->text, arguments) : std::string();
    if ((flags & MSG_ERROR) != 0) {
        errorsOccurred = true;
    }
    if ((flags & (MSG_BOX | MSG_SYSTEM_MODAL)) != 0) {
        ShowBox(flags, text);
    }
    SetStatusText(WithoutBreaks(text));
}

void ShowMessage(MessageId id, MessageArguments arguments) {
    const MessageRow* row = FindMessage(id);
    ShowMessage(row != nullptr ? row->flags : 0, id, arguments);
}

bool ErrorsOccurred() {
    return errorsOccurred;
}

void ResetMessages() {
    errorsOccurred = false;
    ResetStatusWindow();
}

}  // namespace mod2neu
