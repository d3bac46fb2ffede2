// The interpolation as its formulas are written, one operation at a time: the model of the tests, and the floor of the
// benchmarks. `Point` has pos, vel and cov.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>

namespace Plain {

// a - b in seconds, from whole days and fractions.
inline double Seconds(double a, double b) {
    const double dayA = std::floor(a), dayB = std::floor(b);
    return ((dayA - dayB) + ((a - dayA) - (b - dayB))) * 86400.0;
}

struct State {
    std::array<double, 3> pos{};
    std::array<double, 3> vel{};
    std::array<double, 21> cov{};
};

// The state at t, which is none of the times, from four points.
template <typename Point>
State Hermite(const Point* points, const std::array<double, 4>& times, double t) {
    std::array<double, 4> dt;
    double P = 1.0;
    for (std::size_t i = 0; i < 4; ++i) {
        dt[i] = Seconds(t, times[i]);
        P *= dt[i];
    }
    State state;
    for (std::size_t j = 0; j < 4; ++j) {
        double D = 1.0, S1 = 0.0, S2 = 0.0;
        for (std::size_t k = 0; k < 4; ++k) {
            if (k == j) continue;
            const double d = Seconds(times[j], times[k]);
            D *= d;
            S2 += 1.0 / d;
            S1 += 1.0 / dt[k];
        }
        int exponent = 0;
        const double c = S2 != 0.0 ? -(0.5 / S2) : 2.0 * (std::fabs(std::frexp(dt[j], &exponent)) * 0x1p53);
        const double L = P / dt[j];
        const double U = L * L, W = D * D;
        const double A1 = U * (dt[j] + c), B1 = U * dt[j];
        const double A2 = U * (1.0 + (S1 + S1) * (dt[j] + c)), B2 = U * (1.0 + (S1 + S1) * dt[j]);
        for (std::size_t i = 0; i < 3; ++i) {
            state.pos[i] += (A1 * points[j].pos[i]) / (W * c);
            state.pos[i] += (B1 * points[j].vel[i]) / W;
            state.vel[i] += (A2 * points[j].pos[i]) / (W * c);
            state.vel[i] += (B2 * points[j].vel[i]) / W;
        }
        for (std::size_t m = 0; m < 21; ++m) state.cov[m] += L / D * points[j].cov[m];
    }
    return state;
}

struct Interval {
    std::size_t low;      // number of points before the time
    std::size_t lastMid;  // the point that the bisection looked at last, counted from 1
};

// `timeOf(number)` gives the time of a point, counted from 1.
template <typename TimeOf>
Interval Bisect(std::size_t count, TimeOf timeOf, double t) {
    std::size_t low = 0, high = count + 1, mid = 0;
    while (low + 1 != high) {
        mid = (low + high) / 2;
        (t > timeOf(mid) ? low : high) = mid;
    }
    return {low, mid};
}

}  // namespace Plain
