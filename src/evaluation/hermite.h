// Hermite interpolation of position and velocity, Lagrange interpolation of the covariance.
#pragma once

#include <span>

#include "store/record_types.h"

namespace VecTableProcessing {

using VecTableTypes::VecTabPoint;

// The points of a stencil.
inline constexpr std::size_t kStencilPoints = VEC_TAB_STENCIL_POINTS;
using Stencil = std::span<const VecTabPoint, kStencilPoints>;

// The state at time t, in days since 1950, UTC, as the times of the points are, which rise strictly. Position: the
// polynomial of degree 2n - 1 that takes on position and velocity at the n points (Hermite; e.g. Hildebrand, Introduction
// to Numerical Analysis, section 8.2). Velocity: its derivative. Covariance: each term by the polynomial of degree n - 1
// through the points, or only the scalar when the first point bears the mark. A time exactly on a point gives a copy of
// the point. revNum is 0 otherwise. No points give zeros.
VECTABLE_MODULE VecTabPoint HermiteVecTab(std::span<const VecTabPoint> points, double t) noexcept;

// The same for a time on no point, by the formulas as they are written, one operation at a time.
void HermiteOfAnyLength(std::span<const VecTabPoint> points, double t, VecTabPoint& state) noexcept;

// Stands for -0.5 / S2 of a point where S2 vanishes. `timeToNode` in seconds, from the point to the request.
double EndlessConstant(double timeToNode) noexcept;

// The scalar of a marked table at t.
double MarkedScalar(std::span<const VecTabPoint> points, double t) noexcept;

inline bool HasMark(const VecTabPoint& first) noexcept {
    return first.cov[1] == VecTableTypes::kScalarMark;
}

// The polynomial through the points (times[i], values[i]) at t, in Lagrange's form; 0.0 for no points. `times` in days.
VECTABLE_MODULE double Lagrange_Val(std::span<const double> values, std::span<const double> times, double t) noexcept;

}  // namespace VecTableProcessing
