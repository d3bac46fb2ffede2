#include "support/sort.h"

#include <algorithm>

namespace VecTableSupport {

void QuickSortIterative(std::span<SortEntry> entries) {
    std::stable_sort(entries.begin(), entries.end(),
                     [](const SortEntry& a, const SortEntry& b) { return a.text.View() < b.text.View(); });
}

}  // namespace VecTableSupport
