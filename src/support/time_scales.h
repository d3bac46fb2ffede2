// UTC and TAI as counts of days since 1950, and times split in two for exact differences.
#pragma once

#include <chrono>

#include "support/module.h"

namespace VecTableSupport {

inline constexpr double kSecondsPerDay = 86400.0;
inline constexpr double kMinutesPerDay = 1440.0;

enum class TimeScale { kUtc, kTai, kGps, kTt };

// The same instant on the other scale. Tai2Utc(Utc2Tai(t)) is t to the bit, except in the last seconds before a day
// count that is a power of two, where it may differ by one last bit. Before 1972 the offset of 1972 is used, after
// the table its last one. Within an inserted second UTC counts on into the next day.
inline double Utc2Tai(double ds50UTC) noexcept;
inline double Tai2Utc(double ds50TAI) noexcept;

// A change of the offset between the scales.
struct LeapSecond {
    double utc;     // days since 1950, UTC: the first day with this offset
    double offset;  // days, TAI - UTC
    double tai;     // days since 1950, TAI: the same instant
};

// Days since 1950 of a date's start.
constexpr double DayOf(int year, int month, int day) noexcept {
    const auto dayZero = std::chrono::sys_days{std::chrono::year{1949} / 12 / 31};
    return static_cast<double>((std::chrono::sys_days{std::chrono::year{year} / month / day} - dayZero).count());
}

constexpr LeapSecond LeapSecondFrom(int year, int month, int taiMinusUtc) noexcept {
    const double utc = DayOf(year, month, 1);
    const double offset = taiMinusUtc / kSecondsPerDay;
    return {utc, offset, utc + offset};
}

// The head of the table, which serves the times of today.
inline constexpr LeapSecond kLatestLeapSecond = LeapSecondFrom(2017, 1, 37);

// The same for times before the latest leap second.
VECTABLE_MODULE double EarlierUtc2Tai(double ds50UTC) noexcept;
VECTABLE_MODULE double EarlierTai2Utc(double ds50TAI) noexcept;

double Utc2Tai(double ds50UTC) noexcept {
    return ds50UTC >= kLatestLeapSecond.utc ? ds50UTC + kLatestLeapSecond.offset : EarlierUtc2Tai(ds50UTC);
}
double Tai2Utc(double ds50TAI) noexcept {
    return ds50TAI >= kLatestLeapSecond.tai ? ds50TAI - kLatestLeapSecond.offset : EarlierTai2Utc(ds50TAI);
}

// The time, UTC, of a day count and seconds of the day on a scale, to the nearest double. The first time that the table
// of leap seconds does not reach is told in the log, as information.
double ToUtc(double day, double seconds, TimeScale scale) noexcept;

// Whether a time in the first second of a day may stand for the leap second before that day.
bool IsLeapSecond(double ds50UTC) noexcept;

// A time as its whole day and the fraction of the day, so that the difference of two times keeps its full precision.
// `Days` is double, or a vector of them.
template <typename Days>
struct SplitTime {
    Days day;       // days, whole
    Days fraction;  // days, 0 to 1
};

// The interface fixes the name; times of both scales are split by it, those of a table as UTC.
// Rounds down in operations that every processor of the family has. Beyond 2^51 days `day` may be another whole number
// next to the time, which leaves the differences as they are.
template <typename Days>
SplitTime<Days> ToSplitTai(Days time) noexcept {
    constexpr double kOneIsTheLastBit = 0x1.8p52;
    const Days nearest = (time + kOneIsTheLastBit) - kOneIsTheLastBit;
    const Days day = nearest > time ? nearest - 1.0 : nearest;
    return {day, time - day};
}

// a - b in seconds.
template <typename Days>
Days Minus(const SplitTime<Days>& a, const SplitTime<Days>& b) noexcept {
    return ((a.day - b.day) + (a.fraction - b.fraction)) * kSecondsPerDay;
}

}  // namespace VecTableSupport
