// Times as people write and read them. A time is a number of days since 1950, UTC.
#pragma once

#include <vectable/vectable.h>

#include <optional>
#include <string>
#include <string_view>

namespace Vectab {

inline constexpr double kSecondsPerDay = 86400.0;
inline constexpr double kHoursPerDay = 24.0;
inline constexpr double kLongestStep = VEC_TAB_GAP_MINUTES * 60.0;  // s; no longer mean step is interpolated over

// A time as given on the command line.
struct TimeRequest {
    enum class Kind { kStart, kEnd, kDate };
    Kind kind;
    double ds50UTC;  // of a date

    double Within(double start, double end) const noexcept;
};

// "start", "end", a number of days, or a date as VecHostTimeOfText reads it.
std::optional<TimeRequest> ParseTime(std::string_view text);

// As VecHostTimeOfText reads it; none when it is no date.
std::optional<double> ReadDate(const std::string& text) noexcept;

double Now() noexcept;

// Whether the calendar reaches a time: years 1 to 9999.
bool IsInCalendar(double ds50UTC) noexcept;

// "2026-03-01 00:00:00.000", the number of days where the calendar does not reach. `separator` stands after the date.
std::string FormatUtc(double ds50UTC, char separator, int decimals);

}  // namespace Vectab
