#include "support/platform/memory.h"

#include <cstdint>
#include <sys/mman.h>

namespace VecTableSupport {

void* MapPages(std::size_t length, bool isUsable) noexcept {
    const int protection = isUsable ? PROT_READ | PROT_WRITE : PROT_NONE;
    void* place = ::mmap(nullptr, length, protection, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return place == MAP_FAILED ? nullptr : place;
}

void UnmapPages(void* place, std::size_t length) noexcept {
    ::munmap(place, length);
}

void* Reserve(std::size_t length, bool isUsable) noexcept {
    auto* place = static_cast<std::byte*>(MapPages(length + kLargePage, isUsable));
    if (place == nullptr) return MapPages(length, isUsable);
    const std::size_t before = -reinterpret_cast<std::uintptr_t>(place) % kLargePage;
    if (before > 0) ::munmap(place, before);
    ::munmap(place + before + length, kLargePage - before);
    return place + before;
}

bool MakeUsable(void* place, std::size_t length) noexcept {
    return ::mprotect(place, length, PROT_READ | PROT_WRITE) == 0;
}

void Discard(void* place, std::size_t length) noexcept {
    ::madvise(place, length, MADV_DONTNEED);
}

void AdviseLarge(void* place, std::size_t length, bool isLarge) noexcept {
    ::madvise(place, length, isLarge ? MADV_HUGEPAGE : MADV_NOHUGEPAGE);
}

void* ResizePages(void* place, std::size_t before, std::size_t length) noexcept {
    void* resized = ::mremap(place, before, length, 0);
    if (resized != MAP_FAILED) return resized;
    void* other = Reserve(length, true);
    resized = other != nullptr ? ::mremap(place, before, length, MREMAP_MAYMOVE | MREMAP_FIXED, other)
                               : ::mremap(place, before, length, MREMAP_MAYMOVE);
    if (resized != MAP_FAILED) return resized;
    if (other != nullptr) ::munmap(other, length);
    return nullptr;
}

}  // namespace VecTableSupport
