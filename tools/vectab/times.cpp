#include "times.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "text.h"

namespace Vectab {
namespace {

using namespace std::chrono;

constexpr sys_days kDayZero{year{1949} / December / 31};

template <typename Number>
std::optional<Number> ReadNumber(std::string_view text) noexcept {
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return value;
}

// Takes the parts of a date from left to right. What does not fit leaves the scanner failed.
class DateScanner {
  public:
    explicit DateScanner(std::string_view text) noexcept : rest_(text) {}

    // Whether all of the text was taken.
    bool Done() const noexcept { return !failed_ && rest_.empty(); }

    bool TakeOne(std::string_view anyOf) noexcept {
        if (rest_.empty() || anyOf.find(rest_.front()) == std::string_view::npos) return false;
        rest_.remove_prefix(1);
        return true;
    }

    void Require(char mark) noexcept { failed_ |= !TakeOne({&mark, 1}); }

    // A number of exactly so many digits.
    unsigned TakeDigits(std::size_t count) noexcept {
        const std::string_view digits = rest_.substr(0, count);
        const std::optional<unsigned> number = ReadNumber<unsigned>(digits);
        failed_ |= digits.size() < count || !number;
        rest_.remove_prefix(digits.size());
        return number.value_or(0);
    }

    // Two digits, and a point with any number of decimals.
    double TakeSeconds() noexcept {
        const std::size_t length = std::min(rest_.find_first_not_of("0123456789."), rest_.size());
        const std::optional<double> seconds = ReadNumber<double>(rest_.substr(0, length));
        failed_ |= std::min(rest_.find('.'), length) != 2 || !seconds;
        rest_.remove_prefix(length);
        return seconds.value_or(0.0);
    }

  private:
    std::string_view rest_;
    bool failed_ = false;
};

std::optional<double> ParseDate(std::string_view text) noexcept {
    DateScanner scanner(text);
    unsigned hours = 0, minutes = 0;
    double seconds = 0.0;
    const year yearNumber{static_cast<int>(scanner.TakeDigits(4))};
    scanner.Require('-');
    const month monthNumber{scanner.TakeDigits(2)};
    scanner.Require('-');
    const year_month_day date{yearNumber, monthNumber, day{scanner.TakeDigits(2)}};
    if (scanner.TakeOne("T ")) {
        hours = scanner.TakeDigits(2);
        scanner.Require(':');
        minutes = scanner.TakeDigits(2);
        if (scanner.TakeOne(":")) seconds = scanner.TakeSeconds();
    }
    scanner.TakeOne("Z");
    if (!scanner.Done() || !date.ok() || hours > 23 || minutes > 59 || seconds >= 60.0) return std::nullopt;
    const auto days = static_cast<double>((sys_days{date} - kDayZero).count());
    return days + (hours * 3600.0 + minutes * 60.0 + seconds) / kSecondsPerDay;
}

std::int64_t PowerOfTen(int exponent) noexcept {
    std::int64_t power = 1;
    for (; exponent > 0; --exponent) power *= 10;
    return power;
}

}  // namespace

double TimeRequest::Within(double start, double end) const noexcept {
    if (kind == Kind::kStart) return start;
    return kind == Kind::kEnd ? end : ds50UTC;
}

std::optional<TimeRequest> ParseTime(std::string_view text) {
    text = WithoutOuterBlanks(text);
    if (text == "start") return TimeRequest{TimeRequest::Kind::kStart, 0.0};
    if (text == "end") return TimeRequest{TimeRequest::Kind::kEnd, 0.0};
    std::optional<double> ds50UTC = ReadNumber<double>(text);
    if (!ds50UTC) ds50UTC = ParseDate(text);
    if (!ds50UTC || !std::isfinite(*ds50UTC)) return std::nullopt;
    return TimeRequest{TimeRequest::Kind::kDate, *ds50UTC};
}

std::string FormatUtc(double ds50UTC, char separator, int decimals) {
    constexpr double kFirstDay = -711857.0;  // of the year 1
    constexpr double kLastDay = 2940000.0;   // in the year 9999
    if (!(ds50UTC > kFirstDay && ds50UTC < kLastDay)) return "day " + Shortest(ds50UTC);

    const std::int64_t ticksPerSecond = PowerOfTen(decimals);
    const std::int64_t ticksPerDay = 86400 * ticksPerSecond;
    auto wholeDays = static_cast<int>(std::floor(ds50UTC));
    std::int64_t ticks = std::llround((ds50UTC - wholeDays) * static_cast<double>(ticksPerDay));
    if (ticks == ticksPerDay) {
        ++wholeDays;
        ticks = 0;
    }
    const year_month_day date{kDayZero + days{wholeDays}};
    const auto second = static_cast<int>(ticks / ticksPerSecond);
    std::array<char, 64> text;
    int length =
        std::snprintf(text.data(), text.size(), "%04d-%02u-%02u%c%02d:%02d:%02d", static_cast<int>(date.year()),
                      static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), separator, second / 3600,
                      second / 60 % 60, second % 60);
    std::string utc(text.data(), static_cast<std::size_t>(length));
    if (decimals == 0) return utc;
    length =
        std::snprintf(text.data(), text.size(), ".%0*lld", decimals, static_cast<long long>(ticks % ticksPerSecond));
    return utc.append(text.data(), static_cast<std::size_t>(length));
}

}  // namespace Vectab
