// The way of every point into a record.
#pragma once

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

// Cuts the capacity of the array to the number of points.
VECTABLE_MODULE void TrimVecTablePts(VecTabRecord& record) noexcept;

}  // namespace VecTableCardReading
