#include "evaluation/evaluator.h"

#include "evaluation/interpolation.h"
#include "support/text.h"
#include "support/trace_log.h"

namespace VecTableProcessing {
namespace {

using VecTableSupport::TraceLogError;

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

}  // namespace

std::size_t SearchLow(const Table& table, std::size_t guess, double t) noexcept {
    const std::size_t n = table.count;
    const auto isBefore = [&](std::size_t number) { return table[number].ds50UTC < t; };
    std::size_t low = guess;
    std::size_t high = guess;
    if (isBefore(low)) {
        for (std::size_t step = 1; (high = std::min(low + step, n + 1)) <= n && isBefore(high); step *= 2) low = high;
    } else {
        for (std::size_t step = 1; (low = high - std::min(high, step)) > 0 && !isBefore(low); step *= 2) high = low;
    }
    while (low + 1 != high) {
        const std::size_t mid = (low + high) / 2;
        (isBefore(mid) ? low : high) = mid;
    }
    return low;
}

// The revolution is counted from the point that a full bisection would have looked at last. That is one of the two next
// to the time; which of them matters only where they disagree.
std::int32_t CountRevolution(const Table& table, std::size_t low, const VecTabPoint& point) noexcept {
    const auto countFrom = [&](std::size_t number) { return UpdateRev(point, table[number], table[number].revNum); };
    const std::int32_t revolution = countFrom(std::max<std::size_t>(low, 1));
    return revolution == countFrom(std::min(low + 1, table.count)) ? revolution : countFrom(LastMid(table.count, low));
}

void Table::CutTo(std::int32_t numOfPts) noexcept {
    count = numOfPts > 0 && static_cast<std::size_t>(numOfPts) < count ? static_cast<std::size_t>(numOfPts) : 0;
    span = VecTableTypes::SpanOf({points, count});
}

bool IsOutside(const Table& table, double t) noexcept {
    constexpr double kFar = 1.0;  // days; the seconds to a time further away may overflow
    const double early = table.span.firstTime - t;
    const double late = t - table.span.lastTime;
    const double distance = std::isgreater(early, late) ? early : late;
    return !std::isless(distance, kFar) || distance * VecTableSupport::kSecondsPerDay > kEndTolerance;
}

const VecTabPoint* FindStoredPoint(const Table& table, double time) noexcept {
    const std::size_t low = SearchLow(table, GuessPoint(table, time), time);
    if (!FallsOnPoint(table, low, time)) return nullptr;
    return FindSameTime({&table[FirstOfStencil(table, low)], kStencilPoints}, time);
}

Refusal TakeStoredPoint(const Table& table, double time, double t, VecTabPoint& point) noexcept {
    if (table.count == 0) return Refusal::kNotInitialized;
    const VecTabPoint* hit = table.points;
    if (table.count > 1) {
        if (IsOutside(table, t)) return Refusal::kOutside;
        const std::span all(table.points, table.count);
        hit = FindSameTime(all, t);
        if (hit == nullptr) hit = FindSameTime(all, time);
        if (hit == nullptr) return Refusal::kTooFew;
    }
    point = *hit;
    return Refusal::kNone;
}

void LogRefusal(Refusal refusal, const Gap& gap) noexcept {
    switch (refusal) {
        case Refusal::kNone:
            return;
        case Refusal::kNotInitialized:
            return TraceLogError("InterpolateEP: Buffer not initialized.");
        case Refusal::kOutside:
            return TraceLogError("InterpolateEP: Request time out of ephemeris range.");
        case Refusal::kTooFew:
            return TraceLogError("InterpolateEP: Can not interpolate with less than 4 ephemeris data points");
        case Refusal::kGap:
            VecTableSupport::TextBuilder<103> text;
            text.Add("InterpolateEP: Data points too far apart due to spacing or data gap. (");
            text.Add(VecTableSupport::Ds50ToDate15(gap.start).View()).Add(", ");
            text.Add(VecTableSupport::Ds50ToDate15(gap.end).View()).Add(")");
            return TraceLogError(text.Text().View());
    }
}

}  // namespace VecTableProcessing
