#include "support/time_scales.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <iterator>

#include "support/text.h"
#include "support/trace_log.h"

namespace VecTableSupport {
namespace {

struct CalendarDay {
    int year;
    int month;
    int day;
};

// TAI - UTC in seconds, from the bulletins C of the International Earth Rotation and Reference Systems Service (IERS),
// which come out every January and July and tell six months in advance: when the table was last compared with them, and
// the last day that they reach. To bring it up to date, enter a new line at the head, in kLatestLeapSecond, move the
// old head here, and change these two days. A test compares the table with another library's as far as that one goes.
constexpr CalendarDay kComparedOn{2026, 11, 23};
constexpr CalendarDay kHoldsThrough{2026, 12, 31};

constexpr LeapSecond kLeapSeconds[] = {
    kLatestLeapSecond,           LeapSecondFrom(2015, 7, 36), LeapSecondFrom(2012, 7, 35), LeapSecondFrom(2009, 1, 34),
    LeapSecondFrom(2006, 1, 33), LeapSecondFrom(1999, 1, 32), LeapSecondFrom(1997, 7, 31), LeapSecondFrom(1996, 1, 30),
    LeapSecondFrom(1994, 7, 29), LeapSecondFrom(1993, 7, 28), LeapSecondFrom(1992, 7, 27), LeapSecondFrom(1991, 1, 26),
    LeapSecondFrom(1990, 1, 25), LeapSecondFrom(1988, 1, 24), LeapSecondFrom(1985, 7, 23), LeapSecondFrom(1983, 7, 22),
    LeapSecondFrom(1982, 7, 21), LeapSecondFrom(1981, 7, 20), LeapSecondFrom(1980, 1, 19), LeapSecondFrom(1979, 1, 18),
    LeapSecondFrom(1978, 1, 17), LeapSecondFrom(1977, 1, 16), LeapSecondFrom(1976, 1, 15), LeapSecondFrom(1975, 1, 14),
    LeapSecondFrom(1974, 1, 13), LeapSecondFrom(1973, 1, 12), LeapSecondFrom(1972, 7, 11), LeapSecondFrom(1972, 1, 10)};

constexpr double kFirstOffset = std::end(kLeapSeconds)[-1].offset;

constexpr double kDoubtful = DayOf(kHoldsThrough.year, kHoldsThrough.month, kHoldsThrough.day) + 1;

void AddDay(TextBuilder<192>& text, const CalendarDay& day) noexcept {
    text.AddDigits(day.year, 4).Add("-").AddDigits(day.month, 2).Add("-").AddDigits(day.day, 2);
}

// Once a process, when somebody listens.
void TellOfDoubt() noexcept {
    static constinit std::atomic<bool> told{false};
    if (!TraceIsWanted(kTraceInfo) || told.exchange(true)) return;  // whoever comes first tells it
    TextBuilder<192> text;
    text.Add("Leap seconds: the table was compared on ");
    AddDay(text, kComparedOn);
    text.Add(" and holds through ");
    AddDay(text, kHoldsThrough);
    text.Add(". Times after that, converted from another scale, may be off by a second.");
    TraceLogInfo(text.Written());
}

// TAI less the scale, seconds.
constexpr double TaiLess(TimeScale scale) noexcept {
    switch (scale) {
        case TimeScale::kGps:
            return 19.0;
        case TimeScale::kTt:
            return -32.184;
        default:
            return 0.0;
    }
}

}  // namespace

double EarlierUtc2Tai(double ds50UTC) noexcept {
    for (const LeapSecond& leap : kLeapSeconds) {
        if (ds50UTC >= leap.utc) return ds50UTC + leap.offset;
    }
    return ds50UTC + kFirstOffset;
}

double EarlierTai2Utc(double ds50TAI) noexcept {
    for (const LeapSecond& leap : kLeapSeconds) {
        if (ds50TAI >= leap.tai) return ds50TAI - leap.offset;
    }
    return ds50TAI - kFirstOffset;
}

double ToUtc(double day, double seconds, TimeScale scale) noexcept {
    const double secondsTai = seconds + TaiLess(scale);
    const double tai = day + secondsTai / kSecondsPerDay;
    const double utc = Tai2Utc(tai);
    if (utc >= kDoubtful) TellOfDoubt();
    const double taiLessUtc = std::round((tai - utc) * kSecondsPerDay);
    return day + (secondsTai - taiLessUtc) / kSecondsPerDay;
}

bool IsLeapSecond(double ds50UTC) noexcept {
    const double day = std::floor(ds50UTC);
    const auto* const atTheScalesStart = std::end(kLeapSeconds) - 1;
    return std::any_of(std::begin(kLeapSeconds), atTheScalesStart,
                       [&](const LeapSecond& leap) { return leap.utc == day; });
}

}  // namespace VecTableSupport
