#pragma once

#include <csignal>

namespace mod2neu {

// Leaves the terminal as it was found, however the program ends: while it is on guard, a signal
// that ends the process first restores the echo and goes to a fresh line; the process then dies by
// that very signal, so that the shell sees it. Signals that the parent had ignored stay so.
// One terminal at a time.
void StartTerminalGuard(int input, int error);
void StopTerminalGuard();

// False for a process that the user has put into the background, where it may neither read from its
// terminal nor change its settings. A terminal that is not the controlling one has no background.
bool InForeground(int terminal);

// Keeps typed characters off the screen, where they would move what is redrawn in place.
void HideTyping();
void ShowTyping();

// True when the process was stopped and continued since the last call: the screen has moved on,
// and the shell may have changed the echo.
bool TakeResumed();

// Holds back the guarded signals, so that none cuts an escape sequence in two.
class HeldSignals {
  public:
    HeldSignals();
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;
    ~HeldSignals();

  private:
    sigset_t previous_{};
};

}  // namespace mod2neu
