// Time of one field: reals of every kind, integers, and a whole record line through the stream,
// beside the standard library's conversions.

#include <benchmark/benchmark.h>

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "neutral/integer_text.h"
#include "neutral/neutral_stream.h"
#include "neutral/real_format.h"
#include "support/real_samples.h"

namespace mod2neu {
namespace {

constexpr std::size_t kValues = 20000;
constexpr std::ptrdiff_t kChunk = 65536;

// Appends the fields of all values over and over into one buffer that stays in the cache.
template <class Value, class Append>
void RunFields(benchmark::State& state, const std::vector<Value>& values, Append append) {
    std::vector<char> buffer(kChunk + 512);
    for ([[maybe_unused]] auto _ : state) {
        char* out = buffer.data();
        for (const Value value : values) {
            out = append(out, value);
            if (out - buffer.data() > kChunk) {
                out = buffer.data();
            }
        }
        benchmark::DoNotOptimize(buffer.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(values.size()));
    state.counters["per value"] = benchmark::Counter(
        static_cast<double>(values.size()),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

std::vector<double> Reals(RealKind kind) {
    RealSamples samples(kind);
    std::vector<double> values(kValues);
    for (double& value : values) {
        value = samples.Next();
    }
    return values;
}

constexpr std::int32_t kDigits = kDefaultRealDigits;

char* ProductReal(char* out, double value) {
    out = AppendReal(out, value, kDefaultRealWidth, kDigits);
    *out = ',';
    return out + 1;
}

char* LibraryReal(char* out, double value) {
    out = std::to_chars(out, out + 400, value, std::chars_format::general, kDigits).ptr;
    *out = ',';
    return out + 1;
}

char* PrintedReal(char* out, double value) {
    return out + std::snprintf(out, 400, "%#.*g,", kDigits, value);
}

std::vector<std::int32_t> Integers(std::int32_t low, std::int32_t high) {
    std::mt19937 random(1);
    std::uniform_int_distribution<std::int32_t> any(low, high);
    std::vector<std::int32_t> values(kValues);
    for (std::int32_t& value : values) {
        value = any(random);
    }
    return values;
}

char* LibraryInteger(char* out, std::int32_t value) {
    out = std::to_chars(out, out + 12, value).ptr;
    *out = ',';
    return out + 1;
}

char* PrintedInteger(char* out, std::int32_t value) {
    return out + std::snprintf(out, 13, "%d,", value);
}

// A node's line: nine integers and flags around three coordinates.
void PutNodeLine(std::int32_t id, const double* coordinates) {
    PutLong(id);
    for (const std::int32_t value : {0, 0, 1, 46}) {
        PutLong(value);
    }
    for (int freedom = 0; freedom < 6; ++freedom) {
        PutBool(0);
    }
    PutReal(coordinates[0]);
    PutReal(coordinates[1]);
    PutReal(coordinates[2]);
    PutLong(0);
    EndLine();
}

void RunNodeLines(benchmark::State& state) {
    // No file is open, so full buffers are dropped: this is the time of the text alone.
    const std::vector<double> values = Reals(RealKind::kFewDecimals);
    constexpr std::size_t kLines = kValues / 3;
    for ([[maybe_unused]] auto _ : state) {
        for (std::size_t line = 0; line < kLines; ++line) {
            PutNodeLine(static_cast<std::int32_t>(line + 1), &values[3 * line]);
        }
    }
    constexpr std::size_t kFieldsOfLine = 15;
    state.counters["per value"] = benchmark::Counter(
        static_cast<double>(kLines * kFieldsOfLine),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

template <class Value, class Append>
void Register(const std::string& name, std::vector<Value> values, Append append) {
    benchmark::RegisterBenchmark(name.c_str(),
                                 [values = std::move(values), append](benchmark::State& state) {
                                     RunFields(state, values, append);
                                 });
}

void RegisterAll() {
    for (const RealKind kind : kAllRealKinds) {
        const std::string name = std::string("real/") + NameOf(kind);
        Register(name + "/product", Reals(kind), ProductReal);
        Register(name + "/to_chars", Reals(kind), LibraryReal);
        Register(name + "/snprintf", Reals(kind), PrintedReal);
    }
    struct IntegerKind {
        const char* name;
        std::int32_t low;
        std::int32_t high;
    };
    for (const IntegerKind& kind :
         {IntegerKind{"flags", 0, 1}, IntegerKind{"colours", 0, 255},
          IntegerKind{"IDs", 1, 1000000}, IntegerKind{"any", INT32_MIN, INT32_MAX}}) {
        const std::string name = std::string("integer/") + kind.name;
        Register(name + "/product", Integers(kind.low, kind.high), AppendLongField);
        Register(name + "/to_chars", Integers(kind.low, kind.high), LibraryInteger);
        Register(name + "/snprintf", Integers(kind.low, kind.high), PrintedInteger);
    }
    benchmark::RegisterBenchmark("stream/node line, a field", RunNodeLines);
}

}  // namespace
}  // namespace mod2neu

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    mod2neu::RegisterAll();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
