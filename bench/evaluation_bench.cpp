// What does a state with its covariance cost beside the bare arithmetic?
#include <vectable/vectable.h>

#include <array>
#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

#include "ratio_report.h"

namespace {

std::size_t allocations = 0;

}  // namespace

// The C library's own allocators, counted.
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);

void* malloc(size_t size) {
    ++allocations;
    return __libc_malloc(size);
}
void* calloc(size_t count, size_t size) {
    ++allocations;
    return __libc_calloc(count, size);
}
void* realloc(void* memory, size_t size) {
    ++allocations;
    return __libc_realloc(memory, size);
}
}

namespace {

constexpr int kPoints = 1440;
constexpr int kRecords = 2000;
constexpr double kStart = 27819.0;

struct Point {
    double time;
    std::array<double, 3> pos;
    std::array<double, 3> vel;
    int32_t revNum;
    std::array<double, 21> cov;
};

struct Answer {
    double time;
    std::array<double, 3> pos;
    std::array<double, 3> vel;
    int32_t revNum;
    std::array<double, 36> covMtx;
};

struct Floor {
    std::vector<Point> points;

    // Bisection, then the formulas over the four points.
    void Evaluate(double t, Answer& answer) const {
        std::size_t low = 0;
        std::size_t high = points.size() + 1;
        while (low + 1 != high) {
            const std::size_t mid = (low + high) / 2;
            (t > points[mid - 1].time ? low : high) = mid;
        }
        const std::size_t start = low > 2 ? low - 1 : 1;
        const std::size_t last = start + 3 < points.size() ? start + 3 : points.size();
        const Point* s = &points[last - 4];

        std::array<double, 4> dt;
        double P = 1.0;
        for (std::size_t i = 0; i < 4; ++i) {
            dt[i] = (t - s[i].time) * 86400.0;
            P *= dt[i];
        }
        answer.pos = {};
        answer.vel = {};
        std::array<double, 21> cov{};
        for (std::size_t j = 0; j < 4; ++j) {
            double D = 1.0, S1 = 0.0, S2 = 0.0;
            for (std::size_t k = 0; k < 4; ++k) {
                if (k == j) continue;
                const double d = (s[j].time - s[k].time) * 86400.0;
                D *= d;
                S2 += 1.0 / d;
                S1 += 1.0 / dt[k];
            }
            const double L = P / dt[j];
            const double c = -(0.5 / S2);
            const double U = L * L, W = D * D;
            const double A1 = U * (dt[j] + c), B1 = U * dt[j];
            const double A2 = U * (1.0 + (S1 + S1) * (dt[j] + c)), B2 = U * (1.0 + (S1 + S1) * dt[j]);
            for (std::size_t i = 0; i < 3; ++i) {
                answer.pos[i] += (A1 * s[j].pos[i]) / (W * c);
                answer.pos[i] += (B1 * s[j].vel[i]) / W;
                answer.vel[i] += (A2 * s[j].pos[i]) / (W * c);
                answer.vel[i] += (B2 * s[j].vel[i]) / W;
            }
            const double g = L / D;
            for (std::size_t m = 0; m < 21; ++m) cov[m] += g * s[j].cov[m];
        }
        answer.time = (t - points.front().time) * 1440.0;
        answer.revNum = s[1].revNum;
        std::size_t m = 0;
        for (std::size_t row = 0; row < 6; ++row) {
            for (std::size_t column = 0; column <= row; ++column, ++m) {
                answer.covMtx[row * 6 + column] = answer.covMtx[column * 6 + row] = cov[m];
            }
        }
    }
};

Floor floorTable;
int64_t key = 0;
std::vector<double> requests;

bool Ask(double t, Answer& answer) {
    return VecTabDs50UTCCovMtx(key, t, &answer.time, answer.pos.data(), answer.vel.data(), &answer.revNum,
                               answer.covMtx.data()) == 0;
}

void FillStore() {
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> anyTime(kStart, kStart + (kPoints - 1) / 1440.0);
    for (int i = 0; i < 4096; ++i) requests.push_back(anyTime(random));
    for (int i = 0; i < kRecords; ++i) {
        const int64_t added = VecTabAddSat(10000 + i, kStart, 6378.135, 0.0743669161, 1);
        if (i == kRecords / 3) key = added;
    }
    for (int i = 0; i < kPoints; ++i) {
        Point p{kStart + i / 1440.0, {}, {}, 7, {}};
        const double angle = i * 60.0 * 0.0011;
        p.pos = {7000.0 * std::cos(angle), 7000.0 * std::sin(angle), 100.0};
        p.vel = {-7.7 * std::sin(angle), 7.7 * std::cos(angle), 0.0};
        for (std::size_t m = 0; m < 21; ++m) p.cov[m] = 1.0 + static_cast<double>(m) + 1e-3 * i;
        floorTable.points.push_back(p);
        VecTabAddSatEphemCovMtx(key, p.time, p.pos.data(), p.vel.data(), p.revNum, p.cov.data());
    }
}

// The floor and the library give the same bits, and no request allocates.
bool Check() {
    for (const double t : requests) {
        Answer asked, expected;
        const std::size_t before = allocations;
        if (!Ask(t, asked) || allocations != before) return false;
        floorTable.Evaluate(t, expected);
        if (asked.pos != expected.pos || asked.vel != expected.vel || asked.covMtx != expected.covMtx) return false;
    }
    return true;
}

template <typename Evaluate>
void RunRequests(benchmark::State& state, Evaluate evaluate) {
    std::size_t next = 0;
    Answer answer;
    for (auto _ : state) {
        evaluate(requests[next++ % requests.size()], answer);
        benchmark::DoNotOptimize(answer);
    }
}

void StateOfLibrary(benchmark::State& state) {
    RunRequests(state, [](double t, Answer& answer) { Ask(t, answer); });
}
BENCHMARK(StateOfLibrary);

void StateOfFloor(benchmark::State& state) {
    RunRequests(state, [](double t, Answer& answer) { floorTable.Evaluate(t, answer); });
}
BENCHMARK(StateOfFloor);

}  // namespace

int main(int argc, char** argv) {
    FillStore();
    if (!Check()) {
        std::puts("the library and the floor disagree, or a request allocated");
        return EXIT_FAILURE;
    }
    std::printf("%zu requests: the same bits as the floor, no allocation\n", requests.size());
    return RunWithRatios(
        argc, argv, {{"state and covariance, ns (1440 points, 2000 records)", "StateOfLibrary", "StateOfFloor", 1.6}});
}
