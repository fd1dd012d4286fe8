// The least time that writing a plain model's Neutral file can take: the records are in memory
// already, their fields are formatted in a straight line by the product's own fastest conversions,
// and large buffers are handed to the host. Nothing is looked up, read or copied on the way.
//
//     floor ENTITIES FILE
//
// Prints the seconds that this took, without the making of the records: wall, user and system.

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <vector>

#include "arguments.h"
#include "model_shapes.h"
#include "neutral/integer_text.h"
#include "neutral/real_format.h"
#include "neutral/short_real.h"
#include "platform/little_endian.h"

namespace mod2neu {
namespace {

constexpr std::size_t kBlockOfText = std::size_t{512} * 1024;
constexpr std::size_t kRoom = 4096;

alignas(4096) char buffer[kBlockOfText + kRoom];

class TextFile {
  public:
    explicit TextFile(const char* path)
        : file_(::open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666)) {}
    TextFile(const TextFile&) = delete;
    TextFile& operator=(const TextFile&) = delete;
    ~TextFile() { ::close(file_); }

    // Where the next kRoom characters go.
    char* Room() {
        if (next_ >= buffer + kBlockOfText) {
            Write(kBlockOfText);
            const auto rest = static_cast<std::size_t>(next_ - buffer) - kBlockOfText;
            std::memcpy(buffer, buffer + kBlockOfText, rest);
            next_ = buffer + rest;
        }
        return next_;
    }
    void Commit(char* end) { next_ = end; }

    void Put(std::string_view text) {
        char* out = Room();
        std::memcpy(out, text.data(), text.size());
        Commit(out + text.size());
    }

    bool Finish() {
        Write(static_cast<std::size_t>(next_ - buffer));
        return good_;
    }

  private:
    void Write(std::size_t size) {
        good_ = good_ && ::write(file_, buffer, size) == static_cast<ssize_t>(size);
    }

