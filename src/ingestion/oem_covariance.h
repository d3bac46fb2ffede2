// The covariances of a segment of an orbit ephemeris message: given at times of their own, in axes of their own.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "store/record_types.h"

namespace VecTableCardReading {

// The axes of a covariance: those of the frame of the states, or ones that go with the satellite. RTN (also called
// RSW): R along the position, N along position x velocity. TNW: T along the velocity, W along position x velocity. The
// second axis makes them right-handed.
enum class CovarianceAxes { kOfStates, kRtn, kTnw };

struct GivenCovariance {
    double ds50UTC = 0.0;  // days since 1950, UTC
    CovarianceAxes axes = CovarianceAxes::kOfStates;
    std::int64_t line = 0;                                 // of the file, where it begins
    std::array<double, VecTableTypes::kCovTerms> terms{};  // lower triangle, row by row; km^2, km^2/s, km^2/s^2
};

// Rotates the terms from axes that go with the satellite into the frame `coordSys`, which is that of the state. The
// rotation of the axes themselves is left out. In a frame that rotates with the Earth the axes come from the inertial
// velocity. False when position and velocity span no plane, and for absurd numbers.
bool RotateToFrameOf(const VecTableTypes::VecTabPoint& state, std::int32_t coordSys, GivenCovariance& given) noexcept;

// Gives every point of the record its covariance: the one of its time; between two of them, which rise in time, the
// straight line; before the first and after the last that one.
void SpreadOverPoints(std::span<const GivenCovariance> given, VecTableTypes::VecTabRecord& record) noexcept;

}  // namespace VecTableCardReading
