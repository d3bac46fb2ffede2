// The memory of tables of points and of their records: a heap of its own.
//
// A process has a limited number of mappings (65,530 on most systems), and a store has any number of tables. So tables
// share regions (table_heap), and only a long one is a mapping of its own, which grows by moving pages and not bytes. A
// table that grows takes the free memory after it, where there is some: one that is read or built while its thread
// builds no other one hardly moves as it grows.
//
// Threads: any thread at any time.
#pragma once

#include <cstddef>

#include "support/module.h"

namespace VecTableTypes {

// From this size on, bytes, a table is a mapping of its own. What it has not written to takes no memory.
inline constexpr std::size_t kLongTable = std::size_t{32} << 20;

// Memory for at least so many bytes, on cache lines of its own; null when there is none.
VECTABLE_MODULE void* TakeTableMemory(std::size_t bytes) noexcept;

// The same memory, or other with its first `used` bytes, for at least `bytes`; null when there is none, and the old
// memory is then as it was. A smaller size keeps the place and gives the rest back.
void* ResizeTableMemory(void* memory, std::size_t used, std::size_t bytes) noexcept;

// Null is no memory, and none is given back.
VECTABLE_MODULE void ReleaseTableMemory(void* memory) noexcept;

// Between the two the heap is whole: for a process that forks.
void LockTableMemory() noexcept;
void UnlockTableMemory() noexcept;

}  // namespace VecTableTypes
