// What does a catalogue cost, of which every table is asked: by single calls, and by batches?
#include <vectable/batch.h>
#include <vectable/host.h>
#include <vectable/vectable.h>

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <random>
#include <thread>
#include <vector>

#include "floor.h"
#include "ratio_report.h"

namespace {

using Floor::PackedAnswer;
using Floor::Point;

constexpr double kStart = 27819.0;  // days since 1950
constexpr std::size_t kTables = 20'000;
constexpr std::size_t kPoints = 200;

Point PointAt(double time, std::size_t i) {
    const double angle = (time - kStart) * 86400.0 * 0.0011;
    Point p{time, {}, {}, 7 + static_cast<int32_t>(angle / 6.283185307179586), {}};
    p.pos = {7000.0 * std::cos(angle), 4200.0 * std::sin(angle), 5600.0 * std::sin(angle)};
    p.vel = {-7.7 * std::sin(angle), 4.62 * std::cos(angle), 6.16 * std::cos(angle)};
    for (std::size_t m = 0; m < 21; ++m) p.cov[m] = 1.0 + static_cast<double>(m) + 1e-3 * static_cast<double>(i);
    return p;
}

Floor::Table MakeTable(std::size_t points) {
    Floor::Table table;
    table.reserve(points);
    for (std::size_t i = 0; i < points; ++i) table.push_back(PointAt(kStart + static_cast<double>(i) / 1440.0, i));
    return table;
}

int64_t Store(const Floor::Table& table, int32_t satNum) {
    const int64_t key = VecTabAddSat(satNum, kStart, 6378.135, 0.0743669161, 1);
    for (const Point& p : table) {
        VecTabAddSatEphemCovMtx(key, p.time, p.pos.data(), p.vel.data(), p.revNum, p.cov.data());
    }
    return key;
}

void SetDirectMemory(bool on) {
    VecHostSetElsetKeyMode(on ? 1 : 0);
}

// Tables, their keys, and what is asked of them: records in shuffled order at one time, or one record at many times.
struct Catalogue {
    std::vector<Floor::Table> tables;
    std::vector<int64_t> treeKeys, directKeys;
    std::vector<const Floor::Table*> shuffled;  // as the keys
    std::vector<double> times;

