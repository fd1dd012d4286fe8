#include "shell/session.h"

namespace mod2neu {

namespace {

Session session;

}  // namespace

Session& CurrentSession() {
    return session;
}

void ResetSession() {
    session = Session{};
}

}  // namespace mod2neu
