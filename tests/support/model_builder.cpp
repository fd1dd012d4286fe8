#include "support/model_builder.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <random>
#include <stdexcept>

namespace mod2neu {

namespace {

constexpr std::size_t kBlock = 2048;
constexpr std::size_t kHeaderBlocks = 3;
constexpr std::size_t kBlockHead = 84;
constexpr std::size_t kArea = 1964;
constexpr std::size_t kPlacesPerRun = 122;
constexpr std::size_t kRun = 123;
constexpr int kTypes = 112;
constexpr std::int32_t kNone = 0x7FFFFFFF;

void Store(std::uint8_t* at, std::uint64_t value, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        at[i] = static_cast<std::uint8_t>(value >> (8 * i));
    }
}

std::uint32_t NextNoise(std::uint32_t& state) {
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    return state;
}

// A state of 0 stays silent.
void FillWithNoise(std::uint8_t* at, std::size_t size, std::uint32_t& state) {
    if (state != 0) {
        for (std::size_t i = 0; i < size; ++i) {
            at[i] = static_cast<std::uint8_t>(NextNoise(state) >> 11);
        }
    }
}

int RecordsPerBlock(std::size_t recordSize) {
    return static_cast<int>(std::min<std::size_t>(511, kArea / recordSize));
}

bool KeyLess(const BlockContent& a, const BlockContent& b) {
    return a.database != b.database ? a.database < b.database : a.firstId < b.firstId;
}

}  // namespace

RecordImage::RecordImage(std::size_t size, unsigned seed) : bytes_(size) {
    std::uint32_t state = seed * 2654435761U + 1;
    FillWithNoise(bytes_.data(), size, state);
}

RecordImage& RecordImage::Put(std::size_t offset, const void* value, std::size_t size) {
    if (offset + size > bytes_.size()) {
        throw std::out_of_range("a field leaves the record");
    }
    std::memcpy(bytes_.data() + offset, value, size);
    return *this;
}

RecordImage& RecordImage::U8(std::size_t offset, unsigned value) {
    std::uint8_t bytes[1];
    Store(bytes, value, sizeof bytes);
    return Put(offset, bytes, sizeof bytes);
}

RecordImage& RecordImage::U16(std::size_t offset, unsigned value) {
    std::uint8_t bytes[2];
    Store(bytes, value, sizeof bytes);
    return Put(offset, bytes, sizeof bytes);
}

RecordImage& RecordImage::I32(std::size_t offset, std::int32_t value) {
    std::uint8_t bytes[4];
    Store(bytes, static_cast<std::uint32_t>(value), sizeof bytes);
    return Put(offset, bytes, sizeof bytes);
}

RecordImage& RecordImage::F32(std::size_t offset, float value) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return I32(offset, static_cast<std::int32_t>(bits));
}

RecordImage& RecordImage::F64(std::size_t offset, double value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    std::uint8_t bytes[8];
    Store(bytes, bits, sizeof bytes);
    return Put(offset, bytes, sizeof bytes);
}

RecordImage& RecordImage::Text(std::size_t offset, std::size_t width, std::string_view text) {
    std::string field(text.substr(0, width));
    if (field.size() < width) {
        field += '\0';
    }
    return Put(offset, field.data(), field.size());
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
    std::vector<std::size_t> places;
    for (std::size_t place = 0; place < blocks.size(); ++place) {
        if (blocks[place].kind == kind) {
            places.push_back(place);
        }
    }
    // Free blocks have equal keys in their content and are chained by number.
    std::stable_sort(places.begin(), places.end(),
                     [&](std::size_t a, std::size_t b) { return KeyLess(blocks[a], blocks[b]); });
    std::vector<std::uint32_t> chain(places.size());
    std::transform(places.begin(), places.end(), chain.begin(), NumberOfPlace);
    return chain;
}

std::size_t ModelImage::BlockOffset(std::uint32_t block) {
    return block * kBlock;
}