    std::size_t Requests() const { return treeKeys.size() * times.size(); }
};

void Fill(Catalogue& catalogue, std::size_t tables, std::size_t points) {
    std::vector<std::size_t> order(tables);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::shuffle(order.begin(), order.end(), std::mt19937_64(1));
    catalogue.tables.assign(tables, MakeTable(points));
    std::vector<int64_t> treeKeys, directKeys;
    const auto first = static_cast<int32_t>(VecTabGetCount() + 1);
    for (const bool direct : {false, true}) {
        SetDirectMemory(direct);
        for (std::size_t i = 0; i < tables; ++i) {
            (direct ? directKeys : treeKeys).push_back(Store(catalogue.tables[i], first + static_cast<int32_t>(i)));
        }
    }
    for (const std::size_t i : order) {
        catalogue.shuffled.push_back(&catalogue.tables[i]);
        catalogue.treeKeys.push_back(treeKeys[i]);
        catalogue.directKeys.push_back(directKeys[i]);
    }
}

// The arrays of a batch.
struct Arrays {
    std::vector<double> states, covs;
    std::vector<int32_t> revNums;
    explicit Arrays(std::size_t count) : states(6 * count), covs(21 * count), revNums(count) {}
};

int64_t AskBatch(const std::vector<int64_t>& keys, const std::vector<double>& times, bool covariance, Arrays& arrays) {
    return VecBatchGrid(static_cast<int64_t>(keys.size()), keys.data(), static_cast<int64_t>(times.size()),
                        times.data(), arrays.states.data(), covariance ? arrays.covs.data() : nullptr,
                        arrays.revNums.data(), nullptr);
}

// The library, one request after the other.
void AskSingly(const std::vector<int64_t>& keys, const std::vector<double>& times, bool covariance) {
    Floor::Answer answer;
    for (const int64_t key : keys) {
        for (const double t : times) {
            if (covariance) {
                VecTabDs50UTCCovMtx(key, t, &answer.time, answer.pos.data(), answer.vel.data(), &answer.revNum,
                                    answer.covMtx.data());
            } else {
                VecTabDs50UTC(key, t, &answer.time, answer.pos.data(), answer.vel.data(), &answer.revNum);
            }
            benchmark::DoNotOptimize(answer);
        }
    }
}

void RunPlain(const Catalogue& catalogue) {
    Floor::Answer answer;
    for (const Floor::Table* table : catalogue.shuffled) {
        for (const double t : catalogue.times) {
            Floor::EvaluatePacked(*table, t, answer);
            benchmark::DoNotOptimize(answer);
        }
    }
}

// A kernel that asks for the table, then for its ends, then for its stencil, some requests before their turn.
template <bool kWithCovariance>
void RunStaged(const Catalogue& catalogue, Arrays& arrays, std::size_t begin, std::size_t end) {
    constexpr std::size_t kStage = 8;
    const auto& tables = catalogue.shuffled;
    const double t = catalogue.times[0];
    PackedAnswer answer;
    for (std::size_t i = begin; i < end + 3 * kStage; ++i) {
        if (i < end) __builtin_prefetch(tables[i]);
        if (i >= begin + kStage && i - kStage < end) {
            const Floor::Table& table = *tables[i - kStage];
            __builtin_prefetch(&table.front());
            __builtin_prefetch(&table.back());
        }
        if (i >= begin + 2 * kStage && i - 2 * kStage < end) {
            const Floor::Table& table = *tables[i - 2 * kStage];
            const Point* first = Floor::StencilAt(table, Floor::GuessLow(table, t) + 1);
            for (int point = 0; point < 4; ++point) {
                const auto* byte = reinterpret_cast<const char*>(first + point);
                for (std::size_t offset = 0; offset < (kWithCovariance ? sizeof(Point) : 64); offset += 64) {
                    __builtin_prefetch(byte + offset);
                }
                __builtin_prefetch(byte + (kWithCovariance ? sizeof(Point) - 1 : 59));
            }
        }
        if (i < begin + 3 * kStage) continue;
        const std::size_t turn = i - 3 * kStage;
        Floor::EvaluatePacked<kWithCovariance>(*tables[turn], t, answer);
        std::copy_n(answer.pos.data(), 3, &arrays.states[6 * turn]);
        std::copy_n(answer.vel.data(), 3, &arrays.states[6 * turn + 3]);
        if (kWithCovariance) std::copy_n(answer.cov.data(), 21, &arrays.covs[21 * turn]);
        arrays.revNums[turn] = answer.revNum;
    }
    benchmark::DoNotOptimize(arrays.states.data());
    benchmark::ClobberMemory();
}

// Half of the catalogue's tables each.
template <typename Run>
void OnTwoThreads(Run run) {
    std::thread other(run, kTables / 2, kTables);
    run(0, kTables / 2);
    other.join();
}

// The same bits from the library and from the floors, by single calls and by batches.
bool Check(const Catalogue& catalogue) {
    Arrays batch(catalogue.Requests()), plain(catalogue.Requests());
    std::size_t at = 0;
    for (const Floor::Table* table : catalogue.shuffled) {
        for (const double t : catalogue.times) {
            PackedAnswer answer;
            Floor::EvaluatePacked<true>(*table, t, answer);
            std::copy_n(answer.pos.data(), 3, &plain.states[6 * at]);
            std::copy_n(answer.vel.data(), 3, &plain.states[6 * at + 3]);
            std::copy_n(answer.cov.data(), 21, &plain.covs[21 * at]);
            plain.revNums[at++] = answer.revNum;
        }
    }
    for (const auto* keys : {&catalogue.treeKeys, &catalogue.directKeys}) {
        if (AskBatch(*keys, catalogue.times, true, batch) != 0) return false;
        if (batch.states != plain.states || batch.covs != plain.covs || batch.revNums != plain.revNums) return false;
        std::fill(batch.states.begin(), batch.states.end(), 0.0);
        if (AskBatch(*keys, catalogue.times, false, batch) != 0 || batch.states != plain.states) return false;
    }
    return true;
}

// Nanoseconds of a request.
template <typename Run>
void Register(const std::string& name, std::size_t requests, Run run) {
    const auto timed = [requests, run](benchmark::State& state) {
        for (auto _ : state) {
            const auto start = std::chrono::steady_clock::now();
            run();
            const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
            state.SetIterationTime(taken.count() / static_cast<double>(requests));
        }
    };
    benchmark::RegisterBenchmark(name.c_str(), timed)->UseManualTime()->Iterations(10);
}

void RegisterAll(const std::string& name, const Catalogue& catalogue, Arrays& arrays) {
    const std::size_t requests = catalogue.Requests();
    for (const bool covariance : {true, false}) {
        const std::string which = name + (covariance ? "Cov" : "");
        Register(which + "Single", requests,
                 [&, covariance] { AskSingly(catalogue.directKeys, catalogue.times, covariance); });
        Register(which + "SingleTree", requests,
                 [&, covariance] { AskSingly(catalogue.treeKeys, catalogue.times, covariance); });
        Register(which + "Batch", requests,
                 [&, covariance] { AskBatch(catalogue.directKeys, catalogue.times, covariance, arrays); });
        Register(which + "BatchTree", requests,
                 [&, covariance] { AskBatch(catalogue.treeKeys, catalogue.times, covariance, arrays); });
    }
}

}  // namespace

