#include "support/dates.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <ctime>

#include "support/finite.h"
#include "support/number_fields.h"
#include "support/text.h"

namespace VecTableSupport {
namespace {

constexpr std::chrono::sys_days kDayZero = std::chrono::sys_days{std::chrono::year{1949} / 12 / 31};
constexpr std::int32_t kFirstYear = 1950;
constexpr std::int32_t kLastYear = 9999;
constexpr std::int32_t kFirstTwoDigitYear = 1957;
constexpr std::int32_t kMillisecondsPerDay = 86400000;

std::int32_t DaysInYear(std::int32_t year) noexcept {
    return std::chrono::year{year}.is_leap() ? 366 : 365;
}

std::int32_t StartOfYear(std::int32_t year) noexcept {
    return static_cast<std::int32_t>((std::chrono::sys_days{std::chrono::year{year} / 1 / 1} - kDayZero).count());
}

bool IsDayOfYear(std::int32_t year, std::int32_t dayOfYear) noexcept {
    return year >= kFirstYear && year <= kLastYear && dayOfYear >= 1 && dayOfYear <= DaysInYear(year);
}

// Letters and digits from left to right, blanks and tabs skipped where they may pad.
class DateScanner {
  public:
    explicit DateScanner(std::string_view text) noexcept : rest_(text) {}

    bool AtEnd() const noexcept { return rest_.empty(); }

    bool SkipBlanks() noexcept {
        const auto length = rest_.size();
        while (!rest_.empty() && IsBlankOrTab(rest_.front())) rest_.remove_prefix(1);
        return rest_.size() < length;
    }

    // Takes one of the given characters; 0 when the next one is none of them.
    char Take(std::string_view anyOf) noexcept {
        if (rest_.empty()) return '\0';
        const char taken = rest_.front();
        if (std::none_of(anyOf.begin(), anyOf.end(), [&](char c) { return c == taken; })) return '\0';
        rest_.remove_prefix(1);
        return taken;
    }

    // A whole number of so many digits, padded by blanks before it; -1 when there is none.
    std::int32_t TakeDigits(std::size_t fewest, std::size_t most) noexcept {
        SkipBlanks();
        std::int32_t value = 0;
        std::size_t digits = 0;
        for (; digits <= most && digits < rest_.size() && IsDigit(rest_[digits]); ++digits) {
            value = value * 10 + (rest_[digits] - '0');
        }
        if (digits < fewest || digits > most) return -1;
        rest_.remove_prefix(digits);
        return value;
    }

    std::int32_t TakeYear() noexcept { return TakeDigits(4, 4); }
    std::int32_t TakeDayOfYear() noexcept { return TakeDigits(3, 3); }
    std::int32_t TakeInteger() noexcept { return TakeDigits(1, 2); }

    // The month of an English name of three letters, in any letter case; -1 when there is none.
    std::int32_t TakeMonthName() noexcept {
        constexpr std::string_view kNames = "JANFEBMARAPRMAYJUNJULAUGSEPOCTNOVDEC";
        const auto name = ToUpperCase(FixedText<3>(rest_));
        for (std::size_t month = 0; month < 12; ++month) {
            if (kNames.substr(month * 3, 3) != name.View()) continue;
            rest_.remove_prefix(3);
            return static_cast<std::int32_t>(month) + 1;
        }
        return -1;
    }

    // Whole seconds and a fraction, padded by blanks before it; -1.0 when there are none.
    double TakeSeconds() noexcept {
        SkipBlanks();
        const auto* const next =
            std::find_if(rest_.begin(), rest_.end(), [](char c) { return !IsDigit(c) && c != '.'; });
        const std::string_view digits(rest_.begin(), next);
        const std::size_t whole = std::min(digits.find('.'), digits.size());
        double seconds = -1.0;
        if (digits.empty() || whole > 2 || ReadRealField(digits, 0, seconds) != ReadStatus::kOk) return -1.0;
        rest_.remove_prefix(digits.size());
        return seconds;
    }

