#include "evaluation/hermite.h"

#include <array>
#include <cmath>

#include "support/time_scales.h"

namespace VecTableProcessing {
namespace {

using VecTableSupport::Minus;
using VecTableSupport::ToSplitTai;

// Two values that share each operation. A lane is rounded as the scalar operation is, so the bits are those of the
// formulas written out one by one. The time goes into the divisions, and two of them cost what one does.
using Pair = double __attribute__((vector_size(16)));
using SplitPair = VecTableSupport::SplitTime<Pair>;

Pair Lanes(Pair a, Pair b, int lane) noexcept {
    return Pair{a[lane], b[lane]};
}

SplitPair Lanes(const SplitPair& a, const SplitPair& b, int lane) noexcept {
    return {Lanes(a.day, b.day, lane), Lanes(a.fraction, b.fraction, lane)};
}

// What the times say of two points j of the stencil; k runs over its other three points.
struct NodePair {
    Pair dt;         // from point j to the request, s
    Pair product;    // D, of the times from k to j, s^3
    Pair sumToNode;  // S2, of their reciprocals, 1/s: the derivative of the Lagrange polynomial of point j at it
    Pair sumToTime;  // S1, of the reciprocals of the times from k to the request, 1/s
};

// Points 0 and 1 in the first pair, 2 and 3 in the second.
using Nodes = std::array<NodePair, 2>;

// A difference changes its sign alone when its ends are exchanged, and so do its reciprocal and any product with it:
// six of each serve the twelve ordered pairs of points. Sums and products run over k in ascending order.
void MeasureTimes(const SplitPair& t01, const SplitPair& t23, Nodes& nodes) noexcept {
    const Pair to2 = Minus(t01, Lanes(t23, t23, 0));                  // points 0 and 1 less point 2
    const Pair to3 = Minus(t01, Lanes(t23, t23, 1));                  // points 0 and 1 less point 3
    const Pair next = Minus(Lanes(t01, t23, 0), Lanes(t01, t23, 1));  // point 0 less 1, point 2 less 3
    const Pair per2 = 1.0 / to2;
    const Pair per3 = 1.0 / to3;
    const Pair perNext = 1.0 / next;
    const Pair perDt01 = 1.0 / nodes[0].dt;
    const Pair perDt23 = 1.0 / nodes[1].dt;

    nodes[0].product = Pair{next[0], -next[0]} * to2 * to3;
    nodes[0].sumToNode = Pair{perNext[0], -perNext[0]} + per2 + per3;
    nodes[0].sumToTime = Pair{perDt01[1], perDt01[0]} + perDt23[0] + perDt23[1];
    nodes[1].product = -Lanes(to2, to3, 0) * -Lanes(to2, to3, 1) * Pair{next[1], -next[1]};
    nodes[1].sumToNode = -Lanes(per2, per3, 0) + -Lanes(per2, per3, 1) + Pair{perNext[1], -perNext[1]};
    nodes[1].sumToTime = perDt01[0] + Lanes(perDt01, perDt01, 1) + Pair{perDt23[1], perDt23[0]};
}

// Stands for -0.5 / S2 where S2 vanishes: a time so long that the time to the request vanishes beside it, which is the
// limit of the formulas.
double EndlessConstant(double timeToNode) noexcept {
    int exponent = 0;
    return 2.0 * std::ldexp(std::fabs(std::frexp(timeToNode, &exponent)), 53);
}

Pair NodeConstants(Pair sumToNode, Pair dt) noexcept {
    Pair c = -(0.5 / sumToNode);
    if (sumToNode[0] == 0.0) [[unlikely]]
        c[0] = EndlessConstant(dt[0]);
    if (sumToNode[1] == 0.0) [[unlikely]]
        c[1] = EndlessConstant(dt[1]);
    return c;
}

// Position and velocity, one lane each, of the three components.
using State = std::array<Pair, 3>;

// Adds what two points give to the state. L holds, for each, the product of the times from the other points to the
// request.
void AddPoints(const VecTabPoint* points, const NodePair& nodes, Pair L, State& state) noexcept {
    const Pair c = NodeConstants(nodes.sumToNode, nodes.dt);
    const Pair U = L * L;
    const Pair W = nodes.product * nodes.product;
    const Pair Wc = W * c;
    const Pair slope = nodes.sumToTime + nodes.sumToTime;
    const Pair A1 = U * (nodes.dt + c);
    const Pair B1 = U * nodes.dt;
    const Pair A2 = U * (1.0 + slope * (nodes.dt + c));
    const Pair B2 = U * (1.0 + slope * nodes.dt);
#pragma GCC unroll 2
    for (int j = 0; j < 2; ++j) {
        const Pair A{A1[j], A2[j]};
        const Pair B{B1[j], B2[j]};
#pragma GCC unroll 3
        for (std::size_t i = 0; i < 3; ++i) {
            state[i] += (A * points[j].pos[i]) / Wc[j];
            state[i] += (B * points[j].vel[i]) / W[j];
        }
    }
}

Pair CovPair(const VecTabPoint& point, std::size_t m) noexcept {
    return Pair{point.cov[m], point.cov[m + 1]};
}

// Each term by the cubic through the four points. The sums start from 0.0, so that none of them is -0.0.
void CombineCovariance(Stencil points, Pair weight01, Pair weight23,
                       std::array<double, VecTableTypes::kCovTerms>& cov) noexcept {
    constexpr std::size_t kLast = VecTableTypes::kCovTerms - 1;
    const auto sum = [&](auto term) {
        return 0.0 + weight01[0] * term(points[0]) + weight01[1] * term(points[1]) + weight23[0] * term(points[2]) +
               weight23[1] * term(points[3]);
    };
    for (std::size_t m = 0; m < kLast; m += 2) {
        const Pair terms = sum([m](const VecTabPoint& point) { return CovPair(point, m); });
        cov[m] = terms[0];
        cov[m + 1] = terms[1];
    }
    cov[kLast] = sum([](const VecTabPoint& point) { return point.cov[kLast]; });
}

// The polynomial of degree `count` - 1 through the points (time(i), value(i)) at t, in Lagrange's form.
template <typename Value, typename Time>
double Lagrange(std::size_t count, Value value, Time time, double t) noexcept {
    double product = 1.0;
    for (std::size_t i = 0; i < count; ++i) {
        const double d = t - time(i);
        if (d == 0.0) return value(i);
        product *= d;
    }
    double sum = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        double weight = 1.0;
        for (std::size_t k = 0; k < count; ++k) {
            if (k != i) weight *= time(i) - time(k);
        }
        sum += ((product / (t - time(i))) / weight) * value(i);
    }
    return sum;
}

bool HasMark(const VecTabPoint& first) noexcept {
    return first.cov[1] == kScalarMark;
}

double MarkedScalar(std::span<const VecTabPoint> points, double t) noexcept {
    return Lagrange(
        points.size(), [&](std::size_t i) { return points[i].cov[0]; },
        [&](std::size_t i) { return points[i].ds50UTC; }, t);
}

// Adds what point j gives to the state. P is the product of the times from all points to the request.
void AddPoint(std::span<const VecTabPoint> points, std::size_t j, double t, double P, VecTabPoint& state) noexcept {
    const auto seconds = [](double to, double from) { return Minus(ToSplitTai(to), ToSplitTai(from)); };
    const VecTabPoint& point = points[j];
    const double dt = seconds(t, point.ds50UTC);
    const double L = P / dt;
    double D = 1.0, S1 = 0.0, S2 = 0.0;
    for (std::size_t k = 0; k < points.size(); ++k) {
        if (k == j) continue;
        const double d = seconds(point.ds50UTC, points[k].ds50UTC);
        D *= d;
        S2 += 1.0 / d;
        S1 += 1.0 / seconds(t, points[k].ds50UTC);
    }
    const double c = S2 != 0.0 ? -(0.5 / S2) : EndlessConstant(dt);
    const double U = L * L, W = D * D;
    const double A1 = U * (dt + c), B1 = U * dt;
    const double A2 = U * (1.0 + (S1 + S1) * (dt + c)), B2 = U * (1.0 + (S1 + S1) * dt);
    for (std::size_t i = 0; i < 3; ++i) {
        state.pos[i] += (A1 * point.pos[i]) / (W * c);
        state.pos[i] += (B1 * point.vel[i]) / W;
        state.vel[i] += (A2 * point.pos[i]) / (W * c);
        state.vel[i] += (B2 * point.vel[i]) / W;
    }
    for (std::size_t m = 0; m < state.cov.size(); ++m) state.cov[m] += (L / D) * point.cov[m];
}

}  // namespace

