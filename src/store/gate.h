// The gate of the process, and scopes that hold it.
#pragma once

#include <atomic>
#include <cstddef>
#include <mutex>

#include "store/gate_protocol.h"

namespace VecTableTree {

// The threads of the process as the protocol sees them.
struct GateThreads {
    template <typename Value>
    using Atomic = std::atomic<Value>;
    using Mutex = std::mutex;

    static constexpr std::size_t kReadCounts = 32;

    template <typename Counts>
    static auto& CountOfThread(Counts& counts) noexcept {
        if (ownCount == kReadCounts) [[unlikely]]
            ownCount = AssignCount();
        return counts[ownCount];
    }

    // A short wait costs the processor a few pauses; a longer one hands the time slice to whoever is waited for.
    template <typename Condition>
    static void WaitUntil(Condition condition) noexcept {
        constexpr int kPauses = 64;
        for (int pause = 0; pause < kPauses; ++pause) {
            if (condition()) return;
            Pause();
        }
        while (!condition()) Yield();
    }

  private:
    static std::size_t AssignCount() noexcept;
    static void Pause() noexcept;
    static void Yield() noexcept;

    // Which count serves this thread, from its first read on.
    [[gnu::tls_model("initial-exec")]] static inline constinit thread_local std::size_t ownCount = kReadCounts;
};

inline constinit GateProtocol<GateThreads> gate;

class ReadSection {
  public:
    ReadSection() noexcept { gate.BeginRead(); }
    ReadSection(const ReadSection&) = delete;
    ReadSection& operator=(const ReadSection&) = delete;
    ~ReadSection() { gate.EndRead(); }
};

class WriteSection {
  public:
    WriteSection() noexcept { gate.BeginWrite(); }
    WriteSection(const WriteSection&) = delete;
    WriteSection& operator=(const WriteSection&) = delete;
    ~WriteSection() { gate.EndWrite(); }
};

}  // namespace VecTableTree
