#include "support/dates.h"

#include <cmath>
#include <erfa.h>
#include <gtest/gtest.h>
#include <random>
#include <string>

#include "support/time_scales.h"

using namespace VecTableSupport;

namespace {

// Days since 1950 of a calendar date and time, from the ERFA library: 1950-01-01 00:00 is Julian date 2433282.5.
double Reference(int year, int month, int day, int hour, int minute, double seconds) {
    double base = 0.0;
    double modified = 0.0;
    EXPECT_EQ(eraCal2jd(year, month, day, &base, &modified), 0);
    return modified - (2433281.5 - base) + (hour * 3600 + minute * 60 + seconds) / 86400.0;
}

struct DateCase {
    const char* text;
    double expected;  // 0.0: no date
};

}  // namespace

TEST(Dates, FixedColumnsAreReadByTheRulesOfFixedFields) {
    const double midnight = Reference(2025, 3, 1, 0, 0, 0.0);
    const DateCase cases[] = {
        {"25060000000.000", midnight},
        {"25060  0  0   0", midnight},
        {"25 60 0 0 0.000", midnight},
        {"25060          ", midnight},
        {"25060123045.500", Reference(2025, 3, 1, 12, 30, 45.5)},
        {"25060123045500 ", Reference(2025, 3, 1, 12, 30, 45.5)},  // three decimals without a point
        {"57001000000.000", Reference(1957, 1, 1, 0, 0, 0.0)},
        {"56366000000.000", Reference(2056, 12, 31, 0, 0, 0.0)},
        {"16366235960.500", Reference(2016, 12, 31, 23, 59, 60.5)},
        {"2025060123045.500", Reference(2025, 3, 1, 12, 30, 45.5)},
        {"1950001000000.000", 1.0},
        {"25366000000.000", 0.0},
        {"25000000000.000", 0.0},
        {"25060240000.000", 0.0},
        {"25060006000.000", 0.0},
        {"25060000060.000", 0.0},
        {"25060235961.000", 0.0},
        {"25060-10000.000", 0.0},
        {"  060000000.000", 0.0},
        {"25   000000.000", 0.0},
        {"ZZZZZZZZZZZZZZZ", 0.0},
        {"25060000000.00", 0.0},
        {"1949365000000.000", 0.0},
        {"25060000000.nan", 0.0},
    };
    for (const DateCase& c : cases) EXPECT_DOUBLE_EQ(Date_In(c.text), c.expected) << '"' << c.text << '"';
}

TEST(Dates, DateTimeTextsOfRealFilesAreRead) {
    const double afternoon = Reference(2025, 3, 1, 13, 5, 6.25);
    const DateCase cases[] = {
        {"2025/03/01 13:05:06.25", afternoon},
        {"2025-03-01T13:05:06.25Z", afternoon},
        {"2025/060 13:05:06.25   ", afternoon},
        {"2025-060T13:05:06.25", afternoon},
        {"2025 060\t13:05:06.250000", afternoon},
        {"01 Mar 2025 13:05:06.25", afternoon},
        {" 1 mar 2025  13:05:06.25", afternoon},
        {"25060130506.250", afternoon},
        {"2025060130506.250", afternoon},
        {"2025/03/01 13:05", Reference(2025, 3, 1, 13, 5, 0.0)},
        {"15 Oct 2006 23:59: 47.00", Reference(2006, 10, 15, 23, 59, 47.0)},
        {"15 Oct 2006  7: 6:40.136", Reference(2006, 10, 15, 7, 6, 40.136)},
        {"15 Oct 2006 19: 0: 0.000", Reference(2006, 10, 15, 19, 0, 0.0)},
        {"29 Feb 2024 00:00:00", Reference(2024, 2, 29, 0, 0, 0.0)},
        {"29 Feb 2025 00:00:00", 0.0},
        {"31 Apr 2025 00:00:00", 0.0},
        {"1 Mai 2025 00:00:00", 0.0},
        {"2025/13/01 00:00:00", 0.0},
        {"2025/03-01 00:00:00", 0.0},
        {"2025/03/01", 0.0},
        {"2025/03/01 13", 0.0},
        {"2025/03/0113:05:06", 0.0},
        {"2025/03/01 13:05:06 x", 0.0},
        {"2025/03/01 13:05:1e1", 0.0},
        {"25/03/01 13:05:06", 0.0},
        {"", 0.0},
        {"   \t ", 0.0},
        {"99999999999999999999 1", 0.0},
    };
    for (const DateCase& c : cases) {
        EXPECT_DOUBLE_EQ(Dtg2Ds50UTC(c.text), c.expected) << '"' << c.text << '"';
        EXPECT_DOUBLE_EQ(DateStr2Ds50(c.text), c.expected) << '"' << c.text << '"';
    }
}

