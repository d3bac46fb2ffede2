#include <clocale>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>

#include "helpers/store_test.h"

class Fields : public StoreTest {};

TEST_F(Fields, FieldsComeOutAsTheyAreStored) {
    const int64_t key = VecTabAddSat(25544, 100.0, 6378.135, 0.07436691613317341, 12);
    std::string text(513, '#');
    EXPECT_EQ(VecTabGetField(key, 1, text.data()), 2);
    EXPECT_EQ(text, std::string(512, ' ') + '#');
    EXPECT_EQ(log.Take(),
              Strings{"VecTabGetField: satKey     " + std::to_string(key) + " does not contain any ephemeris data."});
    Append(key, 27819.5, {7000.5, -1e300, 0.1}, {-0.0, NAN, INFINITY});
    EXPECT_EQ(VecTabSetField(key, 14, "  STATION-1"), 0);
    EXPECT_EQ(VecTabSetField(key, 15, "a name"), 0);
    EXPECT_EQ(VecTabSetField(key, 1, "7"), 0);
    const std::pair<int32_t, std::string> cases[] = {
        {0, ""},
        {1, "25544"},
        {2, "26060120000.000"},
        {3, "6378.135000000000218"},
        {4, "0.07436691613317340799"},
        {5, "7000.500000000000000"},
        {6, std::string(35, '*')},
        {7, "0.100000000000000"},
        {8, "-0.000000000000000"},
        {9, "NaN"},
        {10, "Infinity"},
        {11, "2"},
        {12, "1"},
        {13, ""},
        {14, "STATION-"},
        {15, "a name"},
        {16, ""},
    };
    for (const auto& [code, expected] : cases) {
        EXPECT_EQ(VecTabGetField(key, code, text.data()), 0);
        EXPECT_EQ(text, expected + std::string(512 - expected.size(), ' ') + '#') << code;
    }
    const std::pair<const char*, const char*> frames[] = {{" 3", "3"}, {"12", "1"}, {"x", "*"}, {"", "*"}};
    for (const auto& [given, expected] : frames) {
        VecTabSetField(key, 11, given);
        VecTabGetField(key, 11, text.data());
        EXPECT_EQ(text.substr(0, 2), std::string(expected) + ' ') << given;
    }
    double start = 0.0, end = 0.0;
    EXPECT_EQ(VecTabStartEndTime(key, &start, &end), 0);
    EXPECT_EQ(start, 27819.5);
    EXPECT_EQ(end, 27819.5);
}

TEST_F(Fields, AllFieldsComeOutAtTheirLengths) {
    VecHostSetElsetKeyMode(1);
    const int64_t key = VecTabAddSat(7, 100.0, 6378.0, 0.07, 4);
    VecTabSetField(key, 14, "12345678");
    int32_t satNum = -1, coordSys = -1, numOfPts = -1;
    double epoch = -1.0, ae = -1.0, ke = -1.0;
    Vector pos{1, 1, 1}, vel{1, 1, 1};
    std::string satName(9, '#'), ephemName(129, '#'), filePath(513, '#');
    const auto ask = [&](int64_t asked) {
        return VecTabGetAllFields(asked, &satNum, satName.data(), ephemName.data(), &epoch, &ae, &ke, pos.data(),
                                  vel.data(), &coordSys, &numOfPts, filePath.data());
    };
    EXPECT_EQ(ask(key), 0);
    EXPECT_EQ(satName, "12345678#");
    EXPECT_EQ(ephemName, std::string(128, ' ') + '#');
    EXPECT_EQ(filePath, std::string(512, ' ') + '#');
    EXPECT_EQ(coordSys, 4);
    EXPECT_EQ(numOfPts, 0);
    EXPECT_EQ(pos, Vector{});
    Append(key, 101.0, {1, 2, 3}, {4, 5, 6});
    EXPECT_EQ(ask(key), 0);
    EXPECT_EQ(epoch, 101.0);
    EXPECT_EQ(vel, (Vector{4, 5, 6}));
    EXPECT_EQ(ask(key + 10), 2);
    EXPECT_EQ(satName, std::string(8, ' ') + '#');
    EXPECT_EQ(ae + ke + epoch + satNum + coordSys + numOfPts, 0.0);
}

// Numbers of more digits than any double needs, from exact decimal expansions.
TEST_F(Fields, NumbersAreRightToTheLastDigit) {
    const std::pair<double, const char*> cases[] = {
        {0x1p-40, "0.000000000000909"},
        {0x1p-50, "0.000000000000001"},
        {1.0 / 3.0, "0.333333333333333"},
        {-2.5e-16, "-0.000000000000000"},
        {123456789012345678.0, "123456789012345680.000000000000000"},
        {1234567890123456789.0, "1234567890123456768.000000000000000"},
        {12345678901234567890.0, "***********************************"},
        {5e-16, "0.000000000000001"},  // its exact value lies above the half
        {4.9e-324, "0.000000000000000"},
    };
    for (const auto& [value, expected] : cases) {
        const int64_t key = VecTabAddSat(1, 1.0, value, 0.0, 1);
        Append(key, 2.0);
        std::string text(512, '#');
        VecTabGetField(key, 3, text.data());
        EXPECT_EQ(text.substr(0, text.find(' ')), expected);
        VecTabRemoveAllSats();
    }
}

TEST_F(Fields, ACommaInTheHostsLocaleChangesNothing) {
    const std::string build = "localedef --inputfile=de_DE --charmap=UTF-8 " + Write("comma", "") + "-locale";
    ASSERT_EQ(std::system(build.c_str()), 0);
    ::setenv("LOCPATH", folder.c_str(), 1);
    ASSERT_NE(std::setlocale(LC_ALL, "comma-locale"), nullptr);
    std::array<char, 8> printed;
    std::snprintf(printed.data(), printed.size(), "%.1f", 0.5);
    ASSERT_STREQ(printed.data(), "0,5");

    const std::string path = Write("10001.e",
                                   "stk.v.4\nScenarioEpoch 1 Jan 2025 12:00:00.500\nDistanceUnit Kilometers\n"
                                   "EphemerisTimePos\n0.25 7000.5 -1.5E0 .25\n");
    const int64_t key = VecTabAddSatFrFile(path.c_str());
    std::string text(512, '#');
    State state;
    AskByIndex(key, 1, state);
    VecTabGetField(key, 5, text.data());
    const std::string epochText(text);
    std::setlocale(LC_ALL, "C");
    ::unsetenv("LOCPATH");
    EXPECT_EQ(state.pos, (Vector{7000.5, -1.5, 0.25}));
    EXPECT_EQ(text.substr(0, 21), "7000.500000000000000 ");
}
