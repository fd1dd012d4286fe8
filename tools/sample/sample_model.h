#pragma once

#include <string>

namespace mod2neu::sample {

// Writes the wing box as a model database at `path`, replacing what is there. No database may be
// open. False with the reason in `failure`; an unfinished model is deleted.
[[nodiscard]] bool WriteSampleModel(const std::string& path, std::string& failure);

}  // namespace mod2neu::sample
