// Explores the interleavings of the protocol by which versions of a catalogue come and go: readers beside a writer,
// more readers than slots, a version whose place in memory is taken again. Then every access of the protocol is
// weakened in turn.
#include <algorithm>

#include "catalogue/version_protocol.h"
#include "helpers/model.h"

namespace {

using Model::fault;
using Model::Fault;
using Model::IsClean;

template <std::size_t kSlotCount>
struct ModelThreads {
    template <typename Value>
    using Atomic = Model::Atomic<Value>;
    static constexpr std::size_t kSlots = kSlotCount;
    static std::size_t FirstSlot() { return rl::thread_index() % kSlots; }
};

// A version is there while a plain variable says so; who reads it while it is given back is reported.
struct Version {
    rl::var<int> content;
};

// Thread 0 writes: each version takes the place in memory of the first that was given back. The others read.
template <unsigned kReaders, std::size_t kSlotCount>
struct Readers : rl::test_suite<Readers<kReaders, kSlotCount>, kReaders + 1> {
    static constexpr int kVersions = 3;
    static constexpr int kGivenBack = -1;

    std::array<Version, kVersions + 1> places;
    VecTableCatalogue::VersionProtocol<ModelThreads<kSlotCount>, Version> protocol{&places[0]};
    std::array<Version*, kVersions> replaced{};
    std::size_t numReplaced = 0;

    void before() {
        for (Version& place : places) place.content($) = 0;
    }

    struct List {
        const std::array<Version*, kVersions>& items;
        std::size_t count;
        std::size_t size() const { return count; }
        Version* operator[](std::size_t i) const { return items[i]; }
    };

    void Write() {
        std::size_t next = 1;
        for (int number = 1; number <= kVersions; ++number) {
            Version* version = &places[next];
            version->content($) = number;
            replaced[numReplaced++] = protocol.Current();
            protocol.Publish(version);
            const std::size_t unheld = protocol.CountUnheld(List{replaced, numReplaced});
            next = static_cast<std::size_t>(number) + 1;
            for (std::size_t i = 0; i < unheld; ++i) {
                auto* given = replaced[i];
                given->content($) = kGivenBack;
                next = static_cast<std::size_t>(given - places.data());
            }
            std::copy(replaced.begin() + static_cast<std::ptrdiff_t>(unheld), replaced.end(), replaced.begin());
            numReplaced -= unheld;
        }
    }

    void thread(unsigned index) {
        if (index == 0) return Write();
        const auto hold = protocol.Enter();
        RL_ASSERT(static_cast<int>(hold.version->content($)) != kGivenBack);
        RL_ASSERT(static_cast<int>(hold.version->content($)) != kGivenBack);
        protocol.Leave(hold);
    }

    void after() { RL_ASSERT(protocol.CountUnheld(List{replaced, numReplaced}) == numReplaced); }
};

bool AllClean(unsigned schedules) {
    constexpr unsigned kToTheEnd = 100'000'000;
    const bool whole = fault == Fault::kNone;
    return (!whole || IsClean<Readers<1, 1>>(rl::fair_full_search_scheduler_type, kToTheEnd)) &&
           IsClean<Readers<1, 1>>(rl::fair_context_bound_scheduler_type, whole ? kToTheEnd : schedules) &&
           IsClean<Readers<2, 2>>(rl::random_scheduler_type, schedules) &&
           IsClean<Readers<2, 1>>(rl::fair_context_bound_scheduler_type, whole ? kToTheEnd : schedules) &&
           IsClean<Readers<2, 1>>(rl::random_scheduler_type, schedules);
}

}  // namespace

int main() {
    return Model::CheckEveryAccess(AllClean);
}
