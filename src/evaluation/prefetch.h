// Asks for the memory of the points that a request will need, so that it waits for memory once.
#pragma once

#include "evaluation/search.h"

namespace VecTableProcessing {

// The first point of the stencil round the time, as far as the guess tells. For a table of at least a stencil.
template <typename Layout>
inline const typename Layout::Point* GuessStencil(const Table<Layout>& table, double t) noexcept {
    return &table[FirstOfStencil(table, GuessPoint(table, t))];
}

// All that an evaluation reads of the points of a stencil.
template <bool kWithCovariance, typename Point>
[[gnu::always_inline]] inline void AskForStencil(const Point* first) noexcept {
    const auto* byte = reinterpret_cast<const char*>(first);
    if constexpr (kWithCovariance) {
        constexpr std::size_t kSize = kStencilPoints * sizeof(Point);
        for (std::size_t offset = 0; offset < kSize; offset += VecTableTypes::kCacheLine) {
            __builtin_prefetch(byte + offset);
        }
        __builtin_prefetch(byte + kSize - 1);
    } else {
        for (std::size_t i = 0; i < kStencilPoints; ++i, byte += sizeof(Point)) {
            __builtin_prefetch(byte);
            __builtin_prefetch(byte + offsetof(Point, revNum));
        }
    }
}

}  // namespace VecTableProcessing
