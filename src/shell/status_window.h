#pragma once

#include <string>

namespace mod2neu {

// Creates and shows the status window over the session's ParentWindow. Returns true.
bool CreateStatusWindow();

// Appends one line of at most 159 characters; nothing before CreateStatusWindow and after the
// user has closed the window.
void SetStatusText(const std::string& text);

// As before CreateStatusWindow.
void ResetStatusWindow();

}  // namespace mod2neu
