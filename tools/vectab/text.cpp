#include "text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace Vectab {

std::string Printable(std::string_view text) {
    std::string shown(text);
    std::replace_if(
        shown.begin(), shown.end(), [](char c) { return (c >= '\0' && c < ' ') || c == '\x7f'; }, '?');
    return shown;
}

std::string_view WithoutOuterBlanks(std::string_view text) noexcept {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") + 1 - first);
}

std::string Shortest(double value) {
    std::array<char, 32> chars;
    const auto [end, error] = std::to_chars(chars.data(), chars.data() + chars.size(), value);
    return {chars.data(), end};
}

std::string Fixed(double value, int decimals) {
    std::array<char, 400> chars;
    const int length = std::snprintf(chars.data(), chars.size(), "%.*f", decimals, value);
    return {chars.data(), static_cast<std::size_t>(length)};
}

std::string FourDigits(double value) {
    constexpr int kMostDecimals = 6;
    if (!(std::fabs(value) > 0.0) || !std::isfinite(value)) return Fixed(value, 0);
    const int magnitude = static_cast<int>(std::floor(std::log10(std::fabs(value))));
    return Fixed(value, std::clamp(3 - magnitude, 0, kMostDecimals));
}

std::string Counted(std::size_t count, std::string_view noun) {
    return std::to_string(count) + ' ' + std::string(noun) + (count == 1 ? "" : "s");
}

void Complain(std::string_view message) {
    const std::string line = "vectab: " + Printable(message) + '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace Vectab
