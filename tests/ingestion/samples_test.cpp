// Every sample of the project loads as the states that it was made from, to the digits that its format carries.
#include "samples.h"

#include <erfa.h>

#include "helpers/store_test.h"
#include "support/dates.h"

class Samples : public StoreTest, public testing::WithParamInterface<std::size_t> {
  protected:
    // Launch files count from the start of today.
    Samples() {
        VecTableSupport::SetClock([]() noexcept { return VecTableSupport::CalendarDate{2026, 3, 1}; });
    }
};

TEST_P(Samples, HoldTheStatesThatTheyWereMadeFrom) {
    const SampleMaking::Sample& sample = SampleMaking::kSamples[GetParam()];
    ASSERT_EQ(LoadByName(SAMPLES "/" + sample.file, sample.satNum), 0);
    EXPECT_TRUE(log.Take().empty());
    const int64_t key = VecTabGetSatKey(sample.satNum);
    std::string frame(512, '#');
    VecTabGetField(key, 11, frame.data());
    EXPECT_EQ(frame.substr(0, 1), sample.coordSys < 10 ? std::to_string(sample.coordSys) : "*");
    std::string format(VEC_HOST_FORMAT_LENGTH, '#'), told = format;
    int32_t holds = 0;
    EXPECT_EQ(VecHostGetFormat(key, format.data()), 0);
    EXPECT_EQ(VecHostGetFileFormat((SAMPLES "/" + sample.file).c_str(), told.data(), &holds), 0);
    EXPECT_EQ(told, format);
    const bool hasCovariances = sample.covariance != nullptr && sample.covariance(1, 2) < VEC_TAB_SCALAR_MARK;
    EXPECT_EQ((holds & VEC_HOST_HOLDS_COVARIANCES) != 0, hasCovariances) << format;

    int32_t point = 0;
    std::array<double, 128> all;
    for (const auto& expected : StatesOf(sample)) {
        ASSERT_EQ(VecTabXten(key, 3, ++point, all.data()), 0);
        ASSERT_NEAR(all[1], SampleMaking::kEpochDs50UTC + expected.seconds / 86400.0, 2e-11);
        for (std::size_t i = 0; i < 3; ++i) {
            ASSERT_NEAR(all[2 + i], expected.pos[i], 0.5001 * sample.posDigit + 2e-12) << "point " << point;
            const double v = sample.velDigit == 0.0 ? 0.0 : expected.vel[i];
            ASSERT_NEAR(all[5 + i], v, 0.5001 * sample.velDigit + 2e-15) << "point " << point;
        }
        for (int k = 1; k <= 21; ++k) {
            const double term = sample.covariance == nullptr ? 0.0 : sample.covariance(point, k);
            ASSERT_NEAR(all[static_cast<std::size_t>(8 + k)], term, 1e-8 * term) << "point " << point;
        }
    }
    EXPECT_EQ(VecTabXten(key, 3, point + 1, all.data()), 2);
}

// The Earth-fixed sample is the one of J2000 turned by the theory of 2006, which differs by metres from that of the
// samples.
TEST_F(Samples, AreOneOrbitInEachOfTheirFrames) {
    const int64_t inertial = VecTabAddSatFrFile(SAMPLES "/j2k.txt");
    const int64_t fixed = VecTabAddSatFrFile(SAMPLES "/ecr.txt");
    for (int32_t point = 1; point <= 31; ++point) {
        State j2k, ecr;
        ASSERT_EQ(AskByIndex(inertial, point, j2k), 0);
        ASSERT_EQ(AskByIndex(fixed, point, ecr), 0);
        double toFixed[3][3];
        eraC2t06a(2433281.5, j2k.time + 69.184 / 86400.0, 2433281.5, j2k.time, 0.0, 0.0, toFixed);
        Vector pos, vel;
        eraRxp(toFixed, j2k.pos.data(), pos.data());
        eraRxp(toFixed, j2k.vel.data(), vel.data());
        vel[0] += 7.2921151467e-5 * pos[1];
        vel[1] -= 7.2921151467e-5 * pos[0];
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_NEAR(ecr.pos[i], pos[i], 0.010) << point;
            EXPECT_NEAR(ecr.vel[i], vel[i], 1.1e-5) << point;
        }
    }
}

// The load asks for the file by its name, the reader by its path with slashes.
TEST_F(StoreTest, ABinaryFileIsReadAtThePathWithSlashes) {
    const std::string path = Write("a\\b.dce", "");
    std::filesystem::create_directory(folder / "a");
    std::filesystem::copy_file(TEST_DATA "/files/binary.dce", folder / "a/b.dce");
    EXPECT_EQ(VecTabLoadFile(path.c_str()), 0);
    EXPECT_EQ(VecTabGetCount(), 1);
}

INSTANTIATE_TEST_SUITE_P(Formats, Samples, testing::Range<std::size_t>(0, SampleMaking::kSamples.size()),
                         [](const auto& instance) {
                             std::string name = SampleMaking::kSamples[instance.param].file;
                             std::replace_if(
                                 name.begin(), name.end(), [](char c) { return std::isalnum(c) == 0; }, '_');
                             return name;
                         });
