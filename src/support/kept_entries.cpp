#include "support/kept_entries.h"

#include <vectable/host.h>

#include <array>
#include <cstddef>
#include <new>
#include <utility>
#include <vector>

#include "support/thread_owned.h"
#include "support/trace_log.h"

namespace VecTableSupport {
namespace {

struct Kept {
    std::vector<KeptEntry> entries;
    std::size_t taken = 0;                 // of them, from the first on
    std::array<std::int32_t, 2> counts{};  // of errors and of information, those that were taken too
};

}  // namespace

void KeepEntry(std::int32_t level, std::string_view text) noexcept {
    auto* kept = ThreadOwned<Kept>();
    if (kept == nullptr) return;
    std::int32_t& count = kept->counts[level == VEC_HOST_TRACE_ERROR ? 0 : 1];
    if (count == VEC_HOST_MOST_KEPT) return;
    try {
        const auto* place = ReadingPlace::Current();
        if (place == nullptr) {
            kept->entries.push_back({level, 0, {}, std::string(text)});
        } else {
            kept->entries.push_back({level, place->Line(), std::string(place->Path()), std::string(text)});
        }
        ++count;
    } catch (const std::bad_alloc&) {
        return;
    }
}

bool TakeKeptEntry(KeptEntry& entry) noexcept {
    auto* kept = ThreadOwned<Kept>();
    if (kept == nullptr || kept->entries.empty()) return false;
    entry = std::move(kept->entries[kept->taken++]);
    if (kept->taken == kept->entries.size()) *kept = {};
    return true;
}

}  // namespace VecTableSupport