  private:
    std::string_view rest_;
};

struct CalendarDay {
    std::int32_t year = 0;
    std::int32_t dayOfYear = 0;
};

// What stands in a date text. Without a time of day that fits, the minute is -1: such a text is no date.
struct DateParts {
    CalendarDay day;
    std::int32_t hour = 0;
    std::int32_t minute = -1;
    double seconds = 0.0;
    bool dayOnly = false;
};

double ToDs50(const DateParts& parts) noexcept {
    return TComps2UTC(parts.day.dayOfYear, parts.hour, parts.minute, parts.seconds, parts.day.year);
}

// "YYYY/MM/DD", "YYYY/DDD", either with dashes, or "YYYY DDD".
CalendarDay TakeYearFirst(DateScanner& scanner) noexcept {
    const std::int32_t year = scanner.TakeYear();
    const char mark = scanner.Take("/-");
    const std::int32_t dayOfYear = scanner.TakeDayOfYear();
    if (dayOfYear >= 0 || mark == '\0') return {year, dayOfYear};
    const std::int32_t month = scanner.TakeInteger();
    if (scanner.Take({&mark, 1}) == '\0') return {};
    return {year, MmDd2Jul(year, month, scanner.TakeInteger())};
}

// "DD Mon YYYY".
CalendarDay TakeDayFirst(DateScanner& scanner) noexcept {
    const std::int32_t day = scanner.TakeInteger();
    const bool blanksBefore = scanner.SkipBlanks();
    const std::int32_t month = scanner.TakeMonthName();
    const bool blanksAfter = scanner.SkipBlanks();
    const std::int32_t year = scanner.TakeYear();
    if (!blanksBefore || !blanksAfter) return {};
    return {year, MmDd2Jul(year, month, day)};
}

// Takes an optional "Z"; whether the text ends there.
bool TakeEnd(DateScanner& scanner) noexcept {
    scanner.SkipBlanks();
    scanner.Take("Zz");
    return scanner.AtEnd();
}

// "HH:MM:SS[.f]" or "HH:MM", to the end of the text.
DateParts TakeTimeOfDay(DateScanner& scanner, CalendarDay day) noexcept {
    const std::int32_t hour = scanner.TakeInteger();
    if (scanner.Take(":") == '\0') return {};
    const std::int32_t minute = scanner.TakeInteger();
    const double seconds = scanner.Take(":") == '\0' ? 0.0 : scanner.TakeSeconds();
    if (!TakeEnd(scanner)) return {};
    return {day, hour, minute, seconds};
}

DateParts ScanDateTime(std::string_view text) noexcept {
    const bool yearFirst = text.size() >= 4 && std::all_of(text.begin(), text.begin() + 4, IsDigit);
    DateScanner scanner(text);
    const CalendarDay day = yearFirst ? TakeYearFirst(scanner) : TakeDayFirst(scanner);
    const bool blanks = scanner.SkipBlanks();
    if (scanner.Take("Tt") != '\0' || (blanks && !scanner.AtEnd())) return TakeTimeOfDay(scanner, day);
    if (!TakeEnd(scanner)) return {};
    return {.day = day, .minute = 0, .dayOnly = true};
}

bool HoldsDigit(std::string_view text) noexcept {
    return std::any_of(text.begin(), text.end(), IsDigit);
}

// A compact date, its year in the first `yearWidth` columns, its seconds to the end of the text.
DateParts ReadCompactDate(std::string_view text, std::size_t yearWidth) noexcept {
    const auto field = [&](std::size_t first, std::size_t width) {
        return text.substr(std::min(yearWidth + first, text.size()), width);
    };
    std::int32_t year = 0, day = 0, hour = 0, minute = 0;
    double seconds = 0.0;
    if (!HoldsDigit(text.substr(0, yearWidth)) || !HoldsDigit(field(0, 3))) return {};
    const bool read = ReadIntegerField(text.substr(0, yearWidth), year) == ReadStatus::kOk &&
                      ReadIntegerField(field(0, 3), day) == ReadStatus::kOk &&
                      ReadIntegerField(field(3, 2), hour) == ReadStatus::kOk &&
                      ReadIntegerField(field(5, 2), minute) == ReadStatus::kOk &&
                      ReadRealField(field(7, std::string_view::npos), 3, seconds) == ReadStatus::kOk;
    if (!read || year < 0) return {};
    return {{yearWidth == 2 ? FullYear(year) : year, day}, hour, minute, seconds};
}

DateParts ReadColumns(std::string_view text) noexcept {
    if (text.size() == 15) return ReadCompactDate(text, 2);
    if (text.size() == 17) return ReadCompactDate(text, 4);
    return {};
}

DateParts ReadDateText(std::string_view text) noexcept {
    text = WithoutOuterBlanks(text);
    const bool compact = (text.size() == 15 && text[11] == '.') || (text.size() == 17 && text[13] == '.');
    return compact ? ReadColumns(text) : ScanDateTime(text);
}

// "YYDDD.DDDDDDDD...", the fraction counted from the start of the day.
double ReadDayAndFraction(std::string_view text) noexcept {
    std::int32_t year = 0;
    double day = 0.0;
    const bool read = HoldsDigit(text.substr(0, 2)) && ReadIntegerField(text.substr(0, 2), year) == ReadStatus::kOk &&
                      ReadRealField(text.substr(2), 0, day) == ReadStatus::kOk;
    if (!read || year < 0) return 0.0;
    double ds50UTC = 0.0;
    ClockA(day, FullYear(year), ds50UTC);
    return ds50UTC;
}

CalendarDate SystemClockDate() noexcept {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday};
}

constinit std::atomic<CalendarDate (*)() noexcept> currentClock{SystemClockDate};

}  // namespace

