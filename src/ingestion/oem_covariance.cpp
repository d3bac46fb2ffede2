#include "ingestion/oem_covariance.h"

#include <cmath>

namespace VecTableCardReading {
namespace {

using VecTableTypes::VecTabPoint;
using VecTableTypes::VecTabRecord;

using Vector = std::array<double, 3>;
using Matrix3 = std::array<Vector, 3>;
using Matrix6 = std::array<std::array<double, 6>, 6>;

// The Earth's turning about the z axis, rad/s (World Geodetic System 1984).
constexpr double kEarthRate = 7.2921151467e-5;

Vector Cross(const Vector& a, const Vector& b) noexcept {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Vector Unit(const Vector& v) noexcept {
    const double length = std::hypot(v[0], v[1], v[2]);
    return {v[0] / length, v[1] / length, v[2] / length};
}

// The three axes of a covariance in the frame of the state.
Matrix3 AxesOf(CovarianceAxes axes, const Vector& pos, const Vector& vel) noexcept {
    const Vector first = Unit(axes == CovarianceAxes::kRtn ? pos : vel);
    const Vector normal = Unit(Cross(pos, vel));
    return {first, Cross(normal, first), normal};
}

// Takes position and velocity along the axes to those in the frame. `rate` is that of the frame: dv' = dv - rate x dr.
Matrix6 TurnBy(const Matrix3& axes, double rate) noexcept {
    Matrix6 turn{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const Vector drift = Cross({0.0, 0.0, -rate}, axes[axis]);
        for (std::size_t i = 0; i < 3; ++i) {
            turn[i][axis] = turn[i + 3][axis + 3] = axes[axis][i];
            turn[i + 3][axis] = drift[i];
        }
    }
    return turn;
}

std::size_t TermOf(std::size_t row, std::size_t column) noexcept {
    return row >= column ? row * (row + 1) / 2 + column : column * (column + 1) / 2 + row;
}

}  // namespace

bool TurnToFrameOf(const VecTabPoint& state, std::int32_t coordSys, GivenCovariance& given) noexcept {
    const double rate = coordSys == VecTableTypes::kEcr ? kEarthRate : 0.0;
    const Vector carried = Cross({0.0, 0.0, rate}, state.pos);
    const Vector inertial = {state.vel[0] + carried[0], state.vel[1] + carried[1], state.vel[2]};
    const Matrix6 turn = TurnBy(AxesOf(given.axes, state.pos, inertial), rate);
    const auto along = given.terms;
    for (std::size_t row = 0; row < 6; ++row) {
        for (std::size_t column = 0; column <= row; ++column) {
            double sum = 0.0;
            for (std::size_t i = 0; i < 6; ++i) {
                for (std::size_t j = 0; j < 6; ++j) sum += turn[row][i] * along[TermOf(i, j)] * turn[column][j];
            }
            if (!std::isfinite(sum)) return false;
            given.terms[TermOf(row, column)] = sum;
        }
    }
    return true;
}

void SpreadOverPoints(std::span<const GivenCovariance> given, VecTabRecord& record) noexcept {
    if (given.empty()) return;
    std::size_t later = 0;
    for (std::size_t number = 1; number <= static_cast<std::size_t>(record.numOfPts); ++number) {
        const double time = record.points[number].ds50UTC;
        while (later < given.size() && given[later].ds50UTC <= time) ++later;
        auto& terms = record.points.ChangeCovariance(number);
        if (later == 0 || later == given.size()) {
            terms = given[later == 0 ? 0 : later - 1].terms;
            continue;
        }
        const GivenCovariance& a = given[later - 1];
        const GivenCovariance& b = given[later];
        const double part = (time - a.ds50UTC) / (b.ds50UTC - a.ds50UTC);
        for (std::size_t k = 0; k < terms.size(); ++k) terms[k] = (1.0 - part) * a.terms[k] + part * b.terms[k];
    }
}

}  // namespace VecTableCardReading
