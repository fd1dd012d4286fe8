#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

#include "blocks/line_layout.h"
#include "database/record_access.h"
#include "neutral/neutral_stream.h"
#include "platform/little_endian.h"

namespace mod2neu {

// One record of `type`: its ID and a view of its bytes, which the record does not own.
template <EntityType type>
class Record {
  public:
    static constexpr int kSize = CatalogueRecordSize(type);

    Record(std::int32_t id, const std::uint8_t* bytes) : id_(id), bytes_(bytes) {}

    [[nodiscard]] std::int32_t Id() const { return id_; }
    [[nodiscard]] const std::uint8_t* Bytes() const { return bytes_; }

    // The value of `field`, number `index` of its `count`.
    template <Field field>
    [[nodiscard]] auto Value(int index = 0) const {
        static_assert(FitsRecord(Fields(field), kSize), "the field leaves the record");
        return ReadField<field>(index);
    }

    // Without the check against the record's size; for layouts, which have been checked whole.
    template <Field field>
    [[nodiscard]] auto ReadField(int index) const {
        const std::uint8_t* at = bytes_ + field.offset + std::ptrdiff_t{index} * field.width;
        if constexpr (field.kind == FieldKind::kF64) {
            return ReadLittleEndian<double>(at);
        } else if constexpr (field.kind == FieldKind::kF32) {
            return ReadLittleEndian<float>(at);
        } else if constexpr (field.kind == FieldKind::kText ||
                             field.kind == FieldKind::kTextLines) {
            constexpr auto width = static_cast<std::size_t>(field.width);
            const auto* text = reinterpret_cast<const char*>(at);
            return std::string_view(text, strnlen(text, width));
        } else if constexpr (field.kind == FieldKind::kI32) {
            return ReadLittleEndian<std::int32_t>(at);
        } else if constexpr (field.kind == FieldKind::kU16) {
            return ReadLittleEndian<std::uint16_t>(at);
        } else if constexpr (field.kind == FieldKind::kI16) {
            return ReadLittleEndian<std::int16_t>(at);
        } else if constexpr (field.kind == FieldKind::kI8) {
            return ReadLittleEndian<std::int8_t>(at);
        } else {
            static_assert(field.kind == FieldKind::kU8 || field.kind == FieldKind::kBool);
            return *at;
        }
    }

  private:
    std::int32_t id_;
    const std::uint8_t* bytes_;
};

// A record that owns its bytes, for a writer that reads other records before it is done with this
// one. All zeros until something is read.
template <EntityType type>
class RecordBuffer {
  public:
    RecordBuffer() = default;
    explicit RecordBuffer(const Record<type>& record) : id_(record.Id()) {
        std::memcpy(bytes_.data(), record.Bytes(), bytes_.size());
    }

    // False, with the buffer as it was, when there is no such record.
    [[nodiscard]] bool Read(std::int32_t database, std::int32_t id) {
        id_ = id;
        return GetRecord(type, database, id, bytes_.data());
    }

    [[nodiscard]] Record<type> View() const { return {id_, bytes_.data()}; }

