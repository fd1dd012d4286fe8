#pragma once

#include <cstdint>
#include <string>

namespace mod2neu {

// How far a long step of the run is, for a user who watches. Costs nothing where nobody does.

// Starts a step that consists of `total` units of whatever kind; ends the step before.
void BeginProgress(const std::string& activity, std::int64_t total);

// Tells that `units` more are done. Redraws at most 20 times a second.
void AddProgress(std::int64_t units);

void EndProgress();

// True between BeginProgress and EndProgress when somebody watches.
bool IsProgressShown();

}  // namespace mod2neu
