// The one type for blank-padded text of a fixed length.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

namespace VecTableSupport {

template <std::size_t N>
class FixedText {
  public:
    constexpr FixedText() noexcept { chars_.fill(' '); }

    // Cuts a longer text, pads a shorter one.
    constexpr explicit FixedText(std::string_view text) noexcept {
        const auto length = std::min(text.size(), N);
        std::copy_n(text.data(), length, chars_.data());
        std::fill(chars_.data() + length, chars_.data() + N, ' ');
    }

    constexpr std::string_view View() const noexcept { return {chars_.data(), N}; }
    constexpr char* Data() noexcept { return chars_.data(); }

    constexpr std::string_view Trimmed() const noexcept { return View().substr(0, View().find_last_not_of(' ') + 1); }

    constexpr bool IsBlank() const noexcept { return *this == FixedText(); }

    friend constexpr bool operator==(const FixedText& a, const FixedText& b) noexcept = default;

  private:
    std::array<char, N> chars_;
};

}  // namespace VecTableSupport
