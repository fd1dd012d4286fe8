#include "database/index_block_copies.h"

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

std::unique_ptr<IndexBlockCopy[]> copies;  // kMostCopies of them, from the first one kept on

// Index blocks follow one another at equal distances, so neighbours never share a place.
IndexBlockCopy& CopyOf(std::uint32_t number) {
    return copies[(number - kFirstIndexBlock) / kIndexRun % kMostCopies];
}

bool HasCopy(std::uint32_t number) {
    return copies != nullptr && CopyOf(number).number == number;
}

}  // namespace

const std::uint8_t* FindIndexBlockCopy(std::uint32_t number) {
    return HasCopy(number) ? CopyOf(number).block.get() : nullptr;
}

void KeepIndexBlockCopy(std::uint32_t number, const std::uint8_t* block) {
    if (copies == nullptr && (copies = TryAllocate<IndexBlockCopy>(kMostCopies)) == nullptr) {
        return;
    }
    IndexBlockCopy& copy = CopyOf(number);
    if (copy.block == nullptr) {
        copy.block = TryAllocate<std::uint8_t>(kBlockSize);
    }
    if (copy.block != nullptr) {
        copy.number = number;
        std::memcpy(copy.block.get(), block, kBlockSize);
    }
}

void ForgetIndexBlockCopy(std::uint32_t number) {
    if (HasCopy(number)) {
        CopyOf(number).number = 0;
    }
}

void FreeIndexBlockCopies() {
    copies.reset();
}

}  // namespace mod2neu
