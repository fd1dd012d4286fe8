#include "sample/record.h"

#include <algorithm>

namespace mod2neu::sample {

Record& Record::Text(std::size_t offset, std::size_t width, std::string_view text) {
    fits_ = fits_ && text.size() < width && Holds(offset, width);
    return fits_ ? Raw(offset, text) : *this;
}

Record& Record::Raw(std::size_t offset, std::string_view bytes) {
    if (Holds(offset, bytes.size())) {
        std::copy(bytes.begin(), bytes.end(), bytes_.begin() + static_cast<std::ptrdiff_t>(offset));
    }
    return *this;
}

bool Record::Holds(std::size_t offset, std::size_t size) {
    fits_ = fits_ && offset <= bytes_.size() && size <= bytes_.size() - offset;
    return fits_;
}

}  // namespace mod2neu::sample
