#include "evaluation/hermite.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <random>

using namespace VecTableProcessing;

namespace {

using Nodes = std::array<VecTabPoint, 4>;
using Coefficients = std::array<long double, 8>;

// Times of the tests are multiples of 2^-20 days near 27819, so that all their differences are exact.
constexpr double kOrigin = 27819.0;
constexpr double kTick = 1.0 / 1048576.0;

double TimeAt(int ticks) {
    return kOrigin + ticks * kTick;
}
long double Seconds(double time) {
    return (static_cast<long double>(time) - kOrigin) * 86400.0L;
}

// A polynomial and its derivative in units of 1000 s, by Horner's rule.
struct Value {
    long double value;
    long double slope;  // per second
};
Value Evaluate(const Coefficients& c, double time) {
    const long double x = Seconds(time) / 1000.0L;
    Value v{0.0L, 0.0L};
    for (std::size_t i = c.size(); i-- > 0;) {
        v.slope = v.slope * x + v.value;
        v.value = v.value * x + c[i];
    }
    v.slope /= 1000.0L;
    return v;
}

// Newton's divided differences on doubled nodes: an independent form of the same polynomial.
long double DividedDifferences(const Nodes& nodes, std::size_t axis, double time) {
    std::array<long double, 8> x;
    std::array<long double, 8> table;
    for (std::size_t i = 0; i < 8; ++i) {
        x[i] = Seconds(nodes[i / 2].ds50UTC);
        table[i] = nodes[i / 2].pos[axis];
    }
    for (std::size_t order = 1; order < 8; ++order) {
        for (std::size_t i = 7; i >= order; --i) {
            const bool doubled = order == 1 && x[i] == x[i - 1];
            table[i] = doubled ? static_cast<long double>(nodes[i / 2].vel[axis])
                               : (table[i] - table[i - 1]) / (x[i] - x[i - order]);
        }
    }
    long double value = table[7];
    for (std::size_t i = 7; i-- > 0;) value = value * (Seconds(time) - x[i]) + table[i];
    return value;
}

Nodes NodesAt(const std::array<int, 4>& ticks) {
    Nodes nodes;
    for (std::size_t i = 0; i < 4; ++i) nodes[i].ds50UTC = TimeAt(ticks[i]);
    return nodes;
}

VecTabPoint Interpolate(const Nodes& nodes, double time) {
    return HermiteVecTab(Stencil(nodes), time);
}

}  // namespace

TEST(Hermite, PolynomialsOfDegreeSevenAreReproduced) {
    const std::array<std::array<int, 4>, 5> tables = {{{0, 700, 1400, 2100},
                                                       {0, 200, 1800, 2000},
                                                       {0, 900, 1000, 2600},
                                                       {-1000, 0, 1500, 3000},  // S2 of the second node vanishes
                                                       {-2000, 0, 3000, 6000}}};
    std::mt19937 random(1);
    std::uniform_real_distribution<double> coefficient(-3.0, 3.0);
    for (const auto& ticks : tables) {
        Nodes nodes = NodesAt(ticks);
        std::array<Coefficients, 3> motion;
        std::array<long double, 4> cubic;
        for (auto& axis : motion) {
            for (auto& c : axis) c = coefficient(random);
        }
        for (auto& c : cubic) c = coefficient(random);
        const auto covariance = [&](double time) {
            return Evaluate({cubic[0], cubic[1], cubic[2], cubic[3], 0, 0, 0, 0}, time).value;
        };
        for (VecTabPoint& node : nodes) {
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const Value v = Evaluate(motion[axis], node.ds50UTC);
                node.pos[axis] = static_cast<double>(v.value);
                node.vel[axis] = static_cast<double>(v.slope);
            }
            for (std::size_t m = 0; m < 21; ++m) {
                node.cov[m] = static_cast<double>(covariance(node.ds50UTC) * static_cast<long double>(m));
            }
        }
        for (int tick = ticks[0]; tick <= ticks[3]; tick += 37) {
            const double time = TimeAt(tick);
            const VecTabPoint state = Interpolate(nodes, time);
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const Value v = Evaluate(motion[axis], time);
                EXPECT_NEAR(state.pos[axis], static_cast<double>(v.value), 1e-10) << tick;
                EXPECT_NEAR(state.vel[axis], static_cast<double>(v.slope), 1e-11) << tick;
            }
            for (std::size_t m = 0; m < 21; ++m) {
                EXPECT_NEAR(state.cov[m], static_cast<double>(covariance(time)) * static_cast<double>(m), 1e-9);
            }
            EXPECT_EQ(state.ds50UTC, time);
            EXPECT_EQ(state.revNum, 0);
        }
    }
}

