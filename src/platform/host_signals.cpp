#include "platform/host_signals.h"

#include <csignal>

namespace mod2neu {

void IgnoreWriteSignals() {
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
}

}  // namespace mod2neu
