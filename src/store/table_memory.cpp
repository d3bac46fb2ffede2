#include "store/table_memory.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <new>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

// The address sanitizer watches over what lies between the tables.
#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(address, size) static_cast<void>(0)
#define ASAN_UNPOISON_MEMORY_REGION(address, size) static_cast<void>(0)
#endif

namespace VecTableTypes {
namespace {

constexpr std::size_t kMebibyte = std::size_t{1} << 20;
constexpr std::size_t kUnit = 64;                   // bytes; the size of every block is a multiple
constexpr std::size_t kRegion = 64 * kMebibyte;     // bytes
constexpr std::size_t kLongTable = 32 * kMebibyte;  // from here on a table is a mapping of its own
constexpr std::size_t kLargePage = 2 * kMebibyte;
constexpr std::size_t kLargePagesFrom = kRegion;  // below, the last page, which is seldom full, would weigh too much
constexpr std::size_t kMostBytes = std::size_t{1} << 46;  // beyond any memory

// The head of a block. Blocks lie side by side in a region, and one of size 0 closes it; or a block is a mapping of its own.
class Block {
  public:
    Block(std::size_t size, bool isMapping, Block* blockBefore) noexcept
        : before(blockBefore), sizeAndMarks_(size | (isMapping ? kMapping : 0)) {}

    std::size_t Size() const noexcept { return sizeAndMarks_ & ~kMarks; }  // bytes, with the head
    bool IsFree() const noexcept { return (sizeAndMarks_ & kFree) != 0; }
    bool IsMapping() const noexcept { return (sizeAndMarks_ & kMapping) != 0; }
    void SetSize(std::size_t size) noexcept { sizeAndMarks_ = size | (sizeAndMarks_ & kMarks); }
    void SetFree(bool isFree) noexcept { sizeAndMarks_ = isFree ? sizeAndMarks_ | kFree : sizeAndMarks_ & ~kFree; }

    std::byte* Memory() noexcept { return reinterpret_cast<std::byte*>(this + 1); }
    Block* At(std::size_t offset) noexcept {
        return reinterpret_cast<Block*>(reinterpret_cast<std::byte*>(this) + offset);
    }
    Block* After() noexcept { return At(Size()); }
    bool IsWholeRegion() noexcept { return before == nullptr && After()->Size() == 0; }

    Block* before;  // the block before it in its region, null for the first

  private:
    static constexpr std::uint64_t kFree = 1;
    static constexpr std::uint64_t kMapping = 2;
    static constexpr std::uint64_t kMarks = kUnit - 1;

    std::uint64_t sizeAndMarks_;
};

// A block that nobody uses, with its neighbours in its class.
struct FreeBlock : Block {
    using Block::Block;
    FreeBlock* next = nullptr;
    FreeBlock* previous = nullptr;
};
static_assert(sizeof(Block) == 16 && sizeof(FreeBlock) <= kUnit);

Block* BlockOf(void* memory) noexcept {
    return static_cast<Block*>(memory) - 1;
}

// Size of the block for so many bytes.
std::size_t BlockSize(std::size_t bytes) noexcept {
    return (bytes + sizeof(Block) + kUnit - 1) / kUnit * kUnit;
}

// The free blocks by size, in sixteen classes for each power of two, so that one is found and kept in a few operations
// (two-level segregated fit: Masmano et al., TLSF, 2004).
class FreeBlocks {
  public:
    void Insert(Block* block) noexcept {
        auto* freed = static_cast<FreeBlock*>(block);
        const auto [row, column] = ClassOf(block->Size() / kUnit);
        FreeBlock*& head = heads_[row][column];
        freed->SetFree(true);
        freed->previous = nullptr;
        freed->next = head;
        if (head != nullptr) head->previous = freed;
        head = freed;
        columns_[row] |= 1U << column;
        rows_ |= 1U << row;
        ASAN_POISON_MEMORY_REGION(freed + 1, freed->Size() - sizeof(FreeBlock));
    }

