#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/desktop.h"

namespace mod2neu {

constexpr std::size_t kMaxCaption = 24;

// What start-up finds out and several floors read.
struct Session {
    // Owner of the status window and the open-file dialog; the desktop window unless the caller
    // named one of its own.
    WindowHandle ParentWindow = kNoWindow;
    // Significant digits of every real number in the Neutral file; zero and negative counts have
    // a meaning of their own (FormatReal).
    std::int32_t RealDigits = 8;
    std::string MessageCaption;  // at most kMaxCaption characters
    std::string ModelFileName;   // at most kMaxPath characters
    std::string RequestedModel;  // the model as the user named it, before it was found
    // The window system is of version 4 or later.
    bool NewShell = false;
};

Session& CurrentSession();

// Back to the state at program start.
void ResetSession();

}  // namespace mod2neu
