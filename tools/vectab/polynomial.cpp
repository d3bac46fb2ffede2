#include "polynomial.h"

#include <algorithm>
#include <cmath>

#include "times.h"

namespace Vectab {
namespace {

double Distance(const double (&a)[3], const double (&b)[3]) noexcept {
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

}  // namespace

Polynomial::Polynomial(std::span<const State> points, bool velocities) noexcept
    : start_(points.front().ds50UTC), count_(velocities ? 2 * points.size() : points.size()) {
    const std::size_t repeats = velocities ? 2 : 1;
    for (std::size_t i = 0; i < count_; ++i) {
        const State& point = points[i / repeats];
        nodes_[i] = (point.ds50UTC - start_) * kSecondsPerDay;
        factors_[i] = {point.pos[0], point.pos[1], point.pos[2]};
    }
    for (std::size_t order = 1; order < count_; ++order) {
        for (std::size_t i = count_ - 1; i >= order; --i) {
            const double width = nodes_[i] - nodes_[i - order];
            const Vector& before = factors_[i - 1];
            Vector& factor = factors_[i];
            if (width > 0.0) {
                for (std::size_t axis = 0; axis < 3; ++axis) factor[axis] = (factor[axis] - before[axis]) / width;
            } else {
                std::copy_n(points[i / repeats].vel, 3, factor.begin());
            }
        }
    }
}

State Polynomial::At(double ds50UTC) const noexcept {
    const double time = (ds50UTC - start_) * kSecondsPerDay;
    State state{ds50UTC, {}, {}, 0};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        double value = 0.0, slope = 0.0;
        for (std::size_t i = count_; i-- > 0;) {
            slope = slope * (time - nodes_[i]) + value;
            value = value * (time - nodes_[i]) + factors_[i][axis];
        }
        state.pos[axis] = value;
        state.vel[axis] = slope;
    }
    return state;
}

double PositionDistance(const State& a, const State& b) noexcept {
    return Distance(a.pos, b.pos) * 1e3;
}

double VelocityDistance(const State& a, const State& b) noexcept {
    return Distance(a.vel, b.vel) * 1e6;
}

}  // namespace Vectab