    void Remove(Block* block) noexcept {
        auto* taken = static_cast<FreeBlock*>(block);
        const auto [row, column] = ClassOf(block->Size() / kUnit);
        if (taken->next != nullptr) taken->next->previous = taken->previous;
        (taken->previous != nullptr ? taken->previous->next : heads_[row][column]) = taken->next;
        if (heads_[row][column] == nullptr) columns_[row] &= ~(1U << column);
        if (columns_[row] == 0) rows_ &= ~(1U << row);
        taken->SetFree(false);
        ASAN_UNPOISON_MEMORY_REGION(taken + 1, taken->Size() - sizeof(FreeBlock));
    }

    // A block of at least this size, or null.
    Block* Find(std::size_t size) const noexcept {
        std::size_t units = size / kUnit;
        if (units >= kColumns) units += (std::size_t{1} << (std::bit_width(units) - kColumnBits - 1)) - 1;
        auto [row, column] = ClassOf(units);
        unsigned columns = columns_[row] & (~0U << column);
        if (columns == 0) {
            const unsigned rows = row + 1 < kRows ? rows_ & (~0U << (row + 1)) : 0;
            if (rows == 0) return nullptr;
            row = static_cast<std::size_t>(std::countr_zero(rows));
            columns = columns_[row];
        }
        return heads_[row][static_cast<std::size_t>(std::countr_zero(columns))];
    }

  private:
    static constexpr int kColumnBits = 4;
    static constexpr std::size_t kColumns = 1 << kColumnBits;
    static constexpr std::size_t kRows = std::bit_width(kRegion / kUnit) - kColumnBits + 1;

    struct Class {
        std::size_t row;
        std::size_t column;
    };
    static Class ClassOf(std::size_t units) noexcept {
        if (units < kColumns) return {0, units};
        const auto shift = static_cast<std::size_t>(std::bit_width(units) - kColumnBits - 1);
        return {shift + 1, (units >> shift) & (kColumns - 1)};
    }

