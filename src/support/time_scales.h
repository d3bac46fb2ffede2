// UTC and TAI as counts of days since 1950, and times split in two for exact differences.
#pragma once

#include <cmath>

#include "support/dates.h"

namespace VecTableSupport {

// The same instant on the other scale. Tai2Utc(Utc2Tai(t)) is t to the bit, except in the last seconds ahead of a day
// count that is a power of two, where it may differ by one last bit. Ahead of 1972 the offset of 1972 is used, behind
// the table its last one. Within an inserted second UTC counts on into the next day.
double Utc2Tai(double ds50UTC) noexcept;
double Tai2Utc(double ds50TAI) noexcept;

// A time as its whole day and the fraction of the day, so that the difference of two times keeps its full precision.
struct SplitTime {
    double day;       // days, whole
    double fraction;  // days, 0 to 1
};

inline SplitTime ToSplitTai(double time) noexcept {
    const double day = std::floor(time);
    return {day, time - day};
}

// a - b in seconds.
inline double Minus(SplitTime a, SplitTime b) noexcept {
    return ((a.day - b.day) + (a.fraction - b.fraction)) * kSecondsPerDay;
}

}  // namespace VecTableSupport
