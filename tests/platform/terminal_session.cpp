#include "platform/terminal_session.h"

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace mod2neu {

namespace {

constexpr int kPatience = 10000;  // milliseconds

// The little of a terminal that is needed to see what a user sees: text, carriage return, line
// feed, cursor up, erasing to the end of the line and of the screen, and titles, which do not show.
class Emulator {
  public:
    void Take(const std::string& text) {
        for (std::size_t at = 0; at < text.size(); ++at) {
            switch (text[at]) {
                case '\r':
                    column_ = 0;
                    break;
                case '\n':
                    ++row_;
                    break;
                case '\033':
                    at = Escape(text, at + 1);
                    break;
                default:
                    Put(text[at]);
            }
        }
    }

    [[nodiscard]] std::vector<std::string> Lines() const {
        std::vector<std::string> lines = lines_;
        for (std::string& line : lines) {
            line.erase(line.find_last_not_of(' ') + 1);
        }
        while (!lines.empty() && lines.back().empty()) {
            lines.pop_back();
        }
        return lines;
    }

  private:
    std::string& Line() {
        lines_.resize(std::max(lines_.size(), row_ + 1));
        return lines_[row_];
    }

    void Put(char c) {
        std::string& line = Line();
        line.resize(std::max(line.size(), column_ + 1), ' ');
        line[column_++] = c;
    }

    // The last character of the sequence that starts after the escape character.
    std::size_t Escape(const std::string& text, std::size_t at) {
        if (text[at] == ']') {
            return text.find('\a', at);
        }
        const std::size_t end = text.find_first_not_of("0123456789;?", at + 1);
        if (text[end] == 'A') {
            row_ -= std::stoul(text.substr(at + 1));
        } else if (text[end] == 'K') {
            Line().resize(column_, ' ');
        } else if (text[end] == 'J') {
            Line().resize(column_, ' ');
            lines_.resize(row_ + 1);
        } else {
            Put('!');
        }
        return end;
    }

    std::vector<std::string> lines_;
    std::size_t row_ = 0;
    std::size_t column_ = 0;
};

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
    for (;;) {
        const std::size_t found = sent_.find(text, seen_);
        if (found != std::string::npos) {
            seen_ = found + text.size();
            return true;
        }
        if (!ReadMore()) {
            return false;
        }
    }
}

int TerminalSession::Finish() {
    while (ReadMore()) {
    }
    int status = -1;
    ::waitpid(child_, &status, 0);
    child_ = -1;
    return status;
}

std::vector<std::string> TerminalSession::Screen() const {
    Emulator screen;
    screen.Take(sent_);
    return screen.Lines();
}

bool TerminalSession::Echoes() const {
    termios state{};
    return ::tcgetattr(master_, &state) == 0 && (state.c_lflag & ECHO) != 0;
}

}  // namespace mod2neu
