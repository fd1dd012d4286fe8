#include "platform/terminal_channel.h"

#include <poll.h>
#include <strings.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string_view>

#include "platform/terminal_guard.h"

namespace mod2neu {

namespace {

std::string_view Environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string_view() : std::string_view(value);
}

bool MovesCursor() {
    const std::string_view term = Environment("TERM");
    return !term.empty() && term != "dumb";
}

Charset LocaleCharset() {
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const std::string locale(Environment(name));
        if (!locale.empty()) {
            const std::size_t point = locale.find('.');
            const std::string codeset = point == std::string::npos ? "" : locale.substr(point + 1);
            const bool utf8 = ::strncasecmp(codeset.c_str(), "UTF-8", 5) == 0 ||
                              ::strncasecmp(codeset.c_str(), "utf8", 4) == 0;
            return utf8 ? Charset::kUtf8 : Charset::kAscii;
        }
    }
    return Charset::kAscii;
}

// True when the call is worth repeating. A descriptor that somebody made non-blocking is waited
// for.
bool Again(int fd, short event) {
    if (errno == EINTR) {
        return true;
    }
    if (errno != EAGAIN) {
        return false;
    }
    pollfd waiting = {fd, event, 0};
    return ::poll(&waiting, 1, -1) >= 0 || errno == EINTR;
}

}  // namespace

TerminalChannel::TerminalChannel(int input, int error)
    : input_(input),
      error_(error),
      screenThere_(::isatty(error) == 1 && MovesCursor()),
      terminals_(screenThere_ && ::isatty(input) == 1) {}

bool TerminalChannel::IsInteractive() const {
    return terminals_ && InForeground(error_);
}

bool TerminalChannel::IsScreen() const {
    return ::isatty(error_) == 1;
}

Screen TerminalChannel::CurrentScreen() const {
    Screen screen;
    screen.charset = LocaleCharset();
    winsize size{};
    if (::ioctl(error_, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 && size.ws_row > 0) {
        screen.columns = size.ws_col;
        screen.rows = size.ws_row;
    }
    return screen;
}

void TerminalChannel::Send(const std::string& text) const {
    // In a pipe there is no escape sequence to keep whole, and its reader may be in no hurry.
    std::optional<HeldSignals> held;
    if (terminals_) {
        held.emplace();
    }
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = ::write(error_, text.data() + done, text.size() - done);
        if (count > 0) {
            done += static_cast<std::size_t>(count);
        } else if (count == 0 || !Again(error_, POLLOUT)) {
            return;
        }
    }
}

std::optional<std::string> TerminalChannel::ReadLine() const {
    std::string line;
    while (line.size() < kMaxLine) {
        char next = 0;
        const ssize_t count = ::read(input_, &next, 1);
        if (count < 0 && Again(input_, POLLIN)) {
            continue;
        }
        if (count <= 0) {
            return line.empty() ? std::nullopt : std::optional(line);
        }
        if (next == '\n') {
            break;
        }
        line += next;
    }
    return line;
}

}  // namespace mod2neu
