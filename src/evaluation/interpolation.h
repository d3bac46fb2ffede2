// The state of a record at a time between its points.
#pragma once

#include <cstdint>

#include "evaluation/gap_policy.h"
#include "evaluation/outcome.h"

namespace VecTableProcessing {

// The state of `record` at `timeTai`, days since 1950, TAI: a stored point when the time is within 10^-12 days of one,
// else the interpolation over the four points round it, which must not lie further apart than kSpacingLimit on the
// average. Times up to 0.0005 s outside the table are served. 0, or 2 with an entry in the log and `point` all zero.
// The interface fixes TAI for the time; it is turned back into UTC, the scale of the points.
// Reads the record and keeps nothing: any number of threads may evaluate one record at a time.
VECTABLE_MODULE std::int32_t InterpolateEP(const VecTabRecord& record, double timeTai, VecTabPoint& point) noexcept;

// The revolution number of `point`, 0 to 99999: `refRev`, that of the stored point `refPoint`, moved by one when an
// ascending crossing of the equatorial plane lies between the two.
VECTABLE_MODULE std::int32_t UpdateRev(const VecTabPoint& point, const VecTabPoint& refPoint,
                                       std::int32_t refRev) noexcept;

// Logs why an evaluation gave no state.
void LogEvaluation(Outcome outcome, const Gap& gap) noexcept;

}  // namespace VecTableProcessing
