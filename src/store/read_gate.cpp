#include "store/read_gate.h"

#include <immintrin.h>
#include <thread>

#include "store/gate.h"

namespace VecTableTree {

std::size_t GateThreads::AssignCount() noexcept {
    static constinit std::atomic<std::size_t> threads{0};
    return threads.fetch_add(1, std::memory_order_relaxed) % kReadCounts;
}

void GateThreads::Pause() noexcept {
    _mm_pause();
}

void GateThreads::Yield() noexcept {
    std::this_thread::yield();
}

void BeginRead() noexcept {
    gate.BeginRead();
}

void EndRead() noexcept {
    gate.EndRead();
}

}  // namespace VecTableTree
