#include "support/dates.h"

#include <vectable/host.h>

#include <cmath>
#include <erfa.h>
#include <random>
#include <utility>

#include "helpers/log_capture.h"
#include "helpers/tables.h"
#include "support/keys.h"
#include "support/time_scales.h"

using namespace VecTableSupport;

namespace {

// Days since 1950 of a calendar date and time, from the ERFA library: 1950-01-01 00:00 is Julian date 2433282.5. No
// cell is no date.
double Reference(const std::string& cell) {
    const std::vector<double> c = Numbers(cell);
    double base = 0.0, modified = 0.0;
    if (c.empty()) return 0.0;
    eraCal2jd(int(c[0]), int(c[1]), int(c[2]), &base, &modified);
    return modified - (2433281.5 - base) + (c[3] * 3600 + c[4] * 60 + c[5]) / 86400.0;
}

}  // namespace

TEST(Dates, TextsAreReadOrRefused) {
    for (const Row& row : ReadTable("dates.txt")) {
        EXPECT_DOUBLE_EQ(Dtg2Ds50UTC(" " + row[0] + "\t "), Reference(row[1])) << row[0];
        EXPECT_DOUBLE_EQ(DateStr2Ds50(row[0]), Reference(row[1])) << row[0];
        const bool columns = row[0].size() == 15 || (row[0].size() == 17 && row[0][13] == '.');
        EXPECT_DOUBLE_EQ(columns ? Date_In(row[0]) : Reference(row[1]), Reference(row[1])) << row[0];
        double time = NAN;
        EXPECT_EQ(VecHostTimeOfText((" " + row[0] + "\t ").c_str(), &time), row.back().empty() ? 2 : 0) << row[0];
        EXPECT_EQ(time, Reference(row.back())) << row[0];
    }
    for (const Row& row : ReadTable("epochs.txt")) {
        EXPECT_DOUBLE_EQ(EpochTextToDs50(row[0]), Reference(row[1])) << row[0];
    }
    for (const char* text : {"", "  060000000.000", "25   000000.000", "25060000000.00"}) EXPECT_EQ(Date_In(text), 0.0);
    for (const char* text : {"25060          ", "25060  0  0   0"})
        EXPECT_EQ(Date_In(text), Reference("2025 3 1 0 0 0"));
    EXPECT_DOUBLE_EQ(Date_In("25060123045500 "), Reference("2025 3 1 12 30 45.5"));  // three decimals are implied
}

TEST(Dates, EveryDayOfACenturyAgreesWithTheReferenceCalendar) {
    for (int day = 2558; day < 2558 + 36525; ++day) {
        int year = 0, month = 0, dayOfMonth = 0;
        double fraction = 0.0, clock = 0.0;
        ASSERT_EQ(eraJd2cal(2433281.5, day, &year, &month, &dayOfMonth, &fraction), 0);
        const std::int32_t dayOfYear = MmDd2Jul(year, month, dayOfMonth);
        ASSERT_DOUBLE_EQ(TComps2UTC(dayOfYear, 0, 0, 0.0, year), day);
        ClockA(dayOfYear, year, clock);
        ASSERT_DOUBLE_EQ(clock, day);
        const std::string date =
            std::to_string(100 + year % 100).substr(1) + std::to_string(1000 + dayOfYear).substr(1);
        ASSERT_EQ(Ds50ToDate15(day + 0.25).View(), date + "060000.000");
    }
}

// And the text and the number of one epoch give one key.
TEST(Dates, WhatIsWrittenIsReadBackToTheMillisecond) {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> times(2558.0, 39082.0);
    for (int i = 0; i < 20000; ++i) {
        const double time = times(random);
        const auto text = Ds50ToDate15(time);
        ASSERT_LE(std::fabs(Date_In(text.View()) - time) * 86400.0, 0.000501) << time;
        ASSERT_EQ(CreateSatKey(25544, 6, text.View()), CreateSatKey(25544, 6, Date_In(text.View()))) << time;
    }
}

TEST(TimeScales, OffsetsAreThoseOfTheReferenceTable) {
    double last = 10.0;
    int changes = 0;
    for (int day = 8036; day < 8036 + 365 * 54; ++day) {
        int year = 0, month = 0, dayOfMonth = 0;
        double fraction = 0.0, seconds = 0.0;
        ASSERT_EQ(eraJd2cal(2433281.5, day, &year, &month, &dayOfMonth, &fraction), 0);
        ASSERT_EQ(eraDat(year, month, dayOfMonth, 0.0, &seconds), 0);
        ASSERT_NEAR((Utc2Tai(day) - day) * 86400.0, seconds, 1e-6) << year << '-' << month << '-' << dayOfMonth;
        if (seconds == std::exchange(last, seconds)) continue;
        ++changes;
        ASSERT_NEAR((Utc2Tai(std::nextafter(day, 0.0)) - day) * 86400.0, seconds - 1.0, 1e-6) << day;
        for (const double t : {double(day), std::nextafter(day, 0.0), std::nextafter(day, 1e6), day + 1.0 / 86400.0}) {
            ASSERT_EQ(Tai2Utc(Utc2Tai(t)), t) << day;
        }
        ASSERT_TRUE(IsLeapSecond(day + 0.9 / 86400.0) && !IsLeapSecond(day - 0.5) && !IsLeapSecond(day + 1));
    }
    EXPECT_EQ(changes, 27);
    EXPECT_NEAR((Utc2Tai(1000.5) - 1000.5) * 86400.0, 10.0, 1e-7);
    EXPECT_EQ(Tai2Utc(Utc2Tai(1000.5)), 1000.5);
}

TEST(TimeScales, TheFirstTimeAfterTheTableIsTold) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // in a process that has told nothing
    const auto told = [](double seconds) {
        const LogCapture log;
        ToUtc(28125.0, seconds, TimeScale::kTai);  // 2027-01-01
        return static_cast<int>(log.entries.size());
    };
    EXPECT_EXIT(std::_Exit(100 * told(36.9) + 10 * told(37.1) + told(37.1)), testing::ExitedWithCode(10), "");
}

TEST(TimeScales, TheRoundTripAndDifferencesAreExact) {
    std::mt19937_64 random(11);
    std::uniform_real_distribution<double> times(1.0, 45000.0);
    for (int i = 0; i < 200000; ++i) {
        const double t = times(random);
        const double beforePower = std::exp2(std::ceil(std::log2(t))) - t;
        ASSERT_TRUE(Tai2Utc(Utc2Tai(t)) == t || beforePower * 86400.0 < 40.0) << t;
    }
    const double next = std::nextafter(27819.123456789, 30000.0);
    EXPECT_EQ(Minus(ToSplitTai(next), ToSplitTai(27819.123456789)), (next - 27819.123456789) * 86400.0);
    EXPECT_EQ(Minus(ToSplitTai(-0.25), ToSplitTai(0.25)), -43200.0);
}
