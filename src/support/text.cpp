#include "support/text.h"

#include <charconv>
#include <cmath>

#include "support/finite.h"

namespace VecTableSupport {
namespace {

NumberText RightAligned(std::string_view digits, std::size_t width) noexcept {
    NumberText text;
    text.length = width == 0 ? digits.size() : width;
    if (digits.size() > text.length) {
        text.chars.fill('*');
        return text;
    }
    text.chars.fill(' ');
    std::copy_n(digits.data(), digits.size(), text.chars.data() + text.length - digits.size());
    return text;
}

}  // namespace

void StrToCharArr(std::string_view text, std::size_t count, char* array) noexcept {
    const auto length = std::min(text.size(), count);
    std::copy_n(text.data(), length, array);
    std::fill(array + length, array + count, ' ');
}

std::int32_t StrToInt(std::string_view text) noexcept {
    while (!text.empty() && IsBlankOrTab(text.front())) text.remove_prefix(1);
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
        if (text.empty() || !IsDigit(text.front())) return kNoInteger;
    }
    std::int32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc()) return kNoInteger;
    const bool digitsFollow = std::any_of(end, text.data() + text.size(), IsDigit);
    return digitsFollow ? kNoInteger : value;
}

void BlankToZeroChar(char* stretch, std::size_t length) noexcept {
    std::replace(stretch, stretch + length, ' ', '0');
}

std::string_view GetInputFileName(std::string_view line) noexcept {
    constexpr std::string_view kPadding = " \t";
    const auto equals = line.find('=');
    if (equals == std::string_view::npos) return {};
    const auto first = line.find_first_not_of(kPadding, equals + 1);
    if (first == std::string_view::npos) return {};
    return line.substr(first, line.find_last_not_of(kPadding) + 1 - first);
}

NumberText IntegerText(std::int64_t value, std::size_t width) noexcept {
    std::array<char, 24> digits;
    const char* end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    return RightAligned({digits.data(), static_cast<std::size_t>(end - digits.data())}, width);
}

NumberText DigitsText(std::int64_t value, std::size_t width) noexcept {
    NumberText text = IntegerText(value, width);
    if (value < 0) {
        text.chars.fill('*');  // the sign stands before `width` digits and finds no column
    } else {
        BlankToZeroChar(text.chars.data(), text.length);
    }
    return text;
}

NumberText FixedNotationText(double value, std::size_t width, int decimals) noexcept {
    if (IsNan(value)) return RightAligned("NaN", width);
    if (!IsFinite(value)) return RightAligned(value < 0 ? "-Infinity" : "Infinity", width);
    std::array<char, 64> digits;
    const auto [end, error] =
        std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed, decimals);
    if (error != std::errc()) return RightAligned(std::string_view(digits.data(), digits.size()), width);
    return RightAligned({digits.data(), static_cast<std::size_t>(end - digits.data())}, width);
}

}  // namespace VecTableSupport
