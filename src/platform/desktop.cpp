#include "platform/desktop.h"

#include <utility>

#include "platform/terminal_desktop.h"

namespace mod2neu {

namespace {

Desktop* replacement = nullptr;

}  // namespace

Desktop& TheDesktop() {
    if (replacement != nullptr) {
        return *replacement;
    }
    static TerminalDesktop terminal;
    return terminal;
}

Desktop* SetDesktop(Desktop* desktop) {
    return std::exchange(replacement, desktop);
}

}  // namespace mod2neu
