// UTC and TAI as counts of days since 1950, and times split in two for exact differences.
#pragma once

#include "support/dates.h"

namespace VecTableSupport {

// The same instant on the other scale. Tai2Utc(Utc2Tai(t)) is t to the bit, except in the last seconds ahead of a day
// count that is a power of two, where it may differ by one last bit. Ahead of 1972 the offset of 1972 is used, behind
// the table its last one. Within an inserted second UTC counts on into the next day.
double Utc2Tai(double ds50UTC) noexcept;
double Tai2Utc(double ds50TAI) noexcept;

// A time as its whole day and the fraction of the day, so that the difference of two times keeps its full precision.
// `Days` is double, or a vector of them.
template <typename Days>
struct SplitTime {
    Days day;       // days, whole
    Days fraction;  // days, 0 to 1
};

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
