// The protocol of the read gate: any number of readers, or one writer.
//
// A reader counts itself first and looks at the flag second, and steps back out while a writer is at work. A writer
// sets the flag first and looks at the counts second. Both are sequentially consistent, so one of the two sees the
// other.
//
// A waiting writer keeps new readers out, so readers cannot starve it. Writers can hold a reader back: one that misses
// the gap between two of them waits for the next.
//
// The readers are counted in several places, each on a cache line of its own and each serving a share of the threads:
// readers of different threads would otherwise spend more time on handing one line to and fro than on their work. Only
// the sum says how many are inside: a reader may leave on another thread than it has entered on.
//
// `Platform` gives atomics, a mutex, waiting, and the count that serves a thread. The model check in
// tests/store/gate_model.cpp explores this source on a platform of its own, and weakens every access in turn: none of
// those that are not relaxed could be weaker.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "support/guarded.h"

namespace VecTableTree {

template <typename Platform>
class GUARD GateProtocol {
  public:
    static constexpr std::size_t kCacheLine = 64;

    struct alignas(kCacheLine) ReadCount {
        typename Platform::template Atomic<std::int64_t> numReads{0};
    };

    void BeginRead() noexcept ACQUIRES_SHARED() NOT_ANALYSED {
        ReadCount& count = Platform::CountOfThread(readCounts_);
        count.numReads.fetch_add(1);          // before the look at the flag, in the order that all threads agree on
        if (isUpdating_.load()) [[unlikely]]  // after it; what the last writer did is seen
            WaitForWriter(count);
    }

    void EndRead() noexcept RELEASES_SHARED() NOT_ANALYSED {
        // A writer that sees the count sees what this reader did.
        Platform::CountOfThread(readCounts_).numReads.fetch_sub(1, std::memory_order_release);
    }

    void BeginWrite() noexcept ACQUIRES() NOT_ANALYSED {
        updatenote_.lock();
        isUpdating_.store(true);  // before the look at the counts, in the order that all threads agree on
        Platform::WaitUntil([this] { return Readers() <= 0; });
    }

    void EndWrite() noexcept RELEASES() NOT_ANALYSED {
        isUpdating_.store(false, std::memory_order_release);  // a reader that sees it sees what this writer did
        updatenote_.unlock();
    }

    // For the child of a fork that was made between BeginWrite and EndWrite: it has none of the threads that waited.
    void ForgetReaders() noexcept {
        for (ReadCount& count : readCounts_) count.numReads.store(0, std::memory_order_relaxed);  // the only thread
    }

    // The readers inside, and for a moment those that step back out. The counts are read one after the other; once the
    // flag is set their sum only falls, so that a sum of 0 says that nobody is inside.
    std::int64_t Readers() const noexcept {
        std::int64_t sum = 0;
        for (const ReadCount& count : readCounts_) sum += count.numReads.load();  // after the flag; see EndRead
        return sum;
    }

    // For tests.
    bool IsUpdating() const noexcept { return isUpdating_.load(std::memory_order_relaxed); }

  private:
    void WaitForWriter(ReadCount& count) noexcept {
        do {
            count.numReads.fetch_sub(1, std::memory_order_relaxed);  // nothing was done inside that could be seen
            // Relaxed: the look below decides.
            Platform::WaitUntil([this] { return !isUpdating_.load(std::memory_order_relaxed); });
            count.numReads.fetch_add(1);  // as in BeginRead
        } while (isUpdating_.load());     // as in BeginRead
    }

    std::array<ReadCount, Platform::kReadCounts> readCounts_;
    alignas(kCacheLine) typename Platform::template Atomic<bool> isUpdating_{false};
    typename Platform::Mutex updatenote_;
};

}  // namespace VecTableTree
