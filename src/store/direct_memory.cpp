#include "store/direct_memory.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <new>

#include "support/guarded.h"
#include "support/trace_log.h"

namespace VecTableTree {
namespace {

using VecTableSupport::MutexHold;
using VecTableSupport::SatKeyToAddr;
using VecTableSupport::TraceLogError;

// A slot holds one object, at its start.
struct alignas(64) DmaSlot {
    DmaObject object;
    DmaSlot* nextFree = nullptr;
};

constexpr std::size_t kFirstBlock = 16384;  // slots: a mebibyte
constexpr std::size_t kSmallestBlock = 64;  // a page
constexpr std::size_t kMostBlocks = 256;

// Slots lie in blocks that are never handed back, so that a lookup can tell by arithmetic only whether an address names
// a slot. A block is untouched memory at first; its slots are made one after the other.
struct Block {
    DmaSlot* first = nullptr;
    std::size_t size = 0;              // slots
    std::atomic<std::size_t> made{0};  // slots; lookups look no further
};

// Lookups read the blocks without the lock: a block is written before the count that admits it, a slot before the
// count of its block.
struct DmaSlots {
    VecTableSupport::Mutex mutex;
    std::array<Block, kMostBlocks> blocks{};
    std::atomic<std::size_t> blockCount{0};
    DmaSlot* oldestFree GUARDED_BY(mutex) = nullptr;  // freed slots, in the order of their release
    DmaSlot* latestFree GUARDED_BY(mutex) = nullptr;
};

constinit DmaSlots slots;

// A block as large as all before it, or what there is room for, if any.
void AddBlock() noexcept NEEDS(slots.mutex) {
    const std::size_t count = slots.blockCount.load(std::memory_order_relaxed);
    if (count == kMostBlocks) return;
    std::size_t size = 0;
    for (std::size_t i = 0; i < count; ++i) size += slots.blocks[i].size;
    size = std::max(size, kFirstBlock);
    Block& block = slots.blocks[count];
    constexpr std::align_val_t kAlignment{alignof(DmaSlot)};
    void* memory = nullptr;
    while ((memory = ::operator new(size * sizeof(DmaSlot), kAlignment, std::nothrow)) == nullptr) {
        if (size <= kSmallestBlock) return;
        size /= 2;
    }
    block.first = static_cast<DmaSlot*>(memory);
    block.size = size;
    slots.blockCount.store(count + 1, std::memory_order_release);
}

// A slot of the last block that was never used, or null.
DmaSlot* MakeSlot() noexcept NEEDS(slots.mutex) {
    const std::size_t count = slots.blockCount.load(std::memory_order_relaxed);
    if (count == 0) return nullptr;
    Block& block = slots.blocks[count - 1];
    const std::size_t made = block.made.load(std::memory_order_relaxed);
    if (made == block.size) return nullptr;
    auto* slot = new (block.first + made) DmaSlot;
    block.made.store(made + 1, std::memory_order_release);
    return slot;
}

// Slots that were never used come first and freed ones in the order of their release, so that a stale key stays stale
// as long as can be.
DmaSlot* TakeSlot() noexcept NEEDS(slots.mutex) {
    if (DmaSlot* slot = MakeSlot()) return slot;
    if (slots.oldestFree == nullptr) {
        AddBlock();
        return MakeSlot();
    }
    DmaSlot* slot = slots.oldestFree;
    slots.oldestFree = slot->nextFree;
    slot->nextFree = nullptr;
    return slot;
}

void GiveBackSlot(DmaObject& object) noexcept NEEDS(slots.mutex) {
    auto* slot = reinterpret_cast<DmaSlot*>(&object);
    if (slots.oldestFree == nullptr) {
        slots.oldestFree = slot;
    } else {
        slots.latestFree->nextFree = slot;
    }
    slots.latestFree = slot;
}

DmaSlot* FindSlot(std::int64_t address) noexcept {
    const auto wanted = static_cast<std::uintptr_t>(address);
    for (std::size_t i = slots.blockCount.load(std::memory_order_acquire); i-- > 0;) {
        const Block& block = slots.blocks[i];
        const std::uintptr_t offset = wanted - reinterpret_cast<std::uintptr_t>(block.first);
        if (offset >= block.made.load(std::memory_order_acquire) * sizeof(DmaSlot)) continue;
        return offset % sizeof(DmaSlot) == 0 ? block.first + offset / sizeof(DmaSlot) : nullptr;
    }
    return nullptr;
}

}  // namespace

DmaObject* AllocateDmaObject() noexcept {
    const MutexHold lock(slots.mutex);
    DmaSlot* slot = TakeSlot();
    return slot == nullptr ? nullptr : &slot->object;
}

void ReleaseDmaObject(DmaObject& object) noexcept {
    const MutexHold lock(slots.mutex);
    GiveBackSlot(object);
}

DmaObject* DmaObjectAt(std::int64_t key) noexcept {
    DmaSlot* slot = FindSlot(SatKeyToAddr(key));
    return slot == nullptr ? nullptr : &slot->object;
}

DmaObject* FindDmaObject(std::int64_t key) noexcept {
    DmaObject* object = DmaObjectAt(key);
    return object != nullptr && IsObjectOf(*object, key) ? object : nullptr;
}

DmaRemoval ReleaseDma(std::int64_t key) noexcept {
    const MutexHold lock(slots.mutex);
    DmaObject* object = FindDmaObject(key);
    if (object == nullptr) return DmaRemoval::kNoObject;
    if (!VecTableTypes::VecTabElsetType(object->elsetType)) return DmaRemoval::kWrongObject;
    delete object->propData.exchange(nullptr);
    if (object->dmaLinkA != nullptr || object->dmaLinkB != nullptr) return DmaRemoval::kRemoved;
    object->elsetType = 0;
    object->selfAddr.store(0, std::memory_order_release);
    GiveBackSlot(*object);
    return DmaRemoval::kRemoved;
}

void LockDmaSlots() noexcept NOT_ANALYSED {
    slots.mutex.lock();
}

void UnlockDmaSlots() noexcept NOT_ANALYSED {
    slots.mutex.unlock();
}

void LogDmaRemoval(DmaRemoval removal) noexcept {
    if (removal == DmaRemoval::kNoObject) TraceLogError("RemoveDMA: /DMA doesn't exist or was already deallocated");
    if (removal == DmaRemoval::kWrongObject) TraceLogError("RemoveDMA: This DMA object isn't a correct object.");
}

std::int32_t RemoveDMA(std::int64_t key) noexcept {
    const DmaRemoval removal = ReleaseDma(key);
    LogDmaRemoval(removal);
    return removal == DmaRemoval::kRemoved ? 0 : 2;
}

}  // namespace VecTableTree
