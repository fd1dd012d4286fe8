#include "support/model_builder.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <set>
#include <stdexcept>
#include <tuple>

namespace mod2neu {

namespace {

constexpr std::size_t kBlock = 2048;
constexpr std::size_t kHeaderBlocks = 3;
constexpr std::size_t kBlockHead = 84;
constexpr std::size_t kArea = 1964;
constexpr std::size_t kPlacesPerRun = 122;
constexpr std::size_t kRun = 123;

void Store(std::uint8_t* at, std::uint64_t value, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        at[i] = static_cast<std::uint8_t>(value >> (8 * i));
    }
}

// A state of 0 stays silent.
void FillWithNoise(std::uint8_t* at, std::size_t size, std::uint32_t& state) {
    for (std::size_t i = 0; state != 0 && i < size; ++i) {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        at[i] = static_cast<std::uint8_t>(state >> 11);
    }
}

}  // namespace

RecordImage::RecordImage(std::size_t size, unsigned seed) : bytes_(size) {
    std::uint32_t state = seed * 2654435761U + 1;
    FillWithNoise(bytes_.data(), size, state);
}

RecordImage& RecordImage::Put(std::size_t offset, std::uint64_t value, std::size_t size) {
    Store(&bytes_.at(offset + size - 1) - (size - 1), value, size);
    return *this;
}

RecordImage& RecordImage::Text(std::size_t offset, std::size_t width, std::string_view text) {
    for (std::size_t i = 0; i < std::min(width, text.size() + 1); ++i) {
        bytes_.at(offset + i) = static_cast<std::uint8_t>(i < text.size() ? text[i] : '\0');
    }
    return *this;
}

std::uint32_t ModelImage::NumberOfPlace(std::size_t place) {
    return static_cast<std::uint32_t>(kHeaderBlocks + kRun * (place / kPlacesPerRun) + 1 +
                                      place % kPlacesPerRun);
}

std::uint32_t ModelImage::BlockOf(int type, std::int32_t database, std::int32_t id) const {
    for (std::size_t place = 0; place < blocks.size(); ++place) {
        const BlockContent& content = blocks[place];
        if (content.kind == type && content.database == database && content.firstId <= id &&
            id < content.firstId + recordsPerBlock.at(type)) {
            return NumberOfPlace(place);
        }
    }
    return 0;
}

std::vector<std::uint32_t> ModelImage::Chain(int kind) const {
    // Free blocks have equal keys in their content and are chained by number.
    std::set<std::tuple<std::int32_t, std::int32_t, std::uint32_t>> members;
    for (std::size_t place = 0; place < blocks.size(); ++place) {
        if (blocks[place].kind == kind) {
            members.emplace(blocks[place].database, blocks[place].firstId, NumberOfPlace(place));
        }
    }
    std::vector<std::uint32_t> chain;
    chain.reserve(members.size());
    for (const auto& member : members) {
        chain.push_back(std::get<2>(member));
    }
    return chain;
}

std::size_t ModelImage::EntryOffset(std::uint32_t block) {
    const std::size_t behind = (block - kHeaderBlocks) % kRun;
    return (block - behind) * kBlock + kBlockHead + 16 * (behind - 1);
}

void ModelImage::SetU16(std::size_t offset, unsigned value) {
    Store(bytes.data() + offset, value, 2);
}

void ModelImage::SetU32(std::size_t offset, std::uint32_t value) {
    Store(bytes.data() + offset, value, 4);
}

std::uint32_t ModelImage::U32(std::size_t offset) const {
    std::uint32_t value = 0;
    for (std::size_t i = 4; i-- > 0;) {
        value = value << 8 | bytes.at(offset + i);
    }
    return value;
}

ModelBuilder& ModelBuilder::Add(int type, std::int32_t database, std::int32_t id,
                                const std::vector<std::uint8_t>& record) {
    Table& table = tables_[type];
    const std::size_t size = table.empty() ? record.size() : table.begin()->second.size();
    if (record.empty() || record.size() > kArea || record.size() != size) {
        throw std::invalid_argument("a record has not the size of its type");
    }
    table[{database, id}] = record;
    return *this;
}

void ModelBuilder::ListBlocks(ModelImage& image) const {
    std::vector<BlockContent>& blocks = image.blocks;
    for (const auto& [type, table] : tables_) {
        const int perBlock =
            static_cast<int>(std::min<std::size_t>(511, kArea / table.begin()->second.size()));
        image.recordsPerBlock[type] = perBlock;
        for (const auto& [key, record] : table) {
            const std::int32_t firstId = key.second - (key.second - 1) % perBlock;
            if (blocks.empty() || blocks.back().kind != type ||
                blocks.back().database != key.first || blocks.back().firstId != firstId) {
                blocks.push_back({type, key.first, firstId});
            }
        }
    }
    blocks.resize(blocks.size() + freeBlocks_, BlockContent{1, 0, 0});
    blocks.resize(blocks.size() + neverUsedBlocks_);
    if (shuffleSeed_) {
        std::mt19937 random(*shuffleSeed_);
        for (std::size_t left = blocks.size(); left > 1; --left) {
            std::swap(blocks[left - 1], blocks[random() % left]);
        }
    }
}

