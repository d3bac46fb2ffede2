#include "support/keys.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>

#include "support/dates.h"

using namespace VecTableSupport;

TEST(Keys, ATreeKeyIsSatelliteEpochAndType) {
    struct {
        std::int32_t satNum;
        double epoch;
        std::int64_t expected;
    } const cases[] = {
        // 27819 days are 2403561600000 ms; less 2403 times 999999937 that is 561751389.
        {12345, 27819.0, 12345'0000000006 + 561751389'0},
        {0, 1.0, 86400000'6},
        {-1, 1.0, -1'0000000000 - 86400000'6},
        {1, -1.0, 1'0000000000 + (999999937 - 86400000) * 10LL + 6},
        {922337202, 0.0, 922337202'0000000006},
        {922337203, 0.0, 6},
        {-922337204, 0.0, -1'0000000006},
        {1, NAN, -1},
        {1, INFINITY, -1},
        {1, 1.0000001e9, -1},
    };
    for (const auto& c : cases) EXPECT_EQ(CreateSatKey(c.satNum, 6, c.epoch), c.expected) << c.satNum;
}

TEST(Keys, TextAndNumberOfOneEpochGiveOneKey) {
    std::mt19937_64 random(3);
    std::uniform_real_distribution<double> times(2558.0, 39082.0);
    for (int i = 0; i < 20000; ++i) {
        const std::string text(Ds50ToDate15(times(random)).View());
        ASSERT_EQ(CreateSatKey(25544, 6, std::string_view(text)), CreateSatKey(25544, 6, Date_In(text))) << text;
    }
    EXPECT_EQ(CreateSatKey(1, 6, std::string_view("no date")), -1);
}

TEST(Keys, SteppingMovesAwayFromZeroAndWraps) {
    EXPECT_EQ(NextSatKey(16), 26);
    EXPECT_EQ(NextSatKey(-16), -26);
    EXPECT_EQ(NextSatKey(std::numeric_limits<std::int64_t>::max() - 1), 6);
    EXPECT_EQ(NextSatKey(std::numeric_limits<std::int64_t>::min() + 2), -6);
}

TEST(Keys, OnlyMultiplesOfTenAreDirectMemoryKeys) {
    for (const std::int64_t key : {0LL, 10LL, -10LL, 1400000000000000LL}) EXPECT_TRUE(IsDma(key)) << key;
    for (const std::int64_t key : {-1LL, 6LL, -6LL, 123450000000006LL}) EXPECT_FALSE(IsDma(key)) << key;
}
