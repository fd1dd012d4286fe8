#include "database/flag_set.h"

#include <algorithm>
#include <array>
#include <bit>

#include "database/record_access.h"
#include "platform/little_endian.h"

namespace mod2neu {

namespace {

constexpr std::int32_t kMembersPerWord = 16;
constexpr std::int32_t kHighestWordId = (kHighestId + 1) / kMembersPerWord;
constexpr int kFlagWordSize = 4;
constexpr int kMembersOffset = 0;
constexpr int kBlockingOffset = 2;
constexpr unsigned kAllMembers = 0xFFFF;

std::int32_t WordIdOf(std::int32_t member) {
    return member / kMembersPerWord + 1;
}

// The members of a word from `bit` on, counted from the lowest.
unsigned MembersFrom(std::int32_t bit) {
    return kAllMembers >> bit;
}

// Adds the members of `mask` to the word, except those that its blocking bits keep out.
bool AddToWord(EntityType setType, std::int32_t database, std::int32_t wordId, unsigned mask) {
    std::array<std::uint8_t, kFlagWordSize> word{};
    if (!GetRecord(setType, database, wordId, word.data())) {
        word = {};
    }
    mask &= ~unsigned{ReadLittleEndian<std::uint16_t>(word.data() + kBlockingOffset)};
    if (mask == 0) {
        return true;
    }
    const auto members = ReadLittleEndian<std::uint16_t>(word.data() + kMembersOffset);
    WriteLittleEndian(word.data() + kMembersOffset, static_cast<std::uint16_t>(members | mask));
    return PutRecord(setType, database, wordId, word.data());
}

}  // namespace

bool SetFlag(EntityType setType, std::int32_t database, std::int32_t member) {
    return SetFlagRange(setType, database, member, member);
}

bool SetFlagRange(EntityType setType, std::int32_t database, std::int32_t first,
                  std::int32_t last) {
    if (EntityRecordSize(setType) != kFlagWordSize) {
        return false;
    }
    first = std::max(first, 1);
    last = std::min(last, kHighestId);
    while (first <= last) {
        const std::int32_t wordId = WordIdOf(first);
        const std::int32_t wordEnd = std::min(last, wordId * kMembersPerWord - 1);
        const unsigned mask =
            MembersFrom(first % kMembersPerWord) & ~MembersFrom(wordEnd % kMembersPerWord + 1);
        if (!AddToWord(setType, database, wordId, mask)) {
            return false;
        }
        first = wordEnd + 1;
    }
    return true;
}

std::int32_t NextFlag(EntityType setType, std::int32_t database, std::int32_t previous) {
    previous = std::max(previous, 0);
    if (previous >= kHighestId || EntityRecordSize(setType) != kFlagWordSize) {
        return kNoId;
    }
    // From here on the first member that counts is the one behind `previous`.
    std::int32_t wordId = WordIdOf(previous + 1);
    unsigned mask = MembersFrom((previous + 1) % kMembersPerWord);
    while (wordId <= kHighestWordId) {
        if (const std::uint8_t* word = ViewRecord(setType, database, wordId)) {
            const auto members = static_cast<std::uint16_t>(
                ReadLittleEndian<std::uint16_t>(word + kMembersOffset) & mask);
            if (members != 0) {
                return (wordId - 1) * kMembersPerWord + std::countl_zero(members);
            }
        }
        wordId = NextRecordId(setType, database, wordId, SeekMode::kAfter);
        mask = kAllMembers;
    }
    return kNoId;
}

std::int32_t LastFlagOfRun(EntityType setType, std::int32_t database, std::int32_t member) {
    while (member < kHighestId) {
        const std::int32_t wordId = WordIdOf(member + 1);
        const std::uint8_t* word = ViewRecord(setType, database, wordId);
        if (word == nullptr) {
            break;
        }
        const auto missing =
            static_cast<std::uint16_t>(~ReadLittleEndian<std::uint16_t>(word + kMembersOffset) &
                                       MembersFrom((member + 1) % kMembersPerWord));
        if (missing != 0) {
            return (wordId - 1) * kMembersPerWord + std::countl_zero(missing) - 1;
        }
        member = wordId * kMembersPerWord - 1;
    }
    return member;
}

}  // namespace mod2neu
