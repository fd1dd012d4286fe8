#pragma once

#include <string>

namespace mod2neu {

// The string-table texts that are no messages.
enum class TextId {
    kCaption,
    kOpenTitle,
    kModelFilter,
    kAllFilter,
    kStatusCaption,
    kStatusGroup,
};

// At most `limit` characters of the text.
std::string LoadText(TextId id, std::size_t limit = 159);

}  // namespace mod2neu
