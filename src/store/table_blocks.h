// The blocks of the heap of tables, where they are noted down, and those that are free, by size.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "support/platform/memory.h"

namespace VecTableTypes {

inline constexpr std::size_t kKibibyte = 1024;
inline constexpr std::size_t kMebibyte = 1024 * kKibibyte;
inline constexpr std::size_t kUnit = 64;                // bytes; the size of every block is a multiple
inline constexpr std::size_t kRegion = 64 * kMebibyte;  // bytes

struct Region;

// A piece of a region: a table's, or free. It is noted down outside its region, so that nobody touches free memory.
struct Block {
    std::byte* start = nullptr;
    std::size_t size = 0;  // bytes
    Region* region = nullptr;
    Block* before = nullptr;  // beside it in the region
    Block* after = nullptr;
    Block* next = nullptr;  // in a list
    Block* previous = nullptr;
    std::uint32_t touched = 0;  // pages, of those that lie wholly in it while it is free
    bool isFree = false;
};
static_assert(sizeof(Block) == 64);

// The notes of all blocks.
class BlockNotes {
  public:
    // A note, or null when there is no memory.
    Block* Take() noexcept {
        if (unused_ == nullptr && next_ == end_ && !AddChunk()) return nullptr;
        ++inUse_;
        if (unused_ == nullptr) return next_++;
        Block* note = unused_;
        unused_ = note->next;
        return note;
    }

    void Return(Block* note) noexcept {
        --inUse_;
        note->next = unused_;
        unused_ = note;
    }

    // None is in use, and they take more than a little memory.
    bool AreIdle() const noexcept { return inUse_ == 0 && noted_ > kFirstChunk; }

    void Unmap() noexcept {
        while (chunks_ != nullptr) {
            Block* chunk = chunks_;
            chunks_ = chunk->next;
            VecTableSupport::UnmapPages(chunk, chunk->size);
        }
    }

  private:
    static constexpr std::size_t kFirstChunk = 64 * kKibibyte;

    // As large as all before it. Its first note says so.
    bool AddChunk() noexcept {
        const std::size_t size = std::max(noted_, kFirstChunk);
        void* place = VecTableSupport::MapPages(size, true);
        if (place == nullptr) return false;
        auto* chunk = static_cast<Block*>(place);
        chunk->size = size;
        chunk->next = chunks_;
        chunks_ = chunk;
        noted_ += size;
        next_ = chunk + 1;
        end_ = chunk + size / sizeof(Block);
        return true;
    }

    Block* chunks_ = nullptr;
    Block* unused_ = nullptr;
    Block* next_ = nullptr;  // from here to the end never used
    Block* end_ = nullptr;
    std::size_t noted_ = 0;  // bytes of all chunks
    std::size_t inUse_ = 0;
};

// Free blocks by size, in sixteen classes for each power of two, so that one is found and kept in a few operations
// (two-level segregated fit: Masmano et al., TLSF, 2004).
class FreeBlocks {
  public:
    void Insert(Block* block) noexcept {
        const auto [row, column] = ClassOf(block->size / kUnit);
        Block*& head = heads_[row][column];
        block->previous = nullptr;
        block->next = head;
        if (head != nullptr) head->previous = block;
        head = block;
        columns_[row] |= 1U << column;
        rows_ |= 1U << row;
    }

    void Remove(Block* block) noexcept {
        const auto [row, column] = ClassOf(block->size / kUnit);
        if (block->next != nullptr) block->next->previous = block->previous;
        (block->previous != nullptr ? block->previous->next : heads_[row][column]) = block->next;
        if (heads_[row][column] == nullptr) columns_[row] &= ~(1U << column);
        if (columns_[row] == 0) rows_ &= ~(1U << row);
    }

    // A block of at least this size, or null. Of the blocks of its own class, which may be smaller, the first few are
    // looked at: tables of one length leave room for each other.
    Block* Find(std::size_t size, std::size_t looks = kFewLooks) const noexcept {
        auto [row, column] = ClassOf(size / kUnit);
        for (Block* block = heads_[row][column]; block != nullptr && looks > 0; block = block->next, --looks) {
            if (block->size >= size) return block;
        }
        unsigned columns = columns_[row] & (~1U << column);
        if (columns == 0) {
            const unsigned rows = row + 1 < kRows ? rows_ & (~1U << row) : 0;
            if (rows == 0) return nullptr;
            row = static_cast<std::size_t>(std::countr_zero(rows));
            columns = columns_[row];
        }
        return heads_[row][static_cast<std::size_t>(std::countr_zero(columns))];
    }

  private:
    static constexpr int kColumnBits = 4;
    static constexpr std::size_t kColumns = 1 << kColumnBits;
    static constexpr std::size_t kFewLooks = 4;
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

    std::array<std::array<Block*, kColumns>, kRows> heads_{};
    std::array<unsigned, kRows> columns_{};
    unsigned rows_ = 0;
};

}  // namespace VecTableTypes