std::size_t ModelImage::EntryOffset(std::uint32_t block) {
    const std::size_t behind = (block - kHeaderBlocks) % kRun;
    return (block - behind) * kBlock + kBlockHead + 16 * (behind - 1);
}

std::size_t ModelImage::FingerOffset(int type) {
    return 8 + 4 * static_cast<std::size_t>(type);
}

void ModelImage::SetU16(std::size_t offset, unsigned value) {
    Store(bytes.data() + offset, value, 2);
}

void ModelImage::SetU32(std::size_t offset, std::uint32_t value) {
    Store(bytes.data() + offset, value, 4);
}

std::uint32_t ModelImage::U32(std::size_t offset) const {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        value |= std::uint32_t{bytes.at(offset + i)} << (8 * i);
    }
    return value;
}

ModelBuilder& ModelBuilder::Version(double version) {
    version_ = version;
    return *this;
}

ModelBuilder& ModelBuilder::Title(std::string_view title) {
    title_ = title;
    return *this;
}

ModelBuilder& ModelBuilder::Add(int type, std::int32_t database, std::int32_t id,
                                const void* record, std::size_t size) {
    Table& table = tables_[type];
    if (table.keys.empty()) {
        table.recordSize = size;
    }
    if (size != table.recordSize || size == 0 || size > kArea) {
        throw std::invalid_argument("a record has not the size of its type");
    }
    const auto* bytes = static_cast<const std::uint8_t*>(record);
    table.keys.push_back({database, id});
    table.records.insert(table.records.end(), bytes, bytes + size);
    return *this;
}

ModelBuilder& ModelBuilder::Add(int type, std::int32_t database, std::int32_t id,
                                const std::vector<std::uint8_t>& record) {
    return Add(type, database, id, record.data(), record.size());
}

ModelBuilder& ModelBuilder::Add(int type, std::int32_t database, std::int32_t id,
                                const RecordImage& record) {
    return Add(type, database, id, record.Bytes());
}

ModelBuilder& ModelBuilder::ActiveId(int type, std::int32_t id) {
    activeIds_[type] = id;
    return *this;
}

ModelBuilder& ModelBuilder::Header(std::size_t offset, const std::vector<std::uint8_t>& bytes) {
    headerBytes_[offset] = bytes;
    return *this;
}

ModelBuilder& ModelBuilder::FreeBlocks(std::size_t count) {
    freeBlocks_ = count;
    return *this;
}

ModelBuilder& ModelBuilder::NeverUsedBlocks(std::size_t count) {
    neverUsedBlocks_ = count;
    return *this;
}

ModelBuilder& ModelBuilder::Shuffle(unsigned seed) {
    return Arrange([seed](std::vector<BlockContent>& blocks) {
        std::mt19937 random(seed);
        for (std::size_t left = blocks.size(); left > 1; --left) {
            std::swap(blocks[left - 1], blocks[random() % left]);
        }
    });
}

ModelBuilder& ModelBuilder::Arrange(std::function<void(std::vector<BlockContent>&)> arrange) {
    arrange_ = std::move(arrange);
    return *this;
}

ModelBuilder& ModelBuilder::Garbage(unsigned seed) {
    garbageSeed_ = seed * 2654435761U | 1U;
    return *this;
}

ModelBuilder& ModelBuilder::Finger(int type, int member) {
    fingers_[type] = member;
    return *this;
}

std::vector<std::size_t> ModelBuilder::InKeyOrder(const Table& table) {
    std::vector<std::size_t> order(table.keys.size());
    std::iota(order.begin(), order.end(), 0);
    const auto less = [&](std::size_t a, std::size_t b) { return table.keys[a] < table.keys[b]; };
    if (!std::is_sorted(order.begin(), order.end(), less)) {
        std::stable_sort(order.begin(), order.end(), less);
    }
    return order;
}

