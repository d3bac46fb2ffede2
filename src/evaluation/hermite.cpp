#include "evaluation/hermite.h"

#include <array>
#include <cmath>

#include "support/time_scales.h"

namespace VecTableProcessing {
namespace {

using VecTableSupport::Minus;
using VecTableSupport::SplitTime;
using VecTableSupport::ToSplitTai;

using NodeValues = std::array<double, kStencilPoints>;

// The times of the stencil about one of its points.
struct NodeTimes {
    double product = 1.0;    // of the times from the other points to this one, s^3
    double sumToNode = 0.0;  // of their reciprocals, 1/s: the derivative of the Lagrange polynomial of this point at it
    double sumToTime = 0.0;  // of the reciprocals of the times from the other points to the request, 1/s
};

// -0.5 / S2; where S2 vanishes, a time so long that the time to the request vanishes beside it, which is the limit of
// the formulas.
double NodeConstant(double sumToNode, double timeToNode) noexcept {
    if (sumToNode != 0.0) return -(0.5 / sumToNode);
    int exponent = 0;
    return 2.0 * std::ldexp(std::fabs(std::frexp(timeToNode, &exponent)), 53);
}

// Adds what one point gives to position and velocity. L = P / dt, the product of the times from the other points to the
// request.
void AddNodeState(const VecTabPoint& point, const NodeTimes& node, double dt, double L, VecTabPoint& state) noexcept {
    const double c = NodeConstant(node.sumToNode, dt);
    const double U = L * L;
    const double W = node.product * node.product;
    const double slope = node.sumToTime + node.sumToTime;
    const double A1 = U * (dt + c);
    const double B1 = U * dt;
    const double A2 = U * (1.0 + slope * (dt + c));
    const double B2 = U * (1.0 + slope * dt);
    const double Wc = W * c;
    for (std::size_t i = 0; i < 3; ++i) {
        state.pos[i] += (A1 * point.pos[i]) / Wc;
        state.pos[i] += (B1 * point.vel[i]) / W;
        state.vel[i] += (A2 * point.pos[i]) / Wc;
        state.vel[i] += (B2 * point.vel[i]) / W;
    }
}

double MarkedScalar(Stencil points, double t) noexcept {
    NodeValues values;
    NodeValues times;
    for (std::size_t i = 0; i < kStencilPoints; ++i) {
        values[i] = points[i].cov[0];
        times[i] = points[i].ds50UTC;
    }
    return Lagrange_Val(values, times, t);
}

}  // namespace

VecTabPoint HermiteVecTab(Stencil points, double t) noexcept {
    const SplitTime request = ToSplitTai(t);
    std::array<SplitTime, kStencilPoints> times;
    NodeValues dt;
    double P = 1.0;
    for (std::size_t i = 0; i < kStencilPoints; ++i) {
        times[i] = ToSplitTai(points[i].ds50UTC);
        dt[i] = Minus(request, times[i]);
        if (dt[i] == 0.0) return points[i];
        P *= dt[i];
    }

    const bool marked = points[0].cov[1] == kScalarMark;
    VecTabPoint state;
    state.ds50UTC = t;
    for (std::size_t j = 0; j < kStencilPoints; ++j) {
        NodeTimes node;
        for (std::size_t k = 0; k < kStencilPoints; ++k) {
            if (k == j) continue;
            const double d = Minus(times[j], times[k]);
            node.product *= d;
            node.sumToNode += 1.0 / d;
            node.sumToTime += 1.0 / dt[k];
        }
        const double L = P / dt[j];
        AddNodeState(points[j], node, dt[j], L, state);
        if (marked) continue;
        const double weight = L / node.product;
        for (std::size_t m = 0; m < VecTableTypes::kCovTerms; ++m) state.cov[m] += weight * points[j].cov[m];
    }
    if (marked) state.cov[0] = MarkedScalar(points, t);
    return state;
}

double Lagrange_Val(std::span<const double> values, std::span<const double> times, double t) noexcept {
    double product = 1.0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double d = t - times[i];
        if (d == 0.0) return values[i];
        product *= d;
    }
    double sum = 0.0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        double weight = 1.0;
        for (std::size_t k = 0; k < values.size(); ++k) {
            if (k != i) weight *= times[i] - times[k];
        }
        sum += ((product / (t - times[i])) / weight) * values[i];
    }
    return sum;
}

}  // namespace VecTableProcessing
