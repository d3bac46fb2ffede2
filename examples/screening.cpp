// Screens a catalogue for close approaches: every pair of satellites, over four hours, in steps of ten seconds.
//
//     screening [SATELLITES [THREADS]]
//
// Without arguments 20,000 satellites on circular orbits between 6,800 and 7,600 km, on two threads. Each thread takes
// a few steps at a time and asks for all their states in one batch. At each step the positions are sorted into the
// cubes of a grid, so that a satellite is compared with those in its own cube and the 26 around it alone. Of two that
// are in reach the distance is taken where it is smallest within half a step, moving straight: no two satellites come
// closer than 20 km without being found. The curve of the orbits is left out, which costs metres.
//
// Prints the closest approach of each half hour, the ten closest pairs, and how long the states took and the rest.
#include <vectable/batch.h>
#include <vectable/vectable.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <future>
#include <limits>
#include <stdexcept>
#include <tuple>
#include <vector>

namespace {

constexpr double kMu = 398600.8;      // km^3/s^2
constexpr double kStart = 27819.0;    // days since 1950, UTC: 1 March 2026
constexpr int kPoints = 251;          // a minute apart, five of them before the start and five after the end
constexpr std::size_t kSteps = 1440;  // ten seconds apart
constexpr double kStep = 10.0;        // s
constexpr std::size_t kStepsAtOnce = 4;
constexpr double kLimit = 20.0;                              // km
constexpr double kTopSpeed = 15.5;                           // km/s, of two satellites that meet head-on
constexpr double kReach = kLimit + kTopSpeed * kStep / 2.0;  // km

using Vector = std::array<double, 3>;

struct State {
    Vector pos;  // km
    Vector vel;  // km/s
};

struct Approach {
    double distance = std::numeric_limits<double>::infinity();  // km
    double time = 0.0;                                          // s since the start
    std::uint32_t a = 0;
    std::uint32_t b = 0;
};

bool IsCloser(const Approach& a, const Approach& b) {
    return a.distance < b.distance;
}

// The part of 1 that the i-th of a series takes, spread evenly without a pattern.
double Spread(int i, double step) {
    const double part = i * step;
    return part - std::floor(part);
}

State OnOrbit(int satellite, double seconds) {
    const double turn = 2.0 * std::acos(-1.0);
    const double radius = 6800.0 + 800.0 * Spread(satellite, 0.7548776662466927);
    const double inclination = turn / 4.0 * Spread(satellite, 0.5698402909980532);
    const double node = turn * Spread(satellite, 0.6180339887498949);
    const double rate = std::sqrt(kMu / (radius * radius * radius));
    const double angle = turn * Spread(satellite, 0.4142135623730950) + rate * seconds;
    const Vector p = {std::cos(node), std::sin(node), 0.0};
    const Vector q = {-std::sin(node) * std::cos(inclination), std::cos(node) * std::cos(inclination),
                      std::sin(inclination)};
    State state{};
    for (std::size_t i = 0; i < 3; ++i) {
        state.pos[i] = radius * (std::cos(angle) * p[i] + std::sin(angle) * q[i]);
        state.vel[i] = radius * rate * (std::cos(angle) * q[i] - std::sin(angle) * p[i]);
    }
    return state;
}

std::vector<std::int64_t> MakeCatalogue(int satellites) {
    std::vector<std::int64_t> keys;
    for (int satellite = 0; satellite < satellites; ++satellite) {
        keys.push_back(VecTabAddSat(satellite, kStart, 6378.135, 0.0743669161, 1));
        for (int minute = -5; minute < kPoints - 5; ++minute) {
            const State s = OnOrbit(satellite, 60.0 * minute);
            if (VecTabAddSatEphem(keys.back(), kStart + minute / 1440.0, s.pos.data(), s.vel.data(), 0) != 0) {
                throw std::runtime_error("no memory for the catalogue");
            }
        }
    }
    return keys;
}

// Where two that move straight are closest within half a step.
Approach Closest(const State& a, const State& b, double seconds) {
    double rv = 0.0, vv = 0.0;
    for (std::size_t i = 0; i < 3; ++i) {
        rv += (a.pos[i] - b.pos[i]) * (a.vel[i] - b.vel[i]);
        vv += (a.vel[i] - b.vel[i]) * (a.vel[i] - b.vel[i]);
    }
    const double after = vv > 0.0 ? std::clamp(-rv / vv, -kStep / 2.0, kStep / 2.0) : 0.0;
    double squares = 0.0;
    for (std::size_t i = 0; i < 3; ++i) {
        const double d = a.pos[i] - b.pos[i] + after * (a.vel[i] - b.vel[i]);
        squares += d * d;
    }
    return {std::sqrt(squares), seconds + after, 0, 0};
}

// Cubes whose edge is the reach. Cubes far apart may share a place in the table; the distance tells them apart.
class Grid {
  public:
    // Calls `use` for each pair that may be in reach.
    template <typename Use>
    void ForEachPair(const State* states, std::size_t count, Use use) {
        newest_.assign(kPlaces, kNone);
        before_.resize(count);
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::array<int, 3> cube = CubeOf(states[i].pos);
            for (int place = 0; place < 27; ++place) {
                const std::array<int, 3> beside = {cube[0] + place % 3 - 1, cube[1] + place / 3 % 3 - 1,
                                                   cube[2] + place / 9 - 1};
                for (std::uint32_t k = newest_[PlaceOf(beside)]; k != kNone; k = before_[k]) {
                    if (CubeOf(states[k].pos) == beside) use(i, k);
                }
            }
            std::uint32_t& newest = newest_[PlaceOf(cube)];
            before_[i] = newest;
            newest = i;
        }
    }

