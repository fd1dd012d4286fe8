#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace mod2neu {

// What the terminal can show.
enum class Charset { kAscii, kUtf8 };

// The text as it may be sent to a terminal: every control character, every byte that is no UTF-8
// and, with kAscii, every other character beyond ASCII becomes '?'. A file name can hold all of
// these and could otherwise steer the terminal.
std::string Printable(std::string_view text, Charset charset);

// Without control characters; bytes that are no UTF-8 become '?'.
std::string WithoutControls(std::string_view text);

// Screen columns of a printable text: two for wide characters, none for combining marks.
std::size_t ColumnsOf(std::string_view text);

// A printable text of at most `columns` columns, the last of them an ellipsis when it was cut.
std::string CutToColumns(const std::string& text, std::size_t columns, Charset charset);

// A printable text broken at blanks into lines of at most `columns` columns (at least 2); a word
// longer than a line is broken where the line ends. One empty line for an empty text.
std::vector<std::string> WrapText(std::string_view text, std::size_t columns);

// The text's lines, without carriage returns and without lines that are blank.
std::vector<std::string> LinesOf(std::string_view text);

}  // namespace mod2neu
