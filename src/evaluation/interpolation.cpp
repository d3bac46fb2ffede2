#include "evaluation/interpolation.h"

#include <algorithm>
#include <cmath>

#include "evaluation/hermite.h"
#include "support/dates.h"
#include "support/text.h"
#include "support/time_scales.h"
#include "support/trace_log.h"

namespace VecTableProcessing {
namespace {

using VecTableSupport::kMinutesPerDay;
using VecTableSupport::kSecondsPerDay;
using VecTableSupport::TraceLogError;

constexpr double kEndTolerance = 0.0005;                 // s
constexpr double kSameTime = 1e-12;                      // days
constexpr double kSpacingLimit = 61.0 / kMinutesPerDay;  // days, mean over the stencil
constexpr std::int64_t kRevolutionModulus = 100000;

constexpr std::size_t kNone = 0;

// The first of the points `first` to `last` that the time falls on, or kNone.
std::size_t FindSameTime(const VecTabRecord& record, std::size_t first, std::size_t last, double t) noexcept {
    for (std::size_t i = first; i <= last; ++i) {
        if (kSameTime > std::fabs(t - record.points[i].ds50UTC)) return i;
    }
    return kNone;
}

struct Bracket {
    std::size_t low;      // the last point ahead of the time, 0 when there is none
    std::size_t lastMid;  // the point looked at last, which the revolution number is counted from
};

Bracket Bisect(const VecTabRecord& record, std::size_t n, double t) noexcept {
    std::size_t low = 0;
    std::size_t high = n + 1;
    std::size_t mid = 0;
    while (low + 1 != high) {
        mid = (low + high) / 2;
        if (t > record.points[mid].ds50UTC) {
            low = mid;
        } else {
            high = mid;
        }
    }
    return {low, mid};
}

void LogGap(double firstTime, double lastTime) noexcept {
    VecTableSupport::TextBuilder<103> text;
    text.Add("InterpolateEP: Data points too far apart due to spacing or data gap. (");
    text.Add(VecTableSupport::Ds50ToDate15(firstTime).View()).Add(", ");
    text.Add(VecTableSupport::Ds50ToDate15(lastTime).View()).Add(")");
    TraceLogError(text.Text().View());
}

// A record of two or three points serves its points alone.
std::int32_t TakeStoredPoint(const VecTabRecord& record, std::size_t n, double t, VecTabPoint& point) noexcept {
    const std::size_t hit = FindSameTime(record, 1, n, t);
    if (hit == kNone) {
        TraceLogError("InterpolateEP: Can not interpolate with less than 4 ephemeris data points");
        return 2;
    }
    point = record.points[hit];
    return 0;
}

std::int32_t InterpolateBetween(const VecTabRecord& record, std::size_t n, double t, VecTabPoint& point) noexcept {
    const Bracket bracket = Bisect(record, n, t);
    const std::size_t start = std::max<std::size_t>(bracket.low, 2) - 1;
    const std::size_t last = std::min(start + kStencilPoints - 1, n);
    const std::size_t first = last - (kStencilPoints - 1);

    const std::size_t hit = FindSameTime(record, first, last, t);
    if (hit != kNone) {
        point = record.points[hit];
        return 0;
    }
    const double firstTime = record.points[first].ds50UTC;
    const double lastTime = record.points[last].ds50UTC;
    if ((lastTime - firstTime) / 3.0 > kSpacingLimit) {
        LogGap(firstTime, lastTime);
        return 2;
    }
    point = HermiteVecTab(Stencil(&record.points[first], kStencilPoints), t);
    const VecTabPoint& refPoint = record.points[bracket.lastMid];
    point.revNum = UpdateRev(point, refPoint, refPoint.revNum);
    return 0;
}

}  // namespace

std::int32_t InterpolateEP(const VecTabRecord& record, double timeTai, VecTabPoint& point) noexcept {
    point = VecTabPoint{};
    const double t = VecTableSupport::Tai2Utc(timeTai);
    if (record.numOfPts == 1) {
        point = record.points[1];
        return 0;
    }
    if (record.numOfPts < 1 || !record.points.IsAllocated()) {
        TraceLogError("InterpolateEP: Buffer not initialized.");
        return 2;
    }
    const auto n = static_cast<std::size_t>(record.numOfPts);
    if (-kEndTolerance > (t - record.points[1].ds50UTC) * kSecondsPerDay ||
        (t - record.points[n].ds50UTC) * kSecondsPerDay > kEndTolerance) {
        TraceLogError("InterpolateEP: Request time out of ephemeris range.");
        return 2;
    }
    return n < kStencilPoints ? TakeStoredPoint(record, n, t, point) : InterpolateBetween(record, n, t, point);
}

std::int32_t UpdateRev(const VecTabPoint& point, const VecTabPoint& refPoint, std::int32_t refRev) noexcept {
    std::int64_t revolution = refRev;
    if (0.0 > point.pos[2] * refPoint.pos[2] && point.vel[2] > 0.0) {
        revolution += point.ds50UTC - refPoint.ds50UTC < 0.0 ? -1 : 1;
    }
    revolution %= kRevolutionModulus;
    return static_cast<std::int32_t>(revolution < 0 ? revolution + kRevolutionModulus : revolution);
}

}  // namespace VecTableProcessing
