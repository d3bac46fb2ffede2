// Threads for the length of a call.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

namespace VecTableCatalogue {

// How many threads are meant: 0 for as many as the process may run on, and never more than there are tasks.
inline std::size_t ThreadCount(std::int32_t wanted, std::size_t tasks) noexcept {
    const std::size_t threads = wanted > 0 ? static_cast<std::size_t>(wanted) : std::thread::hardware_concurrency();
    return std::clamp<std::size_t>(tasks, 1, std::max<std::size_t>(threads, 1));
}

// Threads that take tasks 0, 1, ... `count` - 1 one after the other, until there are none or the group is stopped. They
// are joined at the end of the scope. `work` must not throw.
template <typename Work>
class Workers {
  public:
    Workers(std::size_t threads, std::size_t count, Work work) : count_(count), work_(work) {
        try {
            threads_.reserve(threads);
            for (std::size_t i = 0; i < threads; ++i) threads_.emplace_back([this] { TakePart(); });
        } catch (const std::system_error&) {  // those that run do all of it
        } catch (const std::bad_alloc&) {
        }
    }
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    bool HasThreads() const noexcept { return !threads_.empty(); }

    // The calling thread works too.
    void TakePart() noexcept {
        for (std::size_t i = 0; (i = next_.fetch_add(1, std::memory_order_relaxed)) < count_;)
            work_(i);  // only a number
    }

    void Join() noexcept { threads_.clear(); }

    // No further task begins.
    void Stop() noexcept { next_.store(count_, std::memory_order_relaxed); }

  private:
    const std::size_t count_;
    Work work_;
    std::atomic<std::size_t> next_{0};
    std::vector<std::jthread> threads_;
};

}  // namespace VecTableCatalogue
