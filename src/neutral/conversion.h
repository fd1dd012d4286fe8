#pragma once

#include <cstdint>
#include <string>

namespace mod2neu {

// Writes the open model as a Neutral file at `path`, whose extension becomes ".neu", with `digits`
// significant digits. Every outcome is reported through ShowMessage. True when the whole file was
// written; false leaves no file, or the beginning of one.
bool ConvertToNeutral(std::uint32_t formatCode, const std::string& path, std::int32_t digits);

}  // namespace mod2neu
