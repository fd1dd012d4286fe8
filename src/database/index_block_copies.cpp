#include "database/index_block_copies.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

#include "database/block_format.h"
#include "database/engine_memory.h"

namespace mod2neu {

namespace {

constexpr std::size_t kMostCopies = 5500;

struct IndexBlockCopy {
    std::uint32_t number = 0;
    std::unique_ptr<std::uint8_t[]> block;
};

std::array<IndexBlockCopy, kMostCopies> copies;

// Index blocks follow one another at equal distances, so neighbours never share a place.
IndexBlockCopy& CopyOf(std::uint32_t number) {
    return copies[(number - kFirstIndexBlock) / kIndexRun % kMostCopies];
}

}  // namespace

bool FindIndexBlockCopy(std::uint32_t number, std::uint8_t* block) {
    const IndexBlockCopy& copy = CopyOf(number);
    if (copy.number != number) {
        return false;
    }
    std::memcpy(block, copy.block.get(), kBlockSize);
    return true;
}

void KeepIndexBlockCopy(std::uint32_t number, const std::uint8_t* block) {
    IndexBlockCopy& copy = CopyOf(number);
    if (copy.block == nullptr) {
        copy.block = TryAllocate<std::uint8_t>(kBlockSize);
    }
    if (copy.block != nullptr) {
        copy.number = number;
        std::memcpy(copy.block.get(), block, kBlockSize);
    }
}

void ForgetIndexBlockCopies(std::uint32_t first, std::uint32_t count) {
    for (std::uint32_t number = first; number - first < count; ++number) {
        if (IsIndexBlockPlace(number) && CopyOf(number).number == number) {
            CopyOf(number).number = 0;
        }
    }
}

void FreeIndexBlockCopies() {
    copies = {};
}

}  // namespace mod2neu
