// The search and the kernel take other ways than the formulas are written in. Here the formulas stand as they are
// written, one operation at a time, and the bits have to be the same.
#include "plain_formulas.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <random>

#include "evaluation/evaluator.h"
#include "evaluation/interpolation.h"
#include "support/time_scales.h"

using namespace VecTableProcessing;

namespace {

VecTabPoint PlainInterpolation(const VecTabRecord& record, double t) {
    const auto n = static_cast<std::size_t>(record.numOfPts);
    const auto timeOf = [&](std::size_t number) { return record.points[number].ds50UTC; };
    const auto [low, mid] = Plain::Bisect(n, timeOf, t);
    const std::size_t last = std::min(std::max<std::size_t>(low, 2) + 2, n);
    for (std::size_t i = last - 3; i <= last; ++i) {
        if (1e-12 > std::fabs(t - timeOf(i))) return record.points[i];
    }
    const std::array<double, 4> times = {timeOf(last - 3), timeOf(last - 2), timeOf(last - 1), timeOf(last)};
    const Plain::State state = Plain::Hermite(&record.points[last - 3], times, t);
    VecTabPoint point{t, state.pos, state.vel, 0, state.cov};
    point.revNum = UpdateRev(point, record.points[mid], record.points[mid].revNum);
    return point;
}

// Steps in seconds. The second kind brings S2 of every fourth point to zero or next to it; the third is uneven,
// the fourth too and with gaps.
double Step(int kind, std::size_t i, std::mt19937_64& random) {
    constexpr std::array<double, 3> kVanishing = {10.0, 15.0, 15.0};
    if (kind == 0) return 60.0;
    if (kind == 1) return kVanishing[i % 3] * 0.84375;
    return std::uniform_real_distribution<double>(1.0, kind == 3 ? 8000.0 : 600.0)(random);
}

// The points of two kinds have revolution numbers of their own, which tell which one that of a state was counted from.
VecTabRecord MakeRecord(std::size_t n, double start, int kind, std::mt19937_64& random) {
    std::normal_distribution<double> any(0.0, 1000.0);
    VecTabRecord record;
    record.numOfPts = static_cast<std::int32_t>(n);
    record.points.Grow(n);
    double time = start;
    for (std::size_t i = 1; i <= n; ++i) {
        VecTabPoint& point = record.points.Append(time);
        point.revNum = static_cast<std::int32_t>(1000 * (kind == 2 ? 1 : i));
        for (double& x : point.pos) x = any(random);
        for (double& x : point.vel) x = any(random);
        for (double& x : point.cov) x = any(random) * 1e-3;
        time += Step(kind, i, random) / 86400.0;
    }
    return record;
}

// Points that lie in another way: short ones, with the covariances in an array of their own, whose first is that of
// points that have none.
struct ShortPoint {
    double ds50UTC;
    std::array<double, 3> pos, vel;
    std::int32_t revNum;
    std::uint32_t covariance;
};
struct ShortLayout {
    using Point = ShortPoint;
    const Covariance* covariances;
    const Covariance& CovarianceOf(const Point& point) const noexcept { return covariances[point.covariance]; }
    VecTabPoint ToState(const Point& point) const noexcept {
        return {point.ds50UTC, point.pos, point.vel, point.revNum, CovarianceOf(point)};
    }
};

bool HaveSameBits(const VecTabPoint& a, const VecTabPoint& b) {
    const auto same = [](const auto& x, const auto& y) { return std::memcmp(&x, &y, sizeof x) == 0; };
    return same(a.ds50UTC, b.ds50UTC) && same(a.pos, b.pos) && same(a.vel, b.vel) && a.revNum == b.revNum &&
           same(a.cov, b.cov);
}

}  // namespace

TEST(Evaluator, GivesTheSameBitsInEveryLayout) {
    std::mt19937_64 random(8);
    std::array<int, 5> counts{};
    for (int i = 0; i < 400; ++i) {
        VecTabRecord record = MakeRecord(1 + random() % (i % 5 == 0 ? 4 : 100), 27819.0, i % 4, random);
        const RecordTable table = TableOf(record);
        std::vector<Covariance> covariances(1);
        std::vector<ShortPoint> points;
        for (std::size_t number = 1; number <= table.count; ++number) {
            Covariance& cov = record.points.ChangeCovariance(number);
            if (i % 3 == 0) cov = {};
            if (i % 3 == 1) cov[1] = VecTableTypes::kScalarMark;
            const VecTabPoint& point = table[number];
            const auto index = static_cast<std::uint32_t>(i % 3 == 0 ? 0 : number);
            points.push_back({point.ds50UTC, point.pos, point.vel, point.revNum, index});
            covariances.push_back(cov);
        }
        const Table<ShortLayout> shortTable{points.data(), points.size(), table.span, {covariances.data()}};
        Evaluator<ShortLayout, true> many;
        for (int request = 0; request < 200; ++request) {
            const double between = std::uniform_real_distribution(table.span.firstTime, table.span.lastTime)(random);
            const double t = request % 7 == 0 ? table[1 + random() % table.count].ds50UTC : between;
            VecTabPoint expected, one, next;
            const Outcome outcome = Evaluator<RecordLayout, false>().Evaluate<true>(table, t, t, expected);
            ASSERT_EQ((Evaluator<ShortLayout, false>().Evaluate<true>(shortTable, t, t, one)), outcome);
            ASSERT_EQ(many.Evaluate<true>(shortTable, t, t, next), outcome);
            ASSERT_TRUE(HaveSameBits(one, expected) && HaveSameBits(next, expected)) << i << ' ' << t;
            ++counts[static_cast<std::size_t>(outcome)];
        }
    }
    for (const Outcome outcome : {Outcome::kState, Outcome::kGap, Outcome::kTooFew}) {
        EXPECT_GT(counts[static_cast<std::size_t>(outcome)], 100);
    }
}

TEST(PlainFormulas, GiveTheSameBitsInEveryIntervalOfEveryTable) {
    std::mt19937_64 random(7);
    std::vector<std::size_t> sizes = {100, 1000, 1023, 1024, 1439, 5000};
    for (std::size_t n = 4; n <= 70; ++n) sizes.push_back(n);
    std::int64_t requests = 0;
    for (const std::size_t n : sizes) {
        for (const double start : {27819.0, 0.25, -0.01, 4096.0 - 0.001}) {
            for (const int kind : {0, 1, 2}) {
                const VecTabRecord record = MakeRecord(n, start, kind, random);
                for (std::size_t low = 1; low < n; ++low) {
                    std::uniform_real_distribution<double> inside(record.points[low].ds50UTC,
                                                                  record.points[low + 1].ds50UTC);
                    for (const double time : {inside(random), inside(random), record.points[low + 1].ds50UTC}) {
                        const double tai = VecTableSupport::Utc2Tai(time);
                        const VecTabPoint expected = PlainInterpolation(record, VecTableSupport::Tai2Utc(tai));
                        VecTabPoint point;
                        ASSERT_EQ(InterpolateEP(record, tai, point), 0);
                        ASSERT_EQ(point.pos, expected.pos) << n << ' ' << low << ' ' << time;
                        ASSERT_EQ(point.vel, expected.vel);
                        ASSERT_EQ(point.cov, expected.cov);
                        ASSERT_EQ(point.revNum, expected.revNum) << n << ' ' << low << ' ' << time;
                        ASSERT_EQ(point.ds50UTC, expected.ds50UTC);
                        ++requests;
                    }
                }
            }
        }
    }
    EXPECT_GT(requests, 100'000);
}
