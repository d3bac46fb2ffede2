#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>

#include "helpers/store_test.h"

class DotE : public StoreTest {
  protected:
    // Loads a file of this content; the number of points of its record, or -1 when nothing was stored.
    int32_t Load(const std::string& text, const std::string& name = "20001.e") {
        VecTabRemoveAllSats();
        log.entries.clear();
        status = VecTabLoadFile(Write(name, text).c_str());
        if (VecTabGetCount() != 1) return -1;
        VecTabGetLoaded(2, &key);
        int32_t numOfPts = 0;
        char satName[8], ephemName[128], filePath[512];
        double ae, ke;
        VecTabGetAllFields(key, &satNum, satName, ephemName, &epoch, &ae, &ke, first.pos.data(), first.vel.data(),
                           &coordSys, &numOfPts, filePath);
        return numOfPts;
    }

    static std::string File(const std::string& header, const std::string& data = "0 1 2 3 4 5 6\n") {
        return "stk.v.4\nScenarioEpoch 1 Jan 2025 00:00:00.000\n" + header + "\nEphemerisTimePosVel\n" + data;
    }

    int32_t status = -1;
    int64_t key = 0;
    int32_t satNum = 0;
    int32_t coordSys = 0;
    double epoch = 0.0;
    State first;
};

TEST_F(DotE, HeaderItemsComeInAnyOrderAndCase) {
    struct {
        std::string header;
        int32_t coordSys;
        double x;  // of the first point, km
    } const cases[] = {
        {"", 2, 0.001},
        {"DistanceUnit Kilometers", 2, 1.0},
        {"DistanceUnit\t\tMeters", 2, 0.001},
        {"CoordinateSystem J2000\r\nDistanceUnit Kilometers\r", 2, 1.0},
        {"CoordinateSystem Fixed", 4, 0.001},
        {"CoordinateSystem ICRF", 2, 0.001},
        {"CoordinateSystem TEMEOfDate", 1, 0.001},
        {"CoordinateSystem Fixed TEMEOfDate", 1, 0.001},
        {"CoordinateSystem Fixed\nCoordinateSystem J2000", 4, 0.001},
        {"* CoordinateSystem Fixed", 4, 0.001},
        {"coordinatesystem fixed\ndistanceunit kilometers", 2, 0.001},
        {"ScenarioEpoch 2 Feb 2031 00:00:00.000", 2, 0.001},  // the first one counts
        {"CentralBody Earth\nInterpolationMethod Lagrange\n\n#\n", 2, 0.001},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Load(File(c.header)), 1) << c.header;
        EXPECT_EQ(coordSys, c.coordSys) << c.header;
        EXPECT_DOUBLE_EQ(first.pos[0], c.x) << c.header;
        EXPECT_EQ(epoch, 27395.0) << c.header;
        EXPECT_TRUE(log.Take().empty()) << c.header;
    }
}

TEST_F(DotE, FaultyHeadersFailTheFile) {
    const std::string epochLine = "ScenarioEpoch 1 Jan 2025 00:00:00.000\n";
    const std::pair<std::string, std::string> cases[] = {
        {"ScenarioEpoch unknown\n", "Invalid epoch time."},
        {epochLine + "CentralBody Moon\n", "Invalid file. CentralBody is not Earth."},
        {epochLine + "CoordinateSystem TrueOfDate\n",
         "Invalid coordinate system. Only Fixed, J2000, and TEMEOfDate are supported."},
        {epochLine + "CoordinateSystemEpoch 1 Jan 2025\n",
         "Invalid coordinate system. Only Fixed, J2000, and TEMEOfDate are supported."},
        {epochLine + "DistanceUnit NauticalMiles\n",
         "Invalid distance unit. Only meters and kilometers are supported."},
        {epochLine + "EphemerisTimeQuaternions\n",
         "Invalid ephem type. Only TimePos, PosVel, and PosVelAcc are supported."},
        {"ScenarioEpoch 1 Jam 2025 00:00:00.000\nEphemerisTimePos\n", "Unable to read reference epoch time."},
        {"EphemerisTimePos\n0 1 2 3\n", "Unable to read reference epoch time."},
        {"", "Unable to read reference epoch time."},
    };
    for (const auto& [header, words] : cases) {
        EXPECT_EQ(Load("stk.v.4\n" + header), -1) << header;
        EXPECT_EQ(status, 2);
        EXPECT_EQ(log.Take(), Strings{"*** ReadDotE: " + words + " ***"}) << header;
    }
    EXPECT_EQ(Load("stk.v.4\n" + epochLine), -1);
    EXPECT_EQ(status, 2);
    EXPECT_EQ(log.Take(), Strings{"ReadOnlyVecTabs: Input ephemeris does not contain any ephemeris data. It will not "
                                  "be stored."});
}

TEST_F(DotE, DataLinesAreReadByTheKindOfTheData) {
    const std::string head = "stk.v.4\nScenarioEpoch 1 Jan 2025 00:00:00.000\nDistanceUnit Kilometers\n";
    EXPECT_EQ(Load(head + "EphemerisTimePos\n60 1 2 3 4 5 6\n120 1 2 3"), 2);
    EXPECT_EQ(epoch, 27395.0 + 60.0 / 86400.0);
    EXPECT_EQ(first.vel, Vector{});
    EXPECT_EQ(Load(head + "EphemerisEciTimePosVel\n0 1 2 3 4 5 6"), 1);
    EXPECT_EQ(first.vel, (Vector{4, 5, 6}));
    EXPECT_EQ(Load(head + "EphemerisTimePosVel\n0 1 2 3 4 5 6\nDistanceUnit Meters\nEND Ephemeris\n"), 1);
    EXPECT_EQ(log.Take().size(), 4U);
    EXPECT_EQ(Load(head + "EphemerisTimePosVel\n0 1 2 3 4 5 6\n60 1 2 3 4 5 6 x end Ephemeris\n120 1 2 3 4 5 6\n"), 1);
    EXPECT_EQ(Load(head + "EphemerisTimePosVel\n100 1 2 3 4 5 6\n50 1 2 3 4 5 6\n58622401 1 2 3 4 5 6\n"), 2);
}

TEST_F(DotE, TheSatelliteIsTheHeadOfTheFilesName) {
    const std::pair<std::string, int32_t> cases[] = {
        {"12345.e", 12345}, {"12345678.e", 12345}, {"1234.e", 99999}, {"abc12.e", 99999},
        {"12 45 x", 1245},  {"-1234.e", -1234},    {"12345", 12345},  {"x\\54321.e", 54321},
    };
    for (const auto& [name, expected] : cases) {
        EXPECT_EQ(Load(File(""), name), 1);
        EXPECT_EQ(satNum, expected) << name;
    }
}

TEST_F(DotE, AFurtherEphemerisFollowsTheEndMark) {
    const std::string text = File("", "0 1 2 3 4 5 6\nend Ephemeris\n") + "words between\n" +
                             File("", "3600 1 2 3 4 5 6\n7200 1 2 3 4 5 6\nend Ephemeris\n");
    EXPECT_EQ(Load(text), -1);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(VecTabGetCount(), 2);
    for (const char* epochText : {"25001000000.000", "25001010000.000"}) {
        EXPECT_EQ(AskByIndex(VecTabFieldsToSatKey(20001, epochText), 1, first), 0) << epochText;
    }
    EXPECT_EQ(log.Take(VEC_HOST_TRACE_INFO).back(),
              "Total ephemeris points = 2, Start = 25001010000.000, End = 25001020000.000, Coord = J2K");
}
