#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace mod2neu {

// A child process that runs `body` with a terminal of its own as its standard streams, in the
// foreground of its own session; the test sits at the keyboard and reads the screen.
class TerminalSession {
  public:
    TerminalSession(unsigned short columns, unsigned short rows, const std::function<void()>& body);
    TerminalSession(const TerminalSession&) = delete;
    TerminalSession& operator=(const TerminalSession&) = delete;
    ~TerminalSession();

    void Type(const std::string& keys) const;

    // Reads until `text` has appeared after what was waited for before. False after ten seconds.
    bool WaitFor(const std::string& text);

    // Reads to the end; the child's wait status.
    int Finish();

    // Everything that was sent to the screen.
    [[nodiscard]] const std::string& Sent() const { return sent_; }

    // The lines that the user sees at present, without the empty ones below.
    [[nodiscard]] std::vector<std::string> Screen() const;

    // True when typed characters show.
    [[nodiscard]] bool Echoes() const;

  private:
    bool ReadMore();

    int master_ = -1;
    pid_t child_ = -1;
    std::size_t seen_ = 0;
    std::string sent_;
};

}  // namespace mod2neu
