// What the model checks of lock-free protocols share: atomics over a model of the C++ memory model (relacy), which
// notes the accesses of a source by their lines and can weaken them, and a run that demands that every weakened access
// is found. The protocol's source comes before this header, since relacy puts macros over words of the language.
#pragma once

#include <array>
#include <atomic>
#include <cstdio>
#include <ostream>
#include <source_location>

// The macros that relacy puts over words of the language are for sources of its own.
#include <relacy/relacy.hpp>
#undef new
#undef delete
#undef malloc
#undef calloc
#undef realloc
#undef free
#undef assert
#undef errno
#undef memory_order_relaxed
#undef memory_order_consume
#undef memory_order_acquire
#undef memory_order_release
#undef memory_order_acq_rel
#undef memory_order_seq_cst

namespace Model {

enum class Fault { kNone, kRelaxed, kDropped };  // an access made relaxed, or left out

// An access of the source, by its line: whether it is relaxed as it stands, and met only while a thread waits.
struct Access {
    unsigned line = 0;
    bool relaxed = false;
    bool onlyInWaits = true;

    // A look that is repeated after the wait: without the wait the reader only spins there.
    bool MayBeDropped() const { return relaxed && onlyInWaits; }
};

inline std::array<Access, 200> accesses;  // those met, by line; plain memory, since relacy watches over the heap
inline std::array<bool, 8> waits{};       // the threads of the model
inline unsigned faultyLine = 0;
inline Fault fault = Fault::kNone;

inline rl::memory_order ModelOrder(std::memory_order order) {
    switch (order) {
        case std::memory_order_relaxed:
            return rl::mo_relaxed;
        case std::memory_order_release:
            return rl::mo_release;
        default:
            return rl::mo_seq_cst;
    }
}

template <typename Value>
class Atomic {
    using Place = std::source_location;

  public:
    Atomic(Value value) : value_(value) {}

    Value load(std::memory_order order = std::memory_order_seq_cst, Place place = Place::current()) const {
        return Dropped(place) ? Value{} : value_.load(Order(order, place), $);
    }
    void store(Value value, std::memory_order order = std::memory_order_seq_cst, Place place = Place::current()) {
        if (!Dropped(place)) value_.store(value, Order(order, place), $);
    }
    void fetch_add(Value value, std::memory_order order = std::memory_order_seq_cst, Place place = Place::current()) {
        if (!Dropped(place)) value_.fetch_add(value, Order(order, place), $);
    }
    void fetch_sub(Value value, std::memory_order order = std::memory_order_seq_cst, Place place = Place::current()) {
        if (!Dropped(place)) value_.fetch_sub(value, Order(order, place), $);
    }
    bool compare_exchange_strong(Value& expected, Value value, Place place = Place::current()) {
        if (Dropped(place)) return true;
        return value_.compare_exchange_strong(expected, value, Order(std::memory_order_seq_cst, place), $);
    }

  private:
    static bool Dropped(const Place& place) { return fault == Fault::kDropped && faultyLine == place.line(); }

    static rl::memory_order Order(std::memory_order order, const Place& place) {
        Access& access = accesses.at(place.line());
        access = {place.line(), order == std::memory_order_relaxed, access.onlyInWaits && waits.at(rl::thread_index())};
        const bool weakened = fault == Fault::kRelaxed && faultyLine == place.line();
        return weakened ? rl::mo_relaxed : ModelOrder(order);
    }

    rl::atomic<Value> value_;
};

class Mutex {
  public:
    void lock() { mutex_.lock($); }
    void unlock() { mutex_.unlock($); }

  private:
    rl::mutex mutex_;
};

// What a platform's WaitUntil does here.
template <typename Condition>
void WaitUntil(Condition condition) {
    bool& inWait = waits.at(rl::thread_index());
    inWait = true;
    while (!condition()) rl::yield(1, $);
    inWait = false;
}

template <typename Scenario>
bool IsClean(rl::scheduler_type_e search, unsigned schedules) {
    std::ostream nowhere(nullptr);
    rl::test_params parameters;
    parameters.output_stream = parameters.progress_stream = &nowhere;
    parameters.search_type = search;
    parameters.iteration_count = schedules;
    parameters.context_bound = 3;
    const bool clean = rl::simulate<Scenario>(parameters);
    if (fault == Fault::kNone) {
        std::printf("%s, %s: %llu schedules, %s\n", parameters.test_name.c_str(),
                    search == rl::random_scheduler_type ? "random" : "all",
                    static_cast<unsigned long long>(parameters.stop_iteration),
                    rl::test_result_str(parameters.test_result));
    }
    return clean;
}

// Runs `allClean`, which takes the number of random schedules, on the source as it is and with each of its accesses
// weakened in turn. The exit status of the check.
template <typename AllClean>
int CheckEveryAccess(AllClean allClean) {
    constexpr unsigned kSchedules = 1'000'000;
    constexpr unsigned kSchedulesOfAFault = 20'000;
    if (!allClean(kSchedules)) return 1;
    const std::array<Access, 200> met = accesses;
    int found = 0, missed = 0;
    for (const Access& access : met) {
        for (const Fault weakened : {Fault::kRelaxed, Fault::kDropped}) {
            if (access.line == 0 || (weakened == Fault::kRelaxed && access.relaxed)) continue;
            if (weakened == Fault::kDropped && access.MayBeDropped()) continue;
            faultyLine = access.line;
            fault = weakened;
            const bool clean = allClean(kSchedulesOfAFault);
            ++(clean ? missed : found);
            if (clean) {
                std::printf("not found: line %u of the protocol, %s\n", access.line,
                            weakened == Fault::kRelaxed ? "relaxed" : "dropped");
            }
        }
    }
    std::printf("%d faults found, %d missed\n", found, missed);
    return missed == 0 && found > 0 ? 0 : 1;
}

}  // namespace Model
