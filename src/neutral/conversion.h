#pragma once

#include <cstdint>
#include <string>

namespace mod2neu {

// Writes the open model as a Neutral file at `path`, whose extension becomes ".neu", with `digits`
// significant digits. Every outcome is reported through ShowMessage.
void ConvertToNeutral(std::uint32_t formatCode, const std::string& path, std::int32_t digits);

}  // namespace mod2neu
