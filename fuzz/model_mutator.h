#pragma once

#include <cstddef>
#include <cstdint>

namespace mod2neu {

// Changes a few bytes without knowing what they are; libFuzzer's own mutation.
using PlainMutator = std::size_t (*)(std::uint8_t* data, std::size_t size, std::size_t maxSize);

// Changes a model file of `size` bytes in place the way damage would that gets past the header:
// fingers, links, keys, kinds, counts and bitmaps, fields of records, whole blocks, the end of the
// file. Returns the new size, at most `maxSize`. The same arguments make the same change, as far
// as `plain` does.
std::size_t MutateModel(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed,
                        PlainMutator plain);

}  // namespace mod2neu
