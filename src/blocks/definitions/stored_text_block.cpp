#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include "blocks/block_writers.h"
#include "blocks/entity_block.h"

namespace mod2neu {

namespace {

// The database numbers that may hold a stored text.
constexpr std::int32_t kTextDatabases[] = {kModelDbNumber, 2};

constexpr int kChunkCapacity = 1960;
constexpr Field kChunkBytes = I32(0);
constexpr int kChunkDataOffset = 4;

// A byte count that a chunk cannot hold is brought within the chunk.
std::size_t UsedBytes(const Record<kStoredText>& chunk) {
    return static_cast<std::size_t>(std::clamp(chunk.Value<kChunkBytes>(), 0, kChunkCapacity));
}

std::size_t TotalBytes(std::int32_t database) {
    std::size_t total = 0;
    ForEachRecord<kStoredText>(
        database, [&](const Record<kStoredText>& chunk) { total += UsedBytes(chunk); });
    return total;
}

// Copies the chunks' data to `text` as far as it fits into `room` bytes. Returns the bytes copied.
// In a damaged file this walk may find chunks that the one before it did not.
std::size_t GatherText(std::int32_t database, char* text, std::size_t room) {
    std::size_t copied = 0;
    ForEachRecord<kStoredText>(database, [&](const Record<kStoredText>& chunk) {
        const std::size_t size = std::min(UsedBytes(chunk), room - copied);
        std::memcpy(text + copied, chunk.Bytes() + kChunkDataOffset, size);
        copied += size;
    });
    return copied;
}

void WriteStoredText(std::int32_t database) {
    const std::size_t room = TotalBytes(database);
    if (room == 0 || room > std::size_t{std::numeric_limits<std::int32_t>::max()}) {
        return;
    }
    const std::unique_ptr<char[]> text(new (std::nothrow) char[room]);
    if (text == nullptr) {
        return;
    }
    const std::size_t total = GatherText(database, text.get(), room);
    BeginBlock(kStoredTextBlock);
    PutLong(database);
    EndLine();
    PutLong(static_cast<std::int32_t>(total));
    EndLine();
    PutText({text.get(), strnlen(text.get(), total)});
    EndLine();
    EndBlock();
}

}  // namespace

void WriteStoredTextBlocks() {
    for (const std::int32_t database : kTextDatabases) {
        WriteStoredText(database);
    }
}

}  // namespace mod2neu
