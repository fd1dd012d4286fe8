#include "support/model_reader.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace mod2neu {

namespace {

constexpr std::size_t kBlockBytes = 2048;
constexpr std::size_t kRecordsAt = 84;
constexpr std::uint32_t kFirstIndex = 3;

bool IsIndexPlace(std::uint32_t number) {
    return number % 123 == kFirstIndex;
}

}  // namespace

ModelReader::ModelReader(std::vector<std::uint8_t> bytes, const std::array<int, 112>& recordSizes)
    : bytes_(std::move(bytes)),
      recordSizes_(recordSizes),
      blockCount_(static_cast<std::uint32_t>(bytes_.size() / kBlockBytes)) {
    if (bytes_.size() % kBlockBytes != 0 || blockCount_ < kFirstIndex) {
        Complain(blockCount_, "is not whole");
        return;
    }
    for (std::uint32_t number = kFirstIndex; number < blockCount_; ++number) {
        ReadBlock(number);
    }
    for (int kind = 1; kind < 112; ++kind) {
        if (kind != 2) {
            CheckChain(kind);
        }
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

std::uint32_t ModelReader::Finger(int type) const {
    return U32(8 + 4 * static_cast<std::size_t>(type));
}

std::vector<std::uint32_t> ModelReader::FreeBlocks() const {
    std::vector<std::uint32_t> numbers;
    const auto free = members_.find(1);
    if (free != members_.end()) {
        for (const Member& member : free->second) {
            numbers.push_back(member.number);
        }
    }
    return numbers;
}

void ModelReader::Complain(std::uint32_t number, const std::string& what) {
    complaints_.push_back("block " + std::to_string(number) + " " + what);
}

void ModelReader::ReadBlock(std::uint32_t number) {
    const std::size_t at = number * kBlockBytes;
    const int kind = bytes_[at + 16];
    if (kind == 0) {
        const auto begin = bytes_.begin() + static_cast<std::ptrdiff_t>(at);
        if (std::any_of(begin, begin + kBlockBytes, [](std::uint8_t byte) { return byte != 0; })) {
            Complain(number, "is never used but not zero");
        }
        return;
    }
    if (U32(at + 12) != number) {
        Complain(number, "has another number in its header");
    }
    if (IsIndexPlace(number) != (kind == 2)) {
        Complain(number, "is in the wrong place for its kind " + std::to_string(kind));
    } else if (kind == 2) {
        CheckIndexBlock(number);
    } else if (kind == 1) {
        CheckFreeBlock(number);
    } else if (kind > 111 || recordSizes_[static_cast<std::size_t>(kind)] == 0) {
        Complain(number, "has unknown kind " + std::to_string(kind));
    } else {
        ReadRecords(number, kind);
    }
}

void ModelReader::CheckIndexBlock(std::uint32_t number) {
    const std::size_t at = number * kBlockBytes;
    if (U32(at + 4) != 1 || U32(at + 8) != number) {
        Complain(number, "has not the key of an index block");
    }
}

void ModelReader::CheckFreeBlock(std::uint32_t number) {
    const std::size_t at = number * kBlockBytes;
    for (std::size_t i = 4; i < kBlockBytes; ++i) {
        if ((i < 12 || i > 16) && bytes_[at + i] != 0) {
            Complain(number, "is free but not zero at byte " + std::to_string(i));
            break;
        }
    }
    members_[1].push_back({number, 1, static_cast<std::int32_t>(number)});
}

void ModelReader::ReadRecords(std::uint32_t number, int kind) {
    const std::size_t at = number * kBlockBytes;
    const auto size = static_cast<std::size_t>(recordSizes_[static_cast<std::size_t>(kind)]);
    const std::size_t slots = std::min<std::size_t>(511, 1964 / size);
    const auto database = static_cast<std::int32_t>(U32(at + 4));
    const auto firstId = static_cast<std::int32_t>(U32(at + 8));
    if (database < 1 || firstId < 1 || static_cast<std::size_t>(firstId - 1) % slots != 0) {
        Complain(number, "has a key that no block can have");
    }
    std::uint32_t live = 0;
    for (std::size_t slot = 0; slot < 512; ++slot) {
        if ((U16(at + 20 + 2 * (slot / 16)) & (0x8000U >> slot % 16)) == 0) {
            continue;
        }
        ++live;
        if (slot >= slots) {
            Complain(number, "has an existence bit behind its records");
            continue;
        }
        const auto begin =
            bytes_.begin() + static_cast<std::ptrdiff_t>(at + kRecordsAt + slot * size);
        const RecordKey key{kind, database, firstId + static_cast<std::int32_t>(slot)};
        if (records_.count(key) != 0) {
            Complain(number, "holds a record that another block has too");
        }
        records_[key].assign(begin, begin + static_cast<std::ptrdiff_t>(size));
    }
    if (live != U16(at + 18) || live == 0) {
        Complain(number, "counts " + std::to_string(U16(at + 18)) + " records and has " +
                             std::to_string(live));
    }
    members_[kind].push_back({number, database, firstId});
}

ModelReader::Entry ModelReader::EntryOf(std::uint32_t number) const {
    const std::uint32_t behind =
        number % 123 < kFirstIndex ? number % 123 + 123 - kFirstIndex : number % 123 - kFirstIndex;
    const std::size_t at = (number - behind) * kBlockBytes + kRecordsAt + 16 * (behind - 1);
    return {static_cast<std::int32_t>(U32(at)), static_cast<std::int32_t>(U32(at + 4)), U32(at + 8),
            U32(at + 12)};
}

// The chain must be exactly the blocks of the kind, sorted, linked both ways, with the finger on
// one of them.
void ModelReader::CheckChain(int kind) {
    std::vector<Member>& chain = members_[kind];
    std::sort(chain.begin(), chain.end(), [](const Member& a, const Member& b) {
        return std::tie(a.database, a.firstId) < std::tie(b.database, b.firstId);
    });
    const std::uint32_t finger = Finger(kind);
    const bool fingerOnMember = std::any_of(
        chain.begin(), chain.end(), [&](const Member& member) { return member.number == finger; });
    if (chain.empty() ? finger != 0 : !fingerOnMember) {
        Complain(finger, "is not a member of the chain of kind " + std::to_string(kind));
    }
    for (std::size_t i = 0; i < chain.size(); ++i) {
        const Entry entry = EntryOf(chain[i].number);
        if (entry.database != chain[i].database || entry.firstId != chain[i].firstId) {
            Complain(chain[i].number, "has another key in its index entry");
        }
        if (entry.next != (i + 1 < chain.size() ? chain[i + 1].number : 0) ||
            entry.previous != (i > 0 ? chain[i - 1].number : 0)) {
            Complain(chain[i].number, "has wrong links in its index entry");
        }
    }
}

}  // namespace mod2neu
