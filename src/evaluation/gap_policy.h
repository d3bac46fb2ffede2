// How far apart the points may lie that a state comes from.
#pragma once

#include "evaluation/table.h"
#include "support/time_scales.h"

namespace VecTableProcessing {

inline constexpr double kSpacingLimit =
    VEC_TAB_GAP_MINUTES / VecTableSupport::kMinutesPerDay;  // days, mean over the stencil

// The ends of a stencil that is too far apart, days since 1950, UTC.
struct Gap {
    double start = 0.0;
    double end = 0.0;
};

template <typename Point>
inline bool AreTooFarApart(std::span<const Point, kStencilPoints> points) noexcept {
    constexpr double kSteps = kStencilPoints - 1;
    return (points.back().ds50UTC - points.front().ds50UTC) / kSteps > kSpacingLimit;
}

}  // namespace VecTableProcessing
