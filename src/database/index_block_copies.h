#pragma once

#include <cstdint>

namespace mod2neu {

// Copies of index blocks that were read one at a time. In an old model, whose blocks lie in any
// order, every step along a chain of index entries leads to another index block, and the cache has
// dropped its group since the last visit. The copies spare half of all reads there, and the cache
// half of its replacements. They hold at most 11 MB, which is every index block of a model of
// 1.3 GB; memory that cannot be had means more reads and nothing else.
//
// The cache keeps the copies true: one is forgotten as soon as its block changes.

// The copied block, valid until the next call of another function here; nullptr when there is none.
const std::uint8_t* FindIndexBlockCopy(std::uint32_t number);

// Keeps a copy, in the place of another one if need be.
void KeepIndexBlockCopy(std::uint32_t number, const std::uint8_t* block);

void ForgetIndexBlockCopy(std::uint32_t number);

void FreeIndexBlockCopies();

}  // namespace mod2neu
