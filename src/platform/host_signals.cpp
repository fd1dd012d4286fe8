#include "platform/host_signals.h"

#include <csignal>

namespace mod2neu {

void IgnoreWriteSignals() {
    // Neither call can fail: both numbers are valid and may be ignored.
    (void)std::signal(SIGXFSZ, SIG_IGN);
    (void)std::signal(SIGPIPE, SIG_IGN);
}

}  // namespace mod2neu
