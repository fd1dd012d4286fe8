#pragma once

#include <cstdint>
#include <vector>

namespace mod2neu {

// First and last ID.
struct IdSpan {
    std::int32_t first = 0;
    std::int32_t last = 0;
};

// A set of IDs as ranges in memory, a quarter of a million of them at most. Ranges that overlap
// or touch are merged now and then, so that any number of them can be added as long as what they
// make together is not scattered more than that.
class IdRanges {
  public:
    // False, with the set as it was, when there is no room.
    [[nodiscard]] bool Add(IdSpan span);

    // The ranges in ascending order, merged as far as they go.
    const std::vector<IdSpan>& Merged();

    void Clear() { spans_.clear(); }

  private:
    [[nodiscard]] bool MakeRoom();

    std::vector<IdSpan> spans_;
};

}  // namespace mod2neu
