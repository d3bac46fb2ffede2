// The orbits of the sample ephemerides: point mass of the Earth and its oblateness.
#pragma once

#include <array>
#include <vector>

namespace SampleMaking {

using Vector = std::array<double, 3>;

// The epoch of all samples: 2026-03-01 00:00:00 UTC.
inline constexpr int kEpochYear = 2026;
inline constexpr int kEpochDayOfYear = 60;
inline constexpr double kEpochDs50UTC = 27819.0;  // days since 1950

struct State {
    double seconds = 0.0;  // since the epoch
    Vector pos{};          // km
    Vector vel{};          // km/s
};

struct Orbit {
    double perigeeHeight;  // km
    double apogeeHeight;   // km
    double inclination;    // degrees
    double perigee;        // argument of perigee, degrees
    double step;           // s, between points
    int points;
};

inline constexpr Orbit kLeo{500.0, 520.0, 51.6, 30.0, 60.0, 121};
inline constexpr Orbit kShortLeo{500.0, 520.0, 51.6, 30.0, 60.0, 31};
inline constexpr Orbit kGeo{35786.0, 35788.0, 0.1, 0.0, 900.0, 97};
inline constexpr Orbit kHeo{1000.0, 39360.0, 63.4, 270.0, 120.0, 361};

// The states of an orbit in the frame of true equator and mean equinox of date (TEME), perigee at the epoch, the node
// on the x axis.
std::vector<State> Propagate(const Orbit& orbit);

// A state of that frame in the frame of mean equator and equinox of J2000: precession of 1976, nutation of 1980.
State MeanOfJ2000(const State& state);

// A state of that frame in the one that turns with the Earth: sidereal time of 1982, UT1 taken as UTC, no polar motion.
State EarthFixed(const State& state);

}  // namespace SampleMaking
