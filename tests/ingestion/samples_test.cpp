// Every sample of the project loads as the states that it was made from, to the digits that its format carries.
#include "samples.h"

#include <vectable/vectable.h>

#include <gtest/gtest.h>

#include "helpers/log_capture.h"

class Samples : public testing::TestWithParam<std::size_t> {};

TEST_P(Samples, HoldTheStatesThatTheyWereMadeFrom) {
    const Sample& sample = kSamples[GetParam()];
    const std::vector<State> states = StatesOf(sample);
    LogCapture log;
    VecTabRemoveAllSats();
    ASSERT_EQ(VecTabLoadFile((SAMPLES "/" + sample.file).c_str()), 0);
    EXPECT_TRUE(log.Take().empty());
    const int64_t key = VecTabGetSatKey(sample.satNum);
    char frame[512];
    VecTabGetField(key, 11, frame);
    EXPECT_EQ(std::string(frame, 1), sample.coordSys < 10 ? std::to_string(sample.coordSys) : "*");

    int32_t point = 0;
    std::array<double, 128> all;
    for (const State& expected : states) {
        ASSERT_EQ(VecTabXten(key, 3, ++point, all.data()), 0);
        ASSERT_NEAR(all[1], kEpochDs50UTC + expected.seconds / 86400.0, 2e-11);
        for (std::size_t i = 0; i < 3; ++i) {
            ASSERT_NEAR(all[2 + i], expected.pos[i], 0.5001 * sample.posDigit + 1e-12) << "point " << point;
            const double v = sample.velDigit == 0.0 ? 0.0 : expected.vel[i];
            ASSERT_NEAR(all[5 + i], v, 0.5001 * sample.velDigit + 1e-15) << "point " << point;
        }
        for (int k = 1; k <= 21; ++k) {
            const double term = sample.file == "itc.txt" ? CovarianceTerm(point, k) : 0.0;
            ASSERT_NEAR(all[static_cast<std::size_t>(8 + k)], term, 1e-8 * term) << "point " << point;
        }
    }
    EXPECT_EQ(VecTabXten(key, 3, point + 1, all.data()), 2);
    VecTabRemoveAllSats();
}

INSTANTIATE_TEST_SUITE_P(Formats, Samples, testing::Range<std::size_t>(0, kSamples.size()), [](const auto& instance) {
    std::string name = kSamples[instance.param].file;
    for (char& c : name) c = std::isalnum(c) != 0 ? c : '_';
    return name;
});