std::int32_t FullYear(std::int32_t year) noexcept {
    if (year < 0 || year > 99) return year;
    return year + (year < kFirstTwoDigitYear - 1900 ? 2000 : 1900);
}

double Date_In(std::string_view text) noexcept {
    return ToDs50(ReadColumns(text));
}

double Dtg2Ds50UTC(std::string_view text) noexcept {
    const DateParts parts = ReadDateText(text);
    return parts.dayOnly ? 0.0 : ToDs50(parts);
}

double TimeOfText(std::string_view text, TimeScale scale) noexcept {
    const DateParts parts = ReadDateText(text);
    const double ds50 = ToDs50(parts);
    if (parts.seconds >= 60.0) return scale == TimeScale::kUtc && IsLeapSecond(ds50) ? ds50 : 0.0;
    if (scale == TimeScale::kUtc || ds50 == 0.0) return ds50;
    const double day = StartOfYear(parts.day.year) - 1 + parts.day.dayOfYear;
    return ToUtc(day, parts.hour * 3600 + parts.minute * 60 + parts.seconds, scale);
}

double DateStr2Ds50(std::string_view text) noexcept {
    return Dtg2Ds50UTC(text);
}

double EpochTextToDs50(std::string_view text) noexcept {
    text = WithoutOuterBlanks(text);
    switch (text.find('.')) {
        case 5:
            return ReadDayAndFraction(text);
        case 11:
            return ToDs50(ReadCompactDate(text, 2));
        case 13:
            return ToDs50(ReadCompactDate(text, 4));
        case std::string_view::npos: {
            const FixedText<20> digits(text);
            const TextBuilder<21> withPoint =
                TextBuilder<21>().Add(digits.View().substr(0, 11)).Add(".").Add(digits.View().substr(11));
            return ToDs50(ReadCompactDate(withPoint.Written(), 2));
        }
        default:
            return 0.0;
    }
}

FixedText<15> Ds50ToDate15(double ds50UTC) noexcept {
    const FixedText<15> noDate("***************");
    if (IsNan(ds50UTC) || ds50UTC <= 0.0 || ds50UTC >= StartOfYear(kLastYear)) return noDate;
    auto day = static_cast<std::int32_t>(std::floor(ds50UTC));
    auto milliseconds = static_cast<std::int32_t>(std::round((ds50UTC - day) * kMillisecondsPerDay));
    if (milliseconds == kMillisecondsPerDay) {
        ++day;
        milliseconds = 0;
    }
    const auto year = static_cast<int>(std::chrono::year_month_day(kDayZero + std::chrono::days(day)).year());
    if (year < kFirstTwoDigitYear || year > kFirstTwoDigitYear + 99) return noDate;

    TextBuilder<15> text;
    text.AddDigits(year % 100, 2).AddDigits(day - StartOfYear(year) + 1, 3);
    text.AddDigits(milliseconds / 3600000, 2).AddDigits(milliseconds / 60000 % 60, 2);
    text.AddDigits(milliseconds / 1000 % 60, 2).Add(".").AddDigits(milliseconds % 1000, 3);
    return text.Text();
}

std::int32_t MmDd2Jul(std::int32_t year, std::int32_t month, std::int32_t day) noexcept {
    if (year < kFirstYear || year > kLastYear || month < 1 || month > 12 || day < 1 || day > 31) return 0;
    const std::chrono::year_month_day date = std::chrono::year{year} / month / day;
    if (!date.ok()) return 0;
    constexpr std::array kDaysBefore = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
    return kDaysBefore[static_cast<std::size_t>(month - 1)] + (month > 2 && date.year().is_leap() ? 1 : 0) + day;
}

CalendarDate ClockDate() noexcept {
    return currentClock.load()();
}

void SetClock(CalendarDate (*clock)() noexcept) noexcept {
    currentClock = clock == nullptr ? SystemClockDate : clock;
}

void ClockA(double dayOfYear, std::int32_t year, double& ds50UTC) noexcept {
    ds50UTC = 0.0;
    if (!(dayOfYear >= 1.0 && dayOfYear < 367.0)) return;
    if (!IsDayOfYear(year, static_cast<std::int32_t>(dayOfYear))) return;
    ds50UTC = StartOfYear(year) - 1 + dayOfYear;
}

double TComps2UTC(std::int32_t dayOfYear, std::int32_t hour, std::int32_t minute, double seconds,
                  std::int32_t year) noexcept {
    const bool lastMinute = hour == 23 && minute == 59;
    const bool valid = IsDayOfYear(year, dayOfYear) && hour >= 0 && hour <= 23 && minute >= 0 && minute <= 59 &&
                       seconds >= 0.0 && seconds < (lastMinute ? 61.0 : 60.0);
    if (!valid) return 0.0;
    return StartOfYear(year) - 1 + dayOfYear + (hour * 3600 + minute * 60 + seconds) / kSecondsPerDay;
}

}  // namespace VecTableSupport
