// What a walk over the points of a record finds, and what it says of states between them.
#pragma once

#include <vectable/vectable.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "records.h"

namespace Vectab {

// The notes on a table, which `info` lists and `states` marks times with.
inline constexpr std::string_view kNoVelocities = "no velocities";
inline constexpr std::string_view kHole = "hole";
inline constexpr std::string_view kLongStep = "long step";
inline constexpr std::string_view kFewPoints = "few points";

// Two neighbouring points that lie far apart.
struct Gap {
    std::size_t interval;  // from the point of this index, counted from 0, to the next one
    double from;           // days since 1950, UTC
    double to;
    bool filled;  // whether the library gives states inside

    double Seconds() const noexcept;
};

// The error at a point that is left out of the table and found from two neighbours on either side.
struct LeftOut {
    double ds50UTC;
    double position;  // m
};

struct Survey {
    std::vector<State> points;
    std::size_t withCovariance = 0;
    std::size_t withScalar = 0;
    std::size_t withoutVelocity = 0;
    std::vector<Gap> holes;        // steps of more than VEC_TAB_GAP_MINUTES
    std::vector<Gap> longSteps;    // shorter ones of more than four times the steps around
    std::vector<LeftOut> leftOut;  // none without velocities
    std::size_t tooLarge = 0;      // points whose error is too large to be computed
    std::vector<LeftOut> spikes;   // of the errors, which no smooth orbit has

    bool HasVelocities() const noexcept { return withoutVelocity < points.size(); }

    // Whether the points of the indices `first` to `last` have a hole or a long step between them.
    bool Interrupted(std::size_t first, std::size_t last) const noexcept;

    // Why a state at the time is not to be trusted: one of the notes above, or nothing.
    std::string_view Mark(double ds50UTC) const noexcept;
};

// A point with its covariance, by number from 1.
State ReadPoint(const Record& record, std::int32_t number, double (&covMtx)[VEC_TAB_COV_ELEMENTS]);

Survey SurveyOf(const Record& record);

}  // namespace Vectab
