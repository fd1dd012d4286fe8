#pragma once

#include <charconv>
#include <cstdint>
#include <string_view>
#include <system_error>

namespace mod2neu {

// The number above 0 that the whole text stands for; 0 when it stands for none that fits.
inline std::int32_t PositiveNumber(std::string_view text) {
    const char* const end = text.data() + text.size();
    std::int32_t number = 0;
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end && number > 0 ? number : 0;
}

}  // namespace mod2neu
