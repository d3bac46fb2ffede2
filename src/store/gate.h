// The gate of the process, and scopes that hold it.
#pragma once

#include <atomic>
#include <cstddef>
#include <mutex>

#include "store/gate_protocol.h"
#include "support/platform/processor.h"

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

    // A short wait costs the processor a few pauses; a longer one hands the time slice to whoever is waited for; a long
    // one leaves the processor to others and looks from time to time. The yields are few: a thread that yields often
    // has to wait long for its next turn.
    template <typename Condition>
    static void WaitUntil(Condition condition) noexcept {
        constexpr int kPauses = 64;
        constexpr int kYields = 30;
        for (int look = 0; !condition(); ++look) {
            if (look < kPauses) {
                VecTableSupport::PauseProcessor();
            } else if (look < kPauses + kYields) {
                Yield();
            } else {
                Rest(look - kPauses - kYields);
            }
        }
    }

  private:
    static std::size_t AssignCount() noexcept;
    static void Yield() noexcept;
    static void Rest(int restsBefore) noexcept;

    // Which count serves this thread, from its first read on.
    VECTABLE_NEAR_THREAD static inline constinit thread_local std::size_t ownCount = kReadCounts;
};

inline constinit GateProtocol<GateThreads> gate;

class SCOPED_GUARD ReadSection {
  public:
    ReadSection() noexcept ACQUIRES_SHARED(gate) { gate.BeginRead(); }
    ReadSection(const ReadSection&) = delete;
    ReadSection& operator=(const ReadSection&) = delete;
    ~ReadSection() RELEASES() { gate.EndRead(); }
};

class SCOPED_GUARD WriteSection {
  public:
    WriteSection() noexcept ACQUIRES(gate) { gate.BeginWrite(); }
    WriteSection(const WriteSection&) = delete;
    WriteSection& operator=(const WriteSection&) = delete;
    ~WriteSection() RELEASES() { gate.EndWrite(); }
};

}  // namespace VecTableTree
