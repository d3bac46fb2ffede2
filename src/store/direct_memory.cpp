#include "store/direct_memory.h"

#include <array>
#include <cstddef>
#include <mutex>
#include <new>

#include "support/keys.h"
#include "support/trace_log.h"

namespace VecTableTree {
namespace {

using VecTableSupport::SatKeyToAddr;
using VecTableSupport::TraceLogError;

// A slot holds one object, at its start. Slots lie in blocks that double in size and are never handed back, so that a
// lookup can tell by arithmetic alone whether an address names a slot.
struct alignas(64) DmaSlot {
    DmaObject object;
    DmaSlot* nextFree = nullptr;
};

constexpr std::size_t kFirstBlockSize = 256;  // slots
constexpr std::size_t kMostBlocks = 40;

constexpr std::size_t BlockSize(std::size_t block) noexcept {
    return kFirstBlockSize << block;
}

// Lookups read `blocks` and `blockCount` without the lock: a block is written ahead of the count that admits it.
struct DmaSlots {
    std::mutex mutex;
    std::array<std::atomic<DmaSlot*>, kMostBlocks> blocks{};
    std::atomic<std::size_t> blockCount{0};
    std::size_t fresh = 0;          // slots of the last block that were never used
    DmaSlot* oldestFree = nullptr;  // freed slots, in the order of their release
    DmaSlot* latestFree = nullptr;
};

constinit DmaSlots slots;

bool AddBlock() noexcept {
    const std::size_t count = slots.blockCount.load(std::memory_order_relaxed);
    if (count == kMostBlocks) return false;
    auto* block = new (std::nothrow) DmaSlot[BlockSize(count)];
    if (block == nullptr) return false;
    slots.blocks[count].store(block, std::memory_order_relaxed);
    slots.blockCount.store(count + 1, std::memory_order_release);
    slots.fresh = BlockSize(count);
    return true;
}

// Slots that were never used come first and freed ones in the order of their release, so that a stale key stays stale
// as long as can be.
DmaSlot* TakeSlot() noexcept {
    if (slots.fresh == 0 && slots.oldestFree == nullptr && !AddBlock()) return nullptr;
    if (slots.fresh > 0) {
        const std::size_t last = slots.blockCount.load(std::memory_order_relaxed) - 1;
        return slots.blocks[last].load(std::memory_order_relaxed) + (BlockSize(last) - slots.fresh--);
    }
    DmaSlot* slot = slots.oldestFree;
    slots.oldestFree = slot->nextFree;
    slot->nextFree = nullptr;
    return slot;
}

void GiveBackSlot(DmaObject& object) noexcept {
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
    for (std::size_t block = slots.blockCount.load(std::memory_order_acquire); block-- > 0;) {
        DmaSlot* first = slots.blocks[block].load(std::memory_order_relaxed);
        const std::uintptr_t offset = wanted - reinterpret_cast<std::uintptr_t>(first);
        if (offset >= BlockSize(block) * sizeof(DmaSlot)) continue;
        return offset % sizeof(DmaSlot) == 0 ? first + offset / sizeof(DmaSlot) : nullptr;
    }
    return nullptr;
}

}  // namespace

DmaObject* AllocateDmaObject() noexcept {
    const std::lock_guard lock(slots.mutex);
    DmaSlot* slot = TakeSlot();
    return slot == nullptr ? nullptr : &slot->object;
}

void ReleaseDmaObject(DmaObject& object) noexcept {
    const std::lock_guard lock(slots.mutex);
    GiveBackSlot(object);
}

DmaObject* FindDmaObject(std::int64_t key) noexcept {
    DmaSlot* slot = FindSlot(SatKeyToAddr(key));
    if (slot == nullptr) return nullptr;
    return slot->object.selfAddr.load(std::memory_order_acquire) == SatKeyToAddr(key) ? &slot->object : nullptr;
}

std::int32_t RemoveDMA(std::int64_t key) noexcept {
    const std::lock_guard lock(slots.mutex);
    DmaObject* object = FindDmaObject(key);
    if (object == nullptr) {
        TraceLogError("RemoveDMA: /DMA doesn't exist or was already deallocated");
        return 2;
    }
    if (!VecTableTypes::VecTabElsetType(object->elsetType)) {
        TraceLogError("RemoveDMA: This DMA object isn't a correct object.");
        return 2;
    }
    delete object->propData.exchange(nullptr);
    if (object->dmaLinkA != nullptr || object->dmaLinkB != nullptr) return 0;
    object->elsetType = 0;
    object->selfAddr.store(0, std::memory_order_release);
    GiveBackSlot(*object);
    return 0;
}

}  // namespace VecTableTree
