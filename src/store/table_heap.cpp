#include "store/table_heap.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <utility>

#include "store/table_region.h"
#include "support/guarded.h"

// The address sanitizer watches over what lies between the tables.
#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(address, size) static_cast<void>(0)
#define ASAN_UNPOISON_MEMORY_REGION(address, size) static_cast<void>(0)
#endif

namespace VecTableTypes {
namespace {

using VecTableSupport::Mutex;
using VecTableSupport::MutexHold;

constexpr std::size_t kLanes = 16;
constexpr std::size_t kKept = kLargePage;  // free memory that is never given back

// The regions of a share of the threads. A table that one thread builds has the free memory after it to itself.
struct Lane {
    FreeBlocks freeBlocks;
    std::size_t opened = 0;  // bytes of its regions that can be used
};

// `mutex` is held for pointers and numbers, and while a first region opens. Memory is mapped, touched and given back
// without it.
struct TableHeap {
    Mutex givingBack;  // taken before the other one
    Mutex mutex;
    std::array<Lane, kLanes> lanes GUARDED_BY(mutex);
    BlockNotes notes GUARDED_BY(mutex);
    Region* regions GUARDED_BY(mutex) = nullptr;
    Region* empty GUARDED_BY(mutex) = nullptr;  // one without a table is kept
    Tally smallPages GUARDED_BY(mutex);
    Tally largePages GUARDED_BY(mutex);
    std::size_t mostUsed GUARDED_BY(mutex) = 0;  // bytes of tables, since there was none
};

constinit TableHeap heap;

// What is to be done when the lock has been left.
struct Chores {
    Region* unused = nullptr;  // to be unmapped
    BlockNotes unusedNotes;    // same
    bool isTooMuchFree = false;
    Region* filling = nullptr;  // to be put back onto large pages
};

std::size_t LaneOfThread() noexcept {
    static std::atomic<std::size_t> threads{0};
    thread_local const std::size_t lane = threads.fetch_add(1, std::memory_order_relaxed) % kLanes;
    return lane;
}

void Add(const Tally& more, Region& region) noexcept NEEDS(heap.mutex) {
    for (Tally* tally : {&region.tally, region.pageBits == kPageBits ? &heap.smallPages : &heap.largePages}) {
        tally->used += more.used;
        tally->touched += more.touched;
        tally->free += more.free;
    }
}

void Subtract(const Tally& less, Region& region) noexcept NEEDS(heap.mutex) {
    Add({0 - less.used, 0 - less.touched, 0 - less.free}, region);
}

std::size_t Used() noexcept NEEDS(heap.mutex) {
    return heap.smallPages.used + heap.largePages.used;
}

bool AreFewLeft() noexcept NEEDS(heap.mutex) {
    return Used() < heap.mostUsed / 4;
}

// More than half of what the tables take; a quarter, once few are left of many.
bool IsTooMuchFree() noexcept NEEDS(heap.mutex) {
    return heap.smallPages.free + heap.largePages.free > Used() / (AreFewLeft() ? 4 : 2) + kKept;
}

// A few tables hold large pages that they do not fill.
bool AreLargePagesWasted() noexcept NEEDS(heap.mutex) {
    const Tally large = heap.largePages;
    return AreFewLeft() && large.touched - large.free > large.used + large.used / 4 + 4 * kKept;
}

void Insert(Block* block) noexcept NEEDS(heap.mutex) {
    Region& region = *block->region;
    block->isFree = true;
    heap.lanes[region.lane].freeBlocks.Insert(block);
    Add({.free = std::size_t{block->touched} << region.pageBits}, region);
}

void Remove(Block* block) noexcept NEEDS(heap.mutex) {
    Region& region = *block->region;
    block->isFree = false;
    heap.lanes[region.lane].freeBlocks.Remove(block);
    Subtract({.free = std::size_t{block->touched} << region.pageBits}, region);
    if (heap.empty == &region) heap.empty = nullptr;
}

// Adds the block after this one to it. The page between them has been in use.
void MergeWithNext(Block* block) noexcept NEEDS(heap.mutex) {
    Block* after = block->after;
    const std::size_t pages = WholePages(*block).Count() + WholePages(*after).Count();
    Join(block, after);
    block->touched += after->touched + static_cast<std::uint32_t>(WholePages(*block).Count() - pages);
    heap.notes.Return(after);
}

void AddRegion(Region* region, std::size_t lane) noexcept NEEDS(heap.mutex) {
    region->lane = lane;
    region->next = heap.regions;
    if (heap.regions != nullptr) heap.regions->previous = region;
    heap.regions = region;
    heap.lanes[lane].opened += region->opened;
    Insert(&region->first);
}

void DropRegion(Region* region) noexcept NEEDS(heap.mutex) {
    Remove(&region->first);
    Subtract(Tally(region->tally), *region);
    heap.lanes[region->lane].opened -= region->opened;
    (region->previous != nullptr ? region->previous->next : heap.regions) = region->next;
    if (region->next != nullptr) region->next->previous = region->previous;
}

// Of the regions without a table the longest is kept for the next ones, whatever their thread.
void KeepOneEmpty(Region* region, Chores& chores) noexcept NEEDS(heap.mutex) {
    Region* dropped = heap.empty;
    if (region->isSplit || (dropped != nullptr && dropped->length >= region->length)) std::swap(dropped, region);
    heap.empty = region;
    if (dropped == nullptr) return;
    DropRegion(dropped);
    chores.unused = dropped;
}

void ChangeLane(Region* region, std::size_t lane) noexcept NEEDS(heap.mutex) {
    Remove(&region->first);
    heap.lanes[region->lane].opened -= region->opened;
    region->lane = lane;
    heap.lanes[lane].opened += region->opened;
    Insert(&region->first);
}

// Makes a block free, together with its neighbours that are.
void Free(Block* block, Chores& chores) noexcept NEEDS(heap.mutex) {
    if (Block* after = block->after; after != nullptr && after->isFree) {
        Remove(after);
        MergeWithNext(block);
    }
    if (Block* before = block->before; before != nullptr && before->isFree) {
        Remove(before);
        block = before;
        MergeWithNext(block);
    }
    Insert(block);
    if (block->region->IsEmpty()) KeepOneEmpty(block->region, chores);
}

// Makes a table's block free.
void Release(Block* block, Chores& chores) noexcept NEEDS(heap.mutex) {
    ASAN_POISON_MEMORY_REGION(block->start, block->size);
    Subtract({.used = block->size}, *block->region);
    block->touched = static_cast<std::uint32_t>(WholePages(*block).Count());
    Free(block, chores);
    chores.isTooMuchFree = IsTooMuchFree() || AreLargePagesWasted();
    if (heap.notes.AreIdle()) std::swap(chores.unusedNotes, heap.notes);
    if (Used() == 0) heap.mostUsed = 0;
}

// A table's block of this size, from the front of a free one. Null when it cannot be noted down.
Block* TakeFront(Block* block, std::size_t size, Chores& chores) noexcept NEEDS(heap.mutex) {
    Block* rest = nullptr;
    if (block->size > size && (rest = heap.notes.Take()) == nullptr) return nullptr;
    Region& region = *block->region;
    Remove(block);
    const Pages whole = WholePages(*block);
    if (rest != nullptr) Cut(block, size, rest);
    const Pages under = PagesUnder(*block);
    if (rest != nullptr) {
        const Pages left = WholePages(*rest);
        const std::size_t gone = CountTouched(region, {whole.first, std::min(left.first, whole.end)});
        const Pages fresh = {left.first, std::clamp(under.end, left.first, left.end)};
        rest->touched = static_cast<std::uint32_t>(block->touched - gone + fresh.Count() - CountTouched(region, fresh));
        Insert(rest);
    }
    ASAN_UNPOISON_MEMORY_REGION(block->start, block->size);
    Add({.used = block->size, .touched = Touch(region, under)}, region);
    heap.mostUsed = std::max(heap.mostUsed, Used());
    if (region.isSplit && !region.takesLarge && region.tally.used > region.length / 8) {
        region.takesLarge = true;
        chores.filling = &region;
    }
    return block;
}

// Opens more of a region, so that its last block is free and has this size.
bool OpenMore(std::size_t size, Region& region) noexcept NEEDS(heap.mutex) {
    Block* last = region.last;
    Block* added = heap.notes.Take();
    if (added == nullptr) return false;
    Lane& lane = heap.lanes[region.lane];
    std::byte* start = region.Start() + region.opened;
    *added = {start, Open(region, size - (last->isFree ? last->size : 0), lane.opened), &region, last};
    if (added->size == 0) {
        heap.notes.Return(added);
        return false;
    }
    ASAN_POISON_MEMORY_REGION(start, added->size);
    lane.opened += added->size;
    last->after = region.last = added;
    Chores none;
    Free(added, none);
    return true;
}

// A free block of at least this size, or null when the lane needs another region.
Block* FindFor(std::size_t index, std::size_t size) noexcept NEEDS(heap.mutex) {
    Lane& lane = heap.lanes[index];
    // A table that grows had better not move often: it gets a gap twice its size. Only when the gaps are small
    // altogether it gets memory that none has had yet.
    const std::size_t gaps = heap.smallPages.touched + heap.largePages.touched - Used();
    Block* wide = lane.freeBlocks.Find(2 * size);
    if (wide != nullptr && (wide != wide->region->last || gaps < Used() / 16)) return wide;
    if (Block* block = lane.freeBlocks.Find(size)) return block;
    if (Region* empty = heap.empty; empty != nullptr && empty->first.size >= size) {
        ChangeLane(empty, index);
        return &empty->first;
    }
    for (Region* region = heap.regions; region != nullptr; region = region->next) {
        if (region->lane == index && region->opened < region->length && OpenMore(size, *region)) return region->last;
    }
    return nullptr;
}

// The last resort.
Block* FindAnywhere(std::size_t size) noexcept NEEDS(heap.mutex) {
    for (const Lane& lane : heap.lanes) {
        if (Block* block = lane.freeBlocks.Find(size, SIZE_MAX)) return block;
    }
    return nullptr;
}

bool Extend(Block* block, std::size_t size, Chores& chores) noexcept NEEDS(heap.mutex) {
    const std::size_t more = size - block->size;
    Block* after = block->after;
    const bool isEnough = after != nullptr && after->isFree && after->size >= more;
    const bool isLast = after == nullptr || (after->isFree && after->after == nullptr);
    if (!isEnough && !(isLast && OpenMore(more, *block->region))) return false;
    Block* front = TakeFront(block->after, more, chores);
    if (front == nullptr) return false;
    Join(block, front);
    heap.notes.Return(front);
    return true;
}

void Shrink(Block* block, std::size_t size, Chores& chores) noexcept NEEDS(heap.mutex) {
    Block* rest = block->size > size ? heap.notes.Take() : nullptr;
    if (rest == nullptr) return;
    Cut(block, size, rest);
    Release(rest, chores);
}

// The region that holds most: free pages, or large ones that its tables do not fill.
Region* MostWasteful(bool isByLargePages) noexcept NEEDS(heap.mutex) {
    Region* found = nullptr;
    std::size_t most = 0;
    for (Region* region = heap.regions; region != nullptr; region = region->next) {
        const Tally& tally = region->tally;
        const std::size_t notFilled = region->pageBits == kLargePageBits ? tally.touched - tally.used : 0;
        const std::size_t waste = isByLargePages ? notFilled : tally.free;
        if (waste <= most) continue;
        most = waste;
        found = region;
    }
    return found;
}

// Takes the free blocks of a region out of use, as a list.
Block* Withdraw(Region& region) noexcept NEEDS(heap.mutex) {
    Block* list = nullptr;
    for (Block* block = &region.first; block != nullptr; block = block->after) {
        if (!block->isFree) continue;
        Remove(block);
        block->next = list;
        list = block;
    }
    return list;
}

// With its free blocks withdrawn.
void Split(Region& region, Block* list) noexcept NEEDS(heap.mutex) {
    const Tally tally = region.tally;
    Subtract(tally, region);
    SplitPages(region);
    Add(tally, region);
    for (Block* block = list; block != nullptr; block = block->next) {
        block->touched = static_cast<std::uint32_t>(CountTouched(region, WholePages(*block)));
    }
}

// What was withdrawn and takes no memory any more.
void PutBack(Block* list, Chores& chores) noexcept NEEDS(heap.mutex) {
    while (Block* block = list) {
        list = block->next;
        Subtract({.touched = Untouch(*block->region, WholePages(*block))}, *block->region);
        block->touched = 0;
        Free(block, chores);
    }
}

void Unmap(Chores& chores) noexcept {
    if (chores.unused != nullptr) {
        ASAN_UNPOISON_MEMORY_REGION(chores.unused, chores.unused->length);
        UnmapRegion(chores.unused);
    }
    chores.unusedNotes.Unmap();
}

void Discard(const Block& block) noexcept {
    Region& region = *block.region;
    const Pages pages = WholePages(block);
    if (block.touched == 0) return;
    VecTableSupport::Discard(region.Start() + (pages.first << region.pageBits), pages.Count() << region.pageBits);
}

// Of the region that holds most; false when there is not too much of it.
bool GiveBackRegion() noexcept NEEDS(heap.givingBack) {
    Chores chores;
    heap.mutex.lock();
    const bool splits = !IsTooMuchFree();
    Region* region = !splits || AreLargePagesWasted() ? MostWasteful(splits) : nullptr;
    if (region == nullptr) {
        heap.mutex.unlock();
        return false;
    }
    Block* list = Withdraw(*region);
    if (splits) Split(*region, list);
    const bool isSparse = region->takesLarge && region->isSplit && region->tally.used < region->length / 16;
    if (isSparse) region->takesLarge = false;
    heap.mutex.unlock();
    if (splits || isSparse) VecTableSupport::AdviseLarge(region->Start(), region->length, false);
    for (const Block* block = list; block != nullptr; block = block->next) Discard(*block);
    heap.mutex.lock();
    PutBack(list, chores);
    heap.mutex.unlock();
    Unmap(chores);
    return true;
}

// Gives free memory back to the system, one region at a time, until there is not too much of it.
void GiveBack() noexcept {
    if (!heap.givingBack.try_lock()) return;
    while (GiveBackRegion()) continue;
    heap.givingBack.unlock();
}

void DoChores(Chores& chores) noexcept {
    Unmap(chores);
    if (chores.isTooMuchFree) GiveBack();
    // A table of the caller keeps the region in use.
    if (chores.filling != nullptr) VecTableSupport::AdviseLarge(chores.filling->Start(), chores.filling->length, true);
}

Block* TakeIn(std::size_t lane, std::size_t size, Chores& chores) noexcept {
    std::size_t opened = 0;
    {
        const MutexHold lock(heap.mutex);
        if (Block* block = FindFor(lane, size)) return TakeFront(block, size, chores);
        opened = heap.lanes[lane].opened;
    }
    if (Region* region = MapRegion(size, opened)) {
        ASAN_POISON_MEMORY_REGION(region->first.start, region->first.size);
        const MutexHold lock(heap.mutex);
        AddRegion(region, lane);
        return TakeFront(&region->first, size, chores);
    }
    // There is no memory but what other lanes have, or what is being given back at this moment.
    const MutexHold noneGivingBack(heap.givingBack);
    const MutexHold lock(heap.mutex);
    Block* block = FindAnywhere(size);
    return block != nullptr ? TakeFront(block, size, chores) : nullptr;
}

}  // namespace

Block* TakeBlock(std::size_t size) noexcept {
    Chores chores;
    Block* block = TakeIn(LaneOfThread(), size, chores);
    DoChores(chores);
    return block;
}

bool ResizeBlock(Block* block, std::size_t size) noexcept {
    Chores chores;
    bool isResized = true;
    {
        const MutexHold lock(heap.mutex);
        if (size <= block->size) {
            Shrink(block, size, chores);
        } else {
            isResized = Extend(block, size, chores);
        }
    }
    DoChores(chores);
    return isResized;
}

void ReleaseBlock(Block* block) noexcept {
    Chores chores;
    {
        const MutexHold lock(heap.mutex);
        Release(block, chores);
    }
    DoChores(chores);
}

void LockHeap() noexcept NOT_ANALYSED {
    heap.givingBack.lock();
    heap.mutex.lock();
}

void UnlockHeap() noexcept NOT_ANALYSED {
    heap.mutex.unlock();
    heap.givingBack.unlock();
}

}  // namespace VecTableTypes
