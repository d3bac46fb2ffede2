// Memory of the system by pages.
//
// Threads: any thread at any time, on memory of its own.
#pragma once

#include <cstddef>

namespace VecTableSupport {

inline constexpr unsigned kPageBits = 12;
inline constexpr unsigned kLargePageBits = 21;
inline constexpr std::size_t kPage = std::size_t{1} << kPageBits;            // bytes
inline constexpr std::size_t kLargePage = std::size_t{1} << kLargePageBits;  // same

// Fresh memory, which can be used at once or not yet; null when there is none.
void* MapPages(std::size_t length, bool isUsable) noexcept;
void UnmapPages(void* place, std::size_t length) noexcept;

// The same at a large page where there is room for that.
void* Reserve(std::size_t length, bool isUsable) noexcept;

// False when there is no memory.
bool MakeUsable(void* place, std::size_t length) noexcept;

// Gives the memory back to the system; the place stays, and is zero when it is used again.
void Discard(void* place, std::size_t length) noexcept;

// Whether the memory takes large pages from now on, where it takes none yet.
void AdviseLarge(void* place, std::size_t length, bool isLarge) noexcept;

// The same memory in another length, moved by its pages where it has no room to grow: to a large page if it can, as
// large pages are then moved as such. Null when there is none, and it is then as it was.
void* ResizePages(void* place, std::size_t before, std::size_t length) noexcept;

}  // namespace VecTableSupport
