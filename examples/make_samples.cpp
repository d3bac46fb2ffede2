// Makes the sample ephemerides: three orbits, propagated with the point mass of the Earth and its oblateness.
//
//     make_samples FOLDER
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// Constants of the World Geodetic System 1972, as the default Earth radius and gravity constant of the library.
constexpr double kMu = 398600.8;           // km^3/s^2
constexpr double kEarthRadius = 6378.135;  // km
constexpr double kJ2 = 1.082616e-3;
constexpr double kRadiansPerDegree = 0.017453292519943295;

using Vector = std::array<double, 3>;

struct State {
    double seconds = 0.0;  // since the epoch of all samples, 2026-03-01 00:00:00 UTC
    Vector pos{};          // km, true equator of date
    Vector vel{};          // km/s
};

struct Orbit {
    std::string name;
    int satNum;
    double perigeeHeight;  // km
    double apogeeHeight;   // km
    double inclination;    // degrees
    double perigee;        // argument of perigee, degrees
    double step;           // s, between points
    int points;
};

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
    next.seconds += h;
    for (std::size_t i = 0; i < 3; ++i) {
        next.pos[i] += h / 6 * (v1[i] + 2 * v2[i] + 2 * v3[i] + v4[i]);
        next.vel[i] += h / 6 * (a1[i] + 2 * a2[i] + 2 * a3[i] + a4[i]);
    }
    return next;
}

// At perigee, the node on the x axis.
State StartOf(const Orbit& orbit) {
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

std::vector<State> Propagate(const Orbit& orbit) {
    constexpr int kStepsPerPoint = 60;
    std::vector<State> states{StartOf(orbit)};
    while (static_cast<int>(states.size()) < orbit.points) {
        State state = states.back();
        for (int i = 0; i < kStepsPerPoint; ++i) state = Step(state, orbit.step / kStepsPerPoint);
        state.seconds = orbit.step * static_cast<double>(states.size());
        states.push_back(state);
    }
    return states;
}

std::string Format(const char* format, double value) {
    std::array<char, 64> text;
    std::snprintf(text.data(), text.size(), format, value);
    return text.data();
}

void WriteDotE(const std::string& folder, const Orbit& orbit, const std::vector<State>& states) {
    std::ofstream file(folder + "/" + std::to_string(orbit.satNum) + "_" + orbit.name + ".e");
    file << "stk.v.12.0\n\nBEGIN Ephemeris\n\n"
         << "NumberOfEphemerisPoints  " << states.size() << "\n"
         << "ScenarioEpoch            1 Mar 2026 00:00:00.000\n"
         << "CentralBody              Earth\n"
         << "CoordinateSystem         TEMEOfDate\n"
         << "DistanceUnit             Kilometers\n\n"
         << "EphemerisTimePosVel\n\n";
    for (const State& state : states) {
        file << Format("%.3f", state.seconds);
        for (const double x : state.pos) file << Format(" %.6f", x);
        for (const double v : state.vel) file << Format(" %.9f", v);
        file << "\n";
    }
    file << "\nend Ephemeris\n";
    if (!file.flush()) throw std::runtime_error("cannot write a Dot-E file into " + folder);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: make_samples FOLDER\n", stderr);
        return EXIT_FAILURE;
    }
    const std::array<Orbit, 3> orbits = {{
        {"leo", 10001, 500.0, 520.0, 51.6, 30.0, 60.0, 121},
        {"geo", 10002, 35786.0, 35788.0, 0.1, 0.0, 900.0, 97},
        {"heo", 10003, 1000.0, 39360.0, 63.4, 270.0, 120.0, 361},
    }};
    try {
        for (const Orbit& orbit : orbits) WriteDotE(argv[1], orbit, Propagate(orbit));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "make_samples: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
