#include "support/time_scales.h"

#include <chrono>

namespace VecTableSupport {
namespace {

struct LeapSecond {
    double utc;     // days since 1950, UTC: the first day with this offset
    double offset;  // days, TAI - UTC
    double tai;     // days since 1950, TAI: the same instant
};

constexpr LeapSecond From(int year, int month, int taiMinusUtc) {
    const auto dayZero = std::chrono::sys_days{std::chrono::year{1949} / 12 / 31};
    const auto day = std::chrono::sys_days{std::chrono::year{year} / month / 1} - dayZero;
    const auto utc = static_cast<double>(day.count());
    const double offset = taiMinusUtc / kSecondsPerDay;
    return {utc, offset, utc + offset};
}

// TAI - UTC in seconds, from the bulletins C of the International Earth Rotation and Reference Systems Service. No
// further leap second has been announced up to the end of 2026.
constexpr LeapSecond kLeapSeconds[] = {
    From(2017, 1, 37), From(2015, 7, 36), From(2012, 7, 35), From(2009, 1, 34), From(2006, 1, 33), From(1999, 1, 32),
    From(1997, 7, 31), From(1996, 1, 30), From(1994, 7, 29), From(1993, 7, 28), From(1992, 7, 27), From(1991, 1, 26),
    From(1990, 1, 25), From(1988, 1, 24), From(1985, 7, 23), From(1983, 7, 22), From(1982, 7, 21), From(1981, 7, 20),
    From(1980, 1, 19), From(1979, 1, 18), From(1978, 1, 17), From(1977, 1, 16), From(1976, 1, 15), From(1975, 1, 14),
    From(1974, 1, 13), From(1973, 1, 12), From(1972, 7, 11), From(1972, 1, 10)};

constexpr double kFirstOffset = std::end(kLeapSeconds)[-1].offset;

}  // namespace

double Utc2Tai(double ds50UTC) noexcept {
    for (const LeapSecond& leap : kLeapSeconds) {
        if (ds50UTC >= leap.utc) return ds50UTC + leap.offset;
    }
    return ds50UTC + kFirstOffset;
}

double Tai2Utc(double ds50TAI) noexcept {
    for (const LeapSecond& leap : kLeapSeconds) {
        if (ds50TAI >= leap.tai) return ds50TAI - leap.offset;
    }
    return ds50TAI - kFirstOffset;
}

}  // namespace VecTableSupport
