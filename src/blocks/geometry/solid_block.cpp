#include <algorithm>
#include <string>

#include "blocks/block_writers.h"
#include "blocks/entity_block.h"
#include "shell/messages.h"
#include "shell/paths.h"

namespace mod2neu {

namespace {

constexpr Field kBodyKind = I32(0);
constexpr Field kBodyValue = I32(4);

// The body's kind and value come from its index record and end the first line.
// clang-format off
constexpr auto kVolumeFirstFields = Lines<kVolume>(
    Id(), U16(58), I32(64), Const(0), I32(60));        // colour, kind, -, layer
constexpr auto kVolumeOtherLines = Lines<kVolume>(
    Bool(40, 18), EndOfLine(),
    I32(16, 6), EndOfLine());
constexpr auto kSolidFirstFields = Lines<kSolid>(
    Id(), U16(10), Const(0), U8(8), I32(12));          // colour, -, -, layer
constexpr auto kSolidTitleLine = Lines<kSolid>(Text(16, 28), EndOfLine());
// clang-format on

constexpr int kChunkCapacity = 1960;
constexpr Field kChunkBytes = I32(0);
constexpr int kChunkDataOffset = 4;

// A write to the temporary file that fails is reported and ends the copy; the size line then says
// what the file holds. A byte count that a chunk cannot hold is brought within the chunk.
void CopyChunks(std::int32_t solidId, FileHandle file, const std::string& fileName) {
    for (std::int32_t number = 1;; ++number) {
        const std::uint8_t* bytes = ViewRecord(kSolidTransmit, solidId, number);
        if (bytes == nullptr) {
            return;
        }
        const Record<kSolidTransmit> chunk(number, bytes);
        const int size = std::clamp(chunk.Value<kChunkBytes>(), 0, kChunkCapacity);
        if (size > 0 &&
            Files().Write(file, bytes + kChunkDataOffset, static_cast<std::size_t>(size)) != size) {
            ShowMessage(MSG_ERROR, MessageId::kWriteFile, {fileName, SystemErrorText()});
            return;
        }
    }
}

// The data goes through a temporary file, since its size has to be written before it.
void WriteSolidTransmit(std::int32_t solidId) {
    std::string fileName;
    MakeTempFileName("", "SOL", 0, fileName);
    ScopedFile file(OpenRawFile(fileName, true, false));
    if (!file.IsOpen()) {
        ShowMessage(MSG_ERROR, MessageId::kWriteFile, {fileName, " "});
        return;
    }
    CopyChunks(solidId, file.Get(), fileName);
    if (!file.Close()) {
        ShowMessage(MSG_ERROR, MessageId::kWriteFile, {fileName, SystemErrorText()});
    }
    const std::int64_t size = FileSizeOf(fileName);
    PutLong(static_cast<std::int32_t>(size));
    EndLine();
    if (!CopyFileToNeutral(fileName) || size < 0) {
        ShowMessage(MSG_ERROR, MessageId::kReadFile, {fileName, SystemErrorText()});
    }
    DeleteFileByName(fileName);
}

void PutBody(const Record<kSolidIndex>& body) {
    PutLong(body.Value<kBodyKind>());
    PutLong(body.Value<kBodyValue>());
    EndLine();
}

bool WriteVolume(const Record<kSolidIndex>& body) {
    RecordBuffer<kVolume> volume;
    if (!volume.Read(kModelDbNumber, body.Id())) {
        return false;
    }
    WriteLines<kVolumeFirstFields>(volume.View());
    PutBody(body);
    WriteLines<kVolumeOtherLines>(volume.View());
    return true;
}

bool WriteSolid(const Record<kSolidIndex>& body) {
    RecordBuffer<kSolid> solid;
    if (!solid.Read(kModelDbNumber, body.Id())) {
        return false;
    }
    WriteLines<kSolidFirstFields>(solid.View());
    PutBody(body);
    PutString(">>> Begin Solid Transmit >>>");
    EndLine();
    WriteLines<kSolidTitleLine>(solid.View());
    WriteSolidTransmit(body.Id());
    EndLine();
    PutString("<<< End Solid Transmit <<<");
    EndLine();
    return true;
}

bool WriteBody(const Record<kSolidIndex>& record) {
    const RecordBuffer<kSolidIndex> body(record);
    switch (record.Value<kBodyKind>()) {
        case kVolume:
            return WriteVolume(body.View());
        case kSolid:
            return WriteSolid(body.View());
        default:
            return false;
    }
}

}  // namespace

void WriteSolidBlock() {
    WriteEntityBlock<kSolidIndex>(kSolidBlock, WriteBody);
}

}  // namespace mod2neu
