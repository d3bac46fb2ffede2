// Calendar dates and date texts. A time is a count of days on the UTC scale: day 1.0 is 1950-01-01 00:00, and the
// fraction of a day is the seconds of the day over 86400. A result of 0.0 says that a text, or its parts, are no date;
// dates before 1950 are none.
#pragma once

#include <cstdint>
#include <string_view>

#include "support/fixed_text.h"
#include "support/time_scales.h"

namespace VecTableSupport {

// A year of 0 to 99 as two digits of year mean it, 1957 to 2056; any other as it is.
std::int32_t FullYear(std::int32_t year) noexcept;

// Columns "YYDDDHHMMSS.SSS" (length 15) or "YYYYDDDHHMMSS.SSS" (length 17), fixed fields. Year and day of the year need
// digits; blank hours, minutes and seconds are 0. A year of two digits as FullYear.
double Date_In(std::string_view text) noexcept;

// A date-time text, blanks around it ignored: "YYYY/MM/DD", "YYYY-MM-DD", "YYYY/DDD", "YYYY-DDD", "YYYY DDD" or
// "DD Mon YYYY"; blanks or a "T"; "HH:MM:SS[.f]" or "HH:MM"; optionally a "Z". Or one of the two forms of Date_In.
// Tabs count as blanks. Month, day, hours, minutes and whole seconds have one or two digits, and blanks may pad them;
// year and day of the year have all of theirs.
// The interface has two names for it.
double Dtg2Ds50UTC(std::string_view text) noexcept;
double DateStr2Ds50(std::string_view text) noexcept;

// The time, UTC, of a text that is in no format's field: a day without a time of day is its start, and a second 60
// needs a leap second of the table, and so UTC.
double TimeOfText(std::string_view text, TimeScale scale = TimeScale::kUtc) noexcept;

// The epoch text of a key: "YYDDDHHMMSS.SSS...", "YYYYDDDHHMMSS.SSS..." or "YYDDD.DDDDDDDD...", told apart by where the
// point stands; without a point "YYDDDHHMMSS" and the digits of the fraction.
double EpochTextToDs50(std::string_view text) noexcept;

// "YYDDDHHMMSS.SSS", rounded to the millisecond; asterisks for a time outside 1957 to 2056, which two digits of year
// cannot tell.
FixedText<15> Ds50ToDate15(double ds50UTC) noexcept;

// The day of the year, from 1; 0 when there is no such date.
std::int32_t MmDd2Jul(std::int32_t year, std::int32_t month, std::int32_t day) noexcept;

struct CalendarDate {
    std::int32_t year = 0;
    std::int32_t month = 0;
    std::int32_t day = 0;
};

// The local calendar date of the computer's clock.
CalendarDate ClockDate() noexcept;

// For tests: the clock that ClockDate asks from now on; null for the computer's own.
void SetClock(CalendarDate (*clock)() noexcept) noexcept;

// The time at the start of a day of a year, its fraction counted on.
void ClockA(double dayOfYear, std::int32_t year, double& ds50UTC) noexcept;

double TComps2UTC(std::int32_t dayOfYear, std::int32_t hour, std::int32_t minute, double seconds,
                  std::int32_t year) noexcept;

}  // namespace VecTableSupport
