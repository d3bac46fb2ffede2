// The sort of keys by a text of 32 characters.
#pragma once

#include <cstdint>
#include <span>

#include "support/fixed_text.h"

namespace VecTableSupport {

struct SortEntry {
    FixedText<32> text;
    std::int64_t key;
};

// Sorts by text, ascending; entries of equal text stay in their order. The interface fixes the name; the sort is a
// merge sort, as only a stable one keeps that order.
void QuickSortIterative(std::span<SortEntry> entries);

}  // namespace VecTableSupport
