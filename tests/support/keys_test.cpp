#include "support/keys.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <string>

#include "support/dates.h"

using namespace VecTableSupport;

TEST(Keys, ATreeKeyIsSatelliteEpochAndType) {
    struct {
        std::int32_t satNum;
        double epoch;
        std::int64_t expected;
    } const cases[] = {// 27819 days are 2403561600000 ms; less 2403 times 999999937 that is 561751389.
                       {12345, 27819.0, 12345'0000000006 + 561751389'0},
                       {0, 1.0, 86400000'6},
                       {-1, 1.0, -1'0000000000 - 86400000'6},
                       {1, -1.0, 1'0000000000 + (999999937 - 86400000) * 10LL + 6},
                       {922337202, 0.0, 922337202'0000000006},
                       {922337203, 0.0, 6},
                       {-922337204, 0.0, -1'0000000006},
                       {1, NAN, -1},
                       {1, INFINITY, -1},
                       {1, 1.0000001e9, -1}};
    for (const auto& c : cases) {
        EXPECT_EQ(CreateSatKey(c.satNum, 6, c.epoch), c.expected) << c.satNum;
        EXPECT_FALSE(IsDma(c.expected));
    }
    EXPECT_EQ(NextSatKey(16), 26);
    EXPECT_EQ(NextSatKey(-16), -26);
    EXPECT_EQ(NextSatKey(INT64_MAX - 1), 6);
    EXPECT_EQ(NextSatKey(INT64_MIN + 2), -6);
}

TEST(Keys, TextAndNumberOfOneEpochGiveOneKey) {
    std::mt19937_64 random(3);
    std::uniform_real_distribution<double> times(2558.0, 39082.0);
    for (int i = 0; i < 20000; ++i) {
        const std::string text(Ds50ToDate15(times(random)).View());
        ASSERT_EQ(CreateSatKey(25544, 6, std::string_view(text)), CreateSatKey(25544, 6, Date_In(text))) << text;
    }
}
