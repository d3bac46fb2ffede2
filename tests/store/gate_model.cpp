// Explores the interleavings of the read gate's own source: two readers and a writer, a reader and two writers, a
// reader that leaves on another thread. Then it proves itself: every access of the source is made relaxed, and dropped,
// in turn, and each of these faults has to be found.
#include "helpers/model.h"
#include "store/gate_protocol.h"

namespace {

using Model::fault;
using Model::Fault;
using Model::IsClean;

struct ModelThreads {
    template <typename Value>
    using Atomic = Model::Atomic<Value>;
    using Mutex = Model::Mutex;
    static constexpr std::size_t kReadCounts = 2;

    template <typename Counts>
    static auto& CountOfThread(Counts& counts) {
        return counts[rl::thread_index() % kReadCounts];
    }
    template <typename Condition>
    static void WaitUntil(Condition condition) {
        Model::WaitUntil(condition);
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
    return Model::CheckEveryAccess(AllClean);
}
