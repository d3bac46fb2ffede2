// The memory of tables of points: a heap of its own.
//
// A process has a limited number of mappings (65,530 on most systems), and a store has any number of tables. So tables
// share regions of many MiB, on large pages where the system grants them, and only a table of several MiB is a mapping of
// its own, which grows by moving pages and not bytes. A table that grows takes the free memory after it, where there is
// some: a table that is read or built while no other one is does not move as it grows.
//
// Threads: any thread at any time.
#pragma once

#include <cstddef>

namespace VecTableTypes {

// Memory for at least so many bytes, aligned for points; null when there is none.
void* TakeTableMemory(std::size_t bytes) noexcept;

// The same memory, or other with its first `used` bytes, for at least `bytes`; null when there is none, and the old memory
// is then as it was. A smaller size keeps the place and gives the rest back.
void* ResizeTableMemory(void* memory, std::size_t used, std::size_t bytes) noexcept;

// Null is no memory, and none is given back.
void ReleaseTableMemory(void* memory) noexcept;

}  // namespace VecTableTypes
