#pragma once

#include <cstdint>

#include "database/catalogue.h"
#include "platform/little_endian.h"

namespace mod2neu {

// The model file: blocks of 2048 bytes. Blocks 0 to 2 hold the header record; block 3 and every
// 123rd after it is an index block, which holds one entry for each of the 122 blocks behind it.
constexpr int kBlockSize = 2048;
constexpr std::uint32_t kFirstIndexBlock = 3;
constexpr std::uint32_t kFirstDataBlock = 4;
constexpr std::uint32_t kEntriesPerIndexBlock = kRecordAreaSize / kIndexEntrySize;
constexpr std::uint32_t kIndexRun = kEntriesPerIndexBlock + 1;
constexpr std::uint32_t kNoBlock = 0xFFFFFFFF;

static_assert(kBlockHeaderSize + kRecordAreaSize == kBlockSize);

// The header record.
constexpr int kHeaderVersion = 0;  // double
constexpr int kHeaderFingers = 8;  // one block number per type
constexpr int kHeaderGenerationStamp = 456;
constexpr int kHeaderTitle = 464;
constexpr int kHeaderTitleSize = 44;
constexpr int kHeaderHighestId = 508;  // from here on one number per type each
constexpr int kHeaderLowestId = 956;
constexpr int kHeaderIdStep = 1404;
constexpr int kHeaderRecordCount = 1852;
constexpr int kHeaderNextFreeId = 2300;
constexpr int kHeaderActiveId = 2748;

// The header of every other block.
constexpr int kBlockStamp = 0;
constexpr int kBlockDatabase = 4;
constexpr int kBlockFirstId = 8;
constexpr int kBlockNumber = 12;
constexpr int kBlockKind = 16;
constexpr int kBlockLiveCount = 18;
constexpr int kBlockBitmap = 20;
constexpr int kBlockRecords = kBlockHeaderSize;

// An entry of an index block.
constexpr int kEntryDatabase = 0;
constexpr int kEntryFirstId = 4;
constexpr int kEntryNext = 8;
constexpr int kEntryPrevious = 12;

constexpr bool IsIndexBlockPlace(std::uint32_t block) {
    return block >= kFirstIndexBlock && (block - kFirstIndexBlock) % kIndexRun == 0;
}

// Position of the block's entry within its index block, which lies that many and one blocks
// before it. Only for blocks from kFirstDataBlock on that are no index block's place.
constexpr std::uint32_t IndexEntryNumber(std::uint32_t block) {
    return (block - kFirstDataBlock) % kIndexRun;
}

constexpr std::uint32_t IndexBlockOf(std::uint32_t block) {
    return block - IndexEntryNumber(block) - 1;
}

// Identifies a block among those of its kind; their chain ascends in this order.
struct BlockKey {
    std::int32_t database = 0;
    std::int32_t firstId = 0;

    // The check takes the zero that a defaulted comparison returns for a pointer.
    friend auto operator<=>(const BlockKey&,
                            const BlockKey&) = default;  // NOLINT(modernize-use-nullptr)
};

inline EntityType KindOfBlock(const std::uint8_t* block) {
    return static_cast<EntityType>(block[kBlockKind]);
}

inline BlockKey KeyOfBlock(const std::uint8_t* block) {
    return {ReadLittleEndian<std::int32_t>(block + kBlockDatabase),
            ReadLittleEndian<std::int32_t>(block + kBlockFirstId)};
}

// True for the kinds that hold records of a declared size. A kind byte in a damaged file may be
// anything; only these are ever chained, indexed or divided by.
constexpr bool IsRecordKind(int kind, int recordsPerBlock) {
    return kind > kIndexBlock && recordsPerBlock > 0;
}

inline bool IsRecordKind(int kind) {
    return IsRecordKind(kind, EntityRecordsPerBlock(kind));
}

}  // namespace mod2neu
