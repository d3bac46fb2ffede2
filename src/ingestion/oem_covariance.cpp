#include "ingestion/oem_covariance.h"

#include <algorithm>
#include <cmath>

namespace VecTableCardReading {
namespace {

using VecTableTypes::VecTabPoint;
using VecTableTypes::VecTabRecord;

using Terms = std::array<double, VecTableTypes::kCovTerms>;
using Vector = std::array<double, 3>;
using Matrix = std::array<Vector, 3>;

// The Earth's rotation about the z axis, rad/s (World Geodetic System 1984).
constexpr double kEarthRate = 7.2921151467e-5;

// Of numbers beyond it the products of four may overflow.
constexpr double kLargest = 1e70;

bool AreSensible(std::span<const double> numbers) noexcept {
    return std::all_of(numbers.begin(), numbers.end(), [](double x) { return std::isless(std::fabs(x), kLargest); });
}

Vector Cross(const Vector& a, const Vector& b) noexcept {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

// False for a vector without a direction.
bool MakeUnit(Vector& v) noexcept {
    const double length = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    if (length == 0.0) return false;
    for (double& x : v) x /= length;
    return true;
}

// The axes of a covariance in the frame of the state, a row each. False when position and velocity span no plane.
bool FindAxes(CovarianceAxes axes, const Vector& pos, const Vector& vel, Matrix& rows) noexcept {
    Vector first = axes == CovarianceAxes::kRtn ? pos : vel;
    Vector normal = Cross(pos, vel);
    if (!MakeUnit(first) || !MakeUnit(normal)) return false;
    rows = {first, Cross(normal, first), normal};
    return true;
}

// A covariance by its blocks: positions, velocities with positions, velocities.
struct Blocks {
    Matrix positions;
    Matrix mixed;
    Matrix velocities;
};

std::size_t TermOf(std::size_t row, std::size_t column) noexcept {
    return row >= column ? row * (row + 1) / 2 + column : column * (column + 1) / 2 + row;
}

Blocks ToBlocks(const Terms& terms) noexcept {
    Blocks blocks;
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            blocks.positions[i][j] = terms[TermOf(i, j)];
            blocks.mixed[i][j] = terms[TermOf(i + 3, j)];
            blocks.velocities[i][j] = terms[TermOf(i + 3, j + 3)];
        }
    }
    return blocks;
}

Terms ToTerms(const Blocks& blocks) noexcept {
    Terms terms;
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            if (j <= i) terms[TermOf(i, j)] = blocks.positions[i][j];
            if (j <= i) terms[TermOf(i + 3, j + 3)] = blocks.velocities[i][j];
            terms[TermOf(i + 3, j)] = blocks.mixed[i][j];
        }
    }
    return terms;
}

Matrix Transposed(const Matrix& m) noexcept {
    return {{{m[0][0], m[1][0], m[2][0]}, {m[0][1], m[1][1], m[2][1]}, {m[0][2], m[1][2], m[2][2]}}};
}

Matrix Sum(const Matrix& a, const Matrix& b) noexcept {
    Matrix sum;
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) sum[i][j] = a[i][j] + b[i][j];
    }
    return sum;
}

Matrix Product(const Matrix& a, const Matrix& b) noexcept {
    Matrix product;
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) product[i][j] = a[i][0] * b[0][j] + a[i][1] * b[1][j] + a[i][2] * b[2][j];
    }
    return product;
}

// -w x each column, w being the Earth's rotation: what an Earth-fixed velocity has beyond an inertial one.
Matrix Drift(const Matrix& m) noexcept {
    Matrix drift{};
    for (std::size_t j = 0; j < 3; ++j) {
        drift[0][j] = kEarthRate * m[1][j];
        drift[1][j] = -kEarthRate * m[0][j];
    }
    return drift;
}

}  // namespace

bool RotateToFrameOf(const VecTabPoint& state, std::int32_t coordSys, GivenCovariance& given) noexcept {
    if (!AreSensible(state.pos) || !AreSensible(state.vel) || !AreSensible(given.terms)) return false;
    const bool earthFixed = VecTableTypes::FrameOf(coordSys).rotatesWithEarth;
    Vector inertial = state.vel;
    if (earthFixed) {
        inertial[0] -= kEarthRate * state.pos[1];
        inertial[1] += kEarthRate * state.pos[0];
    }
    Matrix axes;
    if (!FindAxes(given.axes, state.pos, inertial, axes)) return false;
    const Matrix rotation = Transposed(axes);
    Blocks blocks = ToBlocks(given.terms);
    for (Matrix* block : {&blocks.positions, &blocks.mixed, &blocks.velocities}) {
        *block = Product(rotation, Product(*block, axes));
    }
    if (earthFixed) {
        const Matrix mixed = Sum(blocks.mixed, Drift(blocks.positions));
        blocks.velocities = Sum(blocks.velocities, Drift(Transposed(blocks.mixed)));
        blocks.velocities = Sum(blocks.velocities, Transposed(Drift(Transposed(mixed))));
        blocks.mixed = mixed;
    }
    given.terms = ToTerms(blocks);
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
