#include "store/read_gate.h"

#include <immintrin.h>
#include <thread>

namespace VecTableTree {
namespace {

// A short wait costs the processor a few pauses; a longer one hands the time slice to whoever is waited for.
template <typename Condition>
void WaitUntil(Condition condition) noexcept {
    constexpr int kPauses = 64;
    for (int pause = 0; pause < kPauses; ++pause) {
        if (condition()) return;
        _mm_pause();
    }
    while (!condition()) std::this_thread::yield();
}

}  // namespace

Gate::ReadCount* Gate::AssignCount() noexcept {
    return &readCounts[countedThreads.fetch_add(1) % readCounts.size()];
}

void Gate::EnterBehindWriter() noexcept {
    waitingReads.fetch_add(1);
    do {
        ownCount->numReads.fetch_sub(1);
        WaitUntil([] { return !isUpdating.load(); });
        ownCount->numReads.fetch_add(1);
    } while (isUpdating.load());
    waitingReads.fetch_sub(1);
}

void BeginRead() noexcept {
    Gate::Enter();
}

void EndRead() noexcept {
    Gate::Leave();
}

WriteSection::WriteSection() noexcept {
    Gate::updatenote.lock();
    WaitUntil([] { return Gate::waitingReads.load() == 0; });
    Gate::isUpdating.store(true);
    for (const Gate::ReadCount& count : Gate::readCounts) {
        WaitUntil([&] { return count.numReads.load() <= 0; });
    }
}

WriteSection::~WriteSection() {
    Gate::isUpdating.store(false);
    Gate::updatenote.unlock();
}

}  // namespace VecTableTree
