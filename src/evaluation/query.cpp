#include "evaluation/query.h"

#include <cmath>
#include <limits>

#include "evaluation/evaluator.h"
#include "store/record_lookup.h"
#include "support/dates.h"
#include "support/finite.h"
#include "support/keys.h"
#include "support/text.h"
#include "support/time_scales.h"
#include "support/trace_log.h"

namespace VecTableDllVarsUtils {
namespace {

using VecTableProcessing::Evaluator;
using VecTableProcessing::Gap;
using VecTableProcessing::Refusal;
using VecTableProcessing::Table;
using VecTableSupport::IsFinite;
using VecTableSupport::kMinutesPerDay;
using VecTableSupport::Quieted;
using VecTableSupport::Tai2Utc;
using VecTableSupport::TextBuilder;
using VecTableSupport::TraceLogError;
using VecTableSupport::Utc2Tai;

// What became of a request. It is logged after the gate is left.
enum class Reply { kState, kNoRecord, kNoPoints, kNoIndex, kNoTime, kRefused };

Reply TakeIndexed(const Table& table, double value, double& outTime, VecTabPoint& point, double* outMse) noexcept {
    const bool inside = IsFinite(value) && value >= 1.0 && value < static_cast<double>(table.count) + 1.0;
    if (!inside) return Reply::kNoIndex;
    point = table[static_cast<std::size_t>(value)];
    outTime = point.ds50UTC;
    if (outMse != nullptr) *outMse = (point.ds50UTC - table.span.firstTime) * kMinutesPerDay;
    return Reply::kState;
}

// Minutes from one time to another, which may lie anywhere: what would overflow is infinite without an operation.
double MinutesTo(double ds50UTC, double firstTime) noexcept {
    constexpr double kFarthest = 1e300;  // days
    const double days = ds50UTC - firstTime;
    const bool far = std::isgreater(std::fabs(days), kFarthest);
    return far ? std::copysign(std::numeric_limits<double>::infinity(), days) : days * kMinutesPerDay;
}

// One request, and what is known of its failure.
struct Query {
    std::int64_t satKey;
    double value;
    TimeType timeType;
    Refusal refusal = Refusal::kNone;
    Gap gap{};

    template <bool kWithCovariance>
    Reply TakeTimed(const Table& table, double& outTime, VecTabPoint& point) noexcept {
        const double firstTime = table.span.firstTime;
        const bool byMse = timeType == TimeType::kMse;
        const double t = !IsFinite(value) ? Quieted(value) : byMse ? value / kMinutesPerDay + firstTime : value;
        if (!table.Holds(t)) [[unlikely]] {
            outTime = byMse ? t : MinutesTo(t, firstTime);
            return Reply::kNoTime;
        }
        outTime = byMse ? t : (t - firstTime) * kMinutesPerDay;
        if (table.count >= VecTableProcessing::kStencilPoints) {
            VecTableProcessing::AskForStencil<kWithCovariance>(VecTableProcessing::GuessStencil(table, t));
        }
        Evaluator<false> evaluator;
        refusal = evaluator.template Evaluate<kWithCovariance>(table, t, Tai2Utc(Utc2Tai(t)), point);
        if (refusal == Refusal::kNone) [[likely]]
            return Reply::kState;
        gap = evaluator.LastGap();
        return Reply::kRefused;
    }

    template <bool kWithCovariance>
    Reply Take(double& outTime, VecTabPoint& point, double* outMse) noexcept {
        const VecTableTree::StoredRecord record(satKey);
        if (!record) return Reply::kNoRecord;
        const Table table(*record);
        if (table.count == 0) return Reply::kNoPoints;
        return timeType == TimeType::kIndex ? TakeIndexed(table, value, outTime, point, outMse)
                                            : TakeTimed<kWithCovariance>(table, outTime, point);
    }

    void Log(Reply reply) const noexcept {
        if (!VecTableSupport::TraceIsWanted(VecTableSupport::kTraceError)) return;
        switch (reply) {
            case Reply::kState:
            case Reply::kNoRecord:
                return;
            case Reply::kNoPoints: {
                TextBuilder<128> text;
                text.Add("GetEphem: satKey ").AddInteger(satKey, 19).Add(" does not contain any ephemeris data.");
                return TraceLogError(text.Text().View());
            }
            case Reply::kNoIndex:
                return TraceLogError("GetEphem: Input index is out of valid range.");
            case Reply::kNoTime:
                return TraceLogError("GetEphem: Requested time is outside of ephemeris time span.");
            case Reply::kRefused:
                return LogRefusal(refusal, gap);
        }
    }
};

}  // namespace

template <bool kWithCovariance>
std::int32_t FindState(std::int64_t satKey, double value, TimeType timeType, double& outTime, VecTabPoint& point,
                       double* outMse) noexcept {
    Query query{satKey, value, timeType};
    const Reply reply = query.Take<kWithCovariance>(outTime, point, outMse);
    if (reply == Reply::kState) [[likely]]
        return 0;
    query.Log(reply);
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
