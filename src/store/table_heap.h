// The heap of the tables that share regions.
//
// Each thread takes tables from regions of its lane, so that what it builds has the memory after it to itself. The
// first region of a lane is small. The others are 64 MiB of address space, opened by doubling, on large pages where the
// system grants them: these are several times cheaper to touch, and a request finds its points in one step less.
//
// What removed tables leave goes back to the system when it is more than half of what the others take: regions without
// a table, then large pages without one. Once less than a quarter is left of what there was, the large pages that few
// tables hold are split too, which slows these tables down a little.
//
// Threads: any thread at any time; a block is its owner's.
#pragma once

#include <cstddef>

#include "store/table_blocks.h"

namespace VecTableTypes {

// A block of this size, a multiple of kUnit that a region has room for. Null when there is no memory.
Block* TakeBlock(std::size_t size) noexcept;

// Gives the block another size where it stands: false when that is not possible. A smaller one always is.
bool ResizeBlock(Block* block, std::size_t size) noexcept;

void ReleaseBlock(Block* block) noexcept;

void LockHeap() noexcept;
void UnlockHeap() noexcept;

}  // namespace VecTableTypes
