// The calls on the descriptive fields of a record.
#include <vectable/vectable.h>

#include "exports/boundary.h"
#include "store/record_lookup.h"
#include "support/dates.h"
#include "support/text.h"

using namespace VecTableDllExports;
using VecTableSupport::StrToCharArr;
using VecTableTree::StoredRecord;
using VecTableTypes::VecTabRecord;

namespace {

constexpr std::size_t kFieldLength = VEC_TAB_FIELD_LENGTH;

enum Field : int32_t {
    kSatNum = 1,
    kEpoch = 2,
    kAe = 3,
    kKe = 4,
    kPosX = 5,
    kVelX = 8,
    kCoordSys = 11,
    kNumOfPts = 12,
    kFilePath = 13,
    kSatName = 14,
    kEphemName = 15,
};

using FieldBuilder = VecTableSupport::TextBuilder<kFieldLength>;

// The text of a field in its columns; empty for an unknown code.
FieldBuilder FormatField(const VecTabRecord& record, int32_t fieldCode) noexcept {
    constexpr std::size_t kRealColumns = 35;
    constexpr int kRealDecimals = 15;
    const auto& first = record.points[1];
    FieldBuilder text;
    switch (fieldCode) {
        case kSatNum:
            return text.AddInteger(record.satNum, 9);
        case kEpoch:
            return text.Add(VecTableSupport::Ds50ToDate15(record.epochDs50UTC).View());
        case kAe:
            return text.AddFixed(record.ae, kRealColumns, kRealDecimals);
        case kKe:
            return text.AddFixed(record.ke, 30, 20);
        case kPosX:
        case kPosX + 1:
        case kPosX + 2:
            return text.AddFixed(first.pos[static_cast<std::size_t>(fieldCode - kPosX)], kRealColumns, kRealDecimals);
        case kVelX:
        case kVelX + 1:
        case kVelX + 2:
            return text.AddFixed(first.vel[static_cast<std::size_t>(fieldCode - kVelX)], kRealColumns, kRealDecimals);
        case kCoordSys:
            return text.AddInteger(record.coordSys, 1);
        case kNumOfPts:
            return text.AddInteger(record.numOfPts, 10);
        case kFilePath:
            return text.Add(record.filePath.View());
        case kSatName:
            return text.Add(record.satName.View());
        case kEphemName:
            return text.Add(record.ephemName.View());
        default:
            return text;
    }
}

// Hands a record that has points to `use`. A failure is logged after the record is let go: the log may be slow, and a
// writer would wait for it.
template <typename Use>
int32_t UseRecordWithPoints(std::string_view call, int64_t satKey, Use use) noexcept {
    {
        const StoredRecord record(satKey);
        if (!record) return kFailure;
        if (record->numOfPts != 0) {
            use(*record);
            return kSuccess;
        }
    }
    VecTableSupport::TextBuilder<128> text;
    text.Add(call).Add(": satKey ").AddInteger(satKey, 19).Add(" does not contain any ephemeris data.");
    VecTableSupport::TraceLogError(text.Text().View());
    return kFailure;
}

}  // namespace

int32_t VecTabGetField(int64_t satKey, int32_t fieldCode, char fieldText[VEC_TAB_FIELD_LENGTH]) {
    if (NullArgument("VecTabGetField", fieldText)) return kFailure;
    FieldBuilder text;
    const int32_t status = UseRecordWithPoints(
        "VecTabGetField", satKey, [&](const VecTabRecord& record) { text = FormatField(record, fieldCode); });
    StrToCharArr(VecTableSupport::WithoutLeadingBlanks(text.Written()), kFieldLength, fieldText);
    return status;
}

int32_t VecTabSetField(int64_t satKey, int32_t fieldCode, const char* fieldText) {
    if (NullArgument("VecTabSetField", fieldText)) return kFailure;
    const StoredRecord record(satKey);
    if (!record) return kFailure;
    const auto given = VecTableSupport::CharArrToStr<kFieldLength>(fieldText);
    const std::string_view text = VecTableSupport::WithoutLeadingBlanks(given.View());
    switch (fieldCode) {
        case kCoordSys:
            record->coordSys = VecTableSupport::StrToInt(text.substr(0, 1));
            break;
        case kSatName:
            record->satName = VecTableTypes::SatName(text);
            break;
        case kEphemName:
            record->ephemName = VecTableTypes::EphemName(text);
            break;
        default:
            break;
    }
    return kSuccess;
}

int32_t VecTabGetAllFields(int64_t satKey, int32_t* satNum, char satName[VEC_TAB_SAT_NAME_LENGTH],
                           char ephemName[VEC_TAB_EPHEM_NAME_LENGTH], double* epochDs50UTC, double* ae, double* ke,
                           double pos[3], double vel[3], int32_t* coordSys, int32_t* numOfPts,
                           char filePath[VEC_TAB_PATH_LENGTH]) {
    for (int32_t* number : {satNum, coordSys, numOfPts}) Clear(number);
    for (double* number : {epochDs50UTC, ae, ke}) Clear(number);
    for (double* vector : {pos, vel}) Clear(vector, 3);
    ClearText(satName, VEC_TAB_SAT_NAME_LENGTH);
    ClearText(ephemName, VEC_TAB_EPHEM_NAME_LENGTH);
    ClearText(filePath, VEC_TAB_PATH_LENGTH);
    if (NullArgument("VecTabGetAllFields", satNum, satName, ephemName, epochDs50UTC, ae, ke, pos, vel, coordSys,
                     numOfPts, filePath)) {
        return kFailure;
    }
    const StoredRecord record(satKey);
    if (!record) return kFailure;
    *satNum = record->satNum;
    StrToCharArr(record->satName.View(), VEC_TAB_SAT_NAME_LENGTH, satName);
    StrToCharArr(record->ephemName.View(), VEC_TAB_EPHEM_NAME_LENGTH, ephemName);
    *epochDs50UTC = record->epochDs50UTC;
    *ae = record->ae;
    *ke = record->ke;
    *coordSys = record->coordSys;
    *numOfPts = record->numOfPts;
    StrToCharArr(record->filePath.View(), VEC_TAB_PATH_LENGTH, filePath);
    if (record->numOfPts >= 1) {
        std::copy_n(record->points[1].pos.begin(), 3, pos);
        std::copy_n(record->points[1].vel.begin(), 3, vel);
    }
    return kSuccess;
}

int32_t VecTabStartEndTime(int64_t satKey, double* startDs50UTC, double* endDs50UTC) {
    constexpr std::string_view kCall = "VecTabStartEndTime";
    Clear(startDs50UTC);
    Clear(endDs50UTC);
    if (NullArgument(kCall, startDs50UTC, endDs50UTC)) return kFailure;
    return UseRecordWithPoints(kCall, satKey, [&](const VecTabRecord& record) {
        *startDs50UTC = record.points[1].ds50UTC;
        *endDs50UTC = record.LastPoint().ds50UTC;
    });
}
