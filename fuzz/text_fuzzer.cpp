// Writes fields that the input describes into a Neutral file in memory and compares the text with
// one put together the slow way. FormatReal's own buffers are compared as well.

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "neutral/neutral_stream.h"
#include "neutral/real_format.h"
#include "support/memory_files.h"
#include "support/reference_reals.h"

namespace mod2neu {
namespace {

constexpr const char* kPath = "/text.neu";

// Takes values from the input; zeros behind its end.
class Source {
  public:
    explicit Source(std::string_view bytes) : bytes_(bytes) {}

    [[nodiscard]] bool IsEmpty() const { return bytes_.empty(); }

    template <class Value>
    Value Take() {
        Value value{};
        const std::size_t size = std::min(bytes_.size(), sizeof value);
        std::memcpy(&value, bytes_.data(), size);
        bytes_.remove_prefix(size);
        return value;
    }

    std::string_view TakeText() {
        const std::size_t size = std::min<std::size_t>(bytes_.size(), Take<std::uint8_t>());
        const std::string_view text = bytes_.substr(0, size);
        bytes_.remove_prefix(text.size());
        return text;
    }

  private:
    std::string_view bytes_;
};

std::string WithLineEnds(std::string_view text) {
    std::string result;
    for (const char c : text) {
        result += c == '\n' ? "\r\n" : std::string(1, c);
    }
    return result;
}

std::string TextLines(std::string text) {
    std::erase(text, '\r');
    std::string result = std::to_string(1 + std::count(text.begin(), text.end(), '\n')) + ",";
    text += '\n';
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = text.find('\n', start);
        result += "\r\n" + (end == start ? "<NULL>" : text.substr(start, end - start));
        start = end + 1;
    }
    return result;
}

void RequireEqual(const std::string& actual, const std::string& expected) {
    if (actual != expected) {
        (void)std::fprintf(stderr, "Written:\n%s\nExpected:\n%s\n", actual.c_str(),
                           expected.c_str());
        std::abort();
    }
}

std::string CheckedReal(double value, std::int32_t width, std::int32_t digits) {
    const std::string expected = ReferenceReal(value, width, digits);
    ResetRealBuffers();
    RequireEqual(FormatReal(value, width, digits), expected);
    return expected + ",";
}

// Writes one field and returns the text that it must have made.
std::string WriteField(Source& source, const NeutralWriteContext& context) {
    switch (source.Take<std::uint8_t>() % 8) {
        case 0: {
            const auto value = source.Take<std::int32_t>();
            PutLong(value);
            return std::to_string(value) + ",";
        }
        case 1: {
            const auto value = source.Take<std::uint8_t>();
            PutByte(value);
            PutBool(value);
            return std::to_string(value) + (value != 0 ? ",1," : ",0,");
        }
        case 2: {
            const auto value = source.Take<float>();
            PutFloat(value);
            return CheckedReal(value, context.realWidth, context.realDigits);
        }
        case 3: {
            const std::string_view text = source.TakeText();
            PutString(text);
            return text.empty() ? "<NULL>" : WithLineEnds(text);
        }
        case 4: {
            const std::string_view text = source.TakeText();
            PutText(text);
            return TextLines(std::string(text));
        }
        case 5:
            EndLine();
            return "\r\n";
        case 6: {
            // A number with few digits, as models have them.
            const double value = source.Take<std::int16_t>() / 1000.0;
            PutReal(value);
            return CheckedReal(value, context.realWidth, context.realDigits);
        }
        default: {
            const auto value = std::bit_cast<double>(source.Take<std::uint64_t>());
            PutReal(value);
            return CheckedReal(value, context.realWidth, context.realDigits);
        }
    }
}

void Run(Source source) {
    MemoryFiles files;
    NeutralWriteContext context;
    context.realDigits = source.Take<std::uint8_t>() % 40 - 8;
    context.realWidth = context.realDigits + 7;
    SetNeutralContext(&context);
    if (!OpenNeutralStream(kPath, false)) {
        std::abort();
    }
    std::string expected;
    while (!source.IsEmpty()) {
        expected += WriteField(source, context);
    }
    if (!CloseNeutralStream()) {
        std::abort();
    }
    SetNeutralContext(nullptr);
    RequireEqual(files.Bytes(kPath), expected);
}

}  // namespace
}  // namespace mod2neu

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    mod2neu::Run(mod2neu::Source({reinterpret_cast<const char*>(data), size}));
    return 0;
}
