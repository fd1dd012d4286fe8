// Writes fields that the input describes into a Neutral file in memory and compares the text with
// one put together the slow way. FormatReal's own buffers are compared as well.

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <fuzzer/FuzzedDataProvider.h>

#include "neutral/neutral_stream.h"
#include "neutral/real_format.h"
#include "support/memory_files.h"
#include "support/reference_reals.h"

namespace mod2neu {
namespace {

constexpr const char* kPath = "/text.neu";

std::string WithLineEnds(const std::string& text) {
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

std::string CheckedReal(double value, const NeutralWriteContext& context) {
    const std::string expected = ReferenceReal(value, context.realWidth, context.realDigits);
    ResetRealBuffers();
    RequireEqual(FormatReal(value, context.realWidth, context.realDigits), expected);
    return expected + ",";
}

// Writes one field and returns the text that it must have made.
std::string WriteField(FuzzedDataProvider& source, const NeutralWriteContext& context) {
    switch (source.ConsumeIntegralInRange(0, 7)) {
        case 0: {
            const auto value = source.ConsumeIntegral<std::int32_t>();
            PutLong(value);
            return std::to_string(value) + ",";
        }
        case 1: {
            const auto value = source.ConsumeIntegral<std::uint8_t>();
            PutByte(value);
            PutBool(value);
            return std::to_string(value) + (value != 0 ? ",1," : ",0,");
        }
        case 2: {
            const std::string text = source.ConsumeRandomLengthString(255);
            PutString(text);
            return text.empty() ? "<NULL>" : WithLineEnds(text);
        }
        case 3: {
            const std::string text = source.ConsumeRandomLengthString(255);
            PutText(text);
            return TextLines(text);
        }
        case 4:
            EndLine();
            return "\r\n";
        case 5: {
            const auto value = std::bit_cast<float>(source.ConsumeIntegral<std::uint32_t>());
            PutFloat(value);
            return CheckedReal(value, context);
        }
        default: {
            // Any number, or one with few digits, as models have them.
            const double value =
                source.ConsumeBool()
                    ? std::bit_cast<double>(source.ConsumeIntegral<std::uint64_t>())
                    : source.ConsumeIntegral<std::int16_t>() / 1000.0;
            PutReal(value);
            return CheckedReal(value, context);
        }
    }
}

void Run(FuzzedDataProvider source) {
    MemoryFiles files;
    NeutralWriteContext context;
    context.realDigits = source.ConsumeIntegralInRange(-8, 31);
    context.realWidth = context.realDigits + 7;
    SetNeutralContext(&context);
    std::string expected = OpenNeutralStream(kPath, false) ? "" : "an open file";
    while (source.remaining_bytes() > 0) {
        expected += WriteField(source, context);
    }
    expected += CloseNeutralStream() ? "" : " that can be closed";
    SetNeutralContext(nullptr);
    RequireEqual(files.Bytes(kPath), expected);
}

}  // namespace
}  // namespace mod2neu

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    mod2neu::Run(FuzzedDataProvider(data, size));
    return 0;
}
