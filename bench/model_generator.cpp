#include "model_generator.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <numeric>
#include <random>

#include "database/block_format.h"
#include "database/existence_bitmap.h"

namespace mod2neu {
namespace {

constexpr double kVersion = 6.0;
constexpr std::int32_t kNoLowestId = 0x7FFFFFFF;

using BlockBytes = std::array<std::uint8_t, kBlockSize>;

// One block with records: where its table's records for it start and how many there are.
struct BlockPlan {
    std::uint32_t table;
    std::int32_t firstId;
    std::int32_t firstRecord;
    std::int32_t count;
};

std::int32_t IdOf(const ModelTable& table, std::int32_t record) {
    return 1 + record * table.step;
}

int PerBlock(const ModelTable& table) {
    return RecordsPerBlockOf(CatalogueRecordSize(table.type));
}

// The blocks of the file in key order, and where they lie.
class BlockMap {
  public:
    BlockMap(const std::vector<ModelTable>& tables, BlockOrder order) : tables_(tables) {
        for (std::uint32_t table = 0; table < tables.size(); ++table) {
            PlanTable(table);
        }
        blockAt_.resize(blocks_.size());
        std::iota(blockAt_.begin(), blockAt_.end(), 0U);
        if (order == BlockOrder::kShuffled) {
            std::mt19937 random(1);
            std::shuffle(blockAt_.begin(), blockAt_.end(), random);
        }
        placeOf_.resize(blocks_.size());
        for (std::uint32_t place = 0; place < blockAt_.size(); ++place) {
            placeOf_[blockAt_[place]] = place;
        }
    }

    [[nodiscard]] std::size_t Size() const { return blocks_.size(); }
    [[nodiscard]] std::uint32_t BlockAt(std::size_t place) const { return blockAt_[place]; }
    [[nodiscard]] const BlockPlan& Plan(std::uint32_t block) const { return blocks_[block]; }
    [[nodiscard]] const ModelTable& TableOf(std::uint32_t block) const {
        return tables_[blocks_[block].table];
    }

    [[nodiscard]] std::uint32_t NumberOf(std::uint32_t block) const {
        const std::uint32_t place = placeOf_[block];
        return kFirstIndexBlock + kIndexRun * (place / kEntriesPerIndexBlock) + 1 +
               place % kEntriesPerIndexBlock;
    }

    // Number of the block `distance` further on in the chain; 0 behind its ends.
    [[nodiscard]] std::uint32_t Neighbour(std::uint32_t block, std::int64_t distance) const {
        const std::int64_t other = block + distance;
        if (other < 0 || other >= static_cast<std::int64_t>(blocks_.size())) {
            return 0;
        }
        const auto neighbour = static_cast<std::uint32_t>(other);
        return TableOf(neighbour).type == TableOf(block).type ? NumberOf(neighbour) : 0;
    }

  private:
    void PlanTable(std::uint32_t index) {
        const ModelTable& table = tables_[index];
        const int perBlock = PerBlock(table);
        if (perBlock == 0) {
            return;
        }
        for (std::int32_t record = 0; record < table.count;) {
            const std::int32_t id = IdOf(table, record);
            const std::int32_t firstId = id - (id - 1) % perBlock;
            const std::int32_t inBlock = (firstId + perBlock - 1 - id) / table.step + 1;
            const std::int32_t count = std::min(inBlock, table.count - record);
            blocks_.push_back({index, firstId, record, count});
            record += count;
        }
    }

    const std::vector<ModelTable>& tables_;
    std::vector<BlockPlan> blocks_;
    std::vector<std::uint32_t> blockAt_;
    std::vector<std::uint32_t> placeOf_;
};

class ModelFile {
  public:
    explicit ModelFile(const std::string& path) : file_(std::fopen(path.c_str(), "wb")) {}
    ModelFile(const ModelFile&) = delete;
    ModelFile& operator=(const ModelFile&) = delete;
    ~ModelFile() { Close(); }

    void Write(const std::uint8_t* bytes, std::size_t size) {
        good_ = good_ && file_ != nullptr && std::fwrite(bytes, 1, size, file_) == size;
    }
    bool Close() {
        if (file_ != nullptr) {
            good_ = std::fclose(file_) == 0 && good_;
            file_ = nullptr;
        }
        return good_;
    }

