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
