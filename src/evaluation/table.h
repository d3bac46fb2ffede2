// A table under evaluation, whatever way its points lie.
//
// A layout says how: `Point` has ds50UTC, pos, vel and revNum, as VecTabPoint; CovarianceOf(point) gives the terms of a
// point, zeros where it has none; ToState(point) gives the point as a state. An object of the layout may hold where
// else to look; that of the records is empty and takes no room.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <span>

#include "store/record_types.h"

namespace VecTableProcessing {

using Covariance = std::array<double, VecTableTypes::kCovTerms>;
using VecTableTypes::VecTabPoint;
using VecTableTypes::VecTabRecord;

// The points that a state between points comes from, half of them before its time and half after it.
inline constexpr std::size_t kStencilPoints = VEC_TAB_STENCIL_POINTS;
inline constexpr std::size_t kStencilBefore = kStencilPoints / 2;

// The points of records, each with its covariance.
struct RecordLayout {
    using Point = VecTabPoint;

    static const Covariance& CovarianceOf(const Point& point) noexcept { return point.cov; }
    static const VecTabPoint& ToState(const Point& point) noexcept { return point; }
};

// Points are counted from 1. Table{} is none; Table as it stands costs a block of them nothing.
template <typename LayoutType>
struct Table {
    using Layout = LayoutType;
    using Point = typename Layout::Point;

    const Point* points;
    std::size_t count;
    VecTableTypes::TimeSpan span;
    [[no_unique_address]] Layout layout;

    const Point& operator[](std::size_t number) const noexcept { return points[number - 1]; }

    // Whether a time lies within the table; no NaN does. The comparisons are those that a NaN does not upset.
    bool Holds(double t) const noexcept {
        return std::isgreaterequal(t, span.firstTime) && std::islessequal(t, span.lastTime);
    }
};
using RecordTable = Table<RecordLayout>;

template <typename Layout>
using Stencil = std::span<const typename Layout::Point, kStencilPoints>;

// For a record whose count a caller of the modules has set back; no points when it counts some that are not there.
[[gnu::noinline]] inline void CutTo(std::int32_t numOfPts, RecordTable& table) noexcept {
    const bool fits = numOfPts > 0 && static_cast<std::size_t>(numOfPts) < table.count;
    table.count = fits ? static_cast<std::size_t>(numOfPts) : 0;
    table.span = VecTableTypes::SpanOf({table.points, table.count});
}

inline RecordTable TableOf(const VecTabRecord& record) noexcept {
    const auto all = record.points.All();
    RecordTable table{all.data(), all.size(), record.points.Span(), {}};
    if (static_cast<std::size_t>(record.numOfPts) != table.count) [[unlikely]]
        CutTo(record.numOfPts, table);
    return table;
}

}  // namespace VecTableProcessing
