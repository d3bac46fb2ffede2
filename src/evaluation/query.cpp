#include "evaluation/query.h"

#include <cmath>
#include <limits>

#include "evaluation/evaluator.h"
#include "evaluation/interpolation.h"
#include "evaluation/prefetch.h"
#include "store/record_lookup.h"
#include "support/finite.h"
#include "support/keys.h"
#include "support/text.h"
#include "support/time_scales.h"
#include "support/trace_log.h"

namespace VecTableDllVarsUtils {
namespace {

using VecTableProcessing::Gap;
using VecTableProcessing::Outcome;
using VecTableProcessing::RecordTable;
using VecTableSupport::IsFinite;
using VecTableSupport::kMinutesPerDay;
using VecTableSupport::Quieted;
using VecTableSupport::Tai2Utc;
using VecTableSupport::TextBuilder;
using VecTableSupport::TraceLogError;
using VecTableSupport::Utc2Tai;

Outcome TakeIndexed(const RecordTable& table, double value, double& outTime, VecTabPoint& point,
                    double* outMse) noexcept {
    const bool inside = IsFinite(value) && value >= 1.0 && value < static_cast<double>(table.count) + 1.0;
    if (!inside) return Outcome::kNoIndex;
    point = table[static_cast<std::size_t>(value)];
    outTime = point.ds50UTC;
    if (outMse != nullptr) *outMse = (point.ds50UTC - table.span.firstTime) * kMinutesPerDay;
    return Outcome::kState;
}

// Minutes from one time to another, which may lie anywhere: what would overflow is infinite without an operation.
double MinutesTo(double ds50UTC, double firstTime) noexcept {
    constexpr double kFarthest = 1e300;  // days
    const double days = ds50UTC - firstTime;
    const bool far = std::isgreater(std::fabs(days), kFarthest);
    return far ? std::copysign(std::numeric_limits<double>::infinity(), days) : days * kMinutesPerDay;
}

// One request, and what is known of its failure, which is logged after the gate is left.
struct Query {
    std::int64_t satKey;
    double value;
    TimeType timeType;
    bool isEvaluated = false;
    Gap gap{};

    template <bool kWithCovariance>
    Outcome TakeTimed(const RecordTable& table, double& outTime, VecTabPoint& point) noexcept {
        const double firstTime = table.span.firstTime;
        const bool byMse = timeType == TimeType::kMse;
        const double t = !IsFinite(value) ? Quieted(value) : byMse ? value / kMinutesPerDay + firstTime : value;
        if (!table.Holds(t)) [[unlikely]] {
            outTime = byMse ? t : MinutesTo(t, firstTime);
            return Outcome::kOutside;
        }
        outTime = byMse ? t : (t - firstTime) * kMinutesPerDay;
        if (table.count >= VecTableProcessing::kStencilPoints) {
            VecTableProcessing::AskForStencil<kWithCovariance>(VecTableProcessing::GuessStencil(table, t));
        }
        VecTableProcessing::Evaluator<VecTableProcessing::RecordLayout, false> evaluator;
        const Outcome outcome = evaluator.template Evaluate<kWithCovariance>(table, t, Tai2Utc(Utc2Tai(t)), point);
        if (outcome != Outcome::kState) [[unlikely]] {
            isEvaluated = true;
            gap = evaluator.LastGap();
        }
        return outcome;
    }

    template <bool kWithCovariance>
    Outcome Take(double& outTime, VecTabPoint& point, double* outMse) noexcept {
        const VecTableTree::StoredRecord record(satKey);
        if (!record) return Outcome::kNoRecord;
        const RecordTable table = VecTableProcessing::TableOf(*record);
        if (table.count == 0) return Outcome::kNoPoints;
        return timeType == TimeType::kIndex ? TakeIndexed(table, value, outTime, point, outMse)
                                            : TakeTimed<kWithCovariance>(table, outTime, point);
    }

    // A lookup has logged for itself that there is no record.
    void Log(Outcome outcome) const noexcept {
        if (!VecTableSupport::TraceIsWanted(VecTableSupport::kTraceError)) return;
        if (isEvaluated) return VecTableProcessing::LogEvaluation(outcome, gap);
        if (outcome == Outcome::kNoIndex) return TraceLogError("GetEphem: Input index is out of valid range.");
        if (outcome == Outcome::kOutside) {
            return TraceLogError("GetEphem: Requested time is outside of ephemeris time span.");
        }
        if (outcome == Outcome::kNoPoints) {
            TextBuilder<128> text;
            text.Add("GetEphem: satKey ").AddInteger(satKey, 19).Add(" does not contain any ephemeris data.");
            TraceLogError(text.Text().View());
        }
    }
};

}  // namespace

template <bool kWithCovariance>
std::int32_t FindState(std::int64_t satKey, double value, TimeType timeType, double& outTime, VecTabPoint& point,
                       double* outMse) noexcept {
    Query query{satKey, value, timeType};
    const Outcome outcome = query.Take<kWithCovariance>(outTime, point, outMse);
    if (outcome == Outcome::kState) [[likely]]
        return 0;
    query.Log(outcome);
    return 2;
}

template std::int32_t FindState<true>(std::int64_t, double, TimeType, double&, VecTabPoint&, double*) noexcept;
template std::int32_t FindState<false>(std::int64_t, double, TimeType, double&, VecTabPoint&, double*) noexcept;

void GetEphem(std::int64_t satKey, double value, TimeType timeType, double& outTime, VecTabPoint& point,
              std::int32_t& status, double* outMse) noexcept {
    status = FindState<true>(satKey, value, timeType, outTime, point, outMse);
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
