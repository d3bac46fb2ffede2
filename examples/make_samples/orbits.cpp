#include "orbits.h"

#include <cmath>
#include <erfa.h>

namespace SampleMaking {
namespace {

// Constants of the World Geodetic System 1972, as the default Earth radius and gravity constant of the library.
constexpr double kMu = 398600.8;           // km^3/s^2
constexpr double kEarthRadius = 6378.135;  // km
constexpr double kJ2 = 1.082616e-3;
constexpr double kRadiansPerDegree = 0.017453292519943295;
constexpr double kEarthRate = 7.292115146706979e-5;  // rad/s, of the sidereal time of 1982
constexpr double kEpochJulianDay = 2433281.5 + kEpochDs50UTC;
constexpr double kTtMinusUtc = 37.0 + 32.184;  // s, from 2017 on
constexpr double kSecondsPerDay = 86400.0;

Vector Acceleration(const Vector& r) {
    const double r2 = r[0] * r[0] + r[1] * r[1] + r[2] * r[2];
    const double pull = -kMu / (r2 * std::sqrt(r2));
    const double bulge = 1.5 * kJ2 * kEarthRadius * kEarthRadius / r2;
    const double polar = 5.0 * r[2] * r[2] / r2;
    return {pull * r[0] * (1.0 + bulge * (1.0 - polar)), pull * r[1] * (1.0 + bulge * (1.0 - polar)),
            pull * r[2] * (1.0 + bulge * (3.0 - polar))};
}

// One step of the classical Runge-Kutta method.
State Step(const State& s, double h) {
    const auto moved = [](const Vector& a, const Vector& b, double factor) {
        return Vector{a[0] + factor * b[0], a[1] + factor * b[1], a[2] + factor * b[2]};
    };
    const Vector v1 = s.vel;
    const Vector a1 = Acceleration(s.pos);
    const Vector v2 = moved(s.vel, a1, h / 2);
    const Vector a2 = Acceleration(moved(s.pos, v1, h / 2));
    const Vector v3 = moved(s.vel, a2, h / 2);
    const Vector a3 = Acceleration(moved(s.pos, v2, h / 2));
    const Vector v4 = moved(s.vel, a3, h);
    const Vector a4 = Acceleration(moved(s.pos, v3, h));
    State next = s;
    for (std::size_t i = 0; i < 3; ++i) {
        next.pos[i] += h / 6 * (v1[i] + 2 * v2[i] + 2 * v3[i] + v4[i]);
        next.vel[i] += h / 6 * (a1[i] + 2 * a2[i] + 2 * a3[i] + a4[i]);
    }
    return next;
}

State AtPerigee(const Orbit& orbit) {
    const double rp = kEarthRadius + orbit.perigeeHeight;
    const double ra = kEarthRadius + orbit.apogeeHeight;
    const double speed = std::sqrt(2.0 * kMu * ra / (rp * (rp + ra)));
    const double cosI = std::cos(orbit.inclination * kRadiansPerDegree);
    const double sinI = std::sin(orbit.inclination * kRadiansPerDegree);
    const double cosW = std::cos(orbit.perigee * kRadiansPerDegree);
    const double sinW = std::sin(orbit.perigee * kRadiansPerDegree);
    State state;
    state.pos = {rp * cosW, rp * sinW * cosI, rp * sinW * sinI};
    state.vel = {-speed * sinW, speed * cosW * cosI, speed * cosW * sinI};
    return state;
}

}  // namespace

std::vector<State> Propagate(const Orbit& orbit) {
    constexpr int kStepsPerPoint = 60;
    std::vector<State> states{AtPerigee(orbit)};
    while (static_cast<int>(states.size()) < orbit.points) {
        State state = states.back();
        for (int i = 0; i < kStepsPerPoint; ++i) state = Step(state, orbit.step / kStepsPerPoint);
        state.seconds = orbit.step * static_cast<double>(states.size());
        states.push_back(state);
    }
    return states;
}

// The equinox of date runs ahead of the mean one by the equation of the equinoxes.
State MeanOfJ2000(const State& state) {
    const double day = (state.seconds + kTtMinusUtc) / kSecondsPerDay;
    double inLongitude = 0.0, inObliquity = 0.0;
    eraNut80(kEpochJulianDay, day, &inLongitude, &inObliquity);
    const double equinoxes = inLongitude * std::cos(eraObl80(kEpochJulianDay, day));
    double toDate[3][3], toUniformEquinox[3][3];
    eraPnm80(kEpochJulianDay, day, toDate);
    eraIr(toUniformEquinox);
    eraRz(equinoxes, toUniformEquinox);
    eraRxr(toUniformEquinox, toDate, toDate);
    State turned = state;
    for (const auto part : {&State::pos, &State::vel}) {
        Vector ofDate = state.*part;
        eraTrxp(toDate, ofDate.data(), (turned.*part).data());
    }
    return turned;
}

State EarthFixed(const State& state) {
    const double angle = eraGmst82(kEpochJulianDay, state.seconds / kSecondsPerDay);
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    const auto turned = [&](const Vector& x) { return Vector{c * x[0] + s * x[1], -s * x[0] + c * x[1], x[2]}; };
    State fixed{state.seconds, turned(state.pos), turned(state.vel)};
    fixed.vel[0] += kEarthRate * fixed.pos[1];
    fixed.vel[1] -= kEarthRate * fixed.pos[0];
    return fixed;
}

}  // namespace SampleMaking
