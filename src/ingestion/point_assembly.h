// The way of every point into a record, and what stands beside it.
#pragma once

#include <cstdint>
#include <string_view>

#include "store/record_types.h"

namespace VecTableCardReading {

using VecTableTypes::VecTabPoint;
using VecTableTypes::VecTabRecord;

// Appends a point. `covTerms`, 21 values, replace those of the point when given. The capacity of the array starts at
// 1000 points and grows by 1000. A point that is not later than the last one is dropped without a word. The first point
// sets epochDs50UTC. On std::bad_alloc the record is as it was.
VECTABLE_MODULE void AddOneEpPoint(const VecTabPoint& point, VecTabRecord& record, const double* covTerms = nullptr);

// The same for a point that is yet to be written but for its time: its place, or null when it is dropped.
VecTabPoint* AddPointAt(double ds50UTC, VecTabRecord& record);

// Reports a line that a reader cannot use, in two entries of the log. Nothing stops.
VECTABLE_MODULE void SkipBadEphemPoint(std::string_view readerName, std::string_view badText) noexcept;

// Cuts the capacity of the array to the number of points.
VECTABLE_MODULE void TrimVecTablePts(VecTabRecord& record) noexcept;

// Stores a record without points and gives its key, as AddRecToMem does. The last decimal digit of `typeCode` is the
// frame. `epochDs50UTC` in days since 1950, UTC; `ae` in km; `ke` in (Earth radii)^1.5 a minute.
VECTABLE_MODULE std::int64_t CreateNewSatEntry(std::int32_t satNum, double epochDs50UTC, double ae, double ke,
                                               std::int32_t typeCode);

}  // namespace VecTableCardReading
