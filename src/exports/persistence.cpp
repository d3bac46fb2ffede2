// The calls that tie the store to files.
#include <vectable/vectable.h>

#include "exports/boundary.h"
#include "ingestion/load_driver.h"
#include "support/files.h"
#include "support/keys.h"

using namespace VecTableDllExports;

namespace {

constexpr std::size_t kLineLength = 512;

}  // namespace

int32_t VecTabLoadFile(const char* vecTabFile) {
    constexpr std::string_view kCall = "VecTabLoadFile";
    if (NullArgument(kCall, vecTabFile)) return kFailure;
    return Guarded(kCall, kFailure, [&] {
        const PathArgument path(vecTabFile);
        VecTableSupport::TextBuilder<kLineLength + 45> text;
        text.Add("VecTabLoadFile: Reading VECTABs from file \"").Add(path.View()).Add("\".");
        VecTableSupport::TraceLogInfo(text.Written());
        return VecTableCardReading::ReadVecTabsFrFile(path.View());
    });
}

int64_t VecTabAddSatFrFile(const char* filePath) {
    constexpr std::string_view kCall = "VecTabAddSatFrFile";
    if (NullArgument(kCall, filePath)) return VecTableSupport::kNoKey;
    return Guarded(kCall, VecTableSupport::kNoKey, [&] {
        const PathArgument path(filePath);
        VecTableSupport::InputUnit unit;
        if (VecTableSupport::FileOpenMt(path.View(), unit) != 0) return VecTableSupport::kNoKey;
        return VecTableCardReading::AddVecTabFile(unit, path.View());
    });
}

int32_t VecTabSaveFile(const char* vecTabFile, int32_t saveMode) {
    static_cast<void>(saveMode);
    if (NullArgument("VecTabSaveFile", vecTabFile)) return kFailure;
    LogCall("VecTabSaveFile", "Not available.");
    return kFailure;
}

int32_t VecTabGetLine(int64_t satKey, char line[512]) {
    static_cast<void>(satKey);
    ClearText(line, kLineLength);
    if (NullArgument("VecTabGetLine", line)) return kFailure;
    LogCall("VecTabGetLine", "Not available.");
    return kFailure;
}
