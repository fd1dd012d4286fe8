#include "blocks/model/id_ranges.h"

#include <algorithm>
#include <new>

#include "database/engine_memory.h"

namespace mod2neu {

namespace {

constexpr std::size_t kMostSpans = std::size_t{1} << 18;

bool Touch(IdSpan lower, IdSpan upper) {
    return upper.first <= lower.last || upper.first - lower.last == 1;
}

}  // namespace

bool IdRanges::Add(IdSpan span) try {
    // Most lists ascend.
    if (!spans_.empty() && span.first >= spans_.back().first && Touch(spans_.back(), span)) {
        spans_.back().last = std::max(spans_.back().last, span.last);
        return true;
    }
    if (spans_.size() == kMostSpans && !MakeRoom()) {
        return false;
    }
    if (spans_.size() == spans_.capacity() &&
        !AllocationAllowed((spans_.size() + 1) * sizeof(IdSpan))) {
        return false;
    }
    spans_.push_back(span);
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

const std::vector<IdSpan>& IdRanges::Merged() {
    std::sort(spans_.begin(), spans_.end(), [](IdSpan a, IdSpan b) { return a.first < b.first; });
    std::size_t kept = 0;
    for (const IdSpan span : spans_) {
        if (kept > 0 && Touch(spans_[kept - 1], span)) {
            spans_[kept - 1].last = std::max(spans_[kept - 1].last, span.last);
        } else {
            spans_[kept++] = span;
        }
    }
    spans_.resize(kept);
    return spans_;
}

// Merging pays only when it frees much: otherwise every further range would cost a merge.
bool IdRanges::MakeRoom() {
    return Merged().size() <= kMostSpans / 2;
}

}  // namespace mod2neu