    std::array<std::array<FreeBlock*, kColumns>, kRows> heads_{};
    std::array<unsigned, kRows> columns_{};
    unsigned rows_ = 0;
};

struct TableHeap {
    std::mutex mutex;
    FreeBlocks freeBlocks;
    std::size_t regions = 0;
    std::size_t emptyRegions = 0;
};

constinit TableHeap heap;

void* Map(std::size_t size) noexcept {
    void* place = ::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return place == MAP_FAILED ? nullptr : place;
}

// Gives a block to its class, or a region that nobody uses back to the system. One such region is kept.
void Free(Block* block) noexcept {
    if (block->IsWholeRegion() && heap.emptyRegions++ > 0) {
        --heap.emptyRegions;
        --heap.regions;
        ASAN_UNPOISON_MEMORY_REGION(block, block->Size() + kUnit);
        ::munmap(block, block->Size() + kUnit);
    } else {
        heap.freeBlocks.Insert(block);
    }
}

void Take(Block* block) noexcept {
    if (block->IsWholeRegion()) --heap.emptyRegions;
    heap.freeBlocks.Remove(block);
}

// A region as large as the system gives, with room for a block of this size: one free block and its close. It begins at a
// large page.
bool AddRegion(std::size_t size) noexcept {
    std::size_t length = kRegion;
    std::byte* place = nullptr;
    while ((place = static_cast<std::byte*>(Map(length + kLargePage))) == nullptr) {
        length /= 2;
        if (length < size + kUnit) return false;
    }
    const std::size_t before = -reinterpret_cast<std::uintptr_t>(place) % kLargePage;
    if (before > 0) ::munmap(place, before);
    if (before < kLargePage) ::munmap(place + before + length, kLargePage - before);
    if (heap.regions++ * kRegion >= kLargePagesFrom) ::madvise(place + before, length, MADV_HUGEPAGE);
    auto* block = new (place + before) FreeBlock(length - kUnit, false, nullptr);
    new (block->After()) Block(0, false, block);
    ++heap.emptyRegions;
    heap.freeBlocks.Insert(block);
    return true;
}

// Cuts a block that is in use to this size.
void Cut(Block* block, std::size_t size) noexcept {
    if (block->Size() == size) return;
    auto* rest = new (block->At(size)) FreeBlock(block->Size() - size, false, block);
    block->SetSize(size);
    Block* after = rest->After();
    if (after->IsFree()) {
        Take(after);
        rest->SetSize(rest->Size() + after->Size());
        after = rest->After();
    }
    after->before = rest;
    Free(rest);
}

// Adds the free block after this one, if the two have this size together.
bool Extend(Block* block, std::size_t size) noexcept {
    Block* after = block->After();
    if (!after->IsFree() || block->Size() + after->Size() < size) return false;
    Take(after);
    block->SetSize(block->Size() + after->Size());
    block->After()->before = block;
    Cut(block, size);
    return true;
}

void UseLargePages(Block* mapping) noexcept {
    if (mapping->Size() >= kLargePagesFrom) ::madvise(mapping, mapping->Size(), MADV_HUGEPAGE);
}

void* TakeMapping(std::size_t size) noexcept {
    void* place = Map(size);
    if (place == nullptr) return nullptr;
    auto* block = new (place) Block(size, true, nullptr);
    UseLargePages(block);
    return block->Memory();
}

void* ResizeMapping(Block* block, std::size_t size) noexcept {
    void* place = ::mremap(block, block->Size(), size, MREMAP_MAYMOVE);
    if (place == MAP_FAILED) return nullptr;
    block = static_cast<Block*>(place);
    block->SetSize(size);
    UseLargePages(block);
    return block->Memory();
}

// Copies to fresh memory and gives the old pages back on the way, so that a long table is never there twice.
void MovePages(std::byte* to, std::byte* from, std::size_t size) noexcept {
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    while (size > 0) {
        const std::size_t piece = std::min(size, kLargePage);
        std::memcpy(to, from, piece);
        std::byte* firstPage = from + -reinterpret_cast<std::uintptr_t>(from) % page;
        std::byte* end = from + piece;
        const std::size_t whole = (end > firstPage ? static_cast<std::size_t>(end - firstPage) : 0) / page * page;
        if (whole > 0) ::madvise(firstPage, whole, MADV_DONTNEED);
        to += piece;
        from += piece;
        size -= piece;
    }
}

void* MoveTo(std::size_t bytes, void* old, std::size_t used) noexcept {
    void* moved = TakeTableMemory(bytes);
    if (moved == nullptr) return nullptr;
    if (BlockOf(moved)->IsMapping()) {
        MovePages(static_cast<std::byte*>(moved), static_cast<std::byte*>(old), used);
    } else {
        std::memcpy(moved, old, used);
    }
    ReleaseTableMemory(old);
    return moved;
}

}  // namespace

void* TakeTableMemory(std::size_t bytes) noexcept {
    if (bytes > kMostBytes) return nullptr;
    const std::size_t size = BlockSize(bytes);
    if (size >= kLongTable) return TakeMapping(size);
    const std::lock_guard lock(heap.mutex);
    Block* block = heap.freeBlocks.Find(size);
    if (block == nullptr && AddRegion(size)) block = heap.freeBlocks.Find(size);
    if (block == nullptr) return nullptr;
    Take(block);
    Cut(block, size);
    return block->Memory();
}

void* ResizeTableMemory(void* memory, std::size_t used, std::size_t bytes) noexcept {
    if (bytes > kMostBytes) return nullptr;
    const std::size_t size = BlockSize(bytes);
    Block* block = BlockOf(memory);
    if (block->IsMapping()) return ResizeMapping(block, size);
    if (size < kLongTable) {
        const std::lock_guard lock(heap.mutex);
        if (size <= block->Size()) Cut(block, size);
        if (size <= block->Size() || Extend(block, size)) return memory;
    }
    return MoveTo(bytes, memory, used);
}

void ReleaseTableMemory(void* memory) noexcept {
    if (memory == nullptr) return;
    Block* block = BlockOf(memory);
    if (block->IsMapping()) {
        ::munmap(block, block->Size());
        return;
    }
    const std::lock_guard lock(heap.mutex);
    for (Block* beside : {block->After(), block->before}) {
        if (beside == nullptr || !beside->IsFree()) continue;
        Take(beside);
        if (beside < block) std::swap(beside, block);
        block->SetSize(block->Size() + beside->Size());
        block->After()->before = block;
    }
    Free(block);
}

}  // namespace VecTableTypes
