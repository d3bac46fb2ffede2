// The objects that direct-memory keys name.
//
// Threads: any thread may ask for an object at any time, with any 64-bit value as the key. Making and removing objects
// exclude each other; removing an object that another thread is using is for the caller to avoid.
#pragma once

#include <cstdint>

#include "store/record_types.h"
#include "support/keys.h"

namespace VecTableTree {

using VecTableTypes::DmaObject;
using VecTableTypes::VecTabRecord;

// A free object, all its fields default; null when there is no memory for one.
DmaObject* AllocateDmaObject() noexcept;

// Takes back an object that never became visible to a lookup.
void ReleaseDmaObject(DmaObject& object) noexcept;

// The object in use that the key names, or null. Reads no memory but that of the objects, whatever the key is.
DmaObject* FindDmaObject(std::int64_t key) noexcept;

// The same in two steps, the first of which does not read the object.
DmaObject* DmaObjectAt(std::int64_t key) noexcept;
inline bool IsObjectOf(const DmaObject& object, std::int64_t key) noexcept {
    return object.selfAddr.load(std::memory_order_acquire) == VecTableSupport::SatKeyToAddr(key);
}

// What became of the record of a key.
enum class DmaRemoval { kRemoved, kNoObject, kWrongObject };

// Releases the record of the key and, unless a link holds it, the object. Logs nothing.
DmaRemoval ReleaseDma(std::int64_t key) noexcept;

// Logs why a removal failed.
void LogDmaRemoval(DmaRemoval removal) noexcept;

// Between the two no object is made or removed: for a process that forks.
void LockDmaSlots() noexcept;
void UnlockDmaSlots() noexcept;

// ReleaseDma: 0, or 2 with an entry in the log.
VECTABLE_MODULE std::int32_t RemoveDMA(std::int64_t key) noexcept;

}  // namespace VecTableTree
