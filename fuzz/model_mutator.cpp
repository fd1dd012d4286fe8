#include "model_mutator.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>
#include <limits>

#include "database/block_format.h"

namespace mod2neu {

namespace {

constexpr std::size_t kBlock = kBlockSize;
constexpr std::uint64_t kGoldenRatio = 0x9E3779B97F4A7C15;

// Models do not grow beyond this, and larger ones are often cut to it, which keeps executions
// quick.
constexpr std::size_t kMostGrown = 24 * kBlock;

class Mutation {
  public:
    Mutation(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed,
             PlainMutator plain)
        : data_(data),
          size_(size),
          maxSize_(std::min(maxSize, std::max(size, kMostGrown))),
          state_(seed * kGoldenRatio + 1),
          plain_(plain) {}

    std::size_t Apply() {
        if (BlockCount() < kFirstDataBlock + 1) {
            return plain_(data_, size_, maxSize_);
        }
        if (size_ > kMostGrown && Pick(2) == 0) {
            size_ = kMostGrown;
        }
        for (unsigned left = 1 + Pick(4); left > 0 && BlockCount() > kFirstDataBlock; --left) {
            ApplyOne();
        }
        return size_;
    }

  private:
    void ApplyOne() {
        const unsigned choice = Pick(100);
        if (choice < 43) {
            ChangeRecord();
        } else if (choice < 73) {
            ChangeStructure();
        } else if (choice < 80) {
            MutateSlice(Block(AnyDataBlock()), kBlock);
        } else if (choice < 96) {
            MoveBlocks();
        } else {
            size_ -= Pick(std::min(size_ - kBlock * kFirstDataBlock, 4 * kBlock));
        }
    }

    // Cheap to seed, which happens for every input.
    std::uint32_t Random() {
        state_ = state_ * 6364136223846793005U + kGoldenRatio;
        return static_cast<std::uint32_t>(state_ >> 32);
    }

    // A number below `limit`, which is not 0.
    unsigned Pick(std::size_t limit) { return static_cast<unsigned>(Random() % limit); }

    [[nodiscard]] std::uint32_t BlockCount() const {
        return static_cast<std::uint32_t>(size_ / kBlock);
    }
    std::uint8_t* Block(std::uint32_t number) { return data_ + number * kBlock; }

    // One that is in use, most of the time.
    std::uint32_t AnyDataBlock() {
        std::uint32_t number = 0;
        for (int tries = 0; tries < 5 && (number == 0 || Block(number)[kBlockKind] == 0); ++tries) {
            number = kFirstDataBlock + Pick(BlockCount() - kFirstDataBlock);
        }
        return number;
    }

    // A number that a finger or link could hold, right or wrong.
    std::uint32_t AnyBlockNumber() {
        const std::uint32_t wrong[] = {0, Pick(5), BlockCount() - 1 + Pick(3),
                                       kFirstIndexBlock + kIndexRun * Pick(3), Random()};
        return Pick(8) < std::size(wrong) ? wrong[Pick(std::size(wrong))] : AnyDataBlock();
    }

    // The ends of IDs, of arrays in records, of integers; or the `old` value's surroundings.
    std::uint32_t AnyInteger(std::uint32_t old) {
        constexpr std::int32_t kNotable[] = {
            0,   1,   -1,  2,   3,    5,    7,     16,    35,         70,          80,         81,
            110, 111, 121, 160, 1960, 1961, -1960, 65535, 99'999'999, 100'000'000, -99'999'999};
        const std::uint32_t values[] = {0x80000001U - Pick(4), Random(), old + Pick(9) - 4};
        const unsigned choice = Pick(8);
        return choice < std::size(values)
                   ? values[choice]
                   : static_cast<std::uint32_t>(kNotable[Pick(std::size(kNotable))]);
    }

    void ChangeInteger(std::uint8_t* at) {
        WriteLittleEndian(at, AnyInteger(ReadLittleEndian<std::uint32_t>(at)));
    }

    double AnyReal() {
        using Limits = std::numeric_limits<double>;
        constexpr double kNotable[] = {0.1,           99999999.5,         Limits::denorm_min(),
                                       Limits::max(), Limits::infinity(), Limits::quiet_NaN()};
        const auto any = std::bit_cast<double>(std::uint64_t{Random()} << 32 | Random());
        const double whole = static_cast<std::int32_t>(AnyInteger(0));
        const unsigned choice = Pick(2 * std::size(kNotable));
        return choice < std::size(kNotable) ? kNotable[choice] : Pick(2) == 0 ? any : whole;
    }

    // Plain mutation of a few of the bytes, the size being kept.
    void MutateSlice(std::uint8_t* bytes, std::size_t size) {
        std::uint8_t copy[64];
        const std::size_t offset = Pick(size);
        const std::size_t length = std::min<std::size_t>(size - offset, 1 + Pick(sizeof copy));
        std::memcpy(copy, bytes + offset, length);
        std::memcpy(bytes + offset, copy, plain_(copy, length, length));
    }

    // Where a record of the block starts that exists, most of the time, and how long it is.
    std::uint8_t* AnyRecord(std::uint8_t* block, std::size_t& size) {
        const int kind = block[kBlockKind];
        const int declared = kind < kEntityTypeCount ? CatalogueRecordSize(kind) : 0;
        size = declared > 0 ? static_cast<std::size_t>(declared) : 16;
        const std::size_t slots = kRecordAreaSize / size;
        const std::size_t used = std::clamp<std::size_t>(
            ReadLittleEndian<std::uint16_t>(block + kBlockLiveCount), 1, slots);
        return block + kBlockRecords + size * Pick(Pick(8) == 0 ? slots : used);
    }

