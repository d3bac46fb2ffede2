// Numbers that are none, told by their bits. A comparison or an operation with a NaN may raise an exception of the
// processor, which a host may have turned into a signal; these raise none.
#pragma once

#include <bit>
#include <cstdint>

namespace VecTableSupport {

inline constexpr std::uint64_t kExponentBits = 0x7FF0'0000'0000'0000;
inline constexpr std::uint64_t kSignBit = 0x8000'0000'0000'0000;
inline constexpr std::uint64_t kQuietBit = 0x0008'0000'0000'0000;

constexpr bool IsFinite(double x) noexcept {
    return (std::bit_cast<std::uint64_t>(x) & kExponentBits) != kExponentBits;
}

constexpr bool IsNan(double x) noexcept {
    return (std::bit_cast<std::uint64_t>(x) & ~kSignBit) > kExponentBits;
}

constexpr bool IsZero(double x) noexcept {
    return (std::bit_cast<std::uint64_t>(x) & ~kSignBit) == 0;
}

// A NaN that operations take without a signal, and any other number as it is.
constexpr double Quieted(double x) noexcept {
    return IsNan(x) ? std::bit_cast<double>(std::bit_cast<std::uint64_t>(x) | kQuietBit) : x;
}

}  // namespace VecTableSupport
