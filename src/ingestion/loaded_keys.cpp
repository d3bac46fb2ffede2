#include "ingestion/loaded_keys.h"

#include <algorithm>
#include <vector>

#include "support/thread_owned.h"

namespace VecTableCardReading {
namespace {

struct Loaded {
    std::vector<std::int64_t> keys;
    std::size_t taken = 0;  // of them, from the first on
    bool underWay = false;
};

// Null when the thread is ending or nothing is to be remembered.
Loaded* LoadUnderWay() noexcept {
    auto* loaded = VecTableSupport::ThreadOwned<Loaded>();
    return loaded != nullptr && loaded->underWay ? loaded : nullptr;
}

}  // namespace

LoadScope::LoadScope() noexcept {
    if (auto* loaded = VecTableSupport::ThreadOwned<Loaded>()) *loaded = {{}, 0, true};
}

LoadScope::~LoadScope() {
    if (Loaded* loaded = LoadUnderWay()) loaded->underWay = false;
}

void MakeRoomForLoadedKeys(std::size_t count) {
    Loaded* loaded = LoadUnderWay();
    if (loaded == nullptr || loaded->keys.capacity() - loaded->keys.size() >= count) return;
    loaded->keys.reserve(2 * loaded->keys.size() + count);
}

void RememberLoadedKey(std::int64_t key) noexcept {
    if (Loaded* loaded = LoadUnderWay()) loaded->keys.push_back(key);
}

std::span<const std::int64_t> TakeLoadedKeys(std::size_t most) noexcept {
    auto* loaded = VecTableSupport::ThreadOwned<Loaded>();
    if (loaded == nullptr) return {};
    const std::size_t count = std::min(most, loaded->keys.size() - loaded->taken);
    loaded->taken += count;
    return std::span<const std::int64_t>(loaded->keys).subspan(loaded->taken - count, count);
}

}  // namespace VecTableCardReading