TEST(Hermite, StatesOnUnevenNodesAgreeWithDividedDifferences) {
    std::mt19937 random(2);
    std::uniform_int_distribution<int> step(60, 2000);
    std::uniform_real_distribution<double> position(-7000.0, 7000.0);
    std::uniform_real_distribution<double> velocity(-8.0, 8.0);
    for (int trial = 0; trial < 2000; ++trial) {
        std::array<int, 4> ticks{0};
        for (std::size_t i = 1; i < 4; ++i) ticks[i] = ticks[i - 1] + step(random);
        Nodes nodes = NodesAt(ticks);
        double scale = 7000.0;
        for (VecTabPoint& node : nodes) {
            for (auto& x : node.pos) x = position(random);
            for (auto& v : node.vel) v = velocity(random);
        }
        const double time = TimeAt(ticks[1] + 1 + static_cast<int>(random() % 50));
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const auto expected = static_cast<double>(DividedDifferences(nodes, axis, time));
            scale = std::max(scale, std::fabs(expected));
            ASSERT_NEAR(Interpolate(nodes, time).pos[axis], expected, 1e-11 * scale) << trial;
        }
    }
}

TEST(Hermite, ATimeOnANodeGivesTheNodeItself) {
    Nodes nodes = NodesAt({0, 700, 1400, 2100});
    nodes[2].revNum = 123456;
    nodes[2].cov[20] = 5.0;
    const VecTabPoint state = Interpolate(nodes, nodes[2].ds50UTC);
    EXPECT_EQ(state.revNum, 123456);
    EXPECT_EQ(state.cov, nodes[2].cov);
}

TEST(Hermite, AMarkedTableInterpolatesItsScalarAlone) {
    Nodes nodes = NodesAt({0, 700, 1500, 2100});
    for (std::size_t i = 0; i < 4; ++i) {
        const auto x = static_cast<double>(Seconds(nodes[i].ds50UTC)) / 100.0;
        nodes[i].cov = {1.0 + x * (2.0 + x * (3.0 + x)), kScalarMark, 7.0};
    }
    const double time = TimeAt(1000);
    const auto x = static_cast<double>(Seconds(time)) / 100.0;
    std::array<double, 21> expected{};
    VecTabPoint state = Interpolate(nodes, time);
    EXPECT_NEAR(state.cov[0], 1.0 + x * (2.0 + x * (3.0 + x)), 1e-7);
    expected[0] = state.cov[0];
    EXPECT_EQ(state.cov, expected);

    nodes[0].cov[1] = 0.0;  // the first point alone decides
    state = Interpolate(nodes, time);
    EXPECT_GT(state.cov[1], 1000.0);
    EXPECT_NEAR(state.cov[2], 7.0, 1e-12);
}

TEST(Hermite, LagrangeTakesItsNodesAndNothing) {
    const std::array<double, 3> times = {1.0, 2.0, 4.0};
    const std::array<double, 3> values = {1.0, 4.0, 16.0};
    EXPECT_DOUBLE_EQ(Lagrange_Val(values, times, 3.0), 9.0);
    EXPECT_EQ(Lagrange_Val(values, times, 4.0), 16.0);
    EXPECT_EQ(Lagrange_Val({}, {}, 3.0), 0.0);
}
