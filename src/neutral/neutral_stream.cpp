#include "neutral/neutral_stream.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

#include "neutral/real_format.h"
#include "neutral/short_real.h"
#include "platform/file_services.h"
#include "shell/messages.h"
#include "shell/paths.h"

namespace mod2neu {
namespace {

// Page-aligned, and written in whole blocks, so that every write but the last covers whole pages of
// the file.
alignas(4096) std::array<char, kOutputBlock + kOutputReserve> storage;

// The first failed call on the file: number and text belong to the moment it failed.
struct Failure {
    int number = 0;
    std::string text;
};

struct NeutralStream {
    FileHandle file = kNoFile;
    Failure failure;
};

NeutralStream stream;

constexpr NeutralWriteContext kDefaultContext;
const NeutralWriteContext* context = &kDefaultContext;

void RememberFailure() {
    if (stream.failure.number != 0) {
        return;
    }
    // A call may fail without a reason of its own, such as a write cut short.
    constexpr int kUnknownReason = 5;
    const int number = Files().LastError();
    stream.failure.number = number != 0 ? number : kUnknownReason;
    stream.failure.text = Files().LastErrorText();
}

void WriteOut(std::size_t size) {
    if (stream.file <= 0 || stream.failure.number != 0 || size == 0) {
        return;
    }
    if (Files().Write(stream.file, storage.data(), size) != static_cast<std::int64_t>(size)) {
        RememberFailure();
    }
}

void EmptyBuffer() {
    outputBuffer = {storage.data(), storage.data() + kOutputBlock};
}

void Flush() {
    WriteOut(static_cast<std::size_t>(outputBuffer.next - storage.data()));
    EmptyBuffer();
}

FileHandle OpenForAppending(const std::string& path) {
    OpenMode mode{FileAccess::kReadWrite, FileSharing::kExclusive};
    if (!Files().Exists(path)) {
        mode.access = FileAccess::kCreate;
    }
    ScopedFile file(Files().Open(path, mode));
    if (!file.IsOpen() || Files().Seek(file.Get(), 0, SeekOrigin::kEnd) < 0) {
        return kNoFile;
    }
    return file.Release();
}

// Copies text that holds no line feed.
void PutPlain(std::string_view text) {
    while (!text.empty()) {
        char* out = ReserveOutput();
        const std::size_t size = std::min(text.size(), kOutputReserve);
        std::memcpy(out, text.data(), size);
        CommitOutput(out + size);
        text.remove_prefix(size);
    }
}

// Copies text and stores its line feeds as CR LF.
void PutTranslated(std::string_view text) {
    for (;;) {
        const std::size_t lineFeed = text.find('\n');
        PutPlain(text.substr(0, lineFeed));
        if (lineFeed == std::string_view::npos) {
            return;
        }
        EndLine();
        text.remove_prefix(lineFeed + 1);
    }
}

void PutWithoutCarriageReturns(std::string_view line) {
    while (!line.empty()) {
        const std::size_t end = std::min(line.find('\r'), line.size());
        PutPlain(line.substr(0, end));
        line.remove_prefix(std::min(end + 1, line.size()));
    }
}

void PutTextLine(std::string_view line) {
    if (line.find_first_not_of('\r') == std::string_view::npos) {
        PutString({});
        return;
    }
    PutWithoutCarriageReturns(line);
}

}  // namespace

OutputBuffer outputBuffer = {storage.data(), storage.data() + kOutputBlock};

void DrainOutput() {
    WriteOut(kOutputBlock);
    const auto rest = static_cast<std::size_t>(outputBuffer.next - outputBuffer.mark);
    std::memcpy(storage.data(), outputBuffer.mark, rest);
    outputBuffer.next = storage.data() + rest;
}

void SetNeutralContext(const NeutralWriteContext* newContext) {
    context = newContext != nullptr ? newContext : &kDefaultContext;
}

bool OpenNeutralStream(const std::string& path, bool append) {
    CloseNeutralStream();
    stream.failure = {};
    EmptyBuffer();
    stream.file = append ? OpenForAppending(path)
                         : Files().Open(path, {FileAccess::kOverwrite, FileSharing::kExclusive});
    if (stream.file <= 0) {
        RememberFailure();
        return false;
    }
    return true;
}

bool CloseNeutralStream() {
    if (stream.file <= 0) {
        return true;
    }
    Flush();
    ScopedFile file(stream.file);
    stream.file = kNoFile;
    if (!file.Close()) {
        RememberFailure();
    }
    return stream.failure.number == 0;
}

int NeutralStreamError() {
    if (stream.file > 0) {
        Flush();
    }
    return stream.failure.number;
}

std::string NeutralStreamErrorText() {
    return stream.failure.text;
}

void BeginBlock(std::int32_t number) {
    constexpr std::string_view kFrame = "   -1";
    constexpr std::ptrdiff_t kColumns = 6;
    PutPlain(kFrame);
    EndLine();
    std::array<char, kLongFieldRoom> text;
    const char* end = AppendLongField(text.data(), number) - 1;
    for (auto length = end - text.data(); length < kColumns; ++length) {
        PutPlain(" ");
    }
    PutPlain({text.data(), end});
    EndLine();
}

void EndBlock() {
    PutPlain("   -1");
    EndLine();
}

// Out of line, so that the common case keeps its registers.
[[gnu::noinline]] char* AppendOtherRealField(char* out, double value) {
    char* end = AppendReal(out, value, context->realWidth, context->realDigits);
    *end = ',';
    return end + 1;
}

char* AppendRealField(char* out, double value) {
    if (context->realWidth == realPlan.width && context->realDigits == realPlan.digits) [[likely]] {
        if (char* end = AppendShortReal(out, value, realPlan)) [[likely]] {
            *end = ',';
            return end + 1;
        }
    }
    return AppendOtherRealField(out, value);
}

void PutString(std::string_view text) {
    PutTranslated(text.empty() ? "<NULL>" : text);
}

void PutText(std::string_view text) {
    PutLong(static_cast<std::int32_t>(1 + std::count(text.begin(), text.end(), '\n')));
    for (;;) {
        const std::size_t lineFeed = text.find('\n');
        EndLine();
        PutTextLine(text.substr(0, lineFeed));
        if (lineFeed == std::string_view::npos) {
            return;
        }
        text.remove_prefix(lineFeed + 1);
    }
}

bool CopyFileToNeutral(const std::string& path) {
    const std::int64_t size = FileSizeOf(path);
    if (size < 0) {
        return false;
    }
    const std::unique_ptr<char[]> contents(
        new (std::nothrow) char[static_cast<std::size_t>(size) + 1]);
    if (contents == nullptr) {
        return false;
    }
    ScopedFile file(OpenRawFile(path, false, false));
    if (!file.IsOpen()) {
        return false;
    }
    const std::int64_t read =
        Files().Read(file.Get(), contents.get(), static_cast<std::size_t>(size));
    if (read < 0) {
        ShowMessage(MSG_ERROR, MessageId::kReadFile, {path, SystemErrorText()});
    } else {
        PutTranslated({contents.get(), static_cast<std::size_t>(read)});
    }
    return true;
}

}  // namespace mod2neu