    int file_;
    char* next_ = buffer;
    bool good_ = true;
};

inline char* Real(char* out, const std::uint8_t* at) {
    const auto value = ReadLittleEndian<double>(at);
    char* end = AppendShortReal(out, value, realPlan);
    if (end == nullptr) [[unlikely]] {
        end = AppendReal(out, value, kDefaultRealWidth, kDefaultRealDigits);
    }
    *end = ',';
    return end + 1;
}

inline char* Long(char* out, const std::uint8_t* at) {
    return AppendLongField(out, ReadLittleEndian<std::int32_t>(at));
}

inline char* Colour(char* out, const std::uint8_t* at) {
    return AppendLongField(out, ReadLittleEndian<std::uint16_t>(at));
}

inline char* Flag(char* out, const std::uint8_t* at) {
    return AppendShortField(out, *at != 0 ? 1 : 0);
}

inline char* LineEnd(char* out) {
    out[0] = '\r';
    out[1] = '\n';
    return out + 2;
}

inline char* Node(char* out, std::int32_t id, const std::uint8_t* node) {
    out = AppendLongField(out, id);
    out = Long(out, node + 24);
    out = Long(out, node + 20);
    out = Long(out, node + 64);
    out = Colour(out, node + 68);
    for (int freedom = 0; freedom < 6; ++freedom) {
        out = Flag(out, node + 56 + freedom);
    }
    out = Real(out, node + 32);
    out = Real(out, node + 40);
    out = Real(out, node + 48);
    return LineEnd(Long(out, node + 28));
}

inline char* ElementHead(char* out, std::int32_t id, const std::uint8_t* element) {
    out = AppendLongField(out, id);
    out = Colour(out, element + 128);
    for (const int offset : {12, 16, 124, 132, 20}) {
        out = Long(out, element + offset);
    }
    out = Flag(out, element + 228);
    for (const int offset : {120, 136, 112, 116}) {
        out = Long(out, element + offset);
    }
    return LineEnd(out);
}

inline char* Element(char* out, std::int32_t id, const std::uint8_t* element) {
    out = ElementHead(out, id, element);
    for (std::ptrdiff_t row = 0; row < 2; ++row) {
        for (std::ptrdiff_t node = 0; node < 10; ++node) {
            out = Long(out, element + 24 + 40 * row + 4 * node);
        }
        out = LineEnd(out);
    }
    for (std::ptrdiff_t row = 0; row < 3; ++row) {
        for (std::ptrdiff_t axis = 0; axis < 3; ++axis) {
            out = Real(out, element + 144 + 24 * row + 8 * axis);
        }
        out = LineEnd(out);
    }
    for (int freedom = 0; freedom < 12; ++freedom) {
        out = Flag(out, element + 216 + freedom);
    }
    out = Long(out, element + 104);
    out = Long(out, element + 108);
    out = AppendShortField(out, 0);
    return LineEnd(AppendShortField(out, 0));
}

inline char* Value(char* out, std::int32_t id, const std::uint8_t* value) {
    return LineEnd(Real(AppendLongField(out, id), value));
}

constexpr std::string_view kBeforeNodes =
    "   -1\r\n   100\r\nGenerated\r\n6.,\r\n   -1\r\n"
    "   -1\r\n   405\r\n   -1\r\n   -1\r\n   475\r\n   -1\r\n   -1\r\n   410\r\n   -1\r\n"
    "   -1\r\n   413\r\n   -1\r\n   -1\r\n   570\r\n   -1\r\n   -1\r\n   571\r\n   -1\r\n"
    "   -1\r\n   572\r\n   -1\r\n   -1\r\n   573\r\n   -1\r\n   -1\r\n   601\r\n   -1\r\n"
    "   -1\r\n   402\r\n   -1\r\n   -1\r\n   403\r\n";
constexpr std::string_view kBeforeElements = "   -1\r\n   -1\r\n   404\r\n";
constexpr std::string_view kBeforeVectors =
    "   -1\r\n   -1\r\n   615\r\n   -1\r\n   -1\r\n   514\r\n   -1\r\n   -1\r\n   506\r\n   -1\r\n"
    "   -1\r\n   507\r\n   -1\r\n   -1\r\n   408\r\n   -1\r\n   -1\r\n   409\r\n   -1\r\n"
    "   -1\r\n   411\r\n   -1\r\n   -1\r\n   420\r\n   -1\r\n"
    "   -1\r\n   412\r\n0,0,0,0,\r\n   -1\r\n"
    "   -1\r\n   450\r\n1,\r\nCase\r\n0,0,\r\n1.,\r\n1,\r\nGenerated\r\n   -1\r\n"
    "   -1\r\n   451\r\n";
constexpr std::string_view kBehindVectorIds =
    "1,\r\nTranslation\r\n-12.5,12.5,12.5,\r\n"
    "0,0,0,0,0,0,0,0,0,0,\r\n0,0,0,0,0,0,0,0,0,0,\r\n7,1,0,0,\r\n1,0,0,\r\n";
constexpr std::string_view kBehindValues = "-1,0.,\r\n";
constexpr std::string_view kEnd = "   -1\r\n";

struct PlainModel {
    std::vector<std::uint8_t> nodes;
    std::vector<std::uint8_t> elements;
    std::vector<std::uint8_t> values[kPlainVectors];
};

PlainModel MakeModel(std::int32_t entities) {
    PlainModel model{PlainRecords(kNode, 1, entities), PlainRecords(kElement, 1, entities), {}};
    for (std::int32_t vector = 0; vector < kPlainVectors; ++vector) {
        model.values[vector] = PlainRecords(kOutputData, vector + 1, entities);
    }
    return model;
}

template <EntityType type, class Line>
void PutRecords(TextFile& file, const std::vector<std::uint8_t>& records, Line line) {
    constexpr auto kSize = static_cast<std::size_t>(CatalogueRecordSize(type));
    std::int32_t id = 0;
    for (std::size_t at = 0; at < records.size(); at += kSize) {
        file.Commit(line(file.Room(), ++id, records.data() + at));
    }
}

bool WriteText(const PlainModel& model, const char* path) {
    TextFile file(path);
    file.Put(kBeforeNodes);
    PutRecords<kNode>(file, model.nodes, Node);
    file.Put(kBeforeElements);
    PutRecords<kElement>(file, model.elements, Element);
    file.Put(kBeforeVectors);
    for (std::int32_t vector = 0; vector < kPlainVectors; ++vector) {
        char* out = AppendShortField(file.Room(), 1);
        file.Commit(AppendLongField(out, vector + 1));
        file.Put(kBehindVectorIds);
        PutRecords<kOutputData>(file, model.values[vector], Value);
        file.Put(kBehindValues);
    }
    file.Put(kEnd);
    return file.Finish();
}

struct ProcessorTime {
    double user;
    double system;
};

ProcessorTime ProcessorTimeSoFar() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return {seconds(usage.ru_utime), seconds(usage.ru_stime)};
}

}  // namespace
}  // namespace mod2neu

int main(int argc, char** argv) {
    using Clock = std::chrono::steady_clock;
    const std::int32_t entities = argc == 3 ? mod2neu::PositiveNumber(argv[1]) : 0;
    if (entities == 0) {
        (void)std::fprintf(stderr, "Usage: floor ENTITIES FILE\n");
        return 2;
    }
    const mod2neu::PlainModel model = mod2neu::MakeModel(entities);
    const mod2neu::ProcessorTime before = mod2neu::ProcessorTimeSoFar();
    const auto start = Clock::now();
    if (!mod2neu::WriteText(model, argv[2])) {
        std::perror(argv[2]);
        return 1;
    }
    const std::chrono::duration<double> wall = Clock::now() - start;
    const mod2neu::ProcessorTime after = mod2neu::ProcessorTimeSoFar();
    std::printf("%.6f %.6f %.6f\n", wall.count(), after.user - before.user,
                after.system - before.system);
    return 0;
}
