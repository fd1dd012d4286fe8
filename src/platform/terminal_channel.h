#pragma once

#include <optional>
#include <string>

#include "platform/terminal_frame.h"

namespace mod2neu {

// The two ends of a dialogue with the user: what he types, and standard error. Output that cannot
// be delivered is dropped; there is nobody left to tell.
class TerminalChannel {
  public:
    TerminalChannel(int input, int error);

    // A person sits there: both ends are terminals, the terminal can move its cursor, and this
    // process is in the foreground, which changes when the user puts it into the background.
    [[nodiscard]] bool IsInteractive() const;

    // Standard error is a terminal of whatever kind.
    [[nodiscard]] bool IsScreen() const;

    // Standard error is a terminal that understands escape sequences.
    [[nodiscard]] bool ShowsTitle() const { return screenThere_; }

    // The screen as it is at this moment.
    [[nodiscard]] Screen CurrentScreen() const;

    // Sends `text` with one write(2), or more when the host takes less at a time.
    void Send(const std::string& text) const;

    // The next line without its end; nothing at the end of input. A line longer than kMaxLine ends
    // there. Never reads beyond the line, which leaves the rest to whoever reads next.
    static constexpr std::size_t kMaxLine = 4096;
    [[nodiscard]] std::optional<std::string> ReadLine() const;

    [[nodiscard]] int Input() const { return input_; }
    [[nodiscard]] int Error() const { return error_; }

  private:
    int input_;
    int error_;
    bool screenThere_;
    bool terminals_;
};

}  // namespace mod2neu
