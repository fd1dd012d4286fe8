#pragma once

#include <bit>
#include <cstdint>

#include "database/block_format.h"

namespace mod2neu {

// The existence bitmap of a data block: 32 words, in each of which the highest bit stands for the
// lowest slot. `slots` is always the number of slots that the block has for records; bits behind
// them, which only a damaged file has, are never looked at.

constexpr int kBitsPerWord = 16;

inline std::uint16_t BitmapWord(const std::uint8_t* block, int word) {
    return ReadLittleEndian<std::uint16_t>(block + kBlockBitmap + std::ptrdiff_t{2} * word);
}

constexpr std::uint16_t SlotMask(int slot) {
    return static_cast<std::uint16_t>(0x8000U >> (slot % kBitsPerWord));
}

inline bool IsLiveSlot(const std::uint8_t* block, int slot) {
    return (BitmapWord(block, slot / kBitsPerWord) & SlotMask(slot)) != 0;
}

inline void SetSlotLive(std::uint8_t* block, int slot, bool live) {
    const int word = slot / kBitsPerWord;
    const std::uint16_t others =
        BitmapWord(block, word) & static_cast<std::uint16_t>(~SlotMask(slot));
    WriteLittleEndian(block + kBlockBitmap + std::ptrdiff_t{2} * word,
                      static_cast<std::uint16_t>(live ? others | SlotMask(slot) : others));
}

// The first live slot from `slot` on; `slots` when there is none.
inline int NextLiveSlot(const std::uint8_t* block, int slot, int slots) {
    unsigned mask = 0xFFFFU >> (slot % kBitsPerWord);
    for (int word = slot / kBitsPerWord; word * kBitsPerWord < slots; ++word) {
        const auto bits = static_cast<std::uint16_t>(BitmapWord(block, word) & mask);
        if (bits != 0) {
            const int found = word * kBitsPerWord + std::countl_zero(bits);
            return found < slots ? found : slots;
        }
        mask = 0xFFFFU;
    }
    return slots;
}

// The last live slot up to `slot`; -1 when there is none.
inline int PreviousLiveSlot(const std::uint8_t* block, int slot) {
    unsigned mask = 0xFFFFU << (kBitsPerWord - 1 - slot % kBitsPerWord);
    for (int word = slot / kBitsPerWord; word >= 0; --word) {
        const auto bits = static_cast<std::uint16_t>(BitmapWord(block, word) & mask);
        if (bits != 0) {
            return word * kBitsPerWord + kBitsPerWord - 1 - std::countr_zero(bits);
        }
        mask = 0xFFFFU;
    }
    return -1;
}

}  // namespace mod2neu
