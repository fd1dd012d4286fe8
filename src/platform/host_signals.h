#pragma once

namespace mod2neu {

// Makes a write beyond a file-size limit or into a closed pipe fail with an error number instead
// of ending the process, so that it can be reported. Called once, before any file is opened.
void IgnoreWriteSignals();

}  // namespace mod2neu
