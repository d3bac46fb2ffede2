#include "support/keys.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <string>

#include "support/dates.h"

using namespace VecTableSupport;

TEST(Keys, TextAndNumberOfOneEpochGiveOneKey) {
    std::mt19937_64 random(3);
    std::uniform_real_distribution<double> times(2558.0, 39082.0);
    for (int i = 0; i < 20000; ++i) {
        const std::string text(Ds50ToDate15(times(random)).View());
        ASSERT_EQ(CreateSatKey(25544, 6, std::string_view(text)), CreateSatKey(25544, 6, Date_In(text))) << text;
    }
}
