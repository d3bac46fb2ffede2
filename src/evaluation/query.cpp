#include "evaluation/query.h"

#include "evaluation/interpolation.h"
#include "store/record_lookup.h"
#include "support/dates.h"
#include "support/keys.h"
#include "support/text.h"
#include "support/time_scales.h"
#include "support/trace_log.h"

namespace VecTableDllVarsUtils {
namespace {

using VecTableSupport::kMinutesPerDay;
using VecTableSupport::TextBuilder;
using VecTableSupport::TraceLogError;
using VecTableTypes::VecTabRecord;

std::int32_t TakeIndexed(const VecTabRecord& record, double value, double& outTime, VecTabPoint& point,
                         double* outMse) noexcept {
    if (!(value >= 1.0 && value < record.numOfPts + 1.0)) {
        TraceLogError("GetEphem: Input index is out of valid range.");
        return 2;
    }
    point = record.points[static_cast<std::size_t>(value)];
    outTime = point.ds50UTC;
    if (outMse != nullptr) *outMse = (point.ds50UTC - record.points[1].ds50UTC) * kMinutesPerDay;
    return 0;
}

std::int32_t TakeTimed(const VecTabRecord& record, double value, TimeType timeType, double& outTime,
                       VecTabPoint& point) noexcept {
    const double firstTime = record.points[1].ds50UTC;
    double t = value;
    if (timeType == TimeType::kMse) {
        t = value / kMinutesPerDay + firstTime;
        outTime = t;
    } else {
        outTime = (value - firstTime) * kMinutesPerDay;
    }
    if (!(t >= firstTime && record.LastPoint().ds50UTC >= t)) {
        TraceLogError("GetEphem: Requested time is outside of ephemeris time span.");
        return 2;
    }
    return VecTableProcessing::InterpolateEP(record, VecTableSupport::Utc2Tai(t), point);
}

std::int32_t Answer(std::int64_t satKey, double value, TimeType timeType, double& outTime, VecTabPoint& point,
                    double* outMse) noexcept {
    const VecTableTree::StoredRecord record(satKey);
    if (!record) return 2;
    if (record->numOfPts == 0) {
        TextBuilder<128> text;
        text.Add("GetEphem: satKey ").AddInteger(satKey, 19).Add(" does not contain any ephemeris data.");
        TraceLogError(text.Text().View());
        return 2;
    }
    return timeType == TimeType::kIndex ? TakeIndexed(*record, value, outTime, point, outMse)
                                        : TakeTimed(*record, value, timeType, outTime, point);
}

}  // namespace

void GetEphem(std::int64_t satKey, double value, TimeType timeType, double& outTime, VecTabPoint& point,
              std::int32_t& status, double* outMse) noexcept {
    status = Answer(satKey, value, timeType, outTime, point, outMse);
    if (status != 0) point = VecTabPoint{};
}

void To6x6CovMtx(std::span<double, 36> matrix, std::span<const double, VecTableTypes::kCovTerms> cov) noexcept {
    std::size_t term = 0;
#pragma GCC unroll 6
    for (std::size_t row = 0; row < 6; ++row) {
#pragma GCC unroll 6
        for (std::size_t column = 0; column <= row; ++column) {
            matrix[row * 6 + column] = matrix[column * 6 + row] = cov[term++];
        }
    }
}

std::int64_t GetSatKey(std::int32_t satNum) noexcept {
    const std::int64_t key = VecTableTree::SatKeyGet(satNum);
    if (key == VecTableSupport::kNoKey) {
        TextBuilder<128> text;
        text.Add("GetSatKey: Unable to locate satellite number ")
            .AddInteger(satNum, 9)
            .Add(" in the VecTab binary tree.");
        TraceLogError(text.Text().View());
    }
    return key;
}

}  // namespace VecTableDllVarsUtils
