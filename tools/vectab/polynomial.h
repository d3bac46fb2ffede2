// The reference that a table's states are compared with.
#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "records.h"

namespace Vectab {

// The polynomial of lowest degree through points of a table, which takes on their velocities too when `velocities` says
// so. Newton's form; a point with its velocity is a node that stands twice.
class Polynomial {
  public:
    static constexpr std::size_t kMostPoints = 8;

    // Times rise. At most kMostPoints points.
    Polynomial(std::span<const State> points, bool velocities) noexcept;

    State At(double ds50UTC) const noexcept;

  private:
    using Vector = std::array<double, 3>;

    double start_;
    std::size_t count_;                            // of the nodes
    std::array<double, 2 * kMostPoints> nodes_;    // s since the start
    std::array<Vector, 2 * kMostPoints> factors_;  // km / s^k
};

// Metres, of positions in km; mm/s, of velocities in km/s.
double PositionDistance(const State& a, const State& b) noexcept;
double VelocityDistance(const State& a, const State& b) noexcept;

}  // namespace Vectab
