#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

#include "database/catalogue.h"

namespace mod2neu {

// A layout table says what the lines of a block take from a record, in the order in which it is
// written:
//
//     constexpr auto kLayerLines = Lines<kLayer>(
//         Id(), U16(34), EndOfLine(),
//         Text(8, 26), EndOfLine());
//
// Every number is a byte offset into the record. Lines() does not compile when a field leaves the
// records of its type.

enum class FieldKind {
    kId,   // the record's ID
    kI32,  // integers, widened to 32 bits with or without sign
    kU16,
    kI16,
    kU8,
    kI8,
    kBool,  // a byte, written as 1 unless it is 0
    kF64,
    kF32,
    kText,       // a text that ends at its terminator, or else at its width
    kTextLines,  // the same, written as a line count and its lines
    kConst,      // an integer that does not come from the record
    kZero,       // the real number 0
    kEndOfLine,
    kRows,  // repeats the fields behind it
};

struct Field {
    FieldKind kind;
    int offset = 0;  // of the first value; for kConst the constant
    int count = 1;   // consecutive values; for kRows the rows
    int width = 0;   // bytes of one value; for kRows the number of fields in a row
};

constexpr Field Id() {
    return {FieldKind::kId};
}
constexpr Field I32(int offset, int count = 1) {
    return {FieldKind::kI32, offset, count, 4};
}
constexpr Field U16(int offset, int count = 1) {
    return {FieldKind::kU16, offset, count, 2};
}
constexpr Field I16(int offset, int count = 1) {
    return {FieldKind::kI16, offset, count, 2};
}
constexpr Field U8(int offset, int count = 1) {
    return {FieldKind::kU8, offset, count, 1};
}
constexpr Field I8(int offset, int count = 1) {
    return {FieldKind::kI8, offset, count, 1};
}
constexpr Field Bool(int offset, int count = 1) {
    return {FieldKind::kBool, offset, count, 1};
}
constexpr Field F64(int offset, int count = 1) {
    return {FieldKind::kF64, offset, count, 8};
}
constexpr Field F32(int offset, int count = 1) {
    return {FieldKind::kF32, offset, count, 4};
}
constexpr Field Text(int offset, int width) {
    return {FieldKind::kText, offset, 1, width};
}
constexpr Field TextLines(int offset, int width) {
    return {FieldKind::kTextLines, offset, 1, width};
}
constexpr Field Const(int value, int count = 1) {
    return {FieldKind::kConst, value, count};
}
constexpr Field Zero(int count = 1) {
    return {FieldKind::kZero, 0, count};
}
constexpr Field EndOfLine() {
    return {FieldKind::kEndOfLine};
}

// Fields in a row, to be named once and used in several layouts.
template <std::size_t size>
using FieldList = std::array<Field, size>;

namespace detail {

constexpr FieldList<1> AsList(Field field) {
    return {field};
}

template <std::size_t size>
constexpr FieldList<size> AsList(const FieldList<size>& list) {
    return list;
}

template <std::size_t... sizes>
constexpr auto Concatenate(const FieldList<sizes>&... lists) {
    FieldList<(sizes + ... + 0)> all{};
    std::size_t end = 0;
    const auto append = [&](const auto& list) {
        for (const Field& field : list) {
            all[end++] = field;
        }
    };
    (append(lists), ...);
    return all;
}

}  // namespace detail

template <class... Parts>
constexpr auto Fields(const Parts&... parts) {
    return detail::Concatenate(detail::AsList(parts)...);
}

// Writes the parts `rows` times; in each row every field takes the values behind those that it
// took in the row before.
template <class... Parts>
constexpr auto Rows(int rows, const Parts&... parts) {
    const auto row = Fields(parts...);
    return Fields(Field{FieldKind::kRows, 0, rows, static_cast<int>(row.size())}, row);
}

// True when every value that `fields` takes lies within `recordSize` bytes.
template <std::size_t size>
constexpr bool FitsRecord(const FieldList<size>& fields, int recordSize) {
    int rows = 1;
    std::size_t rowsEnd = 0;
    for (std::size_t i = 0; i < size; ++i) {
        const Field& field = fields[i];
        if (field.kind == FieldKind::kRows) {
            rows = field.count;
            rowsEnd = i + 1 + static_cast<std::size_t>(field.width);
            continue;
        }
        const int repeats = i < rowsEnd ? rows : 1;
        const bool takesBytes = field.kind != FieldKind::kConst && field.width > 0;
        if (takesBytes &&
            (field.offset < 0 || field.offset + repeats * field.count * field.width > recordSize)) {
            return false;
        }
    }
    return true;
}

// Values of the longest line that `fields` write.
template <std::size_t size>
constexpr int LongestLine(const FieldList<size>& fields) {
    int line = 0;
    int longest = 0;
    const auto add = [&](const Field& field) {
        line = field.kind == FieldKind::kEndOfLine ? 0 : line + field.count;
        longest = std::max(longest, line);
    };
    for (std::size_t i = 0; i < size;) {
        const bool repeats = fields[i].kind == FieldKind::kRows;
        const int rows = repeats ? fields[i].count : 1;
        const std::size_t first = repeats ? i + 1 : i;
        const std::size_t end = first + (repeats ? static_cast<std::size_t>(fields[i].width) : 1);
        for (int row = 0; row < rows; ++row) {
            std::for_each(&fields[first], &fields[first] + (end - first), add);
        }
        i = end;
    }
    return longest;
}

template <EntityType entityType, std::size_t size>
struct LineLayout {
    static constexpr EntityType type = entityType;
    FieldList<size> fields;
};

// The lines that are written from one record of `type`.
template <EntityType type, class... Parts>
consteval auto Lines(const Parts&... parts) {
    constexpr std::size_t size = decltype(Fields(parts...))().size();
    const LineLayout<type, size> layout{Fields(parts...)};
    if (!FitsRecord(layout.fields, CatalogueRecordSize(type))) {
        throw "a field leaves the record";
    }
    return layout;
}

}  // namespace mod2neu
