#pragma once

#include <cstdint>

namespace mod2neu {

// Copies of index blocks that were read one at a time. In an old model, whose blocks lie in any
// order, every step along a chain of index entries leads to another index block, and the cache has
// dropped its group since the last visit. The copies spare half of all reads there. They hold at
// most 11 MB, which is every index block of a model of 1.3 GB; memory that cannot be had means more
// reads and nothing else.

// True when the block was copied to `block`.
[[nodiscard]] bool FindIndexBlockCopy(std::uint32_t number, std::uint8_t* block);

// Keeps a copy, in the place of another one if need be.
void KeepIndexBlockCopy(std::uint32_t number, const std::uint8_t* block);

// Forgets the copies of all index blocks among `count` blocks, which are about to change.
void ForgetIndexBlockCopies(std::uint32_t first, std::uint32_t count);

void FreeIndexBlockCopies();

}  // namespace mod2neu
