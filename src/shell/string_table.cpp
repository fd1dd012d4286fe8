#include "shell/string_table.h"

namespace mod2neu {

namespace {

const char* TextOf(TextId id) {
    switch (id) {
        case TextId::kCaption:
            return "TARNO";
        case TextId::kOpenTitle:
            return "Open Model File";
        case TextId::kModelFilter:
            return "Model Files (*.MOD)|*.MOD|";
        case TextId::kAllFilter:
            return "All Files (*.*)|*.*|";
        case TextId::kStatusCaption:
            return "Model Database to Neutral File Conversion";
        case TextId::kStatusGroup:
            return "Status";
    }
    return "";
}

}  // namespace

std::string LoadText(TextId id, std::size_t limit) {
    return std::string(TextOf(id)).substr(0, limit);
}

}  // namespace mod2neu
