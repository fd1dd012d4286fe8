#pragma once

#include <cstdint>
#include <string>

#include "neutral/field_writers.h"  // EndLine and the Put functions

namespace mod2neu {

// What the writers of one conversion share; owned by the conversion driver.
struct NeutralWriteContext {
    std::uint32_t formatCode = 9;
    bool compactFields = true;
    bool writeGeometry = true;
    bool writeModel = true;
    bool writeOutput = true;
    bool writeExtraBlocks = false;
    bool binaryOutput = false;
    double neutralVersion = 0;
    std::int32_t realDigits = 8;
    std::int32_t realWidth = 15;  // handed to FormatReal
    bool selectionOnly = false;
};

// Makes `context` the one that PutReal reads; nullptr withdraws it. The caller keeps ownership.
void SetNeutralContext(const NeutralWriteContext* context);

// The output stream of the run. Every line feed is stored as CR LF. The first write that fails
// ends all writing: what is in the file is a true prefix of the whole.

// Creates or overwrites the file, or appends to it. False on failure, its reason in
// NeutralStreamError.
[[nodiscard]] bool OpenNeutralStream(const std::string& path, bool append);

// Writes out what is buffered and closes the file. False when either failed.
bool CloseNeutralStream();

// With a stream open, writes out what is buffered first: 0 when every write so far succeeded, else
// the error number of the one that failed. Without one, the error number of the failed open.
int NeutralStreamError();

// The host's text for NeutralStreamError's number.
std::string NeutralStreamErrorText();

// The lines that frame a block: "   -1" and the number in six columns, and "   -1".
void BeginBlock(std::int32_t number);
void EndBlock();

// Copies a whole file into the stream, line feeds becoming CR LF. False, with nothing written,
// when the file cannot be opened or memory for it cannot be had. A failed read is shown.
bool CopyFileToNeutral(const std::string& path);

}  // namespace mod2neu
