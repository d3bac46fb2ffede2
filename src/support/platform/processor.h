// What is of the processor and the compiler: x86-64, by GCC or Clang.
#pragma once

#include <immintrin.h>

namespace VecTableSupport {

// Bits that an address of a process has at most: with pages of five levels.
inline constexpr int kAddressBits = 57;

// A hint that the thread waits for another one.
inline void PauseProcessor() noexcept {
    _mm_pause();
}

}  // namespace VecTableSupport

// For a variable of each thread, which is then reached without a call. There is little room for such variables.
#define VECTABLE_NEAR_THREAD [[gnu::tls_model("initial-exec")]]