void ModelBuilder::ListBlocksOf(int type, const std::vector<std::size_t>& order,
                                std::vector<BlockContent>& blocks) const {
    const Table& table = tables_.at(type);
    const int perBlock = RecordsPerBlock(table.recordSize);
    BlockContent current;
    for (std::size_t i = 0; i < order.size(); ++i) {
        const Key key = table.keys[order[i]];
        const std::int32_t firstId = key.id - (key.id - 1) % perBlock;
        if (i == 0 || key.database != current.database || firstId != current.firstId) {
            if (i != 0) {
                blocks.push_back(current);
            }
            current = {type, key.database, firstId, i, 0};
        }
        ++current.recordCount;
    }
    blocks.push_back(current);
}

void ModelBuilder::ListBlocks(const Order& order, std::vector<BlockContent>& blocks) const {
    for (const auto& [type, records] : order) {
        ListBlocksOf(type, records, blocks);
    }
    blocks.resize(blocks.size() + freeBlocks_, BlockContent{1, 0, 0, 0, 0});
    blocks.resize(blocks.size() + neverUsedBlocks_);
    if (arrange_) {
        arrange_(blocks);
    }
}

void ModelBuilder::WriteTables(ModelImage& image, int type,
                               const std::vector<std::size_t>& records) const {
    std::int32_t highest = 0;
    std::int32_t lowest = kNone;
    std::uint32_t count = 0;
    for (const std::size_t record : records) {
        const Key key = tables_.at(type).keys[record];
        if (key.database == 1) {
            highest = std::max(highest, key.id);
            lowest = std::min(lowest, key.id);
            ++count;
        }
    }
    const auto at = [&](std::size_t start) { return start + 4 * static_cast<std::size_t>(type); };
    image.SetU32(at(508), static_cast<std::uint32_t>(highest));
    image.SetU32(at(956), static_cast<std::uint32_t>(lowest));
    image.SetU32(at(1404), 1);
    image.SetU32(at(1852), count);
    image.SetU32(at(2300), static_cast<std::uint32_t>(highest) + 1);
    const auto active = activeIds_.find(type);
    image.SetU32(at(2748),
                 active == activeIds_.end() ? 0 : static_cast<std::uint32_t>(active->second));
}

void ModelBuilder::WriteHeader(ModelImage& image, const Order& order, std::uint32_t& noise) const {
    FillWithNoise(image.bytes.data() + 456, 8, noise);
    FillWithNoise(image.bytes.data() + 3196, 4816 - 3196, noise);
    const RecordImage version = RecordImage(8).F64(0, version_);
    const RecordImage title = RecordImage(44).Text(0, 44, title_);
    std::copy(version.Bytes().begin(), version.Bytes().end(), image.bytes.begin());
    std::copy(title.Bytes().begin(), title.Bytes().end(), image.bytes.begin() + 464);
    for (int type = 0; type < kTypes; ++type) {
        const auto records = order.find(type);
        WriteTables(image, type,
                    records == order.end() ? std::vector<std::size_t>{} : records->second);
    }
    for (const auto& [offset, bytes] : headerBytes_) {
        std::copy(bytes.begin(), bytes.end(),
                  image.bytes.begin() + static_cast<std::ptrdiff_t>(offset));
    }
}

void ModelBuilder::WriteIndexBlocks(ModelImage& image, std::uint32_t& noise) const {
    for (std::size_t number = kHeaderBlocks; number * kBlock < image.bytes.size(); number += kRun) {
        std::uint8_t* block = image.bytes.data() + number * kBlock;
        FillWithNoise(block, 4, noise);
        Store(block + 4, 1, 4);
        Store(block + 8, number, 4);
        Store(block + 12, number, 4);
        block[16] = 2;
    }
}