  private:
    std::FILE* file_;
    bool good_ = true;
};

// Where the type's number stands in one of the header's tables.
std::uint8_t* PlaceOf(std::uint8_t* header, int numbers, int type) {
    return header + numbers + std::ptrdiff_t{4} * type;
}

void WriteTypeTables(const BlockMap& map, std::uint8_t* header) {
    for (int type = 0; type < kEntityTypeCount; ++type) {
        WriteLittleEndian(PlaceOf(header, kHeaderLowestId, type), kNoLowestId);
        WriteLittleEndian(PlaceOf(header, kHeaderIdStep, type), 1);
        WriteLittleEndian(PlaceOf(header, kHeaderNextFreeId, type), 1);
    }
    for (auto block = static_cast<std::uint32_t>(map.Size()); block-- > 0;) {
        const ModelTable& table = map.TableOf(block);
        WriteLittleEndian(PlaceOf(header, kHeaderFingers, table.type), map.NumberOf(block));
        if (table.database == 1) {
            const std::int32_t highest = IdOf(table, table.count - 1);
            WriteLittleEndian(PlaceOf(header, kHeaderHighestId, table.type), highest);
            WriteLittleEndian(PlaceOf(header, kHeaderLowestId, table.type), 1);
            WriteLittleEndian(PlaceOf(header, kHeaderRecordCount, table.type), table.count);
            WriteLittleEndian(PlaceOf(header, kHeaderNextFreeId, table.type), highest + 1);
        }
    }
}

void WriteHeader(const BlockMap& map, ModelFile& file) {
    std::vector<std::uint8_t> header(std::size_t{kFirstIndexBlock} * kBlockSize);
    WriteLittleEndian(header.data() + kHeaderVersion, kVersion);
    std::memcpy(header.data() + kHeaderTitle, "Generated", sizeof "Generated");
    WriteTypeTables(map, header.data());
    file.Write(header.data(), header.size());
}

void WriteBlockHeader(BlockBytes& bytes, EntityType kind, BlockKey key, std::uint32_t number) {
    bytes.fill(0);
    WriteLittleEndian(bytes.data() + kBlockDatabase, key.database);
    WriteLittleEndian(bytes.data() + kBlockFirstId, key.firstId);
    WriteLittleEndian(bytes.data() + kBlockNumber, number);
    bytes[kBlockKind] = kind;
}

// The index block in front of the blocks from `place` on.
void WriteIndexBlock(const BlockMap& map, std::size_t place, ModelFile& file) {
    BlockBytes bytes;
    const std::uint32_t number = map.NumberOf(map.BlockAt(place)) - 1;
    WriteBlockHeader(bytes, kIndexBlock, {1, static_cast<std::int32_t>(number)}, number);
    const std::size_t end = std::min(map.Size(), place + kEntriesPerIndexBlock);
    std::uint8_t* entry = bytes.data() + kBlockRecords;
    for (; place < end; ++place, entry += kIndexEntrySize) {
        const std::uint32_t block = map.BlockAt(place);
        WriteLittleEndian(entry + kEntryDatabase, map.TableOf(block).database);
        WriteLittleEndian(entry + kEntryFirstId, map.Plan(block).firstId);
        WriteLittleEndian(entry + kEntryNext, map.Neighbour(block, 1));
        WriteLittleEndian(entry + kEntryPrevious, map.Neighbour(block, -1));
    }
    file.Write(bytes.data(), bytes.size());
}

void WriteRecordBlock(const BlockMap& map, std::uint32_t block, ModelFile& file) {
    BlockBytes bytes;
    const ModelTable& table = map.TableOf(block);
    const BlockPlan& plan = map.Plan(block);
    WriteBlockHeader(bytes, table.type, {table.database, plan.firstId}, map.NumberOf(block));
    WriteLittleEndian(bytes.data() + kBlockLiveCount, static_cast<std::uint16_t>(plan.count));
    for (std::int32_t i = 0; i < plan.count; ++i) {
        const std::int32_t id = IdOf(table, plan.firstRecord + i);
        const int slot = id - plan.firstId;
        SetSlotLive(bytes.data(), slot, true);
        table.fill(
            table.database, id,
            bytes.data() + kBlockRecords + std::ptrdiff_t{slot} * CatalogueRecordSize(table.type));
    }
    file.Write(bytes.data(), bytes.size());
}

}  // namespace

bool WriteModel(const std::string& path, const std::vector<ModelTable>& tables, BlockOrder order) {
    const BlockMap map(tables, order);
    ModelFile file(path);
    WriteHeader(map, file);
    for (std::size_t place = 0; place < map.Size(); ++place) {
        if (place % kEntriesPerIndexBlock == 0) {
            WriteIndexBlock(map, place, file);
        }
        WriteRecordBlock(map, map.BlockAt(place), file);
    }
    return file.Close();
}

}  // namespace mod2neu
