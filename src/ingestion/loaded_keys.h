// The keys of the records that the calling thread's last load has stored, for a host that asks after the load.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace VecTableCardReading {

// A load: as long as it lives, its thread remembers keys. Those of the load before are forgotten.
class LoadScope {
  public:
    LoadScope() noexcept;
    LoadScope(const LoadScope&) = delete;
    LoadScope& operator=(const LoadScope&) = delete;
    ~LoadScope();
};

// To be made before the store has the records: then remembering cannot fail.
void MakeRoomForLoadedKeys(std::size_t count);

// Outside of a load a key is not remembered.
void RememberLoadedKey(std::int64_t key) noexcept;

// The next keys in the order of storing, at most so many; good until the thread's next load.
std::span<const std::int64_t> TakeLoadedKeys(std::size_t most) noexcept;

}  // namespace VecTableCardReading