  private:
    static constexpr int kPlaceBits = 15;
    static constexpr std::size_t kPlaces = std::size_t{1} << kPlaceBits;
    static constexpr std::uint32_t kNone = 0xFFFFFFFF;

    static std::array<int, 3> CubeOf(const Vector& pos) {
        std::array<int, 3> cube{};
        for (std::size_t i = 0; i < 3; ++i) cube[i] = static_cast<int>(std::floor(pos[i] / kReach));
        return cube;
    }
    static std::size_t PlaceOf(const std::array<int, 3>& cube) {
        std::uint64_t place = 0;
        for (const int c : cube) place = (place + static_cast<std::uint32_t>(c)) * 0x9E3779B97F4A7C15U;
        return place >> (64 - kPlaceBits);
    }

    std::vector<std::uint32_t> newest_;  // by place
    std::vector<std::uint32_t> before_;  // by satellite: the one that came to its place before it
};

// What one thread found.
struct Findings {
    std::vector<Approach> closestOfStep = std::vector<Approach>(kSteps);
    std::vector<Approach> close;  // all within the limit
    double batchSeconds = 0.0;
    double seconds = 0.0;
};

double SecondsSince(std::chrono::steady_clock::time_point begin) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

// The states of all satellites at a few steps, satellite by satellite: a table is asked once for all of them.
std::vector<State> AskStates(const std::vector<std::int64_t>& keys, std::size_t firstStep) {
    std::array<double, kStepsAtOnce> times;
    for (std::size_t i = 0; i < kStepsAtOnce; ++i) {
        times[i] = kStart + static_cast<double>(firstStep + i) * kStep / 86400.0;
    }
    std::vector<State> states(keys.size() * kStepsAtOnce);
    const auto count = static_cast<std::int64_t>(keys.size());
    if (VecBatchGrid(count, keys.data(), kStepsAtOnce, times.data(), states.front().pos.data(), nullptr, nullptr,
                     nullptr) != 0) {
        throw std::runtime_error("a satellite has no state");
    }
    return states;
}

void ScreenStep(std::size_t step, const std::vector<State>& states, Grid& grid, Findings& findings) {
    grid.ForEachPair(states.data(), states.size(), [&](std::uint32_t a, std::uint32_t b) {
        Approach found = Closest(states[a], states[b], static_cast<double>(step) * kStep);
        found.a = std::min(a, b);
        found.b = std::max(a, b);
        if (IsCloser(found, findings.closestOfStep[step])) findings.closestOfStep[step] = found;
        if (found.distance <= kLimit) findings.close.push_back(found);
    });
}

