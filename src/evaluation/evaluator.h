// The evaluation of tables, for one request and for many: the same steps, compiled twice. For one request the compiler
// leaves out what only many have a use for.
#pragma once

#include "evaluation/gap_policy.h"
#include "evaluation/hermite_kernel.h"
#include "evaluation/outcome.h"
#include "evaluation/revolutions.h"
#include "evaluation/search.h"

namespace VecTableProcessing {

// A table with fewer points than a stencil serves only its points. `time` and `t` as for Evaluate.
template <typename Layout>
[[gnu::noinline]] Outcome TakeStoredPoint(const Table<Layout>& table, double time, double t,
                                          VecTabPoint& state) noexcept {
    if (table.count == 0) return Outcome::kNoPoints;
    const auto* hit = table.points;
    if (table.count > 1) {
        if (IsOutside(table.span, t)) return Outcome::kOutside;
        const std::span all(table.points, table.count);
        hit = FindSameTime(all, t);
        if (hit == nullptr) hit = FindSameTime(all, time);
        if (hit == nullptr) return Outcome::kTooFew;
    }
    state = table.layout.ToState(*hit);
    return Outcome::kState;
}

// Evaluates tables, one request after the other. `kMany`: what it knows of the last stencil it uses again, and a time
// is first looked for in the interval of the last one and in the next. The points must not change between its requests.
template <typename Layout, bool kMany>
class Evaluator {
  public:
    // The state of the table at a time that is not outside, days since 1950, UTC. `t` is the time after its way to
    // another scale and back, which may have moved it: a stored time gives its point all the same. Without covariance
    // its terms are not written, but for a stored point. Where there is no state nothing is written.
    template <bool kWithCovariance>
    [[gnu::always_inline]] Outcome Evaluate(const Table<Layout>& table, double time, double t,
                                            VecTabPoint& state) noexcept {
        if (table.count < kStencilPoints) [[unlikely]]
            return TakeStoredPoint(table, time, t, state);
        if (std::islessgreater(time, t)) [[unlikely]] {
            if (const Point* stored = FindStoredPoint(table, time)) {
                state = table.layout.ToState(*stored);
                return Outcome::kState;
            }
            if (IsOutside(table.span, t)) return Outcome::kOutside;
        }
        const std::size_t low = kMany ? FindLowFromLast(table, t) : FindLow(table, t);
        if constexpr (kMany) {
            points_ = table.points;
            low_ = low;
        }
        const Stencil<Layout> points(&table[FirstOfStencil(table, low)], kStencilPoints);
        if (FallsOnPoint(table, low, t)) [[unlikely]] {
            state = table.layout.ToState(*FindSameTime(points, t));
            return Outcome::kState;
        }
        if (!kMany || points.data() != stencil_) {
            stencil_ = points.data();
            tooFarApart_ = AreTooFarApart(points);
            if (!tooFarApart_) times_.Measure(points);
        }
        if (tooFarApart_) return Outcome::kGap;
        HermiteOverStencil<kWithCovariance>(table.layout, points, times_, t, state);
        state.revNum = RevolutionAt(table, low, state);
        return Outcome::kState;
    }

    // Of the last request, where it has no state for it.
    Gap LastGap() const noexcept {
        if (stencil_ == nullptr) return {};
        return {stencil_[0].ds50UTC, stencil_[kStencilPoints - 1].ds50UTC};
    }

  private:
    using Point = typename Layout::Point;

    std::size_t FindLowFromLast(const Table<Layout>& table, double t) const noexcept {
        if (table.points == points_ && (low_ == 0 || table[low_].ds50UTC < t)) {
            for (const std::size_t low : {low_, low_ + 1}) {
                if (low >= table.count || !(table[low + 1].ds50UTC < t)) return low;
            }
        }
        return FindLow(table, t);
    }

    const Point* points_ = nullptr;  // of the last table
    std::size_t low_ = 0;            // points of it before the last time
    const Point* stencil_ = nullptr;
    bool tooFarApart_ = false;
    StencilTimes times_{};
};

}  // namespace VecTableProcessing
