#include <cfenv>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <immintrin.h>

#include "helpers/store_test.h"

class Fields : public StoreTest {
  protected:
    // The text of a field, behind it what the array held.
    static std::string Field(int64_t key, int32_t code) {
        std::string text(513, '#');
        EXPECT_EQ(VecTabGetField(key, code, text.data()), 0);
        return text;
    }

    static std::string Padded(const std::string& text, std::size_t length) {
        return text + std::string(length - text.size(), ' ') + '#';
    }
};

TEST_F(Fields, ComeOutAsTheyAreStoredAtTheirLengths) {
    const int64_t key = VecTabAddSat(25544, 100.0, 6378.135, 0.07436691613317341, 12);
    std::string text(513, '#');
    EXPECT_EQ(VecTabGetField(key, 1, text.data()), 2);
    EXPECT_EQ(text, Padded("", 512));
    EXPECT_EQ(log.Take(),
              Strings{"VecTabGetField: satKey     " + std::to_string(key) + " does not contain any ephemeris data."});
    Append(key, 27819.5, {7000.5, -1e300, 0.1}, {-0.0, NAN, INFINITY});
    for (const auto& [code, value] : {std::pair{14, "  STATION-1"}, {15, "a name"}, {1, "7"}}) {
        EXPECT_EQ(VecTabSetField(key, code, value), 0);
    }
    // Decimal expansions of the doubles next to the values given.
    const Strings expected = {"",
                              "25544",
                              "26060120000.000",
                              "6378.135000000000218",
                              "0.07436691613317340799",
                              "7000.500000000000000",
                              std::string(35, '*'),
                              "0.100000000000000",
                              "-0.000000000000000",
                              "NaN",
                              "Infinity",
                              "2",
                              "1",
                              "",
                              "STATION-",
                              "a name",
                              ""};
    for (std::size_t code = 0; code < expected.size(); ++code) {
        EXPECT_EQ(Field(key, static_cast<int32_t>(code)), Padded(expected[code], 512)) << code;
    }
    for (const auto& [given, frame] : {std::pair{" 3", "3"}, {"12", "1"}, {"x", "*"}, {"", "*"}}) {
        VecTabSetField(key, 11, given);
        EXPECT_EQ(Field(key, 11), Padded(frame, 512)) << given;
    }

    int32_t satNum = -1, coordSys = -1, numOfPts = -1;
    double epoch = -1.0, ae = -1.0, ke = -1.0;
    Vector pos{1, 1, 1}, vel{1, 1, 1};
    std::string satName(9, '#'), ephemName(129, '#'), filePath(513, '#');
    for (const int32_t status : {0, 2}) {
        EXPECT_EQ(VecTabGetAllFields(status == 0 ? key : 16, &satNum, satName.data(), ephemName.data(), &epoch, &ae,
                                     &ke, pos.data(), vel.data(), &coordSys, &numOfPts, filePath.data()),
                  status);
        EXPECT_EQ(satName, status == 0 ? "STATION-#" : Padded("", 8));
        EXPECT_EQ(ephemName, Padded(status == 0 ? "a name" : "", 128));
        EXPECT_EQ(filePath, Padded("", 512));
        EXPECT_EQ(epoch, status == 0 ? 27819.5 : 0.0);
    }
    EXPECT_EQ(ae + ke + pos[0] + vel[0] + satNum + coordSys + numOfPts, 0.0);
}

// Exact decimal expansions, cut and rounded by hand.
TEST_F(Fields, NumbersAreRightToTheLastDigit) {
    const std::pair<double, const char*> cases[] = {
        {0x1p-40, "0.000000000000909"},
        {0x1p-50, "0.000000000000001"},
        {1.0 / 3.0, "0.333333333333333"},
        {-2.5e-16, "-0.000000000000000"},
        {123456789012345678.0, "123456789012345680.000000000000000"},
        {1234567890123456789.0, "1234567890123456768.000000000000000"},
        {4.9e-324, "0.000000000000000"},
        {5e-16, "0.000000000000001"},  // its exact value lies above the half
        {12345678901234567890.0, "***********************************"}};
    int32_t satNum = 0;
    for (const auto& [value, expected] : cases) {
        const int64_t key = VecTabAddSat(++satNum, 1.0, value, 0.0, 1);
        Append(key, 2.0);
        EXPECT_EQ(Field(key, 3), Padded(expected, 512));
    }
}

// Denormals flushed, results rounded in any direction: the host's numbers may be worse for it, nothing else.
TEST_F(Fields, TheHostsFloatingPointStateDoesNoHarm) {
    for (const int rounding : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO, FE_TONEAREST}) {
        std::fesetround(rounding);
        _mm_setcsr(_mm_getcsr() | 0x8040U);
        for (const auto& entry : std::filesystem::directory_iterator(SAMPLES)) {
            VecTabLoadFile(entry.path().c_str());
            std::vector<int64_t> keys(static_cast<std::size_t>(VecTabGetCount()));
            VecTabGetLoaded(0, keys.data());
            State state;
            EXPECT_EQ(AskByIndex(keys.at(0), 1, state), 0);
            for (double m = 0.0; m < 40.0; m += 0.7) AskByMinutes(keys[0], m, state);
            EXPECT_EQ(Field(keys[0], 12).substr(9), std::string(503, ' ') + '#');
            VecTabRemoveAllSats();
        }
        std::fesetround(FE_TONEAREST);
        _mm_setcsr(_mm_getcsr() & ~0x8040U);
    }
}

TEST_F(Fields, ACommaInTheHostsLocaleChangesNothing) {
    const std::string build = "localedef --inputfile=de_DE --charmap=UTF-8 " + Write("comma", "") + "-locale";
    ASSERT_EQ(std::system(build.c_str()), 0);
    ::setenv("LOCPATH", folder.c_str(), 1);
    ASSERT_NE(std::setlocale(LC_ALL, "comma-locale"), nullptr);
    EXPECT_EQ(std::to_string(0.5), "0,500000");

    const std::string path = Write("10001.e",
                                   "stk.v.4\nScenarioEpoch 1 Jan 2025 12:00:00.500\nDistanceUnit Kilometers\n"
                                   "EphemerisTimePos\n0.25 7000.5 -1.5E0 .25\n");
    State state;
    const int64_t key = VecTabAddSatFrFile(path.c_str());
    AskByIndex(key, 1, state);
    const std::string text = Field(key, 5);
    std::setlocale(LC_ALL, "C");
    ::unsetenv("LOCPATH");
    EXPECT_EQ(state.pos, (Vector{7000.5, -1.5, 0.25}));
    EXPECT_EQ(text, Padded("7000.500000000000000", 512));
}
