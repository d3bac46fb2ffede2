// Files worked by hand and what loading them has to give: tests/data/files/NAME.expected for the file beside it, and many small
// ones in tests/data/cases.txt.
//
//   file NAME                               the file, beside the expectation
//   status 2                                of the load; 0 when absent
//   record satNum coordSys numOfPts         a record, in the order of entry
//   constants ke ae                         of that record; not compared when absent
//   point day seconds x y z vx vy vz [rev]  its points in order: day and seconds of the day, km, km/s
//   cov 21 terms                            of that point; zeros when absent
//   error TEXT                              all entries of the log at error level, without trailing blanks
//   length N                                characters of that entry, its trailing blanks included
//   info TEXT                               the last entry at information level; not compared when absent
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <sstream>

#include "helpers/store_test.h"
#include "support/dates.h"

namespace {

struct Case {
    std::string name;
    std::string file = "12345.txt";
    std::string path;   // of a file that is there already
    std::string input;  // else
    Strings lines;
};

std::string WithCarriageReturns(std::string line) {
    if (line.size() >= 2 && line.compare(line.size() - 2, 2, "\\r") == 0) line.replace(line.size() - 2, 2, "\r");
    return line + "\n";
}

std::vector<Case> SmallFiles() {
    std::vector<Case> cases;
    std::ifstream file(TEST_DATA "/cases.txt");
    bool input = false;
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("case ", 0) == 0) cases.push_back({line.substr(5), "12345.txt", "", "", {}});
        if (line == "input" || line == "end") {
            input = line == "input";
        } else if (input) {
            cases.back().input += WithCarriageReturns(line);
        } else if (line.rfind("name ", 0) == 0) {
            cases.back().file = line.substr(5);
        } else if (!cases.empty()) {
            cases.back().lines.push_back(line);
        }
    }
    return cases;
}

std::vector<Case> AllCases() {
    std::vector<Case> cases = SmallFiles();
    for (const auto& entry : std::filesystem::directory_iterator(TEST_DATA "/files")) {
        if (entry.path().extension() != ".expected") continue;
        Case handmade{"File_" + entry.path().stem().string(), "", "", "", {}};
        std::ifstream file(entry.path());
        for (std::string line; std::getline(file, line);) {
            if (line.rfind("file ", 0) == 0) handmade.path = TEST_DATA "/files/" + line.substr(5);
            handmade.lines.push_back(line);
        }
        cases.push_back(handmade);
    }
    return cases;
}

}  // namespace

class HandmadeFiles : public StoreTest, public testing::WithParamInterface<Case> {
  protected:
    // Takes the next record in the order of entry.
    void CheckRecord(std::istream& line) {
        ASSERT_LT(records, keys.size());
        key = keys[records++];
        point = 0;
        std::array<int32_t, 3> expected{}, fields{};
        for (int32_t& field : expected) line >> field;
        char satName[8], ephemName[128], filePath[512];
        double epoch = 0.0, start = 0.0, end = 0.0;
        Vector pos, vel;
        VecTabGetAllFields(key, &fields[0], satName, ephemName, &epoch, &ae, &ke, pos.data(), vel.data(), &fields[1],
                           &fields[2], filePath);
        EXPECT_EQ(fields, expected);
        VecTabStartEndTime(key, &start, &end);
        EXPECT_EQ(epoch, start);
    }

    void CheckPoint(std::istream& line) {
        double day = 0.0, seconds = 0.0, expected = 0.0;
        ASSERT_EQ(VecTabXten(key, 3, ++point, all.data()), 0) << "point " << point;
        line >> day >> seconds;
        EXPECT_NEAR(all[1], day + seconds / 86400.0, 1e-11) << "point " << point;
        for (std::size_t i = 2; i <= 7 && line >> expected; ++i)
            EXPECT_DOUBLE_EQ(all[i], expected) << "point " << point;
        EXPECT_EQ(all[8], line >> expected ? expected : 0.0) << "point " << point;
    }

    void CheckLine(const std::string& text) {
        std::istringstream line(text);
        std::string word;
        line >> word;
        if (word == "status") line >> expectedStatus;
        if (word == "record") CheckRecord(line);
        if (word == "point") CheckPoint(line);
        if (word == "error") errors.push_back(text.substr(6));
        double number = 0.0;
        if (word == "length" && line >> number) EXPECT_EQ(lengths.at(errors.size() - 1), number) << errors.back();
        if (word == "info") EXPECT_EQ(info, text.substr(5));
        for (std::size_t k = 9; word == "cov" && k < 30; ++k) EXPECT_EQ(all[k], line >> number ? number : NAN) << k;
        if (word == "constants" && line >> number) EXPECT_EQ(ke, number);
        if (word == "constants" && line >> number) EXPECT_EQ(ae, number);
    }

    std::vector<int64_t> keys;
    std::size_t records = 0;
    int64_t key = 0;
    int32_t point = 0;
    double ae = 0.0, ke = 0.0;
    std::array<double, 128> all{};
    int32_t expectedStatus = 0;
    Strings errors;
    std::vector<std::size_t> lengths;
    std::string info;
};

TEST_P(HandmadeFiles, LoadAsWorkedOut) {
    VecTableSupport::SetClock([]() noexcept { return VecTableSupport::CalendarDate{2025, 3, 1}; });
    const Case& c = GetParam();
    const std::string path = c.path.empty() ? Write(c.file, c.input) : c.path;
    const int32_t status = VecTabLoadFile(path.c_str());
    keys.resize(static_cast<std::size_t>(VecTabGetCount()) + 1);
    VecTabGetLoaded(2, keys.data());
    keys.pop_back();
    for (const LogEntry& entry : log.entries) {
        if (entry.level == VEC_HOST_TRACE_ERROR) lengths.push_back(entry.text.size());
        if (entry.level == VEC_HOST_TRACE_INFO) info = entry.text.substr(0, entry.text.find_last_not_of(' ') + 1);
    }
    const Strings logged = log.Take();
    for (const std::string& line : c.lines) CheckLine(line);
    EXPECT_EQ(status, expectedStatus);
    EXPECT_EQ(records, keys.size());
    EXPECT_EQ(logged, errors);
}

INSTANTIATE_TEST_SUITE_P(Files, HandmadeFiles, testing::ValuesIn(AllCases()),
                         [](const auto& instance) { return instance.param.name; });
