#include "store/read_gate.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "store/gate.h"
#include "support/platform/cancellation.h"

namespace VecTableTree {

std::size_t GateThreads::AssignCount() noexcept {
    static constinit std::atomic<std::size_t> threads{0};
    return threads.fetch_add(1, std::memory_order_relaxed) % kReadCounts;
}

void GateThreads::Yield() noexcept {
    std::this_thread::yield();
}

// Each rest is twice as long as the one before, up to a length that a writer or a reader does not feel.
void GateThreads::Rest(int restsBefore) noexcept {
    constexpr int kMostDoublings = 4;
    constexpr std::chrono::microseconds kFirstRest{50};
    const VecTableSupport::CancellationHold hold;
    std::this_thread::sleep_for(kFirstRest * (1 << std::min(restsBefore, kMostDoublings)));
}

void BeginRead() noexcept ACQUIRES_SHARED(gate) {
    gate.BeginRead();
}

void EndRead() noexcept RELEASES_SHARED(gate) {
    gate.EndRead();
}

}  // namespace VecTableTree
