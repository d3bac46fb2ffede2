// The formulas. For node j of n, with all times in seconds:
//
//     dt = t - T[j]     L = product of t - T[k]       D = product of T[j] - T[k]      over k other than j
//                       S1 = sum of 1 / (t - T[k])    S2 = sum of 1 / (T[j] - T[k])
//
// l = L / D is the Lagrange polynomial of the node at t; S2 is its derivative at T[j], S1 its logarithmic derivative at
// t. Hermite's polynomial and its derivative are the sums over j of
//
//     position   l^2 ((1 - 2 S2 dt) pos[j] + dt vel[j])
//     velocity   l^2 ((2 S1 (1 - 2 S2 dt) - 2 S2) pos[j] + (1 + 2 S1 dt) vel[j])
//
// They are evaluated with c = -1 / (2 S2), so that 1 - 2 S2 dt = (dt + c) / c, and with U = L^2, W = D^2:
//
//     position   U (dt + c) / (W c) pos[j] + U dt / W vel[j]
//     velocity   U (1 + 2 S1 (dt + c)) / (W c) pos[j] + U (1 + 2 S1 dt) / W vel[j]
//
// Where S2 is 0 the coefficients of pos[j] are 1 and 2 S1, the limits of (dt + c) / c and (1 + 2 S1 (dt + c)) / c as c
// grows. For such a node c is 2 |f| 2^53, where dt = f 2^e with |f| from 0.5 to 1: between 2^53 s and 2^54 s, beside
// which the minutes of dt are less than the last bits of a state.
#include "evaluation/hermite.h"

#include <algorithm>

#include "evaluation/hermite_kernel.h"
#include "support/time_scales.h"

namespace VecTableProcessing {
namespace {

using VecTableSupport::Minus;
using VecTableSupport::ToSplitTai;

constexpr RecordLayout kRecords;

double Seconds(double to, double from) noexcept {
    return Minus(ToSplitTai(to), ToSplitTai(from));
}

// Adds what point j gives to the state. P is the product of the times from all points to the request.
void AddPoint(std::span<const VecTabPoint> points, std::size_t j, double t, double P, VecTabPoint& state) noexcept {
    const VecTabPoint& point = points[j];
    const double dt = Seconds(t, point.ds50UTC);
    const double L = P / dt;
    double D = 1.0, S1 = 0.0, S2 = 0.0;
    for (std::size_t k = 0; k < points.size(); ++k) {
        if (k == j) continue;
        const double d = Seconds(point.ds50UTC, points[k].ds50UTC);
        D *= d;
        S2 += 1.0 / d;
        S1 += 1.0 / Seconds(t, points[k].ds50UTC);
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

// The state at a time on no point, by the formulas as they are written, one operation at a time.
void HermiteOfAnyLength(std::span<const VecTabPoint> points, double t, VecTabPoint& state) noexcept {
    state = VecTabPoint{};
    state.ds50UTC = t;
    double P = 1.0;
    for (const VecTabPoint& point : points) P *= Seconds(t, point.ds50UTC);
    for (std::size_t j = 0; j < points.size(); ++j) AddPoint(points, j, t, P, state);
    if (!points.empty() && HasMark(kRecords, points.front())) state.cov = {MarkedScalar(kRecords, points, t)};
}

}  // namespace

VecTabPoint HermiteVecTab(std::span<const VecTabPoint> points, double t) noexcept {
    const auto hit = std::find_if(points.begin(), points.end(),
                                  [t](const VecTabPoint& point) { return Seconds(t, point.ds50UTC) == 0.0; });
    if (hit != points.end()) return *hit;
    VecTabPoint state;
    if (points.size() == kStencilPoints) {
        StencilTimes times;
        const Stencil<RecordLayout> stencil(points);
        times.Measure(stencil);
        HermiteOverStencil<true>(kRecords, stencil, times, t, state);
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