// What one thread does: a few steps after the other, until none is left.
Findings Screen(const std::vector<std::int64_t>& keys, std::atomic<std::size_t>& nextStep) {
    const auto begin = std::chrono::steady_clock::now();
    Findings findings;
    Grid grid;
    std::vector<State> atStep(keys.size());
    std::size_t first = 0;
    while ((first = nextStep.fetch_add(kStepsAtOnce)) < kSteps) {
        const auto asked = std::chrono::steady_clock::now();
        const std::vector<State> states = AskStates(keys, first);
        findings.batchSeconds += SecondsSince(asked);
        for (std::size_t i = 0; i < kStepsAtOnce; ++i) {
            for (std::size_t k = 0; k < keys.size(); ++k) atStep[k] = states[k * kStepsAtOnce + i];
            ScreenStep(first + i, atStep, grid, findings);
        }
    }
    findings.seconds = SecondsSince(begin);
    return findings;
}

Findings ScreenOnThreads(const std::vector<std::int64_t>& keys, int threads) {
    std::atomic<std::size_t> nextStep = 0;
    std::vector<std::future<Findings>> parts;
    parts.reserve(static_cast<std::size_t>(threads));
    for (int i = 0; i < threads; ++i) {
        parts.push_back(std::async(std::launch::async, [&] { return Screen(keys, nextStep); }));
    }
    Findings all;
    for (std::future<Findings>& part : parts) {
        const Findings found = part.get();
        for (std::size_t step = 0; step < kSteps; ++step) {
            all.closestOfStep[step] = std::min(all.closestOfStep[step], found.closestOfStep[step], IsCloser);
        }
        all.close.insert(all.close.end(), found.close.begin(), found.close.end());
        all.batchSeconds += found.batchSeconds;
        all.seconds += found.seconds;
    }
    return all;
}

void Print(const Approach& approach) {
    std::printf("%9.2f s  satellites %5u and %5u  %9.3f km\n", approach.time, approach.a, approach.b,
                approach.distance);
}

void PrintClosestOfHalfHours(const std::vector<Approach>& closestOfStep) {
    constexpr std::ptrdiff_t kHalfHour = 180;  // steps
    std::puts("closest approach of each half hour");
    for (auto step = closestOfStep.begin(); step != closestOfStep.end(); step += kHalfHour) {
        Print(*std::min_element(step, step + kHalfHour, IsCloser));
    }
}

// A pair that stays close for some steps counts once.
void PrintClosestPairs(std::vector<Approach> close) {
    std::sort(close.begin(), close.end(), [](const Approach& x, const Approach& y) {
        return std::tie(x.a, x.b, x.distance) < std::tie(y.a, y.b, y.distance);
    });
    const auto isSamePair = [](const Approach& x, const Approach& y) { return x.a == y.a && x.b == y.b; };
    close.erase(std::unique(close.begin(), close.end(), isSamePair), close.end());
    std::sort(close.begin(), close.end(), IsCloser);
    std::printf("pairs within %.0f km: %zu, the closest of them\n", kLimit, close.size());
    for (std::size_t i = 0; i < std::min<std::size_t>(close.size(), 10); ++i) Print(close[i]);
}

void Run(int satellites, int threads) {
    const std::vector<std::int64_t> keys = MakeCatalogue(satellites);
    const auto begin = std::chrono::steady_clock::now();
    const Findings findings = ScreenOnThreads(keys, threads);
    const double elapsed = SecondsSince(begin);
    PrintClosestOfHalfHours(findings.closestOfStep);
    PrintClosestPairs(findings.close);
    const double states = static_cast<double>(keys.size()) * kSteps;
    std::printf(
        "%.0f states on %d threads in %.2f s; a thread spent %.0f ns on a state and %.0f ns on its neighbours\n",
        states, threads, elapsed, findings.batchSeconds / states * 1e9,
        (findings.seconds - findings.batchSeconds) / states * 1e9);
    VecTabRemoveAllSats();
}

}  // namespace

int main(int argc, char** argv) {
    const int satellites = argc > 1 ? std::atoi(argv[1]) : 20000;
    const int threads = argc > 2 ? std::atoi(argv[2]) : 2;
    if (argc > 3 || satellites < 2 || satellites > 1000000 || threads < 1 || threads > 256) {
        std::fputs("usage: screening [SATELLITES [THREADS]], 2 to 1000000 and 1 to 256\n", stderr);
        return EXIT_FAILURE;
    }
    try {
        Run(satellites, threads);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "screening: %s\n", failure.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
