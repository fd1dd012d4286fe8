#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace mod2neu {

struct RecordKey {
    int type = 0;
    std::int32_t database = 0;
    std::int32_t id = 0;

    friend auto operator<=>(const RecordKey&, const RecordKey&) = default;
};

// The numbers that the header record keeps for one type.
struct TypeNumbers {
    std::int32_t highest = 0;
    std::int32_t lowest = 0;
    std::int32_t step = 0;
    std::int32_t count = 0;
    std::int32_t nextFree = 0;
    std::int32_t active = 0;

    friend bool operator==(const TypeNumbers&, const TypeNumbers&) = default;
};

// Reads a whole model file on its own, without the engine: every block in turn, then the index
// chains as a second witness.
class ModelReader {
  public:
    // `recordSizes` by type, 0 for none.
    ModelReader(std::vector<std::uint8_t> bytes, const std::array<int, 112>& recordSizes);

    [[nodiscard]] const std::map<RecordKey, std::vector<std::uint8_t>>& Records() const {
        return records_;
    }

    // What is unsound, one line each; empty for a file as it must be.
    [[nodiscard]] const std::vector<std::string>& Complaints() const { return complaints_; }

    [[nodiscard]] TypeNumbers Numbers(int type) const;
    [[nodiscard]] std::uint32_t Finger(int type) const;
    [[nodiscard]] std::uint32_t BlockCount() const { return blockCount_; }
    [[nodiscard]] std::vector<std::uint32_t> FreeBlocks() const;
    [[nodiscard]] std::uint32_t U32(std::size_t offset) const;
    [[nodiscard]] std::uint32_t U16(std::size_t offset) const;

  private:
    struct Entry {
        std::int32_t database = 0;
        std::int32_t firstId = 0;
        std::uint32_t next = 0;
        std::uint32_t previous = 0;
    };
    struct Member {
        std::uint32_t number = 0;
        std::int32_t database = 0;
        std::int32_t firstId = 0;
    };

    void ReadBlock(std::uint32_t number);
    void ReadRecords(std::uint32_t number, int kind);
    void CheckIndexBlock(std::uint32_t number);
    void CheckFreeBlock(std::uint32_t number);
    void CheckChain(int kind);
    [[nodiscard]] Entry EntryOf(std::uint32_t number) const;
    void Complain(std::uint32_t number, const std::string& what);

    std::vector<std::uint8_t> bytes_;
    std::array<int, 112> recordSizes_;
    std::uint32_t blockCount_;
    std::map<int, std::vector<Member>> members_;  // by kind
    std::map<RecordKey, std::vector<std::uint8_t>> records_;
    std::vector<std::string> complaints_;
};

}  // namespace mod2neu
