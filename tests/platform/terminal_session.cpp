#include "platform/terminal_session.h"

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>

namespace mod2neu {

namespace {

constexpr int kPatience = 10000;  // milliseconds

}  // namespace

TerminalSession::TerminalSession(unsigned short columns, unsigned short rows,
                                 const std::function<void()>& body) {
    const winsize size = {rows, columns, 0, 0};
    child_ = ::forkpty(&master_, nullptr, nullptr, &size);
    if (child_ == 0) {
        ::setenv("TERM", "xterm", 1);
        ::setenv("LC_ALL", "C", 1);
        body();
        ::_exit(0);
    }
}

TerminalSession::~TerminalSession() {
    if (child_ > 0) {
        ::kill(child_, SIGKILL);
        ::waitpid(child_, nullptr, 0);
    }
    ::close(master_);
}

void TerminalSession::Type(const std::string& keys) const {
    [[maybe_unused]] const ssize_t typed = ::write(master_, keys.data(), keys.size());
}

bool TerminalSession::ReadMore() {
    pollfd waiting = {master_, POLLIN, 0};
    char buffer[1024];
    const ssize_t count =
        ::poll(&waiting, 1, kPatience) > 0 ? ::read(master_, buffer, sizeof buffer) : -1;
    if (count > 0) {
        sent_.append(buffer, static_cast<std::size_t>(count));
    }
    return count > 0;
}

bool TerminalSession::WaitFor(const std::string& text) {
    std::size_t found = std::string::npos;
    while ((found = sent_.find(text, seen_)) == std::string::npos) {
        if (!ReadMore()) {
            return false;
        }
    }
    seen_ = found + text.size();
    return true;
}

int TerminalSession::Finish() {
    while (ReadMore()) {
    }
    int status = -1;
    ::waitpid(child_, &status, 0);
    child_ = -1;
    return status;
}

// The little of a terminal that is needed: text, carriage return, line feed, cursor up, erasing to
// the end of the line and of the screen, and titles, which do not show.
std::vector<std::string> TerminalSession::Screen() const {
    std::vector<std::string> lines(1);
    std::size_t row = 0;
    std::size_t column = 0;
    for (std::size_t at = 0; at < sent_.size(); ++at) {
        lines.resize(std::max(lines.size(), row + 1));
        std::string& line = lines[row];
        if (sent_[at] == '\r') {
            column = 0;
        } else if (sent_[at] == '\n') {
            ++row;
        } else if (sent_[at] != '\033') {
            line.resize(std::max(line.size(), column + 1), ' ');
            line[column++] = sent_[at];
        } else if (sent_[++at] == ']') {
            at = sent_.find('\a', at);
        } else {
            const std::size_t number = at + 1;
            at = sent_.find_first_not_of("0123456789;?", number);
            row -= sent_[at] == 'A' ? std::stoul(sent_.substr(number)) : 0;
            if (sent_[at] == 'J') {
                lines.resize(row + 1);
            }
            if (sent_[at] != 'A') {
                lines[row].resize(column);
            }
        }
    }
    while (!lines.empty() && lines.back().empty()) {
        lines.pop_back();
    }
    return lines;
}

bool TerminalSession::Echoes() const {
    termios state{};
    return ::tcgetattr(master_, &state) == 0 && (state.c_lflag & ECHO) != 0;
}

}  // namespace mod2neu
