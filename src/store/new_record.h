// Records that are made without a file. The namespace is that of the exported name.
#pragma once

#include <cstdint>

#include "support/module.h"

namespace VecTableCardReading {

// Stores a record without points and gives its key, as AddRecToMem does. The last decimal digit of `typeCode` is the
// frame. `epochDs50UTC` in days since 1950, UTC; `ae` in km; `ke` in (Earth radii)^1.5 a minute.
VECTABLE_MODULE std::int64_t CreateNewSatEntry(std::int32_t satNum, double epochDs50UTC, double ae, double ke,
                                               std::int32_t typeCode);

}  // namespace VecTableCardReading
