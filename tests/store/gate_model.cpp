// Explores the interleavings of the read gate's own source with a model of the C++ memory model (relacy): two readers
// and a writer, a reader and two writers, a reader that leaves on another thread. Then it proves itself: every access
// of the source is made relaxed, and dropped, in turn, and each of these faults has to be found.
#include <array>
#include <cstdio>
#include <ostream>
#include <source_location>

#include "store/gate_protocol.h"

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

namespace {

enum class Fault { kNone, kRelaxed, kDropped };

// An access of the source, by its line: whether it is relaxed as it stands, and met only while a thread waits.
struct Access {
    unsigned line = 0;
    bool relaxed = false;
    bool onlyInWaits = true;

    // A look that is repeated after the wait: without the wait the reader only spins there.
    bool MayBeDropped() const { return relaxed && onlyInWaits; }
};

std::array<Access, 200> accesses;  // those met, by line; plain memory, since relacy watches over the heap
std::array<bool, 8> waits{};       // the threads of the model
unsigned faultyLine = 0;
Fault fault = Fault::kNone;

rl::memory_order ModelOrder(std::memory_order order) {
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
class ModelAtomic {
    using Place = std::source_location;

  public:
    ModelAtomic(Value value) : value_(value) {}

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

class ModelMutex {
  public:
    void lock() { mutex_.lock($); }
    void unlock() { mutex_.unlock($); }

  private:
    rl::mutex mutex_;
};

struct ModelThreads {
    template <typename Value>
    using Atomic = ModelAtomic<Value>;
    using Mutex = ModelMutex;
    static constexpr std::size_t kReadCounts = 2;

    template <typename Counts>
    static auto& CountOfThread(Counts& counts) {
        return counts[rl::thread_index() % kReadCounts];
    }
    template <typename Condition>
    static void WaitUntil(Condition condition) {
        bool& inWait = waits.at(rl::thread_index());
        inWait = true;
        while (!condition()) rl::yield(1, $);
        inWait = false;
    }
};

using Gate = VecTableTree::GateProtocol<ModelThreads>;

// What the gate guards: a plain variable, whose use side by side the model reports.
struct Guarded {
    Gate gate;
    rl::var<int> value;

    void Read() const { static_cast<void>(static_cast<int>(value($))); }
    void Write() {
        gate.BeginWrite();
        value($) = static_cast<int>(value($)) + 1;
        gate.EndWrite();
    }
};

template <unsigned kReaders, unsigned kWriters>
struct ReadersAndWriters : rl::test_suite<ReadersAndWriters<kReaders, kWriters>, kReaders + kWriters>, Guarded {
    void before() { value($) = 0; }
    void thread(unsigned index) {
        if (index >= kReaders) return Write();
        gate.BeginRead();
        Read();
        gate.EndRead();
    }
    void after() { RL_ASSERT(gate.Readers() == 0); }
};

// Thread 0 enters and hands what it reads to thread 1, which leaves.
struct HandedOver : rl::test_suite<HandedOver, 3>, Guarded {
    rl::atomic<int> handed;

    void before() {
        value($) = 0;
        handed.store(0, rl::mo_relaxed, $);
    }
    void thread(unsigned index) {
        if (index == 2) return Write();
        if (index == 0) {
            gate.BeginRead();
            handed.store(1, rl::mo_release, $);
        } else {
            while (handed.load(rl::mo_acquire, $) == 0) rl::yield(1, $);
            Read();
            gate.EndRead();
        }
    }
};

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

// All schedules of two threads, all with up to three forced switches of three threads, and as many random ones.
bool AllClean(unsigned schedules) {
    constexpr unsigned kToTheEnd = 100'000'000;
    const auto threeThreads = [&]<typename Scenario>() {
        return IsClean<Scenario>(rl::fair_context_bound_scheduler_type,
                                 fault == Fault::kNone ? kToTheEnd : schedules) &&
               IsClean<Scenario>(rl::random_scheduler_type, schedules);
    };
    return (fault != Fault::kNone ||
            IsClean<ReadersAndWriters<1, 1>>(rl::fair_full_search_scheduler_type, kToTheEnd)) &&
           threeThreads.operator()<ReadersAndWriters<2, 1>>() && threeThreads.operator()<ReadersAndWriters<1, 2>>() &&
           IsClean<HandedOver>(rl::random_scheduler_type, schedules / 10);
}

}  // namespace

int main() {
    constexpr unsigned kSchedules = 1'000'000;
    constexpr unsigned kSchedulesOfAFault = 20'000;
    if (!AllClean(kSchedules)) return 1;
    const std::array<Access, 200> met = accesses;
    int found = 0, missed = 0;
    for (const Access& access : met) {
        for (const Fault weakened : {Fault::kRelaxed, Fault::kDropped}) {
            if (access.line == 0 || (weakened == Fault::kRelaxed && access.relaxed)) continue;
            if (weakened == Fault::kDropped && access.MayBeDropped()) continue;
            faultyLine = access.line;
            fault = weakened;
            const bool clean = AllClean(kSchedulesOfAFault);
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
