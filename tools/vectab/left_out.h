// What a table is good for: the error of interpolation at points that are left out of the table.
#pragma once

#include <cstddef>
#include <vector>

#include "records.h"

namespace Vectab {

struct LeftOutError {
    double ds50UTC;   // of the point left out
    double position;  // m
    double velocity;  // mm/s
};

struct LeftOutErrors {
    std::vector<LeftOutError> measured;
    std::size_t refused = 0;  // points whose neighbours lie too far apart
};

// The errors at the points with two neighbours on either side, from a table of these four. Of a long table some 20,000
// points are tried, evenly spread. The step doubles where a point is missing, so that the table itself does better.
LeftOutErrors MeasureLeftOut(const Record& record);

}  // namespace Vectab
