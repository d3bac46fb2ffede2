#include "evaluation/interpolation.h"

#include <cmath>

#include "helpers/store_test.h"

using namespace VecTableProcessing;

// Requests through the calls, which all end in one evaluation.
class Interpolation : public StoreTest {
  protected:
    static constexpr double kStart = 27819.0;

    static double Minutes(double minutes) { return kStart + minutes / 1440.0; }

    // A circular motion in the plane of x and z, ascending through the equator at 15.9 minutes; revNum counts the points.
    static Vector Pos(double m) { return {7000.0 * std::cos(Angle(m)), 0.0, 7000.0 * std::sin(Angle(m))}; }
    static Vector Vel(double m) { return {-7.35 * std::sin(Angle(m)), 0.0, 7.35 * std::cos(Angle(m))}; }
    static double Angle(double m) { return 0.063 * m - 1.0; }

    static int64_t Table(const std::vector<double>& minutes) {
        const int64_t key = Add(nextSatNum++, kStart);
        int32_t number = 0;
        for (const double m : minutes) Append(key, Minutes(m), Pos(m), Vel(m), ++number);
        return key;
    }

    static inline int32_t nextSatNum = 1;
};

TEST_F(Interpolation, AStateBetweenPointsIsThatOfTheOrbitFromTheFourPointsRoundTheTime) {
    std::vector<double> minutes;
    for (int i = 0; i < 100; ++i) minutes.push_back(i + (i % 3) * 0.2);
    const int64_t key = Table(minutes);
    State state;
    for (double m = 0.01; m < 99.0; m += 0.37) {
        ASSERT_EQ(AskByTime(key, Minutes(m), state), 0);
        const double exact = (Minutes(m) - kStart) * 1440.0;
        EXPECT_EQ(state.time, exact);
        for (std::size_t i = 0; i < 3; ++i) {
            ASSERT_NEAR(state.pos[i], Pos(exact)[i], 5e-6) << m;  // a last bit of a time tag
            ASSERT_NEAR(state.vel[i], Vel(exact)[i], 1e-7) << m;
        }
    }
}

TEST_F(Interpolation, TheMeanSpacingOfTheStencilDecides) {
    const std::tuple<std::vector<double>, double, int32_t> cases[] = {
        {{0, 60, 120, 180}, 90, 0},      {{0, 62, 124, 186}, 90, 2},          {{0, 10, 20, 180}, 100, 0},
        {{0, 10, 20, 190}, 15, 2},       {{0, 200, 201, 202, 203}, 202.5, 0}, {{0, 200, 201, 202, 203}, 1, 2},
        {{0, 1440, 2880, 4320}, 2880, 0}};
    State state;
    for (const auto& [minutes, request, status] : cases) {
        EXPECT_EQ(AskByTime(Table(minutes), Minutes(request), state), status) << request;
    }
    EXPECT_EQ(state.revNum, 3);  // a stored point, however sparse the table
    log.entries.clear();
    EXPECT_EQ(AskByTime(Table({0, 1440, 2880, 4320}), Minutes(10), state), 2);
    EXPECT_EQ(
        log.entries.back().text,
        "InterpolateEP: Data points too far apart due to spacing or data gap. (26060000000.000, 26063000000.000)");
}

TEST_F(Interpolation, ShortTablesServeTheirPointsAlone) {
    State state;
    const int64_t two = Table({0, 1});
    EXPECT_EQ(AskByTime(two, Minutes(1), state), 0);
    EXPECT_EQ(state.revNum, 2);
    EXPECT_EQ(AskByTime(two, Minutes(0.5), state), 2);
    const int64_t one = Table({0});
    EXPECT_EQ(AskByTime(one, kStart, state), 0);
    EXPECT_EQ(AskByTime(one, std::nextafter(kStart, 0.0), state), 2);

    // Evaluation itself, ahead of whose tests every caller has its own.
    VecTabRecord record;
    VecTabPoint point;
    EXPECT_EQ(InterpolateEP(record, kStart, point), 2);
    record.points.Grow(4);
    record.numOfPts = 1;
    record.points.Change(1).revNum = 9;
    EXPECT_EQ(InterpolateEP(record, NAN, point), 0);
    EXPECT_EQ(point.revNum, 9);
    record.numOfPts = 2;
    record.points.Change(2).ds50UTC = 1.0;
    EXPECT_EQ(InterpolateEP(record, 5.0, point), 2);
    EXPECT_EQ(log.Take(), (Strings{"InterpolateEP: Can not interpolate with less than 4 ephemeris data points",
                                   "GetEphem: Requested time is outside of ephemeris time span.",
                                   "InterpolateEP: Buffer not initialized.",
                                   "InterpolateEP: Request time out of ephemeris range."}));
}

TEST_F(Interpolation, AnAscendingCrossingBetweenTwoPointsMovesTheRevolution) {
    struct {
        double z, refZ, vz, seconds;  // of the reference point behind the point
        int32_t refRev, expected;
    } const cases[] = {{+1, -1, +1, -10, 5, 6},
                       {-1, +1, +1, +10, 5, 4},
                       {+1, -1, -1, -10, 5, 5},
                       {0, -1, +1, -10, 5, 5},
                       {+1, +1, +1, -10, 5, 5},
                       {+1, -1, +1, -10, 99999, 0},
                       {-1, +1, +1, +10, 0, 99999},
                       {+1, +1, +1, -10, 123456, 23456},
                       {+1, +1, +1, -10, -1, 99999},
                       {-1, +1, +1, +10, INT32_MIN, 16351},
                       {+1, -1, +1, -10, INT32_MAX, 83648}};
    for (const auto& c : cases) {
        const VecTabPoint point{0.0, {0, 0, c.z}, {0, 0, c.vz}, 0, {}};
        const VecTabPoint reference{c.seconds / 86400.0, {0, 0, c.refZ}, {}, 0, {}};
        EXPECT_EQ(UpdateRev(point, reference, c.refRev), c.expected) << c.refRev;
    }
}