void ModelBuilder::WriteBlock(ModelImage& image, std::uint32_t number, const BlockContent& content,
                              const Order& order, std::uint32_t& noise) const {
    if (content.kind == 0) {
        return;
    }
    std::uint8_t* block = image.bytes.data() + number * kBlock;
    FillWithNoise(block, content.kind == 1 ? 4 : kBlock, noise);
    std::memset(block + 4, 0, kBlockHead - 4);
    Store(block + 12, number, 4);
    block[16] = static_cast<std::uint8_t>(content.kind);
    if (content.kind == 1) {
        return;
    }
    FillWithNoise(block + 17, 1, noise);
    Store(block + 4, static_cast<std::uint32_t>(content.database), 4);
    Store(block + 8, static_cast<std::uint32_t>(content.firstId), 4);
    Store(block + 18, content.recordCount, 2);
    const Table& table = tables_.at(content.kind);
    const std::vector<std::size_t>& records = order.at(content.kind);
    for (std::size_t i = 0; i < content.recordCount; ++i) {
        const std::size_t record = records[content.firstRecord + i];
        const auto slot = static_cast<std::size_t>(table.keys[record].id - content.firstId);
        // The word's bytes lie low byte first: slots 0 to 7 of it are in its second byte.
        block[20 + 2 * (slot / 16) + (slot % 16 < 8 ? 1 : 0)] |=
            static_cast<std::uint8_t>(0x80U >> (slot % 8));
        std::memcpy(block + kBlockHead + slot * table.recordSize,
                    table.records.data() + record * table.recordSize, table.recordSize);
    }
}

void ModelBuilder::LinkChains(ModelImage& image) const {
    std::map<int, std::vector<std::size_t>> places;
    for (std::size_t place = 0; place < image.blocks.size(); ++place) {
        places[image.blocks[place].kind].push_back(place);
    }
    places.erase(0);
    for (auto& [kind, chain] : places) {
        std::stable_sort(chain.begin(), chain.end(), [&](std::size_t a, std::size_t b) {
            return KeyLess(image.blocks[a], image.blocks[b]);
        });
        const auto number = [&, &members = chain](std::size_t i) {
            return i < members.size() ? ModelImage::NumberOfPlace(members[i]) : 0;
        };
        for (std::size_t i = 0; i < chain.size(); ++i) {
            const BlockContent& content = image.blocks[chain[i]];
            const std::size_t entry = ModelImage::EntryOffset(number(i));
            const bool isFree = kind == 1;
            image.SetU32(entry, isFree ? 1 : static_cast<std::uint32_t>(content.database));
            image.SetU32(entry + 4,
                         isFree ? number(i) : static_cast<std::uint32_t>(content.firstId));
            image.SetU32(entry + 8, number(i + 1));
            image.SetU32(entry + 12, i == 0 ? 0 : number(i - 1));
        }
        const auto finger = fingers_.find(kind);
        const auto size = static_cast<int>(chain.size());
        const int member = finger == fingers_.end() ? 0 : finger->second;
        image.SetU32(ModelImage::FingerOffset(kind),
                     number(static_cast<std::size_t>(((member % size) + size) % size)));
    }
}

ModelImage ModelBuilder::Build() const {
    Order order;
    ModelImage image;
    for (const auto& [type, table] : tables_) {
        order[type] = InKeyOrder(table);
        // The later of two records with one key is the one that counts.
        auto& records = order[type];
        const auto kept = std::unique(
            records.rbegin(), records.rend(),
            [&keys = table.keys](std::size_t a, std::size_t b) { return keys[a] == keys[b]; });
        records.erase(records.begin(), kept.base());
        image.recordsPerBlock[type] = RecordsPerBlock(table.recordSize);
    }
    ListBlocks(order, image.blocks);
    const std::size_t places = image.blocks.size();
    image.bytes.resize(
        (places == 0 ? kHeaderBlocks : ModelImage::NumberOfPlace(places - 1) + std::size_t{1}) *
        kBlock);
    std::uint32_t noise = garbageSeed_;
    WriteHeader(image, order, noise);
    WriteIndexBlocks(image, noise);
    for (std::size_t place = 0; place < places; ++place) {
        WriteBlock(image, ModelImage::NumberOfPlace(place), image.blocks[place], order, noise);
    }
    LinkChains(image);
    return image;
}

}  // namespace mod2neu
