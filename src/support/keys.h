// The 64-bit keys of stored records.
//
// A tree key is made from a satellite number, an element type and an epoch. Its last digit is the element type, never
// 0, and its head is the satellite number. A direct-memory key is the address of an object times ten. The last digit
// tells the two apart. -1 is no key.
#pragma once

#include <cstdint>
#include <limits>
#include <string_view>

#include "support/platform/processor.h"

namespace VecTableSupport {

inline constexpr std::int64_t kNoKey = -1;

// `ds50UTC` in days since 1950, UTC; -1 when it is not finite or beyond 10^9 days.
std::int64_t CreateSatKey(std::int32_t satNum, std::int32_t elementType, double ds50UTC) noexcept;

// `dateText` in one of the forms of EpochTextToDs50; -1 when it is no date.
std::int64_t CreateSatKey(std::int32_t satNum, std::int32_t elementType, std::string_view dateText) noexcept;

// The next tree key to try after a collision: 10 further away from zero, and back to the head of the range after its
// end.
std::int64_t NextSatKey(std::int64_t key) noexcept;

// The tree keys of a satellite: those of its number in their head. A step past a collision may lead out of them.
struct KeyRange {
    std::int64_t first;
    std::int64_t last;

    bool Holds(std::int64_t key) const noexcept { return key >= first && key <= last; }
};
KeyRange TreeKeysOf(std::int32_t satNum) noexcept;

// A key is an address times ten, and has to be positive.
inline constexpr std::int64_t kDmaFactor = 10;
static_assert(std::numeric_limits<std::int64_t>::max() / kDmaFactor >> kAddressBits > 0);

constexpr bool IsDma(std::int64_t key) noexcept {
    return key % kDmaFactor == 0;
}
constexpr std::int64_t SatKeyToAddr(std::int64_t key) noexcept {
    return key / kDmaFactor;
}
constexpr std::int64_t AddrToSatKey(std::int64_t address) noexcept {
    return address * kDmaFactor;
}

}  // namespace VecTableSupport
