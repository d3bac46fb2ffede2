// The gate between the readers of the search tree and its writers.
//
// Any number of readers, or one writer. A waiting writer keeps new readers out, so readers cannot starve it; a writer
// lets the readers that waited for the one before it pass first, so writers cannot starve them either.
//
// A reader counts itself first and looks at the flag second, and steps back out while a writer is at work. A writer
// sets the flag first and looks at the counts second. Both are sequentially consistent, so one of the two sees the
// other.
//
// The readers are counted in several places, each on a cache line of its own and each serving a share of the threads:
// readers of different threads would otherwise spend more time on handing one line to and fro than on their work.
//
// A thread inside the gate, on either side, must not enter it again.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>

#include "support/module.h"

namespace VecTableTree {

namespace Gate {

inline constexpr std::size_t kCacheLine = 64;

struct alignas(kCacheLine) ReadCount {
    std::atomic<std::int32_t> numReads{0};
};

inline constinit std::array<ReadCount, 32> readCounts;
inline constinit std::atomic<std::size_t> countedThreads{0};
// The count that serves this thread, from its first read on. A reader leaves on the thread that it has entered on.
[[gnu::tls_model("initial-exec")]] inline constinit thread_local ReadCount* ownCount = nullptr;

alignas(kCacheLine) inline constinit std::atomic<bool> isUpdating{false};
alignas(kCacheLine) inline constinit std::atomic<std::int32_t> waitingReads{0};
inline constinit std::mutex updatenote;

ReadCount* AssignCount() noexcept;
void EnterBehindWriter() noexcept;

inline void Enter() noexcept {
    if (ownCount == nullptr) [[unlikely]]
        ownCount = AssignCount();
    ownCount->numReads.fetch_add(1);
    if (isUpdating.load()) EnterBehindWriter();
}

inline void Leave() noexcept {
    ownCount->numReads.fetch_sub(1);
}

}  // namespace Gate

VECTABLE_MODULE void BeginRead() noexcept;
VECTABLE_MODULE void EndRead() noexcept;

class ReadSection {
  public:
    ReadSection() noexcept { Gate::Enter(); }
    ReadSection(const ReadSection&) = delete;
    ReadSection& operator=(const ReadSection&) = delete;
    ~ReadSection() { Gate::Leave(); }
};

class WriteSection {
  public:
    WriteSection() noexcept;
    WriteSection(const WriteSection&) = delete;
    WriteSection& operator=(const WriteSection&) = delete;
    ~WriteSection();
};

}  // namespace VecTableTree
