// What does loading a text ephemeris cost beside a bare pass over its numbers, at any length, in one file and in many?
#include <vectable/host.h>
#include <vectable/vectable.h>

#include <array>
#include <benchmark/benchmark.h>
#include <charconv>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include "dot_e_file.h"
#include "floor.h"
#include "fresh_memory.h"
#include "ratio_report.h"

namespace {

using Floor::Point;

std::map<long, std::unique_ptr<DotEFile>> files;

const DotEFile& FileOf(long points) {
    auto& file = files[points];
    if (file == nullptr) file = std::make_unique<DotEFile>(points);
    return *file;
}

constexpr std::size_t kBuffer = 131072;

// Finds the lines, runs std::from_chars over the numbers, stores the points. The number of points.
long BarePass(const char* path, char* buffer, Point* points) {
    const int file = ::open(path, O_RDONLY);
    long count = -4;  // lines of the header
    std::size_t kept = 0;
    for (;;) {
        const ssize_t got = ::read(file, buffer + kept, kBuffer - kept);
        if (got <= 0) break;
        const char* line = buffer;
        const char* end = line + kept + got;
        while (const void* lineFeed = std::memchr(line, '\n', static_cast<std::size_t>(end - line))) {
            const char* lineEnd = static_cast<const char*>(lineFeed);
            if (count >= 0) {
                std::array<double, 7> values;
                for (double& value : values) {
                    while (*line == ' ') ++line;
                    line = std::from_chars(line, lineEnd, value).ptr;
                }
                points[count] = Point{27819.0 + values[0] / 86400.0,
                                      {values[1], values[2], values[3]},
                                      {values[4], values[5], values[6]},
                                      0,
                                      {}};
            }
            ++count;
            line = lineEnd + 1;
        }
        kept = static_cast<std::size_t>(end - line);
        std::memmove(buffer, line, kept);
    }
    ::close(file);
    benchmark::DoNotOptimize(points);
    benchmark::ClobberMemory();
    return count;
}

void Load(benchmark::State& state, long points) {
    const DotEFile& file = FileOf(points);
    for (auto _ : state) {
        if (VecTabLoadFile(file.Path()) != 0 || VecTabGetCount() != 1) state.SkipWithError("not loaded");
        VecTabRemoveAllSats();
    }
    state.counters["MB/s"] =
        benchmark::Counter(file.Megabytes() * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

void Bare(benchmark::State& state, long points) {
    const DotEFile& file = FileOf(points);
    for (auto _ : state) {
        const auto buffer = std::make_unique<char[]>(kBuffer);
        const FreshMemory memory(static_cast<std::size_t>(points) * sizeof(Point));
        if (BarePass(file.Path(), buffer.get(), memory.As<Point>()) != points) state.SkipWithError("not read");
    }
    state.counters["MB/s"] =
        benchmark::Counter(file.Megabytes() * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

// A list of many files, the time of a line.
void LoadList(benchmark::State& state, const std::string& list, long lines) {
    VecHostSetElsetKeyMode(1);
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        if (VecTabLoadFile(list.c_str()) != 0) state.SkipWithError("not loaded");
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        if (VecTabGetCount() * 200L != lines) state.SkipWithError("not all loaded");
        VecTabRemoveAllSats();
        state.SetIterationTime(taken.count() / static_cast<double>(lines));
    }
    VecHostSetElsetKeyMode(0);
}

using Paths = std::vector<std::string>;

void LoadEach(Paths::const_iterator path, Paths::const_iterator end) {
    for (; path != end; ++path) VecTabLoadFile(path->c_str());
}

void BareEach(Paths::const_iterator path, Paths::const_iterator end) {
    const auto buffer = std::make_unique<char[]>(kBuffer);
    std::vector<Point> points(1000);
    for (; path != end; ++path) BarePass(path->c_str(), buffer.get(), points.data());
}

// The time of two threads with half of the files each, in percent of that of one thread.
void OnTwoThreads(benchmark::State& state, const Paths& paths, decltype(&LoadEach) work) {
    const auto half = paths.begin() + static_cast<std::ptrdiff_t>(paths.size() / 2);
    const auto secondsOf = [](auto run) {
        const auto start = std::chrono::steady_clock::now();
        run();
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        VecTabRemoveAllSats();
        return taken.count();
    };
    for (auto _ : state) {
        const double one = secondsOf([&] { work(paths.begin(), paths.end()); });
        const double two = secondsOf([&] {
            std::thread other(work, paths.begin(), half);
            work(half, paths.end());
            other.join();
        });
        state.SetIterationTime(100.0 * two / one);
    }
}

}  // namespace

int main(int argc, char** argv) {
    VecHostSetTraceSink(nullptr, nullptr);
    constexpr long kFiles = 5000;
    const DotEFile small(200);
    const std::filesystem::path directory = std::filesystem::temp_directory_path() / "vectable_load_bench";
    std::filesystem::create_directories(directory);
    const std::string list = directory / "list.txt";
    std::ofstream listed(list);
    Paths paths;
    for (long i = 0; i < kFiles; ++i) {
        const std::filesystem::path copy = directory / (std::to_string(10000 + i) + ".e");
        std::filesystem::copy_file(small.Path(), copy, std::filesystem::copy_options::overwrite_existing);
        listed << "EPHFIL = " << copy.string() << '\n';
        paths.push_back(copy);
    }
    listed.close();
    const auto listRun = [&](benchmark::State& state) { LoadList(state, list, kFiles * 200); };
    benchmark::RegisterBenchmark("List", listRun)->UseManualTime()->Iterations(1);
    const auto oneRun = [](benchmark::State& state) {
        for (auto _ : state) {
            const auto start = std::chrono::steady_clock::now();
            if (VecTabLoadFile(FileOf(kFiles * 200).Path()) != 0) state.SkipWithError("not loaded");
            const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
            VecTabRemoveAllSats();
            state.SetIterationTime(taken.count() / (kFiles * 200));
        }
    };
    benchmark::RegisterBenchmark("ListAsOneFile", oneRun)->UseManualTime()->Iterations(1);
    for (const auto& [name, work] : {std::pair{"FilesOnTwoThreads", &LoadEach}, {"BareOnTwoThreads", &BareEach}}) {
        const auto run = [&paths, work = work](benchmark::State& state) { OnTwoThreads(state, paths, work); };
        benchmark::RegisterBenchmark(name, run)->UseManualTime()->Iterations(3)->Unit(benchmark::kSecond);
    }
    for (const long points : {100'000L, 1'000'000L, 4'000'000L}) {
        const std::string suffix = "_" + std::to_string(points);
        benchmark::RegisterBenchmark(("Load" + suffix).c_str(), Load, points)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("Bare" + suffix).c_str(), Bare, points)->Unit(benchmark::kMillisecond);
    }
    const int exitStatus = RunWithRatios(
        argc, argv,
        {{"Dot-E, 10^5 lines, ms", "Load_100000", "Bare_100000", 1.6},
         {"the same, 10^6 lines", "Load_1000000", "Bare_1000000", 1.6},
         {"the same, 4*10^6 lines", "Load_4000000", "Bare_4000000", 1.6},
         {"5,000 files of 200 lines beside one of as many, ns a line", "List", "ListAsOneFile", 1.5},
         {"5,000 files on two threads, % of the time of one", "FilesOnTwoThreads", "BareOnTwoThreads", 1.05}});
    std::filesystem::remove_all(directory);
    return exitStatus;
}