void HermiteOfAnyLength(std::span<const VecTabPoint> points, double t, VecTabPoint& state) noexcept {
    state = VecTabPoint{};
    state.ds50UTC = t;
    double P = 1.0;
    for (const VecTabPoint& point : points) {
        const double dt = Minus(ToSplitTai(t), ToSplitTai(point.ds50UTC));
        if (dt == 0.0) {
            state = point;
            return;
        }
        P *= dt;
    }
    for (std::size_t j = 0; j < points.size(); ++j) AddPoint(points, j, t, P, state);
    if (!points.empty() && HasMark(points.front())) state.cov = {MarkedScalar(points, t)};
}

void HermiteVecTab(Stencil points, double t, VecTabPoint& state) noexcept {
    const SplitPair request = ToSplitTai(Pair{t, t});
    const SplitPair t01 = ToSplitTai(Pair{points[0].ds50UTC, points[1].ds50UTC});
    const SplitPair t23 = ToSplitTai(Pair{points[2].ds50UTC, points[3].ds50UTC});
    Nodes nodes;
    nodes[0].dt = Minus(request, t01);
    nodes[1].dt = Minus(request, t23);
    double P = 1.0;
#pragma GCC unroll 4
    for (std::size_t i = 0; i < kStencilPoints; ++i) {
        const double dt = nodes[i / 2].dt[i % 2];
        if (dt == 0.0) [[unlikely]] {
            state = points[i];
            return;
        }
        P *= dt;
    }
    MeasureTimes(t01, t23, nodes);

    const std::array<Pair, 2> L{P / nodes[0].dt, P / nodes[1].dt};
    // Ahead of the sums of the state: it fills the wait for their first divisions.
    if (HasMark(points[0])) {
        state.cov = {MarkedScalar(points, t)};
    } else {
        CombineCovariance(points, L[0] / nodes[0].product, L[1] / nodes[1].product, state.cov);
    }
    State sums{};
    for (std::size_t half = 0; half < 2; ++half) AddPoints(&points[2 * half], nodes[half], L[half], sums);
    state.ds50UTC = t;
    for (std::size_t i = 0; i < 3; ++i) {
        state.pos[i] = sums[i][0];
        state.vel[i] = sums[i][1];
    }
    state.revNum = 0;
}

VecTabPoint HermiteVecTab(std::span<const VecTabPoint> points, double t) noexcept {
    VecTabPoint state;
    if (points.size() == kStencilPoints) {
        HermiteVecTab(Stencil(points), t, state);
    } else {
        HermiteOfAnyLength(points, t, state);
    }
    return state;
}

double Lagrange_Val(std::span<const double> values, std::span<const double> times, double t) noexcept {
    return Lagrange(
        values.size(), [&](std::size_t i) { return values[i]; }, [&](std::size_t i) { return times[i]; }, t);
}

}  // namespace VecTableProcessing
