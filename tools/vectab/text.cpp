#include "text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace Vectab {

namespace {

// The number of bytes of the UTF-8 character that the text begins with; 0 for none. The second byte tells what would be
// too long a form, a surrogate, or beyond the last code point.
std::size_t CharacterLength(std::string_view text) noexcept {
    const auto byte = [&](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U; };
    const unsigned first = byte(0), second = byte(1);
    const auto follow = [&](std::size_t from, std::size_t to) {
        for (std::size_t i = from; i < to; ++i) {
            if (byte(i) / 64 != 2) return std::size_t{0};
        }
        return to;
    };
    if (first < 0x80) return 1;
    if (first < 0xC2) return 0;
    if (first < 0xE0) return follow(1, 2);
    if (first < 0xF0) return (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ? 0 : follow(1, 3);
    if (first < 0xF5) return (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F) ? 0 : follow(1, 4);
    return 0;
}

bool IsControl(std::string_view character) noexcept {
    if (character.size() == 1) return (character[0] >= '\0' && character[0] < ' ') || character[0] == '\x7f';
    return character.size() == 2 && character[0] == '\xC2' && character[1] < '\xA0';
}

}  // namespace

std::string Printable(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const std::size_t length = CharacterLength(text);
        const std::string_view character = text.substr(0, std::max<std::size_t>(length, 1));
        shown += length == 0 || IsControl(character) ? "?" : character;
        text.remove_prefix(character.size());
    }
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
    constexpr int kMostDecimals = 6, kMostDigits = 12;
    if (!(std::fabs(value) > 0.0) || !std::isfinite(value)) return Fixed(value, 0);
    const int magnitude = static_cast<int>(std::floor(std::log10(std::fabs(value))));
    if (magnitude >= kMostDigits) {
        std::array<char, 16> chars;
        return {chars.data(), static_cast<std::size_t>(std::snprintf(chars.data(), chars.size(), "%.3e", value))};
    }
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
