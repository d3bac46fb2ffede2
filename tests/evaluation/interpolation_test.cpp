#include "evaluation/interpolation.h"

#include <cmath>

#include "helpers/store_test.h"
#include "support/time_scales.h"

using namespace VecTableProcessing;

class Interpolation : public StoreTest {
  protected:
    static constexpr double kStart = 27819.0;

    // A record of points of a circular motion, which number themselves.
    static VecTabRecord Record(const std::vector<double>& minutes) {
        VecTabRecord record;
        for (const double m : minutes) {
            const double time = kStart + m / 1440.0, angle = 0.063 * (time - kStart) * 1440.0 - 1.0;
            VecTabPoint& point = record.points.Append(static_cast<std::size_t>(record.numOfPts++), time);
            point = {time, {7000 * std::cos(angle), 0, 7000 * std::sin(angle)}, {}, record.numOfPts, {}};
            point.vel = {-7.35 * std::sin(angle), 0, 7.35 * std::cos(angle)};
        }
        return record;
    }
};

TEST_F(Interpolation, AStateBetweenPointsIsThatOfTheOrbitFromTheFourPointsRoundTheTime) {
    std::vector<double> minutes;
    for (int i = 0; i < 100; ++i) minutes.push_back(i + (i % 3) * 0.2);
    const VecTabRecord record = Record(minutes);
    VecTabPoint point;
    for (double m = 0.01; m < 99.0; m += 0.37) {
        const double time = kStart + m / 1440.0;
        ASSERT_EQ(InterpolateEP(record, VecTableSupport::Utc2Tai(time), point), 0);
        const VecTabPoint exact = Record({m}).points[1];
        for (std::size_t i = 0; i < 3; ++i) {
            ASSERT_NEAR(point.pos[i], exact.pos[i], 1e-6) << m;
            ASSERT_NEAR(point.vel[i], exact.vel[i], 1e-7) << m;
        }
    }
}

// Every caller has tests of its own before.
TEST_F(Interpolation, TimesUpToHalfAMillisecondOutsideAreServed) {
    const std::string noPoints = "InterpolateEP: Buffer not initialized.";
    const std::string outside = "InterpolateEP: Request time out of ephemeris range.";
    const std::string tooFew = "InterpolateEP: Can not interpolate with less than 4 ephemeris data points";
    const std::tuple<std::vector<double>, double, std::string> cases[] = {{{}, 0.0, noPoints},
                                                                          {{0}, 5000.0, ""},
                                                                          {{0}, NAN, ""},
                                                                          {{0, 1}, 60.0, ""},
                                                                          {{0, 1}, 30.0, tooFew},
                                                                          {{0, 1}, -0.00051, outside},
                                                                          {{0, 1}, -0.00049, tooFew},
                                                                          {{0, 1}, 60.00049, tooFew},
                                                                          {{0, 1}, 60.00051, outside},
                                                                          {{0, 1, 2}, 30.0, tooFew},
                                                                          {{0, 1, 2, 3}, 30.0, ""},
                                                                          {{0, 1, 2, 3}, -0.00051, outside},
                                                                          {{0, 1, 2, 3}, -0.00049, ""},
                                                                          {{0, 1, 2, 3}, 180.00049, ""},
                                                                          {{0, 1, 2, 3}, 180.00051, outside}};
    for (const auto& [minutes, seconds, told] : cases) {
        VecTabPoint point;
        point.revNum = 77;
        point.cov[20] = 7.0;
        const double tai = VecTableSupport::Utc2Tai(kStart + seconds / 86400.0);
        EXPECT_EQ(InterpolateEP(Record(minutes), tai, point), told.empty() ? 0 : 2) << seconds;
        EXPECT_EQ(log.Take(), told.empty() ? Strings{} : Strings{told}) << seconds;
        EXPECT_EQ(point.revNum > 0, told.empty()) << seconds;
        EXPECT_EQ(point.cov[20] + (told.empty() ? 0.0 : point.ds50UTC), 0.0) << seconds;
    }
}
