#include "catalogue/catalogue.h"

#include <mutex>
#include <pthread.h>

namespace {

struct AllCatalogues {
    std::mutex mutex;
    VecCatalogue* first = nullptr;
};

constinit AllCatalogues all;

template <typename Use>
void ForEach(Use use) noexcept {
    for (VecCatalogue* catalogue = all.first; catalogue != nullptr; catalogue = catalogue->next)
        use(catalogue->versions);
}

// A fork waits until no catalogue is being changed; readers of the parent are none of the child.
void HoldAll() noexcept {
    all.mutex.lock();
    ForEach([](auto& versions) { versions.HoldChanges(); });
}

void ReleaseAll() noexcept {
    ForEach([](auto& versions) { versions.ReleaseChanges(); });
    all.mutex.unlock();
}

void ReleaseAllInChild() noexcept {
    ForEach([](auto& versions) { versions.ForgetReaders(); });
    ReleaseAll();
}

[[gnu::constructor]] void GuardForks() noexcept {
    ::pthread_atfork(HoldAll, ReleaseAll, ReleaseAllInChild);
}

}  // namespace

VecCatalogue::VecCatalogue() {
    const std::lock_guard lock(all.mutex);
    next = all.first;
    if (next != nullptr) next->previous = this;
    all.first = this;
}

VecCatalogue::~VecCatalogue() {
    const std::lock_guard lock(all.mutex);
    (previous != nullptr ? previous->next : all.first) = next;
    if (next != nullptr) next->previous = previous;
}
