// Files worked by hand, one or more for each format: tests/data/NAME.expected tells what loading its file has to give.
//
//   file NAME                               the file, beside it
//   record satNum coordSys numOfPts         a record, in the order of entry
//   constants ke ae                         of that record; the defaults when absent
//   point day seconds x y z vx vy vz [rev]  its points in order: day and seconds of the day, km, km/s
//   cov 21 terms                            of that point; zeros when absent
//   error TEXT                              entries of the log at error level, in order, without trailing blanks
#include <algorithm>
#include <gtest/gtest.h>
#include <sstream>

#include "helpers/store_test.h"

namespace {

Strings ExpectationFiles() {
    Strings names;
    for (const auto& entry : std::filesystem::directory_iterator(TEST_DATA)) {
        if (entry.path().extension() == ".expected") names.push_back(entry.path().stem());
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

class HandmadeFiles : public StoreTest, public testing::WithParamInterface<std::string> {
  protected:
    // Compares the next record in the order of entry.
    void CheckRecord(std::istream& line) {
        int32_t satNum = 0, coordSys = 0, numOfPts = 0, expectedSatNum = 0, expectedCoordSys = 0, expectedPoints = 0;
        char satName[8], ephemName[128], filePath[512];
        double epoch = 0.0;
        Vector pos, vel;
        line >> expectedSatNum >> expectedCoordSys >> expectedPoints;
        ASSERT_LT(records, keys.size());
        key = keys[records++];
        point = 0;
        VecTabGetAllFields(key, &satNum, satName, ephemName, &epoch, &ae, &ke, pos.data(), vel.data(), &coordSys,
                           &numOfPts, filePath);
        EXPECT_EQ(satNum, expectedSatNum);
        EXPECT_EQ(coordSys, expectedCoordSys);
        EXPECT_EQ(numOfPts, expectedPoints);
        State first;
        AskByIndex(key, 1, first);
        EXPECT_EQ(epoch, first.time);
    }

    void CheckPoint(std::istream& line) {
        double day = 0.0, seconds = 0.0;
        State expected;
        line >> day >> seconds;
        for (double& x : expected.pos) line >> x;
        for (double& v : expected.vel) line >> v;
        expected.revNum = 0;
        line >> expected.revNum;
        State state;
        ASSERT_EQ(VecTabXten(key, 3, ++point, all.data()), 0) << "point " << point;
        ASSERT_EQ(AskByIndex(key, point, state), 0);
        EXPECT_NEAR(state.time, day + seconds / 86400.0, 1e-11) << "point " << point;
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_DOUBLE_EQ(state.pos[i], expected.pos[i]) << "point " << point;
            EXPECT_DOUBLE_EQ(state.vel[i], expected.vel[i]) << "point " << point;
        }
        EXPECT_EQ(state.revNum, expected.revNum) << "point " << point;
    }

    void CheckLine(const std::string& text) {
        std::istringstream line(text);
        std::string word;
        line >> word;
        if (word == "record") CheckRecord(line);
        if (word == "point") CheckPoint(line);
        if (word == "constants") {
            double expectedKe = 0.0, expectedAe = 0.0;
            line >> expectedKe >> expectedAe;
            EXPECT_EQ(ke, expectedKe);
            EXPECT_EQ(ae, expectedAe);
        }
        if (word == "cov") {
            for (std::size_t k = 0; k < 21; ++k) {
                double term = 0.0;
                line >> term;
                EXPECT_EQ(all[9 + k], term) << "point " << point << ", term " << k + 1;
            }
        }
        if (word == "error") errors.push_back(text.substr(6));
        EXPECT_FALSE(line.bad());
    }

    std::vector<int64_t> keys;
    std::size_t records = 0;
    int64_t key = 0;
    int32_t point = 0;
    double ae = 0.0;
    double ke = 0.0;
    std::array<double, 128> all{};
    Strings errors;
};

TEST_P(HandmadeFiles, LoadAsWorkedOut) {
    std::ifstream expectations(TEST_DATA "/" + GetParam() + ".expected");
    std::string text;
    while (std::getline(expectations, text) && text.rfind("file ", 0) != 0) continue;
    ASSERT_EQ(VecTabLoadFile((TEST_DATA "/" + text.substr(5)).c_str()), 0);
    const Strings logged = log.Take();
    keys.resize(static_cast<std::size_t>(VecTabGetCount()) + 1);
    VecTabGetLoaded(2, keys.data());
    keys.pop_back();
    while (std::getline(expectations, text) && !HasFatalFailure()) CheckLine(text);
    EXPECT_EQ(records, keys.size());
    EXPECT_EQ(logged, errors);
}

INSTANTIATE_TEST_SUITE_P(Formats, HandmadeFiles, testing::ValuesIn(ExpectationFiles()), [](const auto& instance) {
    std::string name = instance.param;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return std::isalnum(c) == 0; }, '_');
    return name;
});
