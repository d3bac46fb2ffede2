#include "times.h"

#include <vectable/host.h>

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

std::optional<double> ReadNumber(std::string_view text) noexcept {
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(value)) return std::nullopt;
    return value;
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
    std::optional<double> ds50UTC = ReadNumber(text);
    if (!ds50UTC) ds50UTC = ReadDate(std::string(text));
    if (!ds50UTC) return std::nullopt;
    return TimeRequest{TimeRequest::Kind::kDate, *ds50UTC};
}

std::optional<double> ReadDate(const std::string& text) noexcept {
    double ds50UTC = 0.0;
    if (VecHostTimeOfText(text.c_str(), &ds50UTC) != 0) return std::nullopt;
    return ds50UTC;
}

double Now() noexcept {
    return duration<double, days::period>(system_clock::now() - kDayZero).count();
}

bool IsInCalendar(double ds50UTC) noexcept {
    constexpr double kFirstDay = -711857.0;  // of the year 1
    constexpr double kLastDay = 2940000.0;   // in the year 9999
    return ds50UTC > kFirstDay && ds50UTC < kLastDay;
}

std::string FormatUtc(double ds50UTC, char separator, int decimals) {
    if (!IsInCalendar(ds50UTC)) return "day " + Shortest(ds50UTC);

    const std::int64_t ticksPerSecond = std::llround(std::pow(10.0, decimals));
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
    const int length =
        std::snprintf(text.data(), text.size(), "%04d-%02u-%02u%c%02d:%02d:%02d.%0*lld", static_cast<int>(date.year()),
                      static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), separator, second / 3600,
                      second / 60 % 60, second % 60, decimals, static_cast<long long>(ticks % ticksPerSecond));
    return {text.data(), static_cast<std::size_t>(decimals > 0 ? length : length - 2)};  // without ".0"
}

}  // namespace Vectab
