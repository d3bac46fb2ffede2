// The settings that decide how records are stored. The host program sets them; every thread may read and set them at
// any time.
#pragma once

#include <atomic>
#include <cstdint>

namespace VecTableSupport {

inline constexpr std::int32_t kTreeMode = 0;
inline constexpr std::int32_t kDirectMemoryMode = 1;

struct KeyModeSettings {
    // Sequentially consistent by default: settings that hardly change, each one alone.
    std::atomic<bool> useAllKeyMode{false};
    std::atomic<std::int32_t> allKeyMode{kTreeMode};
    std::atomic<std::int32_t> elsetKeyMode{kTreeMode};
    std::atomic<std::int32_t> dupKeyMode{0};
};

inline KeyModeSettings keyModeSettings;

// Whether AllKeyModeGet is to be taken rather than ElsetKeyModeGet.
inline bool UseAllKeyMode() noexcept {
    return keyModeSettings.useAllKeyMode;
}
inline std::int32_t AllKeyModeGet() noexcept {
    return keyModeSettings.allKeyMode;
}
inline std::int32_t ElsetKeyModeGet() noexcept {
    return keyModeSettings.elsetKeyMode;
}

// The mode of records that are stored from now on: one of the two above.
inline std::int32_t KeyMode() noexcept {
    const std::int32_t mode = UseAllKeyMode() ? AllKeyModeGet() : ElsetKeyModeGet();
    return mode == kDirectMemoryMode ? kDirectMemoryMode : kTreeMode;
}

// 0: a duplicate is reported and gives key 0; any other value: it is silent and gives the key.
inline std::int32_t DupKeyModeGet() noexcept {
    return keyModeSettings.dupKeyMode;
}

}  // namespace VecTableSupport
