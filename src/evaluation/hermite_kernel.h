// HermiteVecTab for the points of a stencil, in any layout: the same bits in half the time.
#pragma once

#include <array>
#include <cmath>
#include <span>

#include "evaluation/lagrange.h"
#include "evaluation/table.h"
#include "support/time_scales.h"

namespace VecTableProcessing {

static_assert(kStencilPoints == 4, "two pairs of points are what this source is written for");

// Stands for -0.5 / S2 of a point where S2 vanishes. `timeToNode` in seconds, from the point to the request.
[[gnu::noinline]] inline double EndlessConstant(double timeToNode) noexcept {
    int exponent = 0;
    return 2.0 * std::ldexp(std::fabs(std::frexp(timeToNode, &exponent)), 53);
}

template <typename Layout>
inline bool HasMark(const Layout& layout, const typename Layout::Point& first) noexcept {
    return layout.CovarianceOf(first)[1] == VecTableTypes::kScalarMark;
}

// The scalar of a marked table at t.
template <typename Layout>
[[gnu::noinline]] double MarkedScalar(const Layout& layout, std::span<const typename Layout::Point> points,
                                      double t) noexcept {
    return Lagrange(
        points.size(), [&](std::size_t i) { return layout.CovarianceOf(points[i])[0]; },
        [&](std::size_t i) { return points[i].ds50UTC; }, t);
}

// Two values that share each operation. A lane is rounded as the scalar operation is, so the bits are those of the
// formulas written out one by one. The time of an evaluation goes into its divisions, and two of them cost what one
// does.
using Pair = double __attribute__((vector_size(16)));
using SplitPair = VecTableSupport::SplitTime<Pair>;

inline Pair Lanes(Pair a, Pair b, int lane) noexcept {
    return Pair{a[lane], b[lane]};
}
inline SplitPair Lanes(const SplitPair& a, const SplitPair& b, int lane) noexcept {
    return {Lanes(a.day, b.day, lane), Lanes(a.fraction, b.fraction, lane)};
}

// What the times of a stencil say, whatever time is asked for: points 0 and 1 in the first pair, 2 and 3 in the second.
// For each point j, k runs over the other three.
struct StencilTimes {
    std::array<SplitPair, 2> split;
    std::array<Pair, 2> product;    // D, of the times from k to j, s^3
    std::array<Pair, 2> sumToNode;  // S2, of their reciprocals, 1/s
    std::array<Pair, 2> square;     // W = D D
    std::array<Pair, 2> c;          // -0.5 / S2, s
    std::array<Pair, 2> squareC;    // W c

