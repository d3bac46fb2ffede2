// The revolution number of a state between points: an ascending crossing of the equatorial plane begins a revolution.
#pragma once

#include "evaluation/search.h"

namespace VecTableProcessing {

inline constexpr std::int32_t kRevolutionModulus = 100000;

// Whether an ascending crossing lies between the state and a stored point. Both may hold NaN.
template <typename Point>
inline bool CrossesBetween(const VecTabPoint& state, const Point& stored) noexcept {
    return std::isgreater(0.0, state.pos[2] * stored.pos[2]) && std::isgreater(state.vel[2], 0.0);
}

// `number`, that of the stored point, moved by one when a crossing lies between it and the state.
template <typename Point>
inline std::int32_t CountFrom(const Point& stored, std::int32_t number, const VecTabPoint& state) noexcept {
    std::int64_t revolution = number;
    if (CrossesBetween(state, stored)) revolution += state.ds50UTC - stored.ds50UTC < 0.0 ? -1 : 1;
    if (revolution < 0 || revolution >= kRevolutionModulus) [[unlikely]] {
        revolution %= kRevolutionModulus;
        if (revolution < 0) revolution += kRevolutionModulus;
    }
    return static_cast<std::int32_t>(revolution);
}

// The point that a bisection over all points, begun with 0 and n + 1, looks at last when it ends between `low` and low
// + 1.
inline std::size_t LastMid(std::size_t n, std::size_t low) noexcept {
    std::size_t left = 0;
    std::size_t right = n + 1;
    std::size_t mid = 0;
    while (left + 1 != right) {
        mid = (left + right) / 2;
        (mid <= low ? left : right) = mid;
    }
    return mid;
}

// Where there may be a crossing or the numbers of the two points beside the state differ. The revolution is counted
// from the point that a full bisection would have looked at last. That is one of the two; which of them matters only
// where they disagree.
template <typename Layout>
[[gnu::noinline]] std::int32_t CountRevolution(const Table<Layout>& table, std::size_t low,
                                               const VecTabPoint& state) noexcept {
    const auto countFrom = [&](const auto& stored) { return CountFrom(stored, stored.revNum, state); };
    const std::int32_t revolution = countFrom(PointBefore(table, low));
    return revolution == countFrom(PointAfter(table, low)) ? revolution : countFrom(table[LastMid(table.count, low)]);
}

// The revolution number of a state whose time lies after `low` points.
template <typename Layout>
inline std::int32_t RevolutionAt(const Table<Layout>& table, std::size_t low, const VecTabPoint& state) noexcept {
    const auto& before = PointBefore(table, low);
    const auto& after = PointAfter(table, low);
    const bool settled = before.revNum == after.revNum && before.revNum >= 0 && before.revNum < kRevolutionModulus &&
                         !CrossesBetween(state, before) && !CrossesBetween(state, after);
    return settled ? before.revNum : CountRevolution(table, low, state);
}

}  // namespace VecTableProcessing
