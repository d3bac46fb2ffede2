// What guards which data, for Clang's analysis of threads (-Wthread-safety), which scripts/lint.sh runs. To other
// compilers it says nothing.
#pragma once

#include <mutex>

#ifdef __clang__
#define VECTABLE_THREAD_ATTRIBUTE(attribute) __attribute__((attribute))
#else
#define VECTABLE_THREAD_ATTRIBUTE(attribute)
#endif

#define GUARD VECTABLE_THREAD_ATTRIBUTE(capability("mutex"))
#define SCOPED_GUARD VECTABLE_THREAD_ATTRIBUTE(scoped_lockable)
#define GUARDED_BY(guard) VECTABLE_THREAD_ATTRIBUTE(guarded_by(guard))
#define NEEDS(guard) VECTABLE_THREAD_ATTRIBUTE(requires_capability(guard))
#define NEEDS_SHARED(guard) VECTABLE_THREAD_ATTRIBUTE(requires_shared_capability(guard))
#define ACQUIRES(...) VECTABLE_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define ACQUIRES_SHARED(...) VECTABLE_THREAD_ATTRIBUTE(acquire_shared_capability(__VA_ARGS__))
#define RELEASES(...) VECTABLE_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define RELEASES_SHARED(...) VECTABLE_THREAD_ATTRIBUTE(release_shared_capability(__VA_ARGS__))
#define TRIES_TO_ACQUIRE(...) VECTABLE_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
#define NOT_ANALYSED VECTABLE_THREAD_ATTRIBUTE(no_thread_safety_analysis)

namespace VecTableSupport {

class GUARD Mutex {
  public:
    void lock() noexcept ACQUIRES() { mutex_.lock(); }
    void unlock() noexcept RELEASES() { mutex_.unlock(); }
    bool try_lock() noexcept TRIES_TO_ACQUIRE(true) { return mutex_.try_lock(); }

  private:
    std::mutex mutex_;
};

// Holds a mutex for the length of a scope.
class SCOPED_GUARD MutexHold {
  public:
    explicit MutexHold(Mutex& mutex) noexcept ACQUIRES(mutex) : mutex_(mutex) { mutex_.lock(); }
    MutexHold(const MutexHold&) = delete;
    MutexHold& operator=(const MutexHold&) = delete;
    ~MutexHold() RELEASES() { mutex_.unlock(); }

  private:
    Mutex& mutex_;
};

}  // namespace VecTableSupport
