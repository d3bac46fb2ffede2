// How versions of a catalogue come and go: any number of readers, each with the version that it began with, beside one
// writer at a time, which puts the next version in its place. Neither side waits for the other.
//
// A reader writes down in a slot which version it holds, and then looks whether that is still the current one; if not,
// it writes down the newer one. A writer replaces the current version first and looks at the slots second. Both are
// sequentially consistent: either the reader sees the newer version, or the writer sees the slot. What stands in a slot
// and is neither the current version nor one that waits to be given back was written down too late: its reader is about
// to find that out.
//
// Versions are given back in the order in which they were replaced, so that what a version shares with the one before
// it has one owner: it goes with the last version that has it.
//
// `Platform` gives atomics and the slot at which a thread begins to look for a free one. The model check in
// tests/catalogue/version_model.cpp explores this source on a platform of its own, and weakens every access in turn.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace VecTableCatalogue {

template <typename Platform, typename Version>
class VersionProtocol {
  public:
    static constexpr std::size_t kCacheLine = 64;

    struct alignas(kCacheLine) Slot {
        typename Platform::template Atomic<Version*> held{nullptr};
    };

    // A version that a reader holds.
    struct Hold {
        Version* version;
        Slot* slot;  // null when there was no free one
    };

    explicit VersionProtocol(Version* first) noexcept : current_(first) {}

    Hold Enter() noexcept {
        const std::size_t first = Platform::FirstSlot();
        for (std::size_t i = 0; i < Platform::kSlots; ++i) {
            Slot& slot = slots_[(first + i) % Platform::kSlots];
            Version* version = current_.load(std::memory_order_relaxed);  // the look below decides
            Version* free = nullptr;
            if (!slot.held.compare_exchange_strong(free, version)) continue;  // before the look at the current version
            for (Version* now = nullptr; (now = current_.load()) != version;) {
                version = now;
                slot.held.store(version);  // before the next look
            }
            return {version, &slot};
        }
        crowd_.fetch_add(1);  // before the look at the current version; meanwhile nothing is given back
        return {current_.load(), nullptr};
    }

    void Leave(const Hold& hold) noexcept {
        // A writer that sees the slot free, or the crowd smaller, sees that the reader is done.
        if (hold.slot != nullptr) {
            hold.slot->held.store(nullptr, std::memory_order_release);
        } else {
            crowd_.fetch_sub(1, std::memory_order_release);
        }
    }

    // For the writer, who is the only one to change it; a hint to others.
    Version* Current() const noexcept { return current_.load(std::memory_order_relaxed); }

    // Puts a version in the place of the current one. One writer at a time.
    void Publish(Version* next) noexcept {
        current_.store(next);  // before the look at the slots; a reader that sees it sees what it holds
    }

    // Of versions that were replaced, in that order, how many at the front no reader holds or will hold. One writer at
    // a time.
    template <typename Replaced>
    std::size_t CountUnheld(const Replaced& replaced) const noexcept {
        if (crowd_.load() != 0) return 0;  // after the version was replaced; see Leave
        std::size_t unheld = replaced.size();
        for (const Slot& slot : slots_) {
            Version* held = slot.held.load();  // after the version was replaced; see Leave
            for (std::size_t i = 0; held != nullptr && i < unheld; ++i) {
                if (replaced[i] == held) unheld = i;
            }
        }
        return unheld;
    }

    // In the child of a fork, whose other threads are not there.
    void ForgetReaders() noexcept {
        for (Slot& slot : slots_) slot.held.store(nullptr, std::memory_order_relaxed);  // the only thread
        crowd_.store(0, std::memory_order_relaxed);
    }

  private:
    alignas(kCacheLine) typename Platform::template Atomic<Version*> current_;
    alignas(kCacheLine) typename Platform::template Atomic<std::int32_t> crowd_{0};
    std::array<Slot, Platform::kSlots> slots_;
};

}  // namespace VecTableCatalogue
