#include "support/model_reader.h"

#include <algorithm>

namespace mod2neu {

namespace {

constexpr std::size_t kBlockBytes = 2048;
constexpr std::size_t kRecordsAt = 84;
constexpr std::uint32_t kFirstIndex = 3;

}  // namespace

ModelReader::ModelReader(std::vector<std::uint8_t> bytes, const std::array<int, 112>& recordSizes)
    : bytes_(std::move(bytes)), recordSizes_(recordSizes) {
    const auto count = static_cast<std::uint32_t>(bytes_.size() / kBlockBytes);
    Require(bytes_.size() % kBlockBytes == 0 && count >= kFirstIndex, count, "is not whole");
    for (std::uint32_t number = kFirstIndex; number < count; ++number) {
        ReadBlock(number);
    }
    for (int kind = 1; kind < 112; ++kind) {
        CheckChain(kind);
    }
}

std::uint32_t ModelReader::U32(std::size_t offset) const {
    return U16(offset) | U16(offset + 2) << 16;
}

std::uint32_t ModelReader::U16(std::size_t offset) const {
    return bytes_.at(offset) | std::uint32_t{bytes_.at(offset + 1)} << 8;
}

TypeNumbers ModelReader::Numbers(int type) const {
    const auto at = [&](std::size_t table) {
        return static_cast<std::int32_t>(U32(table + 4 * static_cast<std::size_t>(type)));
    };
    return {at(508), at(956), at(1404), at(1852), at(2300), at(2748)};
}

void ModelReader::Require(bool condition, std::uint32_t number, const std::string& what) {
    if (!condition) {
        complaints_.push_back("block " + std::to_string(number) + " " + what);
    }
}

void ModelReader::ReadBlock(std::uint32_t number) {
    const std::size_t at = number * kBlockBytes;
    const auto block = bytes_.begin() + static_cast<std::ptrdiff_t>(at);
    const auto isZero = [](std::uint8_t byte) { return byte == 0; };
    const std::size_t kind = bytes_[at + 16];
    if (kind == 0) {
        Require(std::all_of(block, block + kBlockBytes, isZero), number, "is not zero");
        return;
    }
    Require(U32(at + 12) == number, number, "has another number in its header");
    Require((number % 123 == kFirstIndex) == (kind == 2), number, "is in the wrong place");
    if (kind == 2) {
        Require(U32(at + 4) == 1 && U32(at + 8) == number, number, "has a wrong key");
    } else if (kind == 1) {
        Require(std::all_of(block + 4, block + 12, isZero) &&
                    std::all_of(block + 17, block + kBlockBytes, isZero),
                number, "is free but not zero");
        members_[1][{1, number}] = number;
    } else if (kind > 111 || recordSizes_[kind] == 0) {
        Require(false, number, "has an unknown kind");
    } else {
        ReadRecords(number, static_cast<std::size_t>(recordSizes_[kind]));
    }
}

void ModelReader::ReadRecords(std::uint32_t number, std::size_t size) {
    const std::size_t at = number * kBlockBytes;
    const int kind = bytes_[at + 16];
    const auto slots = std::min<std::uint32_t>(511, static_cast<std::uint32_t>(1964 / size));
    const std::uint32_t database = U32(at + 4);
    const std::uint32_t firstId = U32(at + 8);
    Require(database - 1 < 99'999'999 && firstId - 1 < 99'999'999 && (firstId - 1) % slots == 0,
            number, "has a key that no block can have");
    std::uint32_t live = 0;
    for (std::uint32_t slot = 0; slot < 512; ++slot) {
        if ((U16(at + 20 + 2 * (slot / 16)) & (0x8000U >> slot % 16)) == 0) {
            continue;
        }
        ++live;
        Require(slot < slots, number, "has an existence bit behind its records");
        const auto begin =
            bytes_.begin() + static_cast<std::ptrdiff_t>(at + kRecordsAt + slot % slots * size);
        const RecordKey key{kind, static_cast<std::int32_t>(database),
                            static_cast<std::int32_t>(firstId + slot)};
        const bool isNew =
            records_.try_emplace(key, begin, begin + static_cast<std::ptrdiff_t>(size)).second;
        Require(isNew, number, "holds a record that another block has too");
    }
    Require(live == U16(at + 18) && live != 0, number, "has a wrong count of records");
    members_[kind][{database, firstId}] = number;
}

// The chain must be exactly the blocks of the kind, sorted, linked both ways, with the finger on
// one of them.
void ModelReader::CheckChain(int kind) {
    const std::uint32_t finger = U32(8 + 4 * static_cast<std::size_t>(kind));
    const auto& chain = members_[kind];
    bool fingerOnMember = kind == 2 || (chain.empty() && finger == 0);
    std::uint32_t previous = 0;
    for (auto member = chain.begin(); member != chain.end(); ++member) {
        const auto& [key, number] = *member;
        fingerOnMember |= number == finger;
        const std::uint32_t behind = (number - kFirstIndex) % 123;
        const std::size_t at = (number - behind) * kBlockBytes + kRecordsAt + 16 * (behind - 1);
        Require(std::pair(U32(at), U32(at + 4)) == key, number, "has another key in its entry");
        const std::uint32_t next = std::next(member) == chain.end() ? 0 : std::next(member)->second;
        Require(U32(at + 8) == next && U32(at + 12) == previous, number, "has wrong links");
        previous = number;
    }
    Require(fingerOnMember, finger, "is not in the chain of kind " + std::to_string(kind));
}

}  // namespace mod2neu
