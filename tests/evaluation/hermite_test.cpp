#include "evaluation/hermite.h"

#include <array>
#include <gtest/gtest.h>
#include <random>

using namespace VecTableProcessing;

namespace {

using Nodes = std::array<VecTabPoint, 4>;
using Ticks = std::array<int, 4>;

// Times of the tests are multiples of 2^-20 days near 27819, so that all their differences are exact.
double TimeAt(int ticks) {
    return 27819.0 + ticks / 1048576.0;
}
long double Seconds(double time) {
    return (static_cast<long double>(time) - 27819.0L) * 86400.0L;
}

// A polynomial of degree 7 in units of 1000 s and its derivative per second, by Horner's rule.
struct Polynomial {
    std::array<long double, 8> c{};

    std::array<double, 2> At(double time) const {
        const long double x = Seconds(time) / 1000.0L;
        long double value = 0.0L, slope = 0.0L;
        for (std::size_t i = c.size(); i-- > 0;) {
            slope = slope * x + value;
            value = value * x + c[i];
        }
        return {static_cast<double>(value), static_cast<double>(slope / 1000.0L)};
    }
};

VecTabPoint Interpolate(const Nodes& nodes, double time) {
    return HermiteVecTab(Stencil(nodes), time);
}

}  // namespace

// Four points with positions and velocities are a polynomial of degree 7, whatever they hold: this is every case.
TEST(Hermite, PolynomialsOfDegreeSevenAreReproduced) {
    std::mt19937 random(1);
    std::uniform_real_distribution<double> coefficient(-3.0, 3.0);
    // S2 is exactly zero at the second node of the fourth table and the third of the fifth, next to zero in the last.
    for (const Ticks& ticks : {Ticks{0, 700, 1400, 2100}, Ticks{0, 200, 1800, 2000}, Ticks{0, 900, 1000, 2600},
                               Ticks{-200, 0, 300, 600}, Ticks{-600, -300, 0, 200}, Ticks{-2000, 0, 3000, 6000}}) {
        std::array<Polynomial, 3> motion;
        Polynomial cubic;
        for (Polynomial& axis : motion) {
            for (auto& c : axis.c) c = coefficient(random);
        }
        for (std::size_t i = 0; i < 4; ++i) cubic.c[i] = coefficient(random);
        Nodes nodes;
        for (std::size_t i = 0; i < 4; ++i) {
            nodes[i].ds50UTC = TimeAt(ticks[i]);
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const auto [value, slope] = motion[axis].At(nodes[i].ds50UTC);
                nodes[i].pos[axis] = value;
                nodes[i].vel[axis] = slope;
            }
            for (std::size_t m = 0; m < 21; ++m) nodes[i].cov[m] = cubic.At(nodes[i].ds50UTC)[0] * double(m);
        }
        for (int tick = ticks[0] + 1; tick < ticks[3]; tick += 37) {
            const double time = TimeAt(tick);
            const VecTabPoint state = Interpolate(nodes, time);
            for (std::size_t axis = 0; axis < 3; ++axis) {
                EXPECT_NEAR(state.pos[axis], motion[axis].At(time)[0], 1e-10) << tick;
                EXPECT_NEAR(state.vel[axis], motion[axis].At(time)[1], 1e-11) << tick;
            }
            for (std::size_t m = 0; m < 21; ++m) EXPECT_NEAR(state.cov[m], cubic.At(time)[0] * double(m), 1e-9) << tick;
            EXPECT_EQ(state.ds50UTC, time);
            EXPECT_EQ(state.revNum, 0);
        }
        nodes[2].revNum = 123456;
        EXPECT_EQ(Interpolate(nodes, nodes[2].ds50UTC).revNum, 123456);
    }
}

TEST(Hermite, AMarkedTableInterpolatesItsScalarAlone) {
    Nodes nodes;
    const Ticks ticks = {0, 700, 1500, 2100};
    const Polynomial cubic{{1.0L, 2.0L, 3.0L, 1.0L}};
    for (std::size_t i = 0; i < 4; ++i) {
        nodes[i].ds50UTC = TimeAt(ticks[i]);
        nodes[i].cov = {cubic.At(nodes[i].ds50UTC)[0], kScalarMark, 7.0};
    }
    VecTabPoint state = Interpolate(nodes, TimeAt(1000));
    EXPECT_NEAR(state.cov[0], cubic.At(TimeAt(1000))[0], 1e-11);
    EXPECT_EQ(state.cov, (std::array<double, 21>{state.cov[0]}));

    nodes[0].cov[1] = 0.0;  // the first point alone decides
    state = Interpolate(nodes, TimeAt(1000));
    EXPECT_GT(state.cov[1], 1000.0);
    EXPECT_NEAR(state.cov[2], 7.0, 1e-12);
    EXPECT_EQ(Lagrange_Val({}, {}, 3.0), 0.0);
}
