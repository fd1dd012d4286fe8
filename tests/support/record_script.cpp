#include "support/record_script.h"

#include <algorithm>
#include <bit>
#include <map>
#include <random>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace mod2neu {

namespace {

constexpr char kEndOfLine = '/';
constexpr char kConstant = '=';
constexpr char kId = '#';

struct Field {
    char kind = kEndOfLine;
    std::size_t offset = 0;
    std::size_t width = 0;    // bytes
    std::size_t stride = 0;   // bytes from one turn of a group to the next
    std::size_t count = 1;    // fields one behind the other
    std::size_t perLine = 0;  // a line ends after so many of them; 0: none ends
    std::string text;         // constant, or fixed value
};

std::size_t WidthOf(char kind) {
    static const std::map<char, std::size_t> widths = {{'i', 4}, {'h', 2}, {'m', 1}, {'u', 2},
                                                       {'c', 1}, {'b', 1}, {'d', 8}, {'f', 4},
                                                       {'s', 0}, {'t', 0}};
    return widths.at(kind);
}

bool IsReal(const Field& field) {
    return field.kind == 'd' || field.kind == 'f';
}

Field ParseField(const std::string& token) {
    Field field;
    if (token == "/") {
        return field;
    }
    field.kind = token == "id" ? kId : token[0];
    const std::size_t equals = token.find('=');
    if (equals != std::string::npos) {
        field.text = token.substr(equals + 1);
    }
    if (field.kind == kId || field.kind == kConstant) {
        return field;
    }
    field.width = WidthOf(field.kind);
    std::map<char, std::size_t*> options = {
        {'+', &field.stride}, {':', &field.width}, {'*', &field.count}, {'/', &field.perLine}};
    std::istringstream in(token.substr(1, equals - 1));
    in >> field.offset;
    for (char mark = 0; in >> mark;) {
        in >> *options.at(mark);
    }
    if (!in.eof() || field.width == 0) {
        throw std::logic_error("cannot read token " + token);
    }
    field.stride = field.stride != 0 ? field.stride : field.width;
    return field;
}

// The fields up to the end of the script or of the group, groups and counts spread out.
std::vector<Field> ParseFields(std::istringstream& tokens) {
    std::vector<Field> fields;
    for (std::string token; tokens >> token && token != "]";) {
        if (token.back() == '[') {
            const std::vector<Field> group = ParseFields(tokens);
            for (std::size_t turn = 0; turn < std::stoul(token); ++turn) {
                for (Field field : group) {
                    field.offset += turn * field.stride;
                    fields.push_back(field);
                }
            }
            continue;
        }
        Field field = ParseField(token);
        for (std::size_t i = 1; i <= field.count; ++i, field.offset += field.width) {
            fields.push_back(field);
            if (field.perLine > 0 && (i % field.perLine == 0 || i == field.count)) {
                fields.emplace_back();
            }
        }
    }
    return fields;
}

class RecordMaker {
  public:
    RecordMaker(std::size_t size, std::int32_t id, unsigned seed)
        : id_(id), random_(seed), claimed_(size) {
        record_.bytes.resize(size);
        for (std::uint8_t& byte : record_.bytes) {
            byte = static_cast<std::uint8_t>(random_());
        }
    }

    ScriptedRecord Make(std::string_view script, std::string_view given) {
        std::istringstream givenTokens{std::string(given)};
        for (const Field& field : ParseFields(givenTokens)) {
            given_[field.offset] = field.text;
            Store(field, field.text);
        }
        std::istringstream tokens{std::string(script)};
        for (const Field& field : ParseFields(tokens)) {
            Add(field);
        }
        if (!line_.empty()) {
            throw std::logic_error("the script ends within a line");
        }
        return std::move(record_);
    }

  private:
    void Add(const Field& field) {
        if (field.kind == kEndOfLine) {
            record_.lines.push_back(std::exchange(line_, {}));
        } else if (field.kind == kConstant || field.kind == kId) {
            line_ += (field.kind == kId ? std::to_string(id_) : field.text) + ",";
        } else {
            Claim(field);
            if (field.kind == 's' || field.kind == 't') {
                AddText(field);
            } else {
                AddNumber(field);
            }
        }
    }

    // A script that names a byte twice was copied wrongly.
    void Claim(const Field& field) {
        for (std::size_t i = field.offset; i < field.offset + field.width; ++i) {
            if (claimed_.at(i)) {
                throw std::logic_error("byte " + std::to_string(i) + " stands in two fields");
            }
            claimed_[i] = true;
        }
    }

