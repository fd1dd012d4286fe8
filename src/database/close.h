#pragma once

namespace mod2neu {

// Ends the session with the open model: CloseDatabase.
bool CloseModelSession();

// Writes everything back to the working copy, frees the cache, closes and deletes the working
// copy. True when nothing was open. False, with the database still open, when writing back
// failed; that has been shown.
bool CloseDatabase();

}  // namespace mod2neu