    // A difference changes only its sign when its ends are exchanged, and so do its reciprocal and any product with it:
    // six of each serve the twelve ordered pairs of points. Sums and products run over k in ascending order.
    template <typename Point>
    [[gnu::always_inline]] void Measure(std::span<const Point, kStencilPoints> points) noexcept {
        using VecTableSupport::Minus;
        using VecTableSupport::ToSplitTai;
        split[0] = ToSplitTai(Pair{points[0].ds50UTC, points[1].ds50UTC});
        split[1] = ToSplitTai(Pair{points[2].ds50UTC, points[3].ds50UTC});
        const Pair to2 = Minus(split[0], Lanes(split[1], split[1], 0));  // points 0 and 1 less point 2
        const Pair to3 = Minus(split[0], Lanes(split[1], split[1], 1));  // points 0 and 1 less point 3
        // Point 0 less 1, point 2 less 3.
        const Pair next = Minus(Lanes(split[0], split[1], 0), Lanes(split[0], split[1], 1));
        const Pair per2 = 1.0 / to2;
        const Pair per3 = 1.0 / to3;
        const Pair perNext = 1.0 / next;
        product[0] = Pair{next[0], -next[0]} * to2 * to3;
        sumToNode[0] = Pair{perNext[0], -perNext[0]} + per2 + per3;
        product[1] = -Lanes(to2, to3, 0) * -Lanes(to2, to3, 1) * Pair{next[1], -next[1]};
        sumToNode[1] = -Lanes(per2, per3, 0) + -Lanes(per2, per3, 1) + Pair{perNext[1], -perNext[1]};
        for (std::size_t half = 0; half < 2; ++half) {
            square[half] = product[half] * product[half];
            c[half] = -(0.5 / sumToNode[half]);
            squareC[half] = square[half] * c[half];
        }
    }
};

// Position and velocity, one lane each, of the three components.
using StatePairs = std::array<Pair, 3>;

// Adds what two points give to the state: `half` 0 are points 0 and 1, 1 are 2 and 3. `dt` from the points to the
// request, s; `sumToTime`, S1 of each, of the reciprocals of the times from the other points to the request; `L`, of
// each, the product of these times.
template <typename Point>
[[gnu::always_inline]] inline void AddPoints(std::span<const Point, kStencilPoints> points, const StencilTimes& times,
                                             std::size_t half, Pair dt, Pair sumToTime, Pair L,
                                             StatePairs& state) noexcept {
    Pair c = times.c[half];
    Pair Wc = times.squareC[half];
    for (int j = 0; j < 2; ++j) {
        if (times.sumToNode[half][j] == 0.0) [[unlikely]] {
            c[j] = EndlessConstant(dt[j]);
            Wc[j] = times.square[half][j] * c[j];
        }
    }
    const Pair U = L * L;
    const Pair W = times.square[half];
    const Pair slope = sumToTime + sumToTime;
    const Pair A1 = U * (dt + c);
    const Pair B1 = U * dt;
    const Pair A2 = U * (1.0 + slope * (dt + c));
    const Pair B2 = U * (1.0 + slope * dt);
#pragma GCC unroll 2
    for (int j = 0; j < 2; ++j) {
        const Point& point = points[2 * half + static_cast<std::size_t>(j)];
        const Pair A{A1[j], A2[j]};
        const Pair B{B1[j], B2[j]};
#pragma GCC unroll 3
        for (std::size_t i = 0; i < 3; ++i) {
            state[i] += (A * point.pos[i]) / Wc[j];
            state[i] += (B * point.vel[i]) / W[j];
        }
    }
}

// Each term by the cubic through the four points. The sums start from 0.0, so that none of them is -0.0.
template <typename Layout>
[[gnu::always_inline]] inline void CombineCovariance(const Layout& layout, Stencil<Layout> points, Pair weight01,
                                                     Pair weight23, Covariance& cov) noexcept {
    constexpr std::size_t kLast = VecTableTypes::kCovTerms - 1;
    const Covariance& cov0 = layout.CovarianceOf(points[0]);
    const Covariance& cov1 = layout.CovarianceOf(points[1]);
    const Covariance& cov2 = layout.CovarianceOf(points[2]);
    const Covariance& cov3 = layout.CovarianceOf(points[3]);
    const auto sum = [&](auto term) {
        return 0.0 + weight01[0] * term(cov0) + weight01[1] * term(cov1) + weight23[0] * term(cov2) +
               weight23[1] * term(cov3);
    };
    for (std::size_t m = 0; m < kLast; m += 2) {
        const Pair terms = sum([m](const Covariance& of) { return Pair{of[m], of[m + 1]}; });
        cov[m] = terms[0];
        cov[m + 1] = terms[1];
    }
    cov[kLast] = sum([](const Covariance& of) { return of[kLast]; });
}

// The state at t, written in place; `state` is none of the points, and t is the time of none. Without covariance its
// terms are not written.
template <bool kWithCovariance, typename Layout>
[[gnu::always_inline]] inline void HermiteOverStencil(const Layout& layout, Stencil<Layout> points,
                                                      const StencilTimes& times, double t,
                                                      VecTabPoint& state) noexcept {
    const SplitPair time = VecTableSupport::ToSplitTai(Pair{t, t});
    const Pair dt01 = VecTableSupport::Minus(time, times.split[0]);
    const Pair dt23 = VecTableSupport::Minus(time, times.split[1]);
    const double P = 1.0 * dt01[0] * dt01[1] * dt23[0] * dt23[1];
    const Pair perDt01 = 1.0 / dt01;
    const Pair perDt23 = 1.0 / dt23;
    const Pair sumToTime01 = Pair{perDt01[1], perDt01[0]} + perDt23[0] + perDt23[1];
    const Pair sumToTime23 = perDt01[0] + Lanes(perDt01, perDt01, 1) + Pair{perDt23[1], perDt23[0]};
    const Pair L01 = P / dt01;
    const Pair L23 = P / dt23;
    // Before the sums of the state: it fills the wait for their first divisions.
    if constexpr (kWithCovariance) {
        if (HasMark(layout, points[0])) {
            state.cov = {MarkedScalar(layout, points, t)};
        } else {
            CombineCovariance(layout, points, L01 / times.product[0], L23 / times.product[1], state.cov);
        }
    }
    StatePairs sums{};
    AddPoints(points, times, 0, dt01, sumToTime01, L01, sums);
    AddPoints(points, times, 1, dt23, sumToTime23, L23, sums);
    state.ds50UTC = t;
    for (std::size_t i = 0; i < 3; ++i) {
        state.pos[i] = sums[i][0];
        state.vel[i] = sums[i][1];
    }
    state.revNum = 0;
}

}  // namespace VecTableProcessing
