#include "evaluation/interpolation.h"

#include <algorithm>
#include <cmath>
#include <span>

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

// The first of the points that the time falls on, or null.
const VecTabPoint* FindSameTime(std::span<const VecTabPoint> points, double t) noexcept {
    for (const VecTabPoint& point : points) {
        if (kSameTime > std::fabs(t - point.ds50UTC)) return &point;
    }
    return nullptr;
}

// A point near the time, as far along the table as the time is along its span.
std::size_t GuessPoint(const VecTabRecord& record, std::size_t n, double t) noexcept {
    const double firstTime = record.points[1].ds50UTC;
    const double along = (t - firstTime) / (record.points[n].ds50UTC - firstTime) * static_cast<double>(n - 1);
    if (!(along > 0.0)) return 1;
    return along < static_cast<double>(n - 1) ? static_cast<std::size_t>(along) + 1 : n;
}

// The last point ahead of the time, 0 when there is none: from the guess in doubling steps until the time lies between,
// then by bisection. An even table has it within two looks, any table within twice the looks of a bisection.
std::size_t FindLow(const VecTabRecord& record, std::size_t n, double t) noexcept {
    const auto isAhead = [&](std::size_t number) { return t > record.points[number].ds50UTC; };
    std::size_t low = GuessPoint(record, n, t);
    std::size_t high = low;
    if (isAhead(low)) {
        for (std::size_t step = 1; (high = std::min(low + step, n + 1)) <= n && isAhead(high); step *= 2) low = high;
    } else {
        for (std::size_t step = 1; (low = high - std::min(high, step)) > 0 && !isAhead(low); step *= 2) high = low;
    }
    while (low + 1 != high) {
        const std::size_t mid = (low + high) / 2;
        (isAhead(mid) ? low : high) = mid;
    }
    return low;
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
    const VecTabPoint* hit = FindSameTime({&record.points[1], n}, t);
    if (hit == nullptr) {
        TraceLogError("InterpolateEP: Can not interpolate with less than 4 ephemeris data points");
        return 2;
    }
    point = *hit;
    return 0;
}

// The point that a bisection over all points, begun with 0 and n + 1, looks at last when it ends between `low` and low + 1.
std::size_t LastMid(std::size_t n, std::size_t low) noexcept {
    std::size_t left = 0;
    std::size_t right = n + 1;
    std::size_t mid = 0;
    while (left + 1 != right) {
        mid = (left + right) / 2;
        (mid <= low ? left : right) = mid;
    }
    return mid;
}

// The revolution is counted from the point that a full bisection would have looked at last. That is one of the two next
// to the time; which of them matters only where they disagree.
std::int32_t Revolution(const VecTabRecord& record, std::size_t n, std::size_t low, const VecTabPoint& point) noexcept {
    const auto countFrom = [&](std::size_t number) {
        return UpdateRev(point, record.points[number], record.points[number].revNum);
    };
    const std::int32_t revolution = countFrom(std::max<std::size_t>(low, 1));
    return revolution == countFrom(std::min(low + 1, n)) ? revolution : countFrom(LastMid(n, low));
}

std::int32_t InterpolateBetween(const VecTabRecord& record, std::size_t n, double t, VecTabPoint& point) noexcept {
    const std::size_t low = FindLow(record, n, t);
    const std::size_t start = std::max<std::size_t>(low, 2) - 1;
    const std::size_t last = std::min(start + kStencilPoints - 1, n);
    const Stencil points(&record.points[last - (kStencilPoints - 1)], kStencilPoints);

    if (const VecTabPoint* hit = FindSameTime(points, t)) {
        point = *hit;
        return 0;
    }
    const double firstTime = points.front().ds50UTC;
    const double lastTime = points.back().ds50UTC;
    if ((lastTime - firstTime) / 3.0 > kSpacingLimit) {
        LogGap(firstTime, lastTime);
        return 2;
    }
    HermiteVecTab(points, t, point);
    point.revNum = Revolution(record, n, low, point);
    return 0;
}

std::int32_t Interpolate(const VecTabRecord& record, double t, VecTabPoint& point) noexcept {
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

}  // namespace

std::int32_t InterpolateEP(const VecTabRecord& record, double timeTai, VecTabPoint& point) noexcept {
    const std::int32_t status = Interpolate(record, VecTableSupport::Tai2Utc(timeTai), point);
    if (status != 0) point = VecTabPoint{};
    return status;
}

std::int32_t UpdateRev(const VecTabPoint& point, const VecTabPoint& refPoint, std::int32_t refRev) noexcept {
    std::int64_t revolution = refRev;
    if (0.0 > point.pos[2] * refPoint.pos[2] && point.vel[2] > 0.0) {
        revolution += point.ds50UTC - refPoint.ds50UTC < 0.0 ? -1 : 1;
    }
    if (revolution < 0 || revolution >= kRevolutionModulus) [[unlikely]] {
        revolution %= kRevolutionModulus;
        if (revolution < 0) revolution += kRevolutionModulus;
    }
    return static_cast<std::int32_t>(revolution);
}

}  // namespace VecTableProcessing