TEST_F(Interpolation, EveryFormOfRequestGivesTheSameState) {
    const int64_t key = Add(1, kStart);
    Covariance terms;
    for (std::size_t k = 0; k < 21; ++k) terms[k] = double(k + 1);
    for (int i = 0; i < 6; ++i) {
        VecTabAddSatEphemCovMtx(key, Minutes(i), Pos(i).data(), Vel(i).data(), i, terms.data());
    }
    State byTime, byMinutes, plain;
    ASSERT_EQ(AskByTime(key, Minutes(2.25), byTime), 0);
    ASSERT_EQ(AskByMinutes(key, 2.25, byMinutes), 0);
    EXPECT_EQ(byMinutes.time, Minutes(2.25));
    EXPECT_EQ(byTime.pos, byMinutes.pos);
    ASSERT_EQ(VecTabDs50UTC(key, Minutes(2.25), &plain.time, plain.pos.data(), plain.vel.data(), &plain.revNum), 0);
    EXPECT_EQ(plain.vel, byTime.vel);
    ASSERT_EQ(VecTabMse(key, 2.25, &plain.time, plain.pos.data(), plain.vel.data(), &plain.revNum), 0);
    EXPECT_EQ(plain.time, byMinutes.time);

    std::array<double, 128> byTen, byMse, byIndex;
    for (auto* all : {&byTen, &byMse, &byIndex}) all->fill(-1.0);
    ASSERT_EQ(VecTabXten(key, 1, 2.25, byMse.data()), 0);
    ASSERT_EQ(VecTabXten(key, 2, Minutes(2.25), byTen.data()), 0);
    ASSERT_EQ(VecTabXten(key, 3, 2.7, byIndex.data()), 0);
    EXPECT_EQ(byMse[0], 2.25);
    EXPECT_EQ(byMse[1], Minutes(2.25));
    EXPECT_EQ(byTen[0], byTime.time);
    EXPECT_EQ(byTen[1], Minutes(2.25));
    EXPECT_EQ(byTen[7], byTime.vel[2]);
    EXPECT_EQ(byIndex[0], (Minutes(1) - kStart) * 1440.0);
    EXPECT_EQ(byIndex[8], 1.0);
    EXPECT_EQ(byIndex[30] + byIndex[127], 0.0);

    const int matrix[36] = {1, 2, 4, 7,  11, 16, 2,  3,  5,  8,  12, 17, 4,  5,  6,  9,  13, 18,
                            7, 8, 9, 10, 14, 19, 11, 12, 13, 14, 15, 20, 16, 17, 18, 19, 20, 21};
    State stored;
    ASSERT_EQ(AskByIndex(key, 2, stored), 0);
    for (std::size_t i = 0; i < 36; ++i) {
        EXPECT_EQ(stored.covMtx[i], matrix[i]);
        EXPECT_NEAR(byTime.covMtx[i], matrix[i], 1e-12);
    }
    for (std::size_t k = 0; k < 21; ++k) EXPECT_EQ(byIndex[9 + k], terms[k]);
}

TEST_F(Interpolation, FailedRequestsLeaveZerosAndWords) {
    const int64_t empty = Add(1, 1.0);
    const int64_t key = Table({0, 1, 2, 3, 4});
    const std::string noData =
        "GetEphem: satKey         " + std::to_string(empty) + " does not contain any ephemeris data.";
    const std::string noTime = "GetEphem: Requested time is outside of ephemeris time span.";
    const std::string noIndex = "GetEphem: Input index is out of valid range.";
    const std::string noType = "VecTabXten: Invalid ephemeris type. Valid values are 1, 2, and 3.";
    struct {
        int64_t key;
        int32_t ephType;
        double value;
        std::string words;
    } const cases[] = {{16, 1, 0.0, "FindRecPtr: search key doens't exist."},
                       {empty, 1, 0.0, noData},
                       {empty, 3, 1.0, noData},
                       {key, 1, -1e-6, noTime},
                       {key, 1, NAN, noTime},
                       {key, 1, INFINITY, noTime},
                       {key, 2, kStart + 1.0, noTime},
                       {key, 2, NAN, noTime},
                       {key, 2, -INFINITY, noTime},
                       {key, 3, 0.9, noIndex},
                       {key, 3, 6.0, noIndex},
                       {key, 3, NAN, noIndex},
                       {key, 3, INFINITY, noIndex},
                       {key, 3, -1e300, noIndex},
                       {key, 0, 1.0, noType},
                       {16, 4, 1.0, noType}};
    for (const auto& c : cases) {
        std::array<double, 128> all;
        all.fill(-1.0);
        EXPECT_EQ(VecTabXten(c.key, c.ephType, c.value, all.data()), 2);
        EXPECT_EQ(log.Take(), Strings{c.words}) << c.value;
        EXPECT_EQ(all, (std::array<double, 128>{}));
    }
    State state;
    for (const int32_t index : {0, -1, 6, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(AskByIndex(key, index, state), 2);
        EXPECT_EQ(state, State::Zero());
    }
    EXPECT_EQ(AskByMinutes(key, 3.99999999, state), 0);
    EXPECT_EQ(AskByTime(key, std::nextafter(Minutes(4), 1e6), state), 2);
    EXPECT_EQ(state, State::Zero());
}
