// Requests for a state of a stored record, by index or by time.
//
// Threads: any number of requests at once, on one record too; a tree key's record cannot be removed meanwhile.
#pragma once

#include <cstdint>
#include <span>

#include "store/record_types.h"

namespace VecTableDllVarsUtils {

using VecTableTypes::VecTabPoint;

// How a request names its time, and what the time that comes back is.
enum class TimeType : std::int32_t {
    kMse = 1,      // minutes since the first point; back comes ds50UTC
    kDs50UTC = 2,  // days since 1950, UTC; back come minutes since the first point
    kIndex = 3,    // number of a point, counted from 1, a fraction cut off; back comes the ds50UTC of the point
};

// The state of a stored record. `outTime` as TimeType tells; `outMse`, only for kIndex, receives the minutes from the
// first point to the one asked for. `status`: 0, or 2 with an entry in the log and `point` all zero.
VECTABLE_MODULE void GetEphem(std::int64_t satKey, double value, TimeType timeType, double& outTime, VecTabPoint& point,
                              std::int32_t& status, double* outMse = nullptr) noexcept;

// GetEphem as the calls use it: its status is the result, and on a failure `point` says nothing. Without covariance the
// terms of an interpolated point say nothing either.
template <bool kWithCovariance>
std::int32_t FindState(std::int64_t satKey, double value, TimeType timeType, double& outTime, VecTabPoint& point,
                       double* outMse = nullptr) noexcept;

// The full symmetric matrix of the 21 terms of a lower triangle, row by row.
VECTABLE_MODULE void To6x6CovMtx(std::span<double, 36> matrix,
                                 std::span<const double, VecTableTypes::kCovTerms> cov) noexcept;

// The key of the first stored record of a satellite; -1, with an entry in the log, when there is none.
VECTABLE_MODULE std::int64_t GetSatKey(std::int32_t satNum) noexcept;

}  // namespace VecTableDllVarsUtils
