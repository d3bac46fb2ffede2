// The gate between the readers of the search tree and its writers.
//
// Any number of readers, or one writer. A waiting writer keeps new readers out, so readers cannot starve it; a writer
// lets the readers that waited for the one before it pass first, so writers cannot starve them either.
//
// A reader counts itself first and looks at the flag second, and steps back out while a writer is at work. A writer
// sets the flag first and looks at the count second. Both are sequentially consistent, so one of the two sees the
// other.
//
// A thread inside the gate, on either side, must not enter it again.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>

#include "support/module.h"

namespace VecTableTree {

namespace Gate {

inline constexpr std::size_t kCacheLine = 64;

alignas(kCacheLine) inline constinit std::atomic<std::int32_t> numReads{0};
alignas(kCacheLine) inline constinit std::atomic<bool> isUpdating{false};
alignas(kCacheLine) inline constinit std::atomic<std::int32_t> waitingReads{0};
inline constinit std::mutex updatenote;

void EnterBehindWriter() noexcept;

inline void Enter() noexcept {
    numReads.fetch_add(1);
    if (isUpdating.load()) EnterBehindWriter();
}

inline void Leave() noexcept {
    numReads.fetch_sub(1);
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
