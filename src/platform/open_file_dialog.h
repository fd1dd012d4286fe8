#pragma once

#include <optional>

#include "platform/desktop.h"
#include "platform/terminal_channel.h"

namespace mod2neu {

// Asks for an existing file. With a user there: shows the files that match the first filter, takes
// a number or a name, and asks again until a file can be opened; an empty line or the end of input
// cancels. Otherwise: one line of input, and a name that does not exist cancels, too.
std::optional<OpenFileAnswer> RunOpenFileDialog(const TerminalChannel& channel,
                                                const OpenFileRequest& request);

}  // namespace mod2neu
