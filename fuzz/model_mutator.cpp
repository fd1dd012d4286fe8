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
        if (choice < 40) {
            ChangeRecord();
        } else if (choice < 52) {
            ChangeEntry();
        } else if (choice < 62) {
            ChangeBlockHeader();
        } else if (choice < 70) {
            ChangeHeaderRecord();
        } else if (choice < 80) {
            MutateSlice();
        } else if (choice < 92) {
            MoveBlocks();
        } else {
            ChangeEnd();
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

    // One that is in use, most of the time.
    std::uint32_t AnyDataBlock() {
        std::uint32_t number = 0;
        for (int tries = 0; tries < 5 && (number == 0 || Block(number)[kBlockKind] == 0); ++tries) {
            number = kFirstDataBlock + Pick(BlockCount() - kFirstDataBlock);
        }
        return number;
    }
    std::uint8_t* Block(std::uint32_t number) { return data_ + number * kBlock; }

    // A number that a finger or link could hold, right or wrong.
    std::uint32_t AnyBlockNumber() {
        const std::uint32_t wrong[] = {0, Pick(5), BlockCount() - 1 + Pick(3),
                                       kFirstIndexBlock + kIndexRun * Pick(3), Random()};
        return Pick(8) < std::size(wrong) ? wrong[Pick(std::size(wrong))] : AnyDataBlock();
    }

    std::int32_t AnyInteger() {
        constexpr std::int32_t kNotable[] = {
            0,    1,    -1,    2,          3,           5,           7,   16,    35,
            70,   80,   81,    110,        111,         121,         160, 161,   511,
            1960, 1961, 65535, 99'999'999, 100'000'000, -99'999'999, -2,  -1960, 99'999'998};
        const unsigned choice = Pick(6);
        return choice == 0   ? static_cast<std::int32_t>(0x80000001U - Pick(4))
               : choice == 1 ? static_cast<std::int32_t>(Random())
                             : kNotable[Pick(std::size(kNotable))];
    }

    double AnyReal() {
        using Limits = std::numeric_limits<double>;
        constexpr double kNotable[] = {0.0,
                                       -0.0,
                                       1.0,
                                       -1.0,
                                       0.1,
                                       1e-5,
                                       1e15,
                                       1e300,
                                       5e-324,
                                       7.0,
                                       99999999.5,
                                       2147483648.0,
                                       Limits::infinity(),
                                       -Limits::infinity(),
                                       Limits::quiet_NaN()};
        return Pick(4) == 0 ? std::bit_cast<double>(std::uint64_t{Random()} << 32 | Random())
                            : kNotable[Pick(std::size(kNotable))];
    }

    void PutNumber(std::uint8_t* at, std::int32_t value, std::size_t width) {
        const auto bits = static_cast<std::uint32_t>(value);
        for (std::size_t i = 0; i < width; ++i) {
            at[i] = static_cast<std::uint8_t>(bits >> (8 * i));
        }
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
        std::size_t offset = Pick(reach) & ~std::size_t{3};
        const unsigned choice = Pick(8);
        if (choice < 4) {
            PutNumber(record + offset, AnyInteger(), std::min<std::size_t>(size - offset, 4));
        } else if (choice == 4 && size >= 8) {
            offset = std::min(offset & ~std::size_t{7}, size - 8);
            WriteLittleEndian(record + offset, std::bit_cast<std::uint64_t>(AnyReal()));
        } else if (choice == 5) {
            record[Pick(size)] = static_cast<std::uint8_t>(Random());
        } else if (choice == 6) {
            const std::size_t length = 1 + Pick(size - offset);
            constexpr std::uint8_t kFill[] = {0, 'x', '\n', '\r', 0xFF};
            std::memset(record + offset, kFill[Pick(std::size(kFill))], length);
        } else {
            std::generate(record + offset, record + size,
                          [&] { return static_cast<std::uint8_t>(Random()); });
        }
    }

    std::uint8_t* EntryOf(std::uint32_t block) {
        return Block(IndexBlockOf(block)) + kBlockRecords +
               IndexEntryNumber(block) * kIndexEntrySize;
    }

    std::uint32_t AnyIndexedBlock() {
        const std::uint32_t block = AnyDataBlock();
        return IsIndexBlockPlace(block) ? kFirstDataBlock : block;
    }

    void ChangeEntry() {
        std::uint8_t* entry = EntryOf(AnyIndexedBlock());
        if (Pick(5) == 0) {
            std::swap_ranges(entry, entry + kIndexEntrySize, EntryOf(AnyIndexedBlock()));
            return;
        }
        const std::size_t field = 4 * Pick(4);
        const bool isLink = field >= kEntryNext;
        PutNumber(entry + field,
                  isLink ? static_cast<std::int32_t>(AnyBlockNumber()) : NearInteger(entry + field),
                  4);
    }

    std::int32_t NearInteger(const std::uint8_t* at) {
        const auto old = ReadLittleEndian<std::uint32_t>(at);
        return Pick(2) == 0 ? AnyInteger() : static_cast<std::int32_t>(old + Pick(9) - 4);
    }

    void ChangeBlockHeader() {
        std::uint8_t* block = Block(Pick(8) == 0 ? kFirstIndexBlock : AnyDataBlock());
        std::uint8_t* key = block + (Pick(2) == 0 ? kBlockDatabase : kBlockFirstId);
        switch (Pick(5)) {
            case 0:
                block[kBlockKind] = static_cast<std::uint8_t>(Pick(3) == 0 ? Pick(256) : Pick(112));
                break;
            case 1:
                PutNumber(key, NearInteger(key), 4);
                break;
            case 2:
                PutNumber(block + kBlockNumber, static_cast<std::int32_t>(AnyBlockNumber()), 4);
                break;
            case 3:
                PutNumber(block + kBlockLiveCount, AnyInteger(), 2);
                break;
            default:
                PutNumber(block + kBlockBitmap + 2 * Pick(32), static_cast<std::int32_t>(Random()),
                          2);
        }
    }

    void ChangeHeaderRecord() {
        const std::size_t type = Pick(kEntityTypeCount);
        switch (Pick(4)) {
            case 0:
                PutNumber(data_ + kHeaderActiveId + 4 * type, AnyInteger(), 4);
                break;
            case 1:
                data_[kHeaderGenerationStamp + Pick(2)] = static_cast<std::uint8_t>(Random());
                break;
            default:
                PutNumber(data_ + kHeaderFingers + 4 * Finger(),
                          static_cast<std::int32_t>(AnyBlockNumber()), 4);
        }
    }

    // A kind that has blocks, most of the time.
    std::size_t Finger() {
        const std::uint8_t kind = Block(AnyDataBlock())[kBlockKind];
        return kind < kEntityTypeCount && Pick(6) != 0 ? kind : Pick(kEntityTypeCount);
    }

    // Plain mutation of a few bytes, the size being kept.
    void MutateSlice() {
        std::uint8_t* block = Block(Pick(4) == 0 ? Pick(kFirstDataBlock) : AnyDataBlock());
        std::uint8_t* slice = block + Pick(kBlock - 64);
        std::uint8_t copy[64];
        std::memcpy(copy, slice, sizeof copy);
        const std::size_t length = plain_(copy, 1 + Pick(sizeof copy), sizeof copy);
        std::memcpy(slice, copy, length);
    }

    void MoveBlocks() {
        const std::uint32_t a = AnyDataBlock();
        const std::uint32_t b = AnyDataBlock();
        switch (Pick(5)) {
            case 0:
                std::swap_ranges(Block(a), Block(a) + kBlock, Block(b));
                break;
            case 1:
                if (a != b) {
                    std::memcpy(Block(a), Block(b), kBlock);
                }
                break;
            case 2:
                std::memset(Block(a), 0, kBlock);
                break;
            case 3:
                std::swap_ranges(Block(a) + kBlockRecords, Block(a) + kBlock,
                                 Block(b) + kBlockRecords);
                break;
            default:
                AppendCopy(a);
        }
    }

    // A further block at the end, entered in the index behind the one that it is a copy of.
    void AppendCopy(std::uint32_t source) {
        const std::uint32_t number = BlockCount();
        if (size_ % kBlock != 0 || size_ + kBlock > maxSize_) {
            return;
        }
        std::memcpy(Block(number), Block(source), kBlock);
        size_ += kBlock;
        if (IsIndexBlockPlace(number) || IsIndexBlockPlace(source)) {
            std::memset(Block(number), 0, kBlock);
            return;
        }
        std::uint8_t* entry = EntryOf(number);
        std::uint8_t* before = EntryOf(source);
        std::memcpy(entry, before, kIndexEntrySize);
        WriteLittleEndian(entry + kEntryPrevious, source);
        WriteLittleEndian(before + kEntryNext, number);
        WriteLittleEndian(Block(number) + kBlockNumber, number);
        const int field = Pick(2) == 0 ? kEntryDatabase : kEntryFirstId;
        const int header = field == kEntryDatabase ? kBlockDatabase : kBlockFirstId;
        const auto key = ReadLittleEndian<std::uint32_t>(entry + field) + 1 + Pick(30);
        WriteLittleEndian(entry + field, key);
        WriteLittleEndian(Block(number) + header, key);
    }

    void ChangeEnd() {
        const std::size_t keep = kBlock * (kFirstDataBlock + 1);
        if (Pick(3) != 0 && size_ + kBlock <= maxSize_) {
            const std::size_t more = kBlock * (1 + Pick(2)) + (Pick(8) == 0 ? Pick(kBlock) : 0);
            const std::size_t end = std::min(size_ + more, maxSize_);
            std::memset(data_ + size_, 0, end - size_);
            size_ = end;
        } else if (size_ > keep) {
            size_ = Pick(2) == 0 ? size_ - 1 - Pick(std::min(size_ - keep, kBlock))
                                 : keep + kBlock * Pick((size_ - keep) / kBlock + 1);
        }
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