  private:
    std::int32_t id_ = 0;
    std::array<std::uint8_t, static_cast<std::size_t>(Record<type>::kSize)> bytes_{};
};

namespace detail {

template <Field field, EntityType type>
inline void PutValue(FieldLine& line, const Record<type>& record, int index) {
    if constexpr (field.kind == FieldKind::kId) {
        line.PutLong(record.Id());
    } else if constexpr (field.kind == FieldKind::kConst) {
        line.PutLong(field.offset);
    } else if constexpr (field.kind == FieldKind::kZero) {
        line.PutReal(0.0);
    } else if constexpr (field.kind == FieldKind::kEndOfLine) {
        line.EndLine();
    } else if constexpr (field.kind == FieldKind::kBool) {
        line.PutBool(record.template ReadField<field>(index));
    } else if constexpr (field.kind == FieldKind::kU8) {
        line.PutByte(record.template ReadField<field>(index));
    } else if constexpr (field.kind == FieldKind::kF64) {
        line.PutReal(record.template ReadField<field>(index));
    } else if constexpr (field.kind == FieldKind::kF32) {
        line.PutFloat(record.template ReadField<field>(index));
    } else if constexpr (field.kind == FieldKind::kText) {
        line.PutString(record.template ReadField<field>(index));
    } else if constexpr (field.kind == FieldKind::kTextLines) {
        line.PutText(record.template ReadField<field>(index));
    } else {
        line.PutLong(record.template ReadField<field>(index));
    }
}

template <Field field, EntityType type>
inline void PutField(FieldLine& line, const Record<type>& record, int row) {
    if constexpr (field.count == 1) {
        PutValue<field>(line, record, row);
    } else {
        for (int i = 0; i < field.count; ++i) {
            PutValue<field>(line, record, row * field.count + i);
        }
    }
}

// The fields from number `at` up to `end`; the layout is a constant, so this becomes straight
// code.
template <const auto& layout, std::size_t at, std::size_t end, EntityType type>
inline void PutFields(FieldLine& line, const Record<type>& record, int row) {
    if constexpr (at < end) {
        constexpr Field field = layout.fields[at];
        constexpr std::size_t next = at + 1;
        if constexpr (field.kind == FieldKind::kRows) {
            constexpr std::size_t rowsEnd = next + static_cast<std::size_t>(field.width);
            for (int i = 0; i < field.count; ++i) {
                PutFields<layout, next, rowsEnd>(line, record, i);
            }
            PutFields<layout, rowsEnd, end>(line, record, row);
        } else {
            PutField<field>(line, record, row);
            PutFields<layout, next, end>(line, record, row);
        }
    }
}

}  // namespace detail

// Writes the lines that `layout` takes from `record`.
template <const auto& layout, EntityType type>
void WriteLines(const Record<type>& record) {
    static_assert(layout.type == type, "the layout is for records of another type");
    static_assert(LongestLine(layout.fields) <= FieldLine::kMostFields);
    FieldLine line;
    detail::PutFields<layout, 0, layout.fields.size()>(line, record, 0);
}

// Calls `visit` with every record of a table in ascending ID order.
template <EntityType type, class Visitor>
void ForEachRecord(std::int32_t database, Visitor visit, std::int32_t firstId = 1) {
    RecordWalk walk(type, database, firstId);
    while (const std::uint8_t* bytes = walk.Next()) {
        visit(Record<type>(walk.Id(), bytes));
    }
}

// Writes every record of a dependent table, then the line that ends the table; `endLayout` takes
// nothing from a record.
template <const auto& layout, const auto& endLayout>
void WriteTable(std::int32_t database) {
    constexpr EntityType type = layout.type;
    ForEachRecord<type>(database, WriteLines<layout, type>);
    WriteLines<endLayout>(Record<endLayout.type>(0, nullptr));
}

// Writes the members of a flag set in ascending order, one per line, and the line that ends them.
void WriteMembers(EntityType setType, std::int32_t database);

// Reports how many entities of `type` a block holds.
void ReportTranslated(EntityType type, std::int32_t count);

// Writes one whole block: its frame, the lines that `writeRecord` makes of every record of the
// model's table, and the report of their number. A `writeRecord` that returns false has written
// nothing and is not counted.
template <EntityType type, class Writer>
void WriteEntityBlock(std::int32_t blockNumber, Writer writeRecord, std::int32_t firstId = 1) {
    std::int32_t count = 0;
    BeginBlock(blockNumber);
    ForEachRecord<type>(
        kModelDbNumber,
        [&](const Record<type>& record) {
            if constexpr (std::is_same_v<decltype(writeRecord(record)), bool>) {
                count += writeRecord(record) ? 1 : 0;
            } else {
                writeRecord(record);
                ++count;
            }
        },
        firstId);
    EndBlock();
    ReportTranslated(type, count);
}

// The same for a block whose records are their layout and nothing else.
template <const auto& layout>
void WriteLayoutBlock(std::int32_t blockNumber, std::int32_t firstId = 1) {
    constexpr EntityType type = layout.type;
    WriteEntityBlock<type>(blockNumber, WriteLines<layout, type>, firstId);
}

}  // namespace mod2neu
