// Text operations: letter case, numbers in text, key-and-value lines, texts built piece by piece.
// Letter case and numbers are those of ASCII, whatever the locale of the process is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "support/fixed_text.h"
#include "support/module.h"

namespace VecTableSupport {

// The result of StrToInt for a text that is no number.
inline constexpr std::int32_t kNoInteger = -123;

constexpr bool IsDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}
constexpr bool IsBlankOrTab(char c) noexcept {
    return c == ' ' || c == '\t';
}
constexpr char ToUpperCase(char c) noexcept {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
constexpr char ToLowerCase(char c) noexcept {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

template <std::size_t N>
constexpr FixedText<N> ToUpperCase(FixedText<N> text) noexcept {
    std::transform(text.Data(), text.Data() + N, text.Data(), [](char c) { return ToUpperCase(c); });
    return text;
}

template <std::size_t N>
constexpr FixedText<N> ToLowerCase(FixedText<N> text) noexcept {
    std::transform(text.Data(), text.Data() + N, text.Data(), [](char c) { return ToLowerCase(c); });
    return text;
}

constexpr std::string_view WithoutLeadingBlanks(std::string_view text) noexcept {
    const auto first = text.find_first_not_of(' ');
    return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

constexpr std::string_view WithoutTrailingBlanks(std::string_view text) noexcept {
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

// Without the blanks and tabs on both sides.
constexpr std::string_view WithoutOuterBlanks(std::string_view text) noexcept {
    while (!text.empty() && IsBlankOrTab(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsBlankOrTab(text.back())) text.remove_suffix(1);
    return text;
}

// A caller's character array, read up to N characters or its first NUL, whichever comes first.
template <std::size_t N>
FixedText<N> CharArrToStr(const char* array) noexcept {
    return FixedText<N>({array, ::strnlen(array, N)});
}

// Writes exactly `count` characters, the text cut or blank-padded, and no NUL.
void StrToCharArr(std::string_view text, std::size_t count, char* array) noexcept;

// The signed number at the head of the text, blanks and tabs before it ignored; what follows it is ignored as long as
// it holds no digit.
// kNoInteger when there is no number, when digits stand after it, or when it does not fit.
std::int32_t StrToInt(std::string_view text) noexcept;

// A copy of the text with every `from` replaced.
template <std::size_t N>
constexpr FixedText<N> ReplaceString(FixedText<N> text, char from, char to) noexcept {
    std::replace(text.Data(), text.Data() + N, from, to);
    return text;
}

// Replaces every blank of the stretch by the character 0.
void BlankToZeroChar(char* stretch, std::size_t length) noexcept;

// The value after the first equals sign of a keyword line, without the blanks and tabs around it; empty without one.
std::string_view GetInputFileName(std::string_view line) noexcept;

// A text of N characters, built from left to right; what does not fit is dropped.
// A number too wide for its columns fills them with asterisks.
template <std::size_t N>
class TextBuilder {
  public:
    TextBuilder& Add(std::string_view piece) noexcept {
        const auto length = std::min(piece.size(), N - length_);
        std::copy_n(piece.data(), length, text_.Data() + length_);
        length_ += length;
        return *this;
    }
    // Right-aligned in `width` columns; a width of 0 is the number's own.
    TextBuilder& AddInteger(std::int64_t value, std::size_t width = 0) noexcept;
    // Zero-filled to `width` digits.
    TextBuilder& AddDigits(std::int64_t value, std::size_t width) noexcept;
    // Fixed notation, right-aligned in `width` columns.
    TextBuilder& AddFixed(double value, std::size_t width, int decimals) noexcept;

    const FixedText<N>& Text() const noexcept { return text_; }
    std::string_view Written() const noexcept { return text_.View().substr(0, length_); }

  private:
    FixedText<N> text_;
    std::size_t length_ = 0;
};

// A number as text in a buffer of its own, at least as wide as any number column of the library.
struct NumberText {
    std::array<char, 64> chars;
    std::size_t length;
    std::string_view View() const noexcept { return {chars.data(), length}; }
};
VECTABLE_MODULE NumberText IntegerText(std::int64_t value, std::size_t width) noexcept;
NumberText DigitsText(std::int64_t value, std::size_t width) noexcept;
NumberText FixedNotationText(double value, std::size_t width, int decimals) noexcept;

template <std::size_t N>
TextBuilder<N>& TextBuilder<N>::AddInteger(std::int64_t value, std::size_t width) noexcept {
    return Add(IntegerText(value, width).View());
}

template <std::size_t N>
TextBuilder<N>& TextBuilder<N>::AddDigits(std::int64_t value, std::size_t width) noexcept {
    return Add(DigitsText(value, width).View());
}

template <std::size_t N>
TextBuilder<N>& TextBuilder<N>::AddFixed(double value, std::size_t width, int decimals) noexcept {
    return Add(FixedNotationText(value, width, decimals).View());
}

}  // namespace VecTableSupport