    void AddNumber(const Field& field) {
        const auto fixed = given_.find(field.offset);
        std::string text = fixed != given_.end() ? fixed->second
                           : IsReal(field)       ? AnyReal(field.width)
                                                 : AnyInteger(field);
        Store(field, text);
        if (field.kind == 'b' && text != "0") {
            text = "1";
        }
        line_ += text + ",";
    }

    void Store(const Field& field, const std::string& text) {
        const std::uint64_t value =
            !IsReal(field)     ? static_cast<std::uint64_t>(std::stoll(text))
            : field.width == 8 ? std::bit_cast<std::uint64_t>(std::stod(text))
                               : std::bit_cast<std::uint32_t>(static_cast<float>(std::stod(text)));
        for (std::size_t i = 0; i < field.width; ++i) {
            record_.bytes.at(field.offset + i) = static_cast<std::uint8_t>(value >> (8 * i));
        }
    }

    // Anything the field can hold, the ends of its range and all bits set often enough.
    std::string AnyInteger(const Field& field) {
        if (field.kind == 'b') {
            static constexpr const char* kFlags[] = {"0", "1", "0", "2", "0", "255"};
            return kFlags[random_() % std::size(kFlags)];
        }
        const bool isSigned = field.kind == 'i' || field.kind == 'h' || field.kind == 'm';
        const std::int64_t span = std::int64_t{1} << (8 * field.width);
        const std::int64_t lowest = isSigned ? -span / 2 : 0;
        const std::int64_t highest = lowest + span - 1;
        const std::int64_t any = lowest + static_cast<std::int64_t>(random_()) % span;
        const std::int64_t values[] = {lowest, highest, isSigned ? -1 : highest, 0};
        const std::size_t choice = random_() % 10;
        return std::to_string(choice < std::size(values) ? values[choice] : any);
    }

    // Up to eight digits: tenths, whose lowest byte is rarely zero and so ends no text that stands
    // before it, or halves where four bytes must hold them exactly.
    std::string AnyReal(std::size_t width) {
        if (random_() % 16 == 0) {
            return "0.";
        }
        const std::size_t tenths =
            width == 8 ? 1 + random_() % 99'999'999 : 5 * (1 + random_() % 16'000'000);
        const std::string fraction = tenths % 10 == 0 ? "" : std::to_string(tenths % 10);
        return (random_() % 2 == 0 ? "-" : "") + std::to_string(tenths / 10) + "." + fraction;
    }

    // A text is empty, shorter than its place, or fills it without a terminator.
    void AddText(const Field& field) {
        const std::string_view characters =
            field.kind == 't' ? "Wing box,% \xE9\n\r" : "Wing box,%d \xE9\x80\"<NUL>";
        const std::size_t choice = random_() % 4;
        const std::size_t length =
            choice < 2 ? choice * field.width : 1 + random_() % (field.width - 1);
        std::string text(length, '\0');
        for (char& c : text) {
            c = characters[random_() % characters.size()];
        }
        std::copy_n(text.c_str(), std::min(length + 1, field.width),
                    record_.bytes.begin() + static_cast<std::ptrdiff_t>(field.offset));
        if (field.kind == 's') {
            line_ += text.empty() ? "<NULL>" : text;
            return;
        }
        std::erase(text, '\r');
        line_ += std::to_string(1 + std::ranges::count(text, '\n')) + ",";
        for (std::size_t start = 0, end = 0; start <= text.size(); start = end + 1) {
            end = std::min(text.find('\n', start), text.size());
            record_.lines.push_back(
                std::exchange(line_, end == start ? "<NULL>" : text.substr(start, end - start)));
        }
    }

    std::int32_t id_;
    std::mt19937 random_;
    std::vector<bool> claimed_;
    std::map<std::size_t, std::string> given_;
    ScriptedRecord record_;
    std::string line_;
};

}  // namespace

ScriptedRecord MakeRecord(std::string_view script, std::size_t size, std::int32_t id, unsigned seed,
                          std::string_view given) {
    return RecordMaker(size, id, seed).Make(script, given);
}

Lines& operator+=(Lines& lines, const Lines& more) {
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

Lines operator+(Lines first, const Lines& second) {
    first += second;
    return first;
}

}  // namespace mod2neu