int main(int argc, char** argv) {
    VecHostSetTraceSink(nullptr, nullptr);
    Catalogue many, one, longTable;
    Fill(many, kTables, kPoints);
    many.times = {kStart + 0.05678};
    Fill(one, 1, 1440);
    Fill(longTable, 1, 1'000'000);
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> oneDay(kStart, kStart + 1439.0 / 1440.0);
    std::uniform_real_distribution<double> manyDays(kStart, kStart + 999'999.0 / 1440.0);
    for (int i = 0; i < 100'000; ++i) {
        one.times.push_back(oneDay(random));
        longTable.times.push_back(manyDays(random));
    }
    std::sort(one.times.begin(), one.times.end());
    for (const Catalogue* catalogue : {&many, &one, &longTable}) {
        if (Check(*catalogue)) continue;
        std::puts("the library and the floor disagree");
        return EXIT_FAILURE;
    }

    Arrays manyArrays(many.Requests()), oneArrays(one.Requests()), longArrays(longTable.Requests());
    RegisterAll("Many", many, manyArrays);
    RegisterAll("One", one, oneArrays);
    RegisterAll("Long", longTable, longArrays);
    Register("OfOneSingle", one.Requests(), [&] { AskSingly(one.directKeys, one.times, true); });
    Register("OfOneBatch", one.Requests(), [&] {
        for (const double t : one.times) {
            VecBatchPairs(1, one.directKeys.data(), &t, oneArrays.states.data(), oneArrays.covs.data(),
                          oneArrays.revNums.data(), nullptr);
        }
    });
    Register("ManyPlain", many.Requests(), [&] { RunPlain(many); });
    Register("ManyStagedCov", many.Requests(), [&] { RunStaged<true>(many, manyArrays, 0, kTables); });
    Register("ManyStaged", many.Requests(), [&] { RunStaged<false>(many, manyArrays, 0, kTables); });
    Register("ManyTwoThreads", many.Requests(), [&] {
        OnTwoThreads([&](std::size_t begin, std::size_t end) {
            VecBatchGrid(static_cast<int64_t>(end - begin), &many.directKeys[begin], 1, many.times.data(),
                         &manyArrays.states[6 * begin], &manyArrays.covs[21 * begin], nullptr, nullptr);
        });
    });
    Register("ManyStagedTwoThreads", many.Requests(), [&] {
        OnTwoThreads([&](std::size_t begin, std::size_t end) { RunStaged<true>(many, manyArrays, begin, end); });
    });
    return RunWithRatios(
        argc, argv,
        {{"20,000 tables, one time, single calls, direct memory, ns", "ManyCovSingle", "ManyPlain", 1.25},
         {"the same, tree, ns", "ManyCovSingleTree", "ManyPlain", 1.6},
         {"the same, one batch with covariance, direct memory, ns", "ManyCovBatch", "ManyStagedCov", 1.25},
         {"the same, without covariance, ns", "ManyBatch", "ManyStaged", 1.25},
         {"the same, tree, with covariance, ns", "ManyCovBatchTree", "ManyStagedCov", 0.0},
         {"batch beside single calls, with covariance", "ManyCovBatch", "ManyCovSingle", 0.5},
         {"batch beside single calls, without covariance", "ManyBatch", "ManySingle", 0.5},
         {"one table, sorted times, batch beside single, cov", "OneCovBatch", "OneCovSingle", 0.75},
         {"the same, without covariance", "OneBatch", "OneSingle", 0.6},
         {"10^6 points, random times, batch beside single, cov", "LongCovBatch", "LongCovSingle", 0.6},
         {"the same, without covariance", "LongBatch", "LongSingle", 0.6},
         {"a batch of one beside a single call, with covariance", "OfOneBatch", "OfOneSingle", 1.3},
         {"two threads, half the batch each (speed-up 1.8)", "ManyTwoThreads", "ManyCovBatch", 0.556},
         {"  the kernel on two threads", "ManyStagedTwoThreads", "ManyStagedCov", 0.0}});
}
