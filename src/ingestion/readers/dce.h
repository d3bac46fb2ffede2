// What the two DCE formats share.
#pragma once

namespace VecTableCardReading {

// The day of the count since 1950 that is day 0 of the DCE formats: 1969-12-31.
inline constexpr double kDceDayZero = 7305.0;

}  // namespace VecTableCardReading
