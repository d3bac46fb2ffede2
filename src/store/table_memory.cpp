#include "store/table_memory.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "store/table_heap.h"
#include "store/table_region.h"

namespace VecTableTypes {
namespace {

constexpr std::size_t kMostBytes = std::size_t{1} << 46;  // beyond any memory

// What stands before the memory of a table, which so begins at a cache line.
struct alignas(kUnit) Head {
    Block* block;         // null for a mapping of its own
    std::size_t mapping;  // the size of that, bytes
};

Head* HeadOf(void* memory) noexcept {
    return static_cast<Head*>(memory) - 1;
}

void* Begin(void* place, const Head& head) noexcept {
    auto* written = static_cast<Head*>(place);
    *written = head;
    return written + 1;
}

void* TakeMapping(std::size_t bytes) noexcept {
    const std::size_t size = RoundUp(bytes + sizeof(Head), kPage);
    void* place = VecTableSupport::Reserve(size, true);
    if (place == nullptr) return nullptr;
    VecTableSupport::AdviseLarge(place, size, true);
    return Begin(place, {nullptr, size});
}

void* ResizeMapping(Head* head, std::size_t bytes) noexcept {
    const std::size_t size = RoundUp(bytes + sizeof(Head), kPage);
    void* place = VecTableSupport::ResizePages(head, head->mapping, size);
    return place != nullptr ? Begin(place, {nullptr, size}) : nullptr;
}

// Copies to fresh memory and gives the old pages back on the way, so that a long table is never there twice.
void MovePages(std::byte* to, std::byte* from, std::size_t size) noexcept {
    while (size > 0) {
        const std::size_t piece = std::min(size, kLargePage);
        std::memcpy(to, from, piece);
        std::byte* firstPage = from + -reinterpret_cast<std::uintptr_t>(from) % kPage;
        std::byte* end = from + piece;
        const std::size_t whole = (end > firstPage ? static_cast<std::size_t>(end - firstPage) : 0) / kPage * kPage;
        if (whole > 0) VecTableSupport::Discard(firstPage, whole);
        to += piece;
        from += piece;
        size -= piece;
    }
}

void* MoveTo(std::size_t bytes, void* old, std::size_t used) noexcept {
    void* moved = TakeTableMemory(bytes);
    if (moved == nullptr) return nullptr;
    if (HeadOf(moved)->block == nullptr) {
        MovePages(static_cast<std::byte*>(moved), static_cast<std::byte*>(old), used);
    } else {
        std::memcpy(moved, old, used);
    }
    ReleaseTableMemory(old);
    return moved;
}

}  // namespace

void* TakeTableMemory(std::size_t bytes) noexcept {
    if (bytes >= kLongTable) return bytes <= kMostBytes ? TakeMapping(bytes) : nullptr;
    Block* block = TakeBlock(RoundUp(bytes + sizeof(Head), kUnit));
    return block != nullptr ? Begin(block->start, {block, 0}) : nullptr;
}

void* ResizeTableMemory(void* memory, std::size_t used, std::size_t bytes) noexcept {
    if (bytes > kMostBytes) return nullptr;
    Head* head = HeadOf(memory);
    if (head->block == nullptr) return ResizeMapping(head, bytes);
    const bool isShort = bytes < kLongTable;
    if (isShort && ResizeBlock(head->block, RoundUp(bytes + sizeof(Head), kUnit))) return memory;
    return MoveTo(bytes, memory, used);
}

void ReleaseTableMemory(void* memory) noexcept {
    if (memory == nullptr) return;
    Head* head = HeadOf(memory);
    if (head->block == nullptr) {
        VecTableSupport::UnmapPages(head, head->mapping);
    } else {
        ReleaseBlock(head->block);
    }
}

void LockTableMemory() noexcept {
    LockHeap();
}

void UnlockTableMemory() noexcept {
    UnlockHeap();
}

}  // namespace VecTableTypes
