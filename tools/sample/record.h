#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "database/catalogue.h"
#include "platform/little_endian.h"

namespace mod2neu::sample {

// The bytes of one database record, zero until set. Each setter stores its values one behind the
// other from `offset` on, so that a record reads like a table:
//
//     Record(kLayer).Text(8, 26, "Skins").U16(34, 110)
class Record {
  public:
    explicit Record(EntityType type)
        : type_(type), bytes_(static_cast<std::size_t>(CatalogueRecordSize(type))) {}

    template <class... Values>
    Record& I32(std::size_t offset, Values... values) {
        return Set<std::int32_t>(offset, values...);
    }
    template <class... Values>
    Record& I16(std::size_t offset, Values... values) {
        return Set<std::int16_t>(offset, values...);
    }
    template <class... Values>
    Record& U16(std::size_t offset, Values... values) {
        return Set<std::uint16_t>(offset, values...);
    }
    template <class... Values>
    Record& U8(std::size_t offset, Values... values) {
        return Set<std::uint8_t>(offset, values...);
    }
    template <class... Values>
    Record& I8(std::size_t offset, Values... values) {
        return Set<std::int8_t>(offset, values...);
    }
    template <class... Values>
    Record& F64(std::size_t offset, Values... values) {
        return Set<double>(offset, values...);
    }
    template <class... Values>
    Record& F32(std::size_t offset, Values... values) {
        return Set<float>(offset, values...);
    }

    // `text` and its terminator in a field of `width` bytes.
    Record& Text(std::size_t offset, std::size_t width, std::string_view text);

    // Bytes without a terminator.
    Record& Raw(std::size_t offset, std::string_view bytes);

    [[nodiscard]] EntityType Type() const { return type_; }
    [[nodiscard]] const std::uint8_t* Bytes() const { return bytes_.data(); }

    // False once a value lay outside the record or a text was too long for its field.
    [[nodiscard]] bool Fits() const { return fits_; }

  private:
    template <class Field, class... Values>
    Record& Set(std::size_t offset, Values... values) {
        (SetOne<Field>(offset, static_cast<Field>(values)), ...);
        return *this;
    }

    template <class Field>
    void SetOne(std::size_t& offset, Field value) {
        if (Holds(offset, sizeof(Field))) {
            WriteLittleEndian(bytes_.data() + offset, value);
        }
        offset += sizeof(Field);
    }

    bool Holds(std::size_t offset, std::size_t size);

    EntityType type_;
    std::vector<std::uint8_t> bytes_;
    bool fits_ = true;
};

}  // namespace mod2neu::sample
