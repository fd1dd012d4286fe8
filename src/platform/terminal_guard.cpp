#include "platform/terminal_guard.h"

#include <pthread.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>

namespace mod2neu {

namespace {

constexpr std::array kEnding = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGABRT};

struct GuardState {
    bool active = false;
    int input = -1;
    int error = -1;
    termios found{};
    std::array<struct sigaction, kEnding.size()> previous{};
    struct sigaction previousContinue {};
    volatile std::sig_atomic_t typingHidden = 0;
    volatile std::sig_atomic_t resumed = 0;
};

GuardState guard;

void RestoreEcho() {
    if (guard.typingHidden != 0 && InForeground(guard.input)) {
        ::tcsetattr(guard.input, TCSANOW, &guard.found);
    }
}

extern "C" void EndBySignal(int signal) {
    RestoreEcho();
    // Nothing can be done here about a terminal that is gone.
    [[maybe_unused]] const ssize_t written = ::write(guard.error, "\r\n", 2);
    // Reset to its default on entry: once this returns, the signal ends the process.
    static_cast<void>(::raise(signal));
}

extern "C" void NoteResumed(int /*signal*/) {
    guard.resumed = 1;
}

struct sigaction Action(void (*handler)(int), int flags) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    ::sigemptyset(&action.sa_mask);
    return action;
}

}  // namespace

bool InForeground(int terminal) {
    const pid_t foreground = ::tcgetpgrp(terminal);
    return foreground <= 0 || foreground == ::getpgrp();
}

void StartTerminalGuard(int input, int error) {
    if (guard.active) {
        return;
    }
    guard.active = true;
    guard.input = input;
    guard.error = error;
    const struct sigaction ending = Action(EndBySignal, static_cast<int>(SA_RESETHAND));
    for (std::size_t i = 0; i < kEnding.size(); ++i) {
        ::sigaction(kEnding[i], nullptr, &guard.previous[i]);
        if (guard.previous[i].sa_handler != SIG_IGN) {
            ::sigaction(kEnding[i], &ending, nullptr);
        }
    }
    const struct sigaction resume = Action(NoteResumed, SA_RESTART);
    ::sigaction(SIGCONT, &resume, &guard.previousContinue);
}

void StopTerminalGuard() {
    if (!guard.active) {
        return;
    }
    ShowTyping();
    for (std::size_t i = 0; i < kEnding.size(); ++i) {
        ::sigaction(kEnding[i], &guard.previous[i], nullptr);
    }
    ::sigaction(SIGCONT, &guard.previousContinue, nullptr);
    guard.active = false;
}

void HideTyping() {
    if (!guard.active || guard.typingHidden != 0 || !InForeground(guard.input) ||
        ::tcgetattr(guard.input, &guard.found) != 0) {
        return;
    }
    termios silent = guard.found;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHONL);
    guard.typingHidden = 1;
    ::tcsetattr(guard.input, TCSANOW, &silent);
}

void ShowTyping() {
    RestoreEcho();
    guard.typingHidden = 0;
}

bool TakeResumed() {
    const bool resumed = guard.resumed != 0;
    guard.resumed = 0;
    return resumed;
}

HeldSignals::HeldSignals() {
    sigset_t held;
    ::sigemptyset(&held);
    for (const int signal : kEnding) {
        ::sigaddset(&held, signal);
    }
    ::sigaddset(&held, SIGTSTP);
    ::pthread_sigmask(SIG_BLOCK, &held, &previous_);
}

HeldSignals::~HeldSignals() {
    ::pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
}

}  // namespace mod2neu
