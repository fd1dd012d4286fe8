#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace mod2neu {

struct RecordKey {
    int type = 0;
    std::int32_t database = 0;
    std::int32_t id = 0;

    // The check takes the zero that a defaulted comparison returns for a pointer.
    friend auto operator<=>(const RecordKey&,
                            const RecordKey&) = default;  // NOLINT(modernize-use-nullptr)
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
    [[nodiscard]] std::uint32_t U32(std::size_t offset) const;
    [[nodiscard]] std::uint32_t U16(std::size_t offset) const;

  private:
    void ReadBlock(std::uint32_t number);
    void ReadRecords(std::uint32_t number, std::size_t size);
    void CheckChain(int kind);
    void Require(bool condition, std::uint32_t number, const std::string& what);

    std::vector<std::uint8_t> bytes_;
    std::array<int, 112> recordSizes_;
    // The blocks of each kind: their keys, ascending, and numbers.
    std::map<int, std::map<std::pair<std::uint32_t, std::uint32_t>, std::uint32_t>> members_;
    std::map<RecordKey, std::vector<std::uint8_t>> records_;
    std::vector<std::string> complaints_;
};

}  // namespace mod2neu
