#include "evaluation/hermite.h"

#include <array>
#include <gtest/gtest.h>
#include <random>
#include <vector>

using namespace VecTableProcessing;

namespace {

using Nodes = std::vector<VecTabPoint>;

// Times of the tests are multiples of 2^-20 days near 27819, so that all their differences are exact.
double TimeAt(int ticks) {
    return 27819.0 + ticks / 1048576.0;
}

// A polynomial in units of 1000 s, and its derivative per second, by Horner's rule.
struct Polynomial {
    explicit Polynomial(std::size_t terms) : c(terms) {
        static std::mt19937 random(1);
        for (auto& term : c) term = std::uniform_real_distribution<double>(-3.0, 3.0)(random);
    }
    std::array<double, 2> At(double time) const {
        const long double x = (static_cast<long double>(time) - 27819.0L) * 86.4L;
        long double value = 0.0L, slope = 0.0L;
        for (std::size_t i = c.size(); i-- > 0; value = value * x + c[i]) slope = slope * x + value;
        return {static_cast<double>(value), static_cast<double>(slope / 1000.0L)};
    }
    std::vector<long double> c;
};

}  // namespace

// The n points of a table with their velocities are a polynomial of degree 2n - 1, whatever they hold: this is every
// case.
TEST(Hermite, PolynomialsOfTheHighestDegreeAreReproduced) {
    // Of the tables of four, S2 is exactly zero at the second node of the fourth and the third of the fifth, next to
    // zero in the last.
    for (const std::vector<int>& ticks : {std::vector<int>{0, 700, 1400, 2100},
                                          {0, 200, 1800, 2000},
                                          {0, 900, 1000, 2600},
                                          {-200, 0, 300, 600},
                                          {-600, -300, 0, 200},
                                          {-2000, 0, 3000, 6000},
                                          {500},
                                          {0, 700},
                                          {-900, 0, 700},
                                          {-700, 0, 700},
                                          {0, 300, 700, 1000, 1500},
                                          {0, 300, 500, 900, 1300, 1500, 1800, 2100}}) {
        const std::size_t n = ticks.size();
        const Polynomial motion[] = {Polynomial(2 * n), Polynomial(2 * n), Polynomial(2 * n)}, term(n);
        Nodes nodes(n);
        for (std::size_t i = 0; i < n; ++i) {
            nodes[i].ds50UTC = TimeAt(ticks[i]);
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const auto [value, slope] = motion[axis].At(nodes[i].ds50UTC);
                nodes[i].pos[axis] = value;
                nodes[i].vel[axis] = slope;
            }
            for (std::size_t m = 0; m < 21; ++m) nodes[i].cov[m] = term.At(nodes[i].ds50UTC)[0] * double(m + 1);
        }
        for (int tick = ticks.front() - 50; tick < ticks.back() + 50; tick += 37) {
            const double time = TimeAt(tick);
            const VecTabPoint state = HermiteVecTab(nodes, time);
            for (std::size_t axis = 0; axis < 3; ++axis) {
                EXPECT_NEAR(state.pos[axis], motion[axis].At(time)[0], 1e-10) << n << ", " << tick;
                EXPECT_NEAR(state.vel[axis], motion[axis].At(time)[1], 1e-11) << n << ", " << tick;
            }
            for (std::size_t m = 0; m < 21; ++m)
                EXPECT_NEAR(state.cov[m], term.At(time)[0] * double(m + 1), 1e-9) << tick;
            EXPECT_EQ(state.ds50UTC + state.revNum, time);
        }
        for (VecTabPoint& node : nodes) {
            node.revNum = 123456;  // which a point on a node keeps
            const VecTabPoint state = HermiteVecTab(nodes, node.ds50UTC);
            EXPECT_TRUE(state.revNum == 123456 && state.cov == node.cov && state.vel == node.vel);
            node.revNum = 0;
        }
    }
    const VecTabPoint none = HermiteVecTab(Nodes(), 5.0);
    EXPECT_TRUE(none.ds50UTC == 5.0 && none.pos == (std::array<double, 3>{}));
}

TEST(Hermite, AMarkedTableInterpolatesItsScalarAlone) {
    const Polynomial cubic(4);
    for (const std::size_t n : {4, 5}) {
        Nodes nodes(n);
        for (std::size_t i = 0; i < n; ++i) {
            nodes[i].ds50UTC = TimeAt(int(i * 700 + i * i * 7));
            nodes[i].cov = {cubic.At(nodes[i].ds50UTC)[0], VecTableTypes::kScalarMark, 7.0};
        }
        const VecTabPoint state = HermiteVecTab(nodes, TimeAt(1000));
        EXPECT_NEAR(state.cov[0], cubic.At(TimeAt(1000))[0], 1e-11);
        EXPECT_EQ(state.cov, (std::array<double, 21>{state.cov[0]}));

        nodes[0].cov[1] = 0.0;  // the first point alone decides
        EXPECT_NEAR(HermiteVecTab(nodes, TimeAt(1000)).cov[2], 7.0, 1e-12);
    }
    EXPECT_EQ(Lagrange_Val({}, {}, 3.0), 0.0);
    EXPECT_EQ(Lagrange_Val(std::array{4.0, 9.0}, std::array{1.0, 2.0}, 2.0), 9.0);
}
