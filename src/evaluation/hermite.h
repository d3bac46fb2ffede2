// Hermite interpolation of position and velocity, Lagrange interpolation of the covariance.
#pragma once

#include <span>

#include "store/record_types.h"

namespace VecTableProcessing {

using VecTableTypes::VecTabPoint;

// The state at time t, in days since 1950, UTC, as the times of the points are, which rise strictly. Position: the
// polynomial of degree 2n - 1 that takes on position and velocity at the n points (Hermite; e.g. Hildebrand,
// Introduction to Numerical Analysis, section 8.2). Velocity: its derivative. Covariance: each term by the polynomial
// of degree n - 1 through the points, or only the scalar when the first point bears the mark. A time exactly on a point
// gives a copy of the point. revNum is 0 otherwise. No points give zeros.
VECTABLE_MODULE VecTabPoint HermiteVecTab(std::span<const VecTabPoint> points, double t) noexcept;

// The polynomial through the points (times[i], values[i]) at t, in Lagrange's form; 0.0 for no points. `times` in days.
VECTABLE_MODULE double Lagrange_Val(std::span<const double> values, std::span<const double> times, double t) noexcept;

}  // namespace VecTableProcessing
