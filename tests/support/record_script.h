#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace mod2neu {

using Bytes = std::vector<std::uint8_t>;
using Lines = std::vector<std::string>;

// A record and the lines that the Neutral file must hold for it.
struct ScriptedRecord {
    Bytes bytes;
    Lines lines;
};

// Makes a record of `size` random bytes, puts a value of known text at every place that `script`
// names, and gives the lines that these values make. The same arguments give the same record.
//
// The script lists the fields of the lines in writing order, separated by blanks; "/" ends a line.
//     id                the record's ID
//     i16 h16 m16       signed integers of 4, 2 and 1 bytes at offset 16
//     u16 c16           unsigned integers of 2 and 1 bytes
//     b16               a flag byte, written as 0 or 1
//     d16 f16           reals of 8 and 4 bytes
//     s16:26 t16:26     a text and a text of several lines, within 26 bytes
//     =10 =0.           constants
//     i16*20/8          20 fields, one behind the other; a line ends after every eighth and the
//     last 9[ i16 d88+24 ]   9 times; each time a field moves by its own width or by what + tells
//
// `given` fixes fields, also ones that no line shows: "i16=5 d88=2.5 i20*8=0"; of two for one
// place the later counts.
ScriptedRecord MakeRecord(std::string_view script, std::size_t size, std::int32_t id, unsigned seed,
                          std::string_view given = "");

// The lines of several records in turn.
Lines& operator+=(Lines& lines, const Lines& more);
Lines operator+(Lines first, const Lines& second);

// Concatenates texts and numbers, for scripts with computed parts.
template <typename... Parts>
std::string Cat(const Parts&... parts) {
    std::string text;
    const auto append = [&text](const auto& part) {
        if constexpr (requires { std::to_string(part); }) {
            text += std::to_string(part);
        } else {
            text += part;
        }
    };
    (append(parts), ...);
    return text;
}

}  // namespace mod2neu
