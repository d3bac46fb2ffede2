// Where a time lies in a table. `low` is the number of points before it.
#pragma once

#include <algorithm>
#include <cmath>

#include "evaluation/table.h"
#include "support/time_scales.h"

namespace VecTableProcessing {

inline constexpr double kSameTime = 1e-12;       // days
inline constexpr double kEndTolerance = 0.0005;  // s

// Whether a time lies before a table or after it, by more than the tolerance. A NaN does.
[[gnu::noinline]] inline bool IsOutside(const VecTableTypes::TimeSpan& span, double t) noexcept {
    constexpr double kFar = 1.0;  // days; the seconds to a time further away may overflow
    const double early = span.firstTime - t;
    const double late = t - span.lastTime;
    const double distance = std::isgreater(early, late) ? early : late;
    return !std::isless(distance, kFar) || distance * VecTableSupport::kSecondsPerDay > kEndTolerance;
}

// A point near the time, as far along the table as the time is along its span. By way of signed numbers: the processor
// has no conversion of unsigned ones.
template <typename Layout>
inline std::size_t GuessPoint(const Table<Layout>& table, double t) noexcept {
    const double along = (t - table.span.firstTime) * table.span.pointsPerDay;
    if (!(along > 0.0)) return 1;
    const auto last = static_cast<std::int64_t>(table.count - 1);
    return along < static_cast<double>(last) ? static_cast<std::size_t>(static_cast<std::int64_t>(along)) + 1
                                             : table.count;
}

// The number of points before the time: from the guess in doubling steps until the time lies between, then by
// bisection. An even table has it within two looks, any table within twice the looks of a bisection.
template <typename Layout>
[[gnu::noinline]] std::size_t SearchLow(const Table<Layout>& table, std::size_t guess, double t) noexcept {
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

template <typename Layout>
inline std::size_t FindLow(const Table<Layout>& table, double t) noexcept {
    const std::size_t guess = GuessPoint(table, t);
    const bool between = guess < table.count && table[guess].ds50UTC < t && !(table[guess + 1].ds50UTC < t);
    return between ? guess : SearchLow(table, guess, t);
}

// The first point of the stencil: as many on either side, fewer at an end.
template <typename Layout>
inline std::size_t FirstOfStencil(const Table<Layout>& table, std::size_t low) noexcept {
    const std::size_t start = std::max(low, kStencilBefore) - (kStencilBefore - 1);
    return std::min(start + kStencilPoints - 1, table.count) - (kStencilPoints - 1);
}

// The two points beside the time; at an end both are the same one.
template <typename Layout>
inline const auto& PointBefore(const Table<Layout>& table, std::size_t low) noexcept {
    return table[std::max<std::size_t>(low, 1)];
}
template <typename Layout>
inline const auto& PointAfter(const Table<Layout>& table, std::size_t low) noexcept {
    return table[std::min(low + 1, table.count)];
}

template <typename Point>
inline bool IsSameTime(const Point& point, double t) noexcept {
    return kSameTime > std::fabs(t - point.ds50UTC);
}

// The first of the points that the time falls on, or null.
template <typename Point, std::size_t kCount>
inline const Point* FindSameTime(std::span<const Point, kCount> points, double t) noexcept {
    for (const Point& point : points) {
        if (IsSameTime(point, t)) return &point;
    }
    return nullptr;
}

// Whether a time falls on a point: on one of the two beside it then, since no other is nearer.
template <typename Layout>
inline bool FallsOnPoint(const Table<Layout>& table, std::size_t low, double t) noexcept {
    return IsSameTime(PointBefore(table, low), t) || IsSameTime(PointAfter(table, low), t);
}

// The point that a time within the table falls on, or null. For a table of at least a stencil.
template <typename Layout>
[[gnu::noinline]] const typename Layout::Point* FindStoredPoint(const Table<Layout>& table, double time) noexcept {
    const std::size_t low = SearchLow(table, GuessPoint(table, time), time);
    if (!FallsOnPoint(table, low, time)) return nullptr;
    return FindSameTime(Stencil<Layout>(&table[FirstOfStencil(table, low)], kStencilPoints), time);
}

}  // namespace VecTableProcessing
