// How far the library's states between the points of a table are off.
#pragma once

#include <cstddef>
#include <vector>

#include "records.h"
#include "survey.h"

namespace Vectab {

// The largest errors at three times within the interval between two points.
struct ErrorBetween {
    double ds50UTC;   // of the middle
    double position;  // m
    double velocity;  // mm/s
};

struct ErrorEstimate {
    std::vector<ErrorBetween> inner;
    std::vector<ErrorBetween> ends;  // the first and the last interval, whose four points all lie on one side but one
    std::size_t skipped = 0;         // intervals next to a hole or a long step
    std::size_t tooLarge = 0;        // intervals whose numbers are too large to compute with

    bool Any() const noexcept { return !inner.empty() || !ends.empty(); }
    double LargestPosition() const noexcept;
};

// The fewest points that allow an estimate.
std::size_t FewestForEstimate(const Survey& survey) noexcept;

// The difference of the library's states from a reference of higher degree: the polynomial through six points and their
// velocities (degree 11, the library's is 7), in a table without velocities through eight points. For a smooth orbit
// that is the error of interpolation, mostly to a few per cent, and to a fifth where the step is coarse. It does not
// see errors of the points themselves, which both curves share. Of a long table some 20,000 intervals are taken, evenly
// spread, with the first and the last.
ErrorEstimate EstimateErrors(const Record& record, const Survey& survey);

}  // namespace Vectab
