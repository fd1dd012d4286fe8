#include "support/record_script.h"

#include <algorithm>
#include <bit>
#include <map>
#include <optional>
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
    std::size_t width = 0;            // bytes
    std::size_t stride = 0;           // bytes from one turn of a group to the next
    std::size_t count = 1;            // fields one behind the other
    std::size_t perLine = 0;          // a line ends after so many of them; 0: none ends
    std::optional<std::string> text;  // constant, or fixed value
};

std::size_t WidthOf(char kind) {
    static const std::map<char, std::size_t> widths = {{'i', 4}, {'h', 2}, {'m', 1}, {'u', 2},
                                                       {'c', 1}, {'b', 1}, {'d', 8}, {'f', 4}};
    return widths.at(kind);
}

Field ParseField(const std::string& token) {
    Field field;
    if (token == "/") {
        return field;
    }
    if (token == "id") {
        field.kind = kId;
        return field;
    }
    std::istringstream in(token);
    const auto option = [&in](char mark, std::size_t otherwise) {
        if (in.peek() == mark) {
            in.get();
            in >> otherwise;
        }
        return otherwise;
    };
    in >> field.kind;
    if (field.kind == kConstant) {
        field.text = token.substr(1);
        return field;
    }
    in >> field.offset;
    const std::size_t step = option('+', 0);
    const bool isText = field.kind == 's' || field.kind == 't';
    field.width = option(':', isText ? 0 : WidthOf(field.kind));
    field.stride = step != 0 ? step : field.width;
    field.count = option('*', 1);
    field.perLine = option('/', 0);
    if (in.get() == '=') {
        field.text = token.substr(static_cast<std::size_t>(in.tellg()));
    } else if (!in.eof() || field.width == 0) {
        throw std::logic_error("cannot read token " + token);
    }
    return field;
}

void AppendExpanded(const Field& field, std::vector<Field>& fields) {
    for (std::size_t i = 0; i < field.count; ++i) {
        fields.push_back(field);
        fields.back().offset += i * field.width;
        if (field.perLine > 0 && ((i + 1) % field.perLine == 0 || i + 1 == field.count)) {
            fields.emplace_back();
        }
    }
}

// The fields up to the end of the script or of the group, groups and counts spread out.
std::vector<Field> ParseFields(std::istringstream& tokens) {
    std::vector<Field> fields;
    for (std::string token; tokens >> token && token != "]";) {
        if (token.back() != '[') {
            AppendExpanded(ParseField(token), fields);
            continue;
        }
        const std::size_t turns = std::stoul(token);
        const std::vector<Field> group = ParseFields(tokens);
        for (std::size_t turn = 0; turn < turns; ++turn) {
            for (Field field : group) {
                field.offset += turn * field.stride;
                fields.push_back(field);
            }
        }
    }
    return fields;
}

std::vector<Field> Parse(std::string_view script) {
    std::istringstream tokens{std::string(script)};
    return ParseFields(tokens);
}

void StoreInteger(Bytes& bytes, const Field& field, std::uint64_t value) {
    for (std::size_t i = 0; i < field.width; ++i) {
        bytes.at(field.offset + i) = static_cast<std::uint8_t>(value >> (8 * i));
    }
}

void StoreReal(Bytes& bytes, const Field& field, double value) {
    StoreInteger(bytes, field,
                 field.width == 8 ? std::bit_cast<std::uint64_t>(value)
                                  : std::bit_cast<std::uint32_t>(static_cast<float>(value)));
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

    ScriptedRecord Make(const std::vector<Field>& fields, const std::vector<Field>& given) {
        for (const Field& field : given) {
            given_[field.offset] = *field.text;
            Store(field, *field.text);
        }
        for (const Field& field : fields) {
            Add(field);
        }
        if (!line_.empty()) {
            throw std::logic_error("the script ends within a line");
        }
        return std::move(record_);
    }

  private:
    void Add(const Field& field) {
        switch (field.kind) {
            case kEndOfLine:
                record_.lines.push_back(std::exchange(line_, {}));
                return;
            case kConstant:
                line_ += *field.text + ",";
                return;
            case kId:
                line_ += std::to_string(id_) + ",";
                return;
            default:
                Claim(field);
                AddStored(field);
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

    void AddStored(const Field& field) {
        if (field.kind == 's' || field.kind == 't') {
            AddText(field);
            return;
        }
        std::string text;
        if (const auto fixed = given_.find(field.offset); fixed != given_.end()) {
            text = fixed->second;
        } else {
            text =
                field.kind == 'd' || field.kind == 'f' ? AnyReal(field.width) : AnyInteger(field);
            Store(field, text);
        }
        const bool isFlag = field.kind == 'b';
        line_ += (isFlag ? (text == "0" ? "0" : "1") : text) + ",";
    }

    void Store(const Field& field, const std::string& text) {
        if (field.kind == 'd' || field.kind == 'f') {
            StoreReal(record_.bytes, field, std::stod(text));
        } else {
            StoreInteger(record_.bytes, field, static_cast<std::uint64_t>(std::stoll(text)));
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
        const std::int64_t values[] = {
            lowest, highest, isSigned ? -1 : highest, 0, any, any, any, any, any, any};
        return std::to_string(values[random_() % std::size(values)]);
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

    std::size_t AnyTextLength(std::size_t width) {
        const std::size_t choice = random_() % 4;
        return choice == 0 ? 0 : choice == 1 ? width : 1 + random_() % (width - 1);
    }

    // A text is empty, shorter than its place, or fills it without a terminator.
    void AddText(const Field& field) {
        const std::string_view characters =
            field.kind == 't' ? "Wing box,% \xE9\n\r" : "Wing box,%d \xE9\x80\"<NUL>";
        std::string text(AnyTextLength(field.width), '\0');
        for (char& c : text) {
            c = characters[random_() % characters.size()];
        }
        std::copy(text.begin(), text.end(),
                  record_.bytes.begin() + static_cast<std::ptrdiff_t>(field.offset));
        if (text.size() < field.width) {
            record_.bytes[field.offset + text.size()] = 0;
        }
        if (field.kind == 't') {
            AddTextLines(text);
        } else {
            line_ += text.empty() ? "<NULL>" : text;
        }
    }

    void AddTextLines(std::string text) {
        std::erase(text, '\r');
        line_ += std::to_string(1 + std::count(text.begin(), text.end(), '\n')) + ",";
        for (std::size_t start = 0; start <= text.size();) {
            const std::size_t end = std::min(text.find('\n', start), text.size());
            record_.lines.push_back(
                std::exchange(line_, end == start ? "<NULL>" : text.substr(start, end - start)));
            start = end + 1;
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
    return RecordMaker(size, id, seed).Make(Parse(script), Parse(given));
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
