// The calls that tie the store to files.
#include <vectable/vectable.h>

#include <cerrno>

#include "exports/boundary.h"
#include "ingestion/load_driver.h"
#include "ingestion/loaded_keys.h"
#include "store/record_lookup.h"
#include "store/save_walk.h"
#include "support/files.h"
#include "support/keys.h"
#include "support/output.h"
#include "support/platform/cancellation.h"

using namespace VecTableDllExports;
using VecTableCardReading::LoadScope;
using VecTableSupport::CancellationHold;
using VecTableSupport::OutputAction;
using VecTableSupport::OutputUnit;
using VecTableSupport::ReadingPlace;

namespace {

constexpr std::size_t kLineLength = VEC_TAB_LINE_LENGTH;

}  // namespace

int32_t VecTabLoadFile(const char* vecTabFile) {
    constexpr std::string_view kCall = "VecTabLoadFile";
    if (NullArgument(kCall, vecTabFile)) return kFailure;
    const CancellationHold hold;
    const PathArgument path(vecTabFile);
    const ReadingPlace place(path.View());
    const LoadScope scope;
    return Guarded(kCall, kFailure, [&] {
        VecTableSupport::TextBuilder<kLineLength + 45> text;
        text.Add("VecTabLoadFile: Reading VECTABs from file \"").Add(path.View()).Add("\".");
        VecTableSupport::TraceLogInfo(text.Written());
        return VecTableCardReading::ReadVecTabsFrFile(path.View());
    });
}

int64_t VecTabAddSatFrFile(const char* filePath) {
    constexpr std::string_view kCall = "VecTabAddSatFrFile";
    if (NullArgument(kCall, filePath)) return VecTableSupport::kNoKey;
    const CancellationHold hold;
    const PathArgument path(filePath);
    const ReadingPlace place(path.View());
    const LoadScope scope;
    return Guarded(kCall, VecTableSupport::kNoKey, [&] {
        VecTableSupport::InputUnit unit;
        if (VecTableSupport::FileOpenMt(path.View(), unit) != 0) return VecTableSupport::kNoKey;
        return VecTableCardReading::AddVecTabFile(unit, path.View());
    });
}

int32_t VecTabSaveFile(const char* vecTabFile, int32_t saveMode) {
    constexpr std::string_view kCall = "VecTabSaveFile";
    constexpr int32_t kSaveUnit = 8;
    if (NullArgument(kCall, vecTabFile)) return kFailure;
    const CancellationHold hold;
    return Guarded(kCall, kFailure, [&]() -> int32_t {
        const PathArgument path(vecTabFile);
        const auto action = saveMode == 0 ? OutputAction::kReplace : OutputAction::kAppend;
        OutputUnit unit;
        int32_t written = EEXIST;
        while (written == EEXIST) {
            const int32_t code = VecTableSupport::FileOpen(kSaveUnit, path.View(), action, unit);
            if (code != 0) return code;
            for (const std::string_view line : {"", "", "", "*** Vector Table Input Files ***"}) unit.WriteLine({line});
            VecTableTree::VecTabWriteLines(unit);
            written = unit.Close();
        }
        if (unit.WroteInPlace()) {
            VecTableSupport::TraceLogInfo(
                "Warning-VecTabSaveFile: No file can be made beside the old one. It is written in place.");
        }
        if (written == 0) return kSuccess;
        LogCall(kCall, "File write error.");
        return kFailure;
    });
}

int32_t VecTabGetLine(int64_t satKey, char line[kLineLength]) {
    ClearText(line, kLineLength);
    if (NullArgument("VecTabGetLine", line)) return kFailure;
    const VecTableTree::StoredRecord record(satKey);
    if (!record) return kFailure;
    VecTableSupport::StrToCharArr(VecTableTree::FileLine(*record).View(), kLineLength, line);
    return kSuccess;
}