void ModelBuilder::WriteHeader(ModelImage& image, std::uint32_t& noise) const {
    FillWithNoise(image.bytes.data() + 456, 8, noise);
    FillWithNoise(image.bytes.data() + 3196, 4816 - 3196, noise);
    Store(image.bytes.data(), std::bit_cast<std::uint64_t>(version_), 8);
    std::ranges::copy(title_.substr(0, 44), image.bytes.begin() + 464);
    for (std::size_t type = 0; type < 112; ++type) {
        image.SetU32(956 + 4 * type, 0x7FFFFFFF);
        image.SetU32(1404 + 4 * type, 1);
        image.SetU32(2300 + 4 * type, 1);
    }
    const auto set = [&](std::size_t tableAt, int type, std::int64_t value) {
        image.SetU32(tableAt + 4 * static_cast<std::size_t>(type),
                     static_cast<std::uint32_t>(value));
    };
    for (const auto& [type, table] : tables_) {
        const auto first = table.lower_bound({1, 0});
        const auto end = table.lower_bound({2, 0});
        if (first != end) {
            const std::int32_t highest = std::prev(end)->first.second;
            set(508, type, highest);
            set(956, type, first->first.second);
            set(1852, type, std::distance(first, end));
            set(2300, type, highest + 1);
        }
    }
    for (const auto& [type, id] : activeIds_) {
        set(2748, type, id);
    }
    for (const auto& [offset, bytes] : headerBytes_) {
        std::ranges::copy(bytes, image.bytes.begin() + static_cast<std::ptrdiff_t>(offset));
    }
}

void ModelBuilder::WriteBlock(ModelImage& image, std::size_t place, std::uint32_t& noise) const {
    const auto& [kind, database, firstId] = image.blocks[place];
    if (kind == 0) {
        return;
    }
    const std::uint32_t number = ModelImage::NumberOfPlace(place);
    std::uint8_t* block = image.bytes.data() + number * kBlock;
    FillWithNoise(block, kind == 1 ? 4 : kBlock, noise);
    std::memset(block + 4, 0, kBlockHead - 4);
    Store(block + 4, static_cast<std::uint32_t>(database), 4);
    Store(block + 8, static_cast<std::uint32_t>(firstId), 4);
    Store(block + 12, number, 4);
    block[16] = static_cast<std::uint8_t>(kind);
    if (kind == 1) {
        return;
    }
    FillWithNoise(block + 17, 1, noise);
    const Table& table = tables_.at(kind);
    const auto end = table.lower_bound({database, firstId + image.recordsPerBlock.at(kind)});
    std::uint64_t count = 0;
    for (auto at = table.lower_bound({database, firstId}); at != end; ++at, ++count) {
        const auto slot = static_cast<std::size_t>(at->first.second - firstId);
        // The word's bytes lie low byte first: slots 0 to 7 of it are in its second byte.
        block[20 + 2 * (slot / 16) + (slot % 16 < 8 ? 1 : 0)] |=
            static_cast<std::uint8_t>(0x80U >> (slot % 8));
        std::copy(at->second.begin(), at->second.end(),
                  block + kBlockHead + slot * at->second.size());
    }
    Store(block + 18, count, 2);
}

void ModelBuilder::LinkChain(ModelImage& image, int kind) const {
    const std::vector<std::uint32_t> chain = image.Chain(kind);
    for (std::size_t i = 0; i < chain.size(); ++i) {
        const std::size_t block = chain[i] * kBlock;
        const std::size_t entry = ModelImage::EntryOffset(chain[i]);
        image.SetU32(entry, kind == 1 ? 1 : image.U32(block + 4));
        image.SetU32(entry + 4, kind == 1 ? chain[i] : image.U32(block + 8));
        image.SetU32(entry + 8, i + 1 < chain.size() ? chain[i + 1] : 0);
        image.SetU32(entry + 12, i > 0 ? chain[i - 1] : 0);
    }
    const auto finger = fingers_.find(kind);
    const auto size = static_cast<int>(chain.size());
    const int member = finger == fingers_.end() ? 0 : finger->second % size + size;
    image.SetU32(ModelImage::FingerOffset(kind), chain[static_cast<std::size_t>(member % size)]);
}

ModelImage ModelBuilder::Build() const {
    ModelImage image;
    ListBlocks(image);
    const std::size_t places = image.blocks.size();
    image.bytes.resize(
        kBlock * (places == 0 ? kHeaderBlocks : std::size_t{1} + image.NumberOfPlace(places - 1)));
    std::uint32_t noise = garbageSeed_;
    WriteHeader(image, noise);
    for (std::size_t number = kHeaderBlocks; number * kBlock < image.bytes.size(); number += kRun) {
        std::uint8_t* block = image.bytes.data() + number * kBlock;
        FillWithNoise(block, 4, noise);
        Store(block + 4, 1, 4);
        Store(block + 8, number, 4);
        Store(block + 12, number, 4);
        block[16] = 2;
    }
    std::set<int> kinds;
    for (std::size_t place = 0; place < places; ++place) {
        WriteBlock(image, place, noise);
        kinds.insert(image.blocks[place].kind);
    }
    kinds.erase(0);
    for (const int kind : kinds) {
        LinkChain(image, kind);
    }
    return image;
}

}  // namespace mod2neu