    void ChangeRecord() {
        std::size_t size = 0;
        std::uint8_t* record = AnyRecord(Block(AnyDataBlock()), size);
        // Keys and counts stand at the front of most records.
        const std::size_t reach = Pick(2) == 0 ? std::min<std::size_t>(size, 24) : size;
        const std::size_t offset = std::min(Pick(reach) & ~std::size_t{3}, size - 4);
        const unsigned choice = Pick(8);
        if (choice < 4) {
            ChangeInteger(record + offset);
        } else if (choice == 4 && size >= 8) {
            WriteLittleEndian(record + std::min(offset & ~std::size_t{7}, size - 8), AnyReal());
        } else if (choice == 5) {
            constexpr std::uint8_t kFill[] = {0, 'x', '\n', '\r', 0xFF};
            std::memset(record + offset, kFill[Pick(std::size(kFill))], 1 + Pick(size - offset));
        } else {
            MutateSlice(record, size);
        }
    }

    std::uint8_t* EntryOf(std::uint32_t block) {
        return Block(IndexBlockOf(block)) + kBlockRecords +
               std::size_t{IndexEntryNumber(block)} * kIndexEntrySize;
    }

    std::uint8_t* AnyEntry() {
        const std::uint32_t block = AnyDataBlock();
        return EntryOf(IsIndexBlockPlace(block) ? kFirstDataBlock : block);
    }

    // What leads to blocks and tells them apart: index entries, block headers, the header record.
    void ChangeStructure() {
        std::uint8_t* block = Block(Pick(8) == 0 ? kFirstIndexBlock : AnyDataBlock());
        std::uint8_t* entry = AnyEntry();
        // A kind that has blocks, most of the time.
        const std::size_t used = Block(AnyDataBlock())[kBlockKind];
        const std::size_t kind =
            used < kEntityTypeCount && Pick(6) != 0 ? used : Pick(kEntityTypeCount);
        std::uint8_t* const finger = data_ + kHeaderFingers + 4 * kind;
        std::uint8_t* const activeId =
            data_ + kHeaderActiveId + std::size_t{4} * Pick(kEntityTypeCount);
        std::uint8_t* const keys[] = {entry + kEntryDatabase, entry + kEntryFirstId,
                                      block + kBlockDatabase, block + kBlockFirstId, activeId};
        std::uint8_t* const links[] = {entry + kEntryNext, entry + kEntryPrevious,
                                       block + kBlockNumber, finger, finger};
        std::uint8_t* const bytes[] = {block + kBlockKind, block + kBlockLiveCount + Pick(2),
                                       block + kBlockBitmap + Pick(64),
                                       data_ + kHeaderGenerationStamp + Pick(2)};
        const unsigned choice = Pick(8);
        if (choice == 0) {
            std::swap_ranges(entry, entry + kIndexEntrySize, AnyEntry());
        } else if (choice < 3) {
            ChangeInteger(keys[Pick(std::size(keys))]);
        } else if (choice < 6) {
            WriteLittleEndian(links[Pick(std::size(links))], AnyBlockNumber());
        } else {
            *bytes[Pick(std::size(bytes))] =
                static_cast<std::uint8_t>(Pick(3) == 0 ? Random() : Pick(kEntityTypeCount));
        }
    }

    void MoveBlocks() {
        const std::uint32_t source = AnyDataBlock();
        std::uint8_t* a = Block(source);
        std::uint8_t* b = Block(AnyDataBlock());
        switch (Pick(5)) {
            case 0:
                std::swap_ranges(a, a + kBlock, b);
                break;
            case 1:
                std::memmove(a, b, kBlock);
                break;
            case 2:
                std::memset(a, 0, kBlock);
                break;
            case 3:
                std::swap_ranges(a + kBlockRecords, a + kBlock, b + kBlockRecords);
                break;
            default:
                AppendCopy(source);
        }
    }

    // A further block at the end, entered in the index behind the one that it is a copy of.
    void AppendCopy(std::uint32_t source) {
        const std::uint32_t number = BlockCount();
        if (size_ % kBlock != 0 || size_ + kBlock > maxSize_) {
            return;
        }
        std::uint8_t* block = Block(number);
        size_ += kBlock;
        if (IsIndexBlockPlace(number) || IsIndexBlockPlace(source)) {
            std::memset(block, 0, kBlock);
            return;
        }
        std::uint8_t* entry = EntryOf(number);
        std::memcpy(block, Block(source), kBlock);
        std::memcpy(entry, EntryOf(source), kIndexEntrySize);
        WriteLittleEndian(entry + kEntryPrevious, source);
        WriteLittleEndian(EntryOf(source) + kEntryNext, number);
        WriteLittleEndian(block + kBlockNumber, number);
        const bool other = Pick(2) == 0;
        std::uint8_t* inEntry = entry + (other ? kEntryDatabase : kEntryFirstId);
        const auto key = ReadLittleEndian<std::uint32_t>(inEntry) + 1 + Pick(30);
        WriteLittleEndian(inEntry, key);
        WriteLittleEndian(block + (other ? kBlockDatabase : kBlockFirstId), key);
    }

    std::uint8_t* data_;
    std::size_t size_;
    std::size_t maxSize_;
    std::uint64_t state_;
    PlainMutator plain_;
};

}  // namespace

std::size_t MutateModel(std::uint8_t* data, std::size_t size, std::size_t maxSize, unsigned seed,
                        PlainMutator plain) {
    return Mutation(data, size, maxSize, seed, plain).Apply();
}

}  // namespace mod2neu
