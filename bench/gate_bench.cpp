// How long does a writer wait beside readers that never rest, and a reader beside writers? Latencies and not means: the
// time of each call is kept. The floors do as little as can be done in the place of the gate: a lock round the same
// request, and the hand-over of a processor by threads that share nothing.
#include <vectable/vectable.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "ratio_report.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kStart = 27819.0;  // days since 1950, UTC
constexpr auto kDuration = std::chrono::milliseconds(1500);

double MillisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// What the threads of a run took.
struct Figures {
    std::vector<double> writes;  // ms, ascending
    double longestRead = 0.0;    // ms
    double readsPerSecond = 0.0;

    double Write(double share) const {
        return writes[std::min(writes.size() - 1,
                               static_cast<std::size_t>(share * static_cast<double>(writes.size())))];
    }
};

// `read` on many threads without a rest, `write` on some with a short one after each. Both are given their
// thread's number.
template <typename Read, typename Write>
Figures Run(int readers, int writers, Read read, Write write) {
    std::atomic<bool> stop{false};
    std::atomic<std::int64_t> reads{0};
    std::mutex mutex;
    Figures figures;
    std::vector<std::thread> threads;
    for (int number = 0; number < readers; ++number) {
        threads.emplace_back([&, number] {
            std::int64_t count = 0;
            double longest = 0.0;
            for (; !stop.load(std::memory_order_relaxed); ++count) {
                const auto start = Clock::now();
                read(number);
                longest = std::max(longest, MillisecondsSince(start));
            }
            reads += count;
            const std::lock_guard lock(mutex);
            figures.longestRead = std::max(figures.longestRead, longest);
        });
    }
    for (int number = 0; number < writers; ++number) {
        threads.emplace_back([&, number] {
            std::vector<double> times;
            while (!stop.load(std::memory_order_relaxed)) {
                const auto start = Clock::now();
                write(number);
                times.push_back(MillisecondsSince(start));
                std::this_thread::sleep_for(std::chrono::microseconds(100));
            }
            const std::lock_guard lock(mutex);
            figures.writes.insert(figures.writes.end(), times.begin(), times.end());
        });
    }
    std::this_thread::sleep_for(kDuration);
    stop = true;
    for (std::thread& thread : threads) thread.join();
    std::sort(figures.writes.begin(), figures.writes.end());
    figures.readsPerSecond = static_cast<double>(reads) / std::chrono::duration<double>(kDuration).count();
    return figures;
}

std::int64_t MakeTable() {
    const std::int64_t key = VecTabAddSat(1, kStart, 6378.135, 0.0743669161, 1);
    for (int i = 0; i < 1440; ++i) {
        const double angle = i * 0.066;
        const double pos[3] = {7000.0 * std::cos(angle), 4200.0 * std::sin(angle), 5600.0 * std::sin(angle)};
        const double vel[3] = {-7.7 * std::sin(angle), 4.62 * std::cos(angle), 6.16 * std::cos(angle)};
        VecTabAddSatEphem(key, kStart + i / 1440.0, pos, vel, 0);
    }
    return key;
}

void Ask(std::int64_t key) {
    double mse, pos[3], vel[3];
    std::int32_t revNum;
    VecTabDs50UTC(key, kStart + 0.4321, &mse, pos, vel, &revNum);
}

// Stores and removes: two entries as a writer.
void Change(int number) {
    VecTabRemoveSat(VecTabAddSat(100 + number, kStart, 6378.135, 0.0743669161, 1));
}

std::string Counted(int count, const char* noun) {
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

void Compare(int readers, int writers, std::int64_t key) {
    std::mutex lock;
    const auto ask = [=](int) { Ask(key); };
    const Figures gate = Run(readers, writers, ask, Change);
    const auto askLocked = [&](int) {
        const std::lock_guard guard(lock);
        Ask(key);
    };
    const auto changeLocked = [&](int number) {
        const std::lock_guard guard(lock);
        Change(number);
    };
    const Figures locked = Run(readers, writers, askLocked, changeLocked);
    const Figures switched = Run(readers, writers, ask, [](int) { std::this_thread::yield(); });
    PrintRow(Counted(readers, "reader") + ", " + Counted(writers, "writer") + ": a change, median, us",
             1e3 * gate.Write(0.5), 0.0, 100.0);
    PrintRow("the same, 99 %, ms", gate.Write(0.99), 0.0, 20.0);
    PrintRow("  the median beside that of a lock, us", 1e3 * gate.Write(0.5), 1e3 * locked.Write(0.5), 0.0);
    PrintRow("  the longest beside a switch of threads, ms", gate.writes.back(), switched.writes.back(), 0.0);
    PrintRow("  the longest read beside that of a lock, ms", gate.longestRead, locked.longestRead, 0.0);
    PrintRow("  thousand reads a second beside those of a lock", gate.readsPerSecond / 1e3, locked.readsPerSecond / 1e3,
             0.0);
}

}  // namespace

int main() {
    const std::int64_t key = MakeTable();
    PrintTitle();
    for (const int readers : {1, 8, 16}) Compare(readers, 1, key);
    Compare(2, 2, key);
}
