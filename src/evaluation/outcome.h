// What becomes of a request for a state.
#pragma once

#include <vectable/batch.h>

#include <cstdint>

namespace VecTableProcessing {

// The outcomes that a batch tells come first, by their numbers there.
enum class Outcome : std::uint8_t {
    kState = VEC_BATCH_STATE,
    kNoRecord = VEC_BATCH_NO_RECORD,
    kOutside = VEC_BATCH_OUTSIDE,
    kGap = VEC_BATCH_GAP,
    kTooFew = VEC_BATCH_TOO_FEW,
    kNoPoints,
    kNoIndex,
};

}  // namespace VecTableProcessing
