// A region: memory of many MiB that tables share, its pages, and which of them take memory.
//
// Threads: who calls sees to it that no other one uses the region.
#pragma once

#include <array>
#include <cstddef>

#include "store/table_blocks.h"

namespace VecTableTypes {

using VecTableSupport::kLargePage;
using VecTableSupport::kLargePageBits;
using VecTableSupport::kPage;
using VecTableSupport::kPageBits;

constexpr std::size_t RoundUp(std::size_t size, std::size_t step) noexcept {
    return (size + step - 1) / step * step;
}

// Bytes.
struct Tally {
    std::size_t used = 0;     // of tables
    std::size_t touched = 0;  // of pages that take memory
    std::size_t free = 0;     // of those of them that lie wholly in free blocks
};

// The head of a region, at its start.
struct Region {
    std::size_t length = 0;      // bytes of address space
    std::size_t opened = 0;      // bytes of these that can be used so far
    unsigned pageBits = 0;       // of the pages that its memory is given back by
    bool isSplit = false;        // into small pages
    bool takesLarge = false;     // large pages where it has none
    std::size_t lane = 0;        // the share of the threads that it serves
    Region* next = nullptr;      // among all regions
    Region* previous = nullptr;  // same
    Tally tally;
    Block first;
    Block* last = &first;
    std::array<bool, kRegion / kPage> isTouched;  // a page each; not set here, as fresh memory is zero

    std::byte* Start() noexcept { return reinterpret_cast<std::byte*>(this); }
    std::size_t Page() const noexcept { return std::size_t{1} << pageBits; }  // bytes
    bool IsEmpty() const noexcept { return last == &first && first.isFree; }
};

// A region for a lane that has so many bytes opened: one block, of at least this size. The first of a lane is a small
// one on small pages, the others are as large as the system gives, on large pages where it grants them. Null when there
// is no memory.
Region* MapRegion(std::size_t size, std::size_t opened) noexcept;

void UnmapRegion(Region* region) noexcept;

// Makes at least so many more bytes of a region usable, and as many as its lane has if it can. The number of bytes; 0
// when there is no memory.
std::size_t Open(Region& region, std::size_t least, std::size_t opened) noexcept;

// Pages of a region, counted from its start.
struct Pages {
    std::size_t first;
    std::size_t end;
    std::size_t Count() const noexcept { return end - first; }
};

// Those that lie wholly in a block.
Pages WholePages(const Block& block) noexcept;

// Those that take memory once a block is used.
Pages PagesUnder(const Block& block) noexcept;

std::size_t CountTouched(const Region& region, Pages pages) noexcept;

// The pages take memory from now on, or none: how many bytes more or less that is.
std::size_t Touch(Region& region, Pages pages) noexcept;
std::size_t Untouch(Region& region, Pages pages) noexcept;

// From now on a region on large pages gives its memory back by small ones.
void SplitPages(Region& region) noexcept;

// Cuts a block to this size; the note becomes that of the rest.
void Cut(Block* block, std::size_t size, Block* rest) noexcept;

// Adds the block after this one to it, whose note has no use then.
void Join(Block* block, const Block* after) noexcept;

}  // namespace VecTableTypes
