// What does a state with its covariance cost beside the bare arithmetic?
#include <vectable/host.h>
#include <vectable/vectable.h>

#include <array>
#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

#include "floor.h"
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

constexpr double kStart = 27819.0;
constexpr std::size_t kRequests = 4096;

using Floor::Answer;
using Floor::Point;

// A stored record, the same points for the floor, and times to ask for.
struct Subject {
    int64_t key = 0;
    Floor::Table table;
    std::vector<double> requests;
};

// Points of a two-body orbit with a covariance at every one of the times.
void FillTable(Subject& subject, const std::vector<double>& times) {
    for (std::size_t i = 0; i < times.size(); ++i) {
        const double angle = (times[i] - kStart) * 86400.0 * 0.0011;
        Point p{times[i], {}, {}, 7 + static_cast<int32_t>(angle / 6.283185307179586), {}};
        p.pos = {7000.0 * std::cos(angle), 4200.0 * std::sin(angle), 5600.0 * std::sin(angle)};
        p.vel = {-7.7 * std::sin(angle), 4.62 * std::cos(angle), 6.16 * std::cos(angle)};
        for (std::size_t m = 0; m < 21; ++m) p.cov[m] = 1.0 + static_cast<double>(m) + 1e-3 * static_cast<double>(i);
        subject.table.push_back(p);
        VecTabAddSatEphemCovMtx(subject.key, p.time, p.pos.data(), p.vel.data(), p.revNum, p.cov.data());
    }
}

Subject MakeSubject(int32_t satNum, const std::vector<double>& times) {
    Subject subject;
    subject.key = VecTabAddSat(satNum, kStart, 6378.135, 0.0743669161, 1);
    FillTable(subject, times);
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> anyTime(times.front(), times.back());
    for (std::size_t i = 0; i < kRequests; ++i) subject.requests.push_back(anyTime(random));
    return subject;
}

std::vector<double> EvenTimes(int points) {
    std::vector<double> times;
    for (int i = 0; i < points; ++i) times.push_back(kStart + i / 1440.0);
    return times;
}

std::vector<double> UnevenTimes(int points) {
    std::mt19937_64 random(2);
    std::uniform_real_distribution<double> step(1.0, 600.0);
    std::vector<double> times{kStart};
    while (times.size() < static_cast<std::size_t>(points)) times.push_back(times.back() + step(random) / 86400.0);
    return times;
}

bool Ask(const Subject& subject, double t, Answer& answer) {
    return VecTabDs50UTCCovMtx(subject.key, t, &answer.time, answer.pos.data(), answer.vel.data(), &answer.revNum,
                               answer.covMtx.data()) == 0;
}

// The floor and the library give the same bits, and no request allocates.
bool Check(const Subject& subject) {
    for (const double t : subject.requests) {
        Answer asked, expected, packed;
        const std::size_t before = allocations;
        if (!Ask(subject, t, asked) || allocations != before) return false;
        Floor::EvaluatePlain(subject.table, t, expected);
        Floor::EvaluatePacked(subject.table, t, packed);
        for (const Answer& floor : {expected, packed}) {
            if (asked.pos != floor.pos || asked.vel != floor.vel || asked.revNum != floor.revNum) return false;
            if (asked.covMtx != floor.covMtx) return false;
        }
    }
    return true;
}

// One benchmark of `evaluate` over the requests of a subject, from `threads` threads.
template <typename Evaluate>
void Register(const char* name, const Subject& subject, Evaluate evaluate, int threads = 1) {
    const auto run = [&subject, evaluate](benchmark::State& state) {
        std::size_t next = static_cast<std::size_t>(state.thread_index()) * kRequests / 2;
        Answer answer;
        for (auto _ : state) {
            evaluate(subject, subject.requests[next++ % kRequests], answer);
            benchmark::DoNotOptimize(answer);
        }
    };
    benchmark::RegisterBenchmark(name, run)->Threads(threads)->UseRealTime();
}

void AskIndex(const Subject& subject, double t, Answer& answer) {
    const auto index = static_cast<int32_t>((t - kStart) * 1440.0) + 1;
    VecTabGetCovMtx(subject.key, index, &answer.time, answer.pos.data(), answer.vel.data(), &answer.revNum,
                    answer.covMtx.data());
}

void AskPacked(const Subject& subject, double t, Answer& answer) {
    Floor::EvaluatePacked(subject.table, t, answer);
}

void AskPlain(const Subject& subject, double t, Answer& answer) {
    Floor::EvaluatePlain(subject.table, t, answer);
}

void SetDirectMemory(bool on) {
    VecHostSetUseAllKeyMode(on ? 1 : 0);
    VecHostSetAllKeyMode(on ? 1 : 0);
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int kRecords = 2000;
    for (int i = 1; i < kRecords; ++i) VecTabAddSat(10000 + 2 * i, kStart, 6378.135, 0.0743669161, 1);
    const Subject tree = MakeSubject(10001 + kRecords, EvenTimes(1440));
    const Subject uneven = MakeSubject(50000, UnevenTimes(1440));
    const Subject longTable = MakeSubject(50001, EvenTimes(1'000'000));
    SetDirectMemory(true);
    const Subject direct = MakeSubject(50002, EvenTimes(1440));
    SetDirectMemory(false);
    for (const Subject* subject : {&tree, &uneven, &longTable, &direct}) {
        if (Check(*subject)) continue;
        std::puts("the library and the floor disagree, or a request allocated");
        return EXIT_FAILURE;
    }

    Register("Tree", tree, Ask);
    Register("Direct", direct, Ask);
    Register("Packed", tree, AskPacked);
    Register("Long", longTable, Ask);
    Register("LongPacked", longTable, AskPacked);
    Register("Uneven", uneven, Ask);
    Register("UnevenPlain", uneven, AskPlain);
    Register("TreeTwoThreads", tree, Ask, 2);
    Register("DirectTwoThreads", direct, Ask, 2);
    Register("Index", tree, AskIndex);
    return RunWithRatios(argc, argv,
                         {{"state and covariance, 1440 points, tree, ns", "Tree", "Packed", 1.35},
                          {"the same, direct memory, ns", "Direct", "Packed", 1.3},
                          {"the same, 10^6 points, ns", "Long", "LongPacked", 1.5},
                          {"uneven table, beside plain bisection and kernel, ns", "Uneven", "UnevenPlain", 1.0},
                          {"two threads beside one, direct memory (speed-up 1.9)", "DirectTwoThreads", "Direct", 0.53},
                          {"two threads beside one, tree (speed-up 1.5)", "TreeTwoThreads", "Tree", 0.67},
                          {"stored point by index, ns", "Index", "", 60.0}});
}