TEST(Dates, EpochTextsOfKeysAreToldApartByTheirPoint) {
    const double afternoon = Reference(2025, 3, 1, 13, 5, 6.25);
    const DateCase cases[] = {
        {"25060130506.25", afternoon},
        {"25060130506.2500000", afternoon},
        {"2025060130506.250000", afternoon},
        {"25060130506250000000", afternoon},
        {"25060.50000000000000", Reference(2025, 3, 1, 12, 0, 0.0)},
        {"25366.00000000000000", 0.0},
        {"250.6", 0.0},
        {"000000000000000000", 0.0},
    };
    for (const DateCase& c : cases) EXPECT_DOUBLE_EQ(EpochTextToDs50(c.text), c.expected) << '"' << c.text << '"';
}

TEST(Dates, EveryDayOfACenturyAgreesWithTheReferenceCalendar) {
    for (int day = 2558; day < 2558 + 36525; ++day) {
        int year = 0, month = 0, dayOfMonth = 0;
        double fraction = 0.0;
        ASSERT_EQ(eraJd2cal(2433281.5, day, &year, &month, &dayOfMonth, &fraction), 0);
        const std::int32_t dayOfYear = MmDd2Jul(year, month, dayOfMonth);
        ASSERT_DOUBLE_EQ(TComps2UTC(dayOfYear, 0, 0, 0.0, year), day);
        double clock = 0.0;
        ClockA(dayOfYear, year, clock);
        ASSERT_DOUBLE_EQ(clock, day);
        const std::string yearAndDay =
            std::to_string(100 + year % 100).substr(1) + std::to_string(1000 + dayOfYear).substr(1);
        ASSERT_EQ(Ds50ToDate15(day + 0.25).View(), yearAndDay + "060000.000");
    }
}

TEST(Dates, WhatIsWrittenIsReadBackToTheMillisecond) {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> times(2558.0, 39082.0);
    for (int i = 0; i < 20000; ++i) {
        const double time = times(random);
        const double back = Date_In(Ds50ToDate15(time).View());
        ASSERT_LE(std::fabs(back - time) * 86400.0, 0.000501) << time;
    }
    EXPECT_EQ(Ds50ToDate15(Reference(2025, 12, 31, 23, 59, 59.9996)).View(), "26001000000.000");
    for (const double outside : {0.0, -1.0, 2557.999, 39083.0, 1e300, double(NAN), double(INFINITY)}) {
        EXPECT_EQ(Ds50ToDate15(outside).View(), "***************") << outside;
    }
}

TEST(Dates, ImpossibleComponentsMakeNoDate) {
    EXPECT_EQ(MmDd2Jul(2025, 13, 1), 0);
    EXPECT_EQ(MmDd2Jul(2025, 2, 29), 0);
    EXPECT_EQ(MmDd2Jul(INT32_MAX, 1, 1), 0);
    EXPECT_EQ(TComps2UTC(1, -1, 0, 0.0, 2025), 0.0);
    EXPECT_EQ(TComps2UTC(1, 0, 0, NAN, 2025), 0.0);
    double clock = -1.0;
    ClockA(NAN, 2025, clock);
    EXPECT_EQ(clock, 0.0);
}

TEST(TimeScales, OffsetsAreThoseOfTheReferenceTable) {
    for (int day = 8036; day < 8036 + 365 * 50; ++day) {
        int year = 0, month = 0, dayOfMonth = 0;
        double fraction = 0.0, seconds = 0.0;
        ASSERT_EQ(eraJd2cal(2433281.5, day, &year, &month, &dayOfMonth, &fraction), 0);
        ASSERT_EQ(eraDat(year, month, dayOfMonth, 0.0, &seconds), 0);
        ASSERT_NEAR((Utc2Tai(day) - day) * 86400.0, seconds, 1e-6) << year << '-' << month << '-' << dayOfMonth;
    }
    EXPECT_NEAR((Utc2Tai(1000.5) - 1000.5) * 86400.0, 10.0, 1e-7);
}

TEST(TimeScales, TheRoundTripIsExact) {
    std::mt19937_64 random(11);
    std::uniform_real_distribution<double> times(1.0, 45000.0);
    for (int i = 0; i < 200000; ++i) {
        const double t = times(random);
        const double beforePower = std::exp2(std::ceil(std::log2(t))) - t;
        if (beforePower * 86400.0 < 40.0) continue;
        ASSERT_EQ(Tai2Utc(Utc2Tai(t)), t);
    }
    const double insertedSecond = TComps2UTC(366, 23, 59, 60.5, 2016);
    EXPECT_EQ(Tai2Utc(Utc2Tai(insertedSecond)), insertedSecond);
}

TEST(TimeScales, DifferencesOfSplitTimesAreExact) {
    const double t = 27819.123456789;
    const double next = std::nextafter(t, 30000.0);
    EXPECT_EQ(Minus(ToSplitTai(next), ToSplitTai(t)), (next - t) * 86400.0);
    EXPECT_EQ(Minus(ToSplitTai(-0.25), ToSplitTai(0.25)), -43200.0);
    EXPECT_EQ(Minus(ToSplitTai(27820.0), ToSplitTai(27819.5)), 43200.0);
}
