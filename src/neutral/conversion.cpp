#include "neutral/conversion.h"

#include "blocks/block_writers.h"
#include "database/block_allocation.h"
#include "database/database_file.h"
#include "database/working_file.h"
#include "neutral/neutral_stream.h"
#include "platform/desktop.h"
#include "platform/file_services.h"
#include "shell/messages.h"
#include "shell/paths.h"
#include "shell/progress.h"
#include "shell/session.h"

namespace mod2neu {

namespace {

enum class Section { kAlways, kModelOrGeometry, kGeometry, kModel, kOutput };

struct Step {
    Section section;
    void (*writeBlock)();
};

// The blocks behind the header block, in the order of the file.
// clang-format off
constexpr Step kSteps[] = {
    {Section::kModelOrGeometry, WriteCoordSysBlock},
    {Section::kModelOrGeometry, WriteTextBlock},
    {Section::kModelOrGeometry, WriteVariableBlock},
    {Section::kModelOrGeometry, WriteLayerBlock},
    {Section::kGeometry,        WritePointBlock},
    {Section::kGeometry,        WriteCurveBlock},
    {Section::kGeometry,        WriteSurfaceBlock},
    {Section::kGeometry,        WriteSolidBlock},
    {Section::kModel,           WriteMaterialBlock},
    {Section::kModel,           WritePropertyBlock},
    {Section::kModel,           WriteNodeBlock},
    {Section::kModel,           WriteElementBlock},
    {Section::kModel,           WriteContactSegmentBlock},
    {Section::kModel,           WriteGeometryListBlock},
    {Section::kModel,           WriteConstraintBlock},
    {Section::kModel,           WriteLoadBlock},
    {Section::kModel,           WriteGroupBlock},
    {Section::kModel,           WriteViewBlock},
    {Section::kModel,           WriteOutputFormatBlock},
    {Section::kModel,           WriteFunctionBlock},
    {Section::kModel,           WriteType45Block},
    {Section::kAlways,          WriteHeaderValuesBlock},
    {Section::kAlways,          WriteStoredTextBlocks},
    {Section::kOutput,          WriteOutputSetBlock},
    {Section::kOutput,          WriteOutputDataBlock},
};
// clang-format on

// Added to the digits of a real field, the width that its text may take.
constexpr std::uint32_t kWidthBeyondDigits = 7;

// Any digit count can come from the command line, so the width wraps rather than overflows.
NeutralWriteContext MakeContext(std::uint32_t formatCode, std::int32_t digits) {
    NeutralWriteContext context;
    context.formatCode = formatCode;
    context.neutralVersion = DatabaseVersion();
    context.realDigits = digits;
    context.realWidth =
        static_cast<std::int32_t>(static_cast<std::uint32_t>(digits) + kWidthBeyondDigits);
    return context;
}

// Makes a context the writers' own for as long as it lives.
class ContextScope {
  public:
    explicit ContextScope(const NeutralWriteContext& context) { SetNeutralContext(&context); }
    ContextScope(const ContextScope&) = delete;
    ContextScope& operator=(const ContextScope&) = delete;
    ~ContextScope() { SetNeutralContext(nullptr); }
};

bool IsWritten(Section section, const NeutralWriteContext& context) {
    switch (section) {
        case Section::kAlways:
            return true;
        case Section::kModelOrGeometry:
            return context.writeModel || context.writeGeometry;
        case Section::kGeometry:
            return context.writeGeometry;
        case Section::kModel:
            return context.writeModel;
        case Section::kOutput:
            return context.writeOutput;
    }
    return false;
}

void WriteHeaderBlock(const NeutralWriteContext& context) {
    BeginBlock(kHeaderBlock);
    PutString(ModelTitle());
    EndLine();
    PutReal(context.neutralVersion);
    EndLine();
    EndBlock();
}

void WriteBlocks(const NeutralWriteContext& context) {
    WriteHeaderBlock(context);
    for (const Step& step : kSteps) {
        if (IsWritten(step.section, context)) {
            step.writeBlock();
        }
    }
}

// For those who watch: how much of the database has been read tells honestly how far it is.
void WriteBlocksWatched(const NeutralWriteContext& context) {
    BeginProgress("Converting", TheDesktop().ShowsProgress() ? FileBlockCount() : 0);
    WriteBlocks(context);
    EndProgress();
}

// A model that bears the Neutral file's own name, or a link from that name to the model, must not
// be overwritten.
bool OpenOutput(const std::string& path) {
    if (Files().SameFile(CurrentSession().ModelFileName, path)) {
        ShowMessage(MessageId::kOpenFile, {path, "The file is the model itself"});
        return false;
    }
    if (!OpenNeutralStream(path, false)) {
        ShowMessage(MessageId::kOpenFile, {path, NeutralStreamErrorText()});
        return false;
    }
    return true;
}

}  // namespace

bool ConvertToNeutral(std::uint32_t formatCode, const std::string& path, std::int32_t digits) {
    const NeutralWriteContext context = MakeContext(formatCode, digits);
    const ContextScope scope(context);
    std::string neutralPath = path;
    SetDefaultExtension(neutralPath, ".neu", true);
    if (!OpenOutput(neutralPath)) {
        return false;
    }
    WriteBlocksWatched(context);
    // Records that could not be read have been passed over.
    if (!WorkingFileReadFailure().empty()) {
        ShowMessage(MessageId::kReadDatabase, {WorkingFileReadFailure()});
    }
    bool written = NeutralStreamError() == 0;
    if (!written) {
        ShowMessage(MessageId::kWriteFile, {neutralPath, NeutralStreamErrorText()});
    }
    // Some hosts tell only at the close that data was lost.
    if (!CloseNeutralStream() && written) {
        written = false;
        ShowMessage(MessageId::kWriteFile, {neutralPath, NeutralStreamErrorText()});
    }
    if (ErrorsOccurred()) {
        ShowMessage(MessageId::kErrorsOccurred);
    }
    return written;
}

}  // namespace mod2neu
