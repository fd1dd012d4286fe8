#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mod2neu {

// Model files for tests, laid out byte by byte. Nothing here calls the database engine or takes a
// number from it: the layout is stated a second time, so that a mistake in one of the two shows.
//
//     const ModelImage image = ModelBuilder()
//                                  .Title("Wing")
//                                  .Add(7, 1, 12, RecordImage(72).F64(8, 1.5).I32(32, 4))
//                                  .FreeBlocks(3)
//                                  .NeverUsedBlocks(5)
//                                  .Garbage(1)
//                                  .Shuffle(2)
//                                  .Build();
//     files.Put("/models/wing.MOD", image.bytes);

// One record, zero until fields are set. All setters put little-endian values at byte offsets.
class RecordImage {
  public:
    explicit RecordImage(std::size_t size) : bytes_(size) {}

    // Filled with bytes that `seed` determines.
    RecordImage(std::size_t size, unsigned seed);

    RecordImage& U16(std::size_t offset, unsigned value) { return Put(offset, value, 2); }
    RecordImage& I32(std::size_t offset, std::int32_t value) {
        return Put(offset, static_cast<std::uint32_t>(value), 4);
    }
    RecordImage& F32(std::size_t offset, float value) {
        return Put(offset, std::bit_cast<std::uint32_t>(value), 4);
    }
    RecordImage& F64(std::size_t offset, double value) {
        return Put(offset, std::bit_cast<std::uint64_t>(value), 8);
    }

    // `text`, and a terminator when there is room for one within `width`.
    RecordImage& Text(std::size_t offset, std::size_t width, std::string_view text);

    [[nodiscard]] const std::vector<std::uint8_t>& Bytes() const { return bytes_; }

  private:
    RecordImage& Put(std::size_t offset, std::uint64_t value, std::size_t size);

    std::vector<std::uint8_t> bytes_;
};

// What a block of the finished file holds.
struct BlockContent {
    int kind = 0;  // 0 never used, 1 free, otherwise the type of its records
    std::int32_t database = 0;
    std::int32_t firstId = 0;
};

// A finished file, with the places at which tests damage it.
struct ModelImage {
    std::vector<std::uint8_t> bytes;
    std::vector<BlockContent> blocks;    // by place: the n-th block that is no index block
    std::map<int, int> recordsPerBlock;  // by type

    // Block number of the n-th place.
    static std::uint32_t NumberOfPlace(std::size_t place);

    // Number of the block that holds the record; 0 when there is none.
    [[nodiscard]] std::uint32_t BlockOf(int type, std::int32_t database, std::int32_t id) const;

    // Numbers of all blocks of that kind, ascending by key.
    [[nodiscard]] std::vector<std::uint32_t> Chain(int kind) const;

    // Byte offsets in the file of a block, of a block's index entry (database number, first ID,
    // next, previous; 4 bytes each) and of a type's index finger.
    static std::size_t BlockOffset(std::uint32_t block) { return std::size_t{2048} * block; }
    static std::size_t EntryOffset(std::uint32_t block);
    static std::size_t FingerOffset(int type) { return 8 + 4 * static_cast<std::size_t>(type); }

    void SetU16(std::size_t offset, unsigned value);
    void SetU32(std::size_t offset, std::uint32_t value);
    [[nodiscard]] std::uint32_t U32(std::size_t offset) const;
};

class ModelBuilder {
  public:
    ModelBuilder& Version(double version) { return Set(version_, version); }
    ModelBuilder& Title(std::string_view title) { return Set(title_, title); }

    // All records of a type have the size of its first one. A key that was added before gets the
    // new record.
    ModelBuilder& Add(int type, std::int32_t database, std::int32_t id,
                      const std::vector<std::uint8_t>& record);
    ModelBuilder& Add(int type, std::int32_t database, std::int32_t id, const RecordImage& record) {
        return Add(type, database, id, record.Bytes());
    }

    ModelBuilder& ActiveId(int type, std::int32_t id) { return Set(activeIds_[type], id); }

    // Bytes of the header record, over what the builder makes of it.
    ModelBuilder& Header(std::size_t offset, const std::vector<std::uint8_t>& bytes) {
        return Set(headerBytes_[offset], bytes);
    }

    // Blocks beside those with records. Without an order they follow these.
    ModelBuilder& FreeBlocks(std::size_t count) { return Set(freeBlocks_, count); }
    ModelBuilder& NeverUsedBlocks(std::size_t count) { return Set(neverUsedBlocks_, count); }

    // The order of the blocks in the file: ascending by type and key unless shuffled.
    ModelBuilder& Shuffle(unsigned seed) { return Set(shuffleSeed_, seed); }

    // Fills dead record slots, bytes behind the last slot, reserved bytes and stamps with bytes
    // that no reader may depend on.
    ModelBuilder& Garbage(unsigned seed) { return Set(garbageSeed_, seed * 2654435761U | 1U); }

    // Chain member (counted from 0, from the end when negative) that the type's index finger
    // names; the first unless set.
    ModelBuilder& Finger(int type, int member) { return Set(fingers_[type], member); }

    [[nodiscard]] ModelImage Build() const;

  private:
    using Key = std::pair<std::int32_t, std::int32_t>;  // database number and ID
    using Table = std::map<Key, std::vector<std::uint8_t>>;

    template <typename Member>
    ModelBuilder& Set(Member& member, const auto& value) {
        member = value;
        return *this;
    }

    void ListBlocks(ModelImage& image) const;
    void WriteHeader(ModelImage& image, std::uint32_t& noise) const;
    void WriteBlock(ModelImage& image, std::size_t place, std::uint32_t& noise) const;
    void LinkChain(ModelImage& image, int kind) const;

    double version_ = 6.0;
    std::string title_;
    std::map<int, Table> tables_;
    std::map<int, std::int32_t> activeIds_;
    std::map<std::size_t, std::vector<std::uint8_t>> headerBytes_;
    std::map<int, int> fingers_;
    std::size_t freeBlocks_ = 0;
    std::size_t neverUsedBlocks_ = 0;
    std::optional<unsigned> shuffleSeed_;
    unsigned garbageSeed_ = 0;
};

}  // namespace mod2neu
