// What does a number of each text format cost to load beside one of Dot-E?
#include <vectable/host.h>
#include <vectable/oem.h>
#include <vectable/vectable.h>

#include <array>
#include <benchmark/benchmark.h>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <unistd.h>

#include "fresh_memory.h"
#include "ratio_report.h"
#include "samples.h"

using namespace SampleMaking;

namespace {

constexpr int kPoints = 100'000;

// The short orbit over and over, with times that go on.
std::vector<State> ManyStates(const Sample& sample) {
    const std::vector<State> orbit = StatesOf(sample);
    std::vector<State> states;
    for (int i = 0; i < kPoints; ++i) {
        states.push_back(orbit[static_cast<std::size_t>(i) % orbit.size()]);
        states.back().seconds = 60.0 * i;
    }
    return states;
}

// The message of the samples with a covariance at every state, along the orbit.
void WriteRotatedCovariances(std::ostream& out, const Sample& sample, const std::vector<State>& states) {
    std::stringstream message;
    kSamples.back().write(message, sample, states);
    std::vector<std::string> dates;
    for (std::string line; std::getline(message, line) && line != "COVARIANCE_START";) {
        out << line << '\n';
        if (line.starts_with("20")) dates.push_back(line.substr(0, line.find(' ')));
    }
    out << "COVARIANCE_START\n";
    for (const std::string& date : dates) {
        out << "EPOCH = " << date << "\nCOV_REF_FRAME = RTN\n";
        for (int row = 1; row <= 6; ++row) {
            for (int column = 1; column <= row; ++column)
                out << (column < row ? "1.25000000E-07 " : "4.12345678E-04\n");
        }
    }
    out << "COVARIANCE_STOP\n";
}

// The numbers that a reader has to read for a point: time and state, and what else stands in its lines.
double NumbersPerPoint(const Sample& sample) {
    const std::map<std::string, double> others = {
        {"itc.txt", 28.0},    {"simulated_observations.txt", 8.0}, {"lch.txt", 8.0},     {"dce_text.txt", 14.0},
        {"launch.txt", 15.0}, {"ecr_position.txt", 4.0},           {"binary.dce", 13.0}, {"10018_position.e", 4.0},
        {"rotated.oem", 29.0}};
    const auto other = others.find(sample.file);
    return other == others.end() ? 7.0 : other->second;
}

bool LoadAs(const Sample& sample, const std::string& path) {
    int32_t count = 0;
    const int32_t status =
        sample.IsMessage() ? VecOemLoadFile(path.c_str(), 0, nullptr, 0, &count) : VecTabLoadFile(path.c_str());
    return status == 0 && VecTabGetCount() == 1;
}

// Reports the time per number.
void Load(benchmark::State& state, const Sample& sample, const std::string& path) {
    const double numbers = NumbersPerPoint(sample) * kPoints;
    double seconds = 0.0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        const bool loaded = LoadAs(sample, path);
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        VecTabRemoveAllSats();
        if (!loaded) state.SkipWithError("not loaded");
        state.SetIterationTime(taken.count() / numbers);
        seconds += taken.count();
    }
    const double megabytes = static_cast<double>(std::filesystem::file_size(path)) / 1e6;
    state.counters["MB/s"] = megabytes * static_cast<double>(state.iterations()) / seconds;
}

// Runs std::from_chars over all that stands between blanks, and stores a point for every `perPoint` numbers. Reports
// the time per number.
void Bare(benchmark::State& state, const std::string& path, std::size_t perPoint) {
    const auto size = static_cast<std::size_t>(std::filesystem::file_size(path));
    std::vector<char> text(size);
    double seconds = 0.0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        std::ifstream(path, std::ios::binary).read(text.data(), static_cast<std::streamsize>(size));
        const FreshMemory memory(kPoints * 232);
        auto* points = memory.As<double>();
        std::array<double, 29> values{};
        std::size_t count = 0;
        std::size_t total = 0;
        const char* end = text.data() + size;
        for (const char* next = text.data(); next != end;) {
            if (*next == ' ' || *next == '\n') {
                ++next;
                continue;
            }
            const char* after = std::from_chars(next, end, values[count]).ptr;
            const bool isNumber = after != next;
            for (next = after; next != end && *next != ' ' && *next != '\n';) ++next;
            if (!isNumber || ++count < perPoint) continue;
            count = 0;
            if (total < kPoints) std::copy(values.begin(), values.end(), points + 29 * total);
            ++total;
        }
        benchmark::DoNotOptimize(points);
        benchmark::ClobberMemory();
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(taken.count() / (static_cast<double>(perPoint) * kPoints));
        seconds += taken.count();
    }
    state.counters["MB/s"] = static_cast<double>(size) / 1e6 * static_cast<double>(state.iterations()) / seconds;
}

// Reads the records of a DCE binary file and turns their bytes round into points.
void BareBinary(benchmark::State& state, const std::string& path, double perPoint) {
    constexpr std::size_t kRecord = 104;
    std::vector<char> block(1260 * kRecord);
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        const FreshMemory memory((kPoints + 1) * 232);
        auto* points = memory.As<double>();
        const int file = ::open(path.c_str(), O_RDONLY);
        std::size_t total = 0;
        for (ssize_t got = 0; (got = ::read(file, block.data(), block.size())) > 0;) {
            for (std::size_t at = 0; at + kRecord <= static_cast<std::size_t>(got); at += kRecord, ++total) {
                std::array<std::uint64_t, 7> words;
                std::memcpy(words.data(), block.data() + at + 16, sizeof words);
                for (std::uint64_t& word : words) word = __builtin_bswap64(word);
                double* point = points + 29 * total;
                std::memcpy(point, words.data(), sizeof words);
                std::fill(point + 7, point + 29, 0.0);
            }
        }
        ::close(file);
        benchmark::DoNotOptimize(points);
        benchmark::ClobberMemory();
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        if (total != kPoints + 1) state.SkipWithError("not read");
        state.SetIterationTime(taken.count() / (perPoint * kPoints));
    }
}

}  // namespace

int main(int argc, char** argv) {
    VecHostSetTraceSink(nullptr, nullptr);
    const auto directory = std::filesystem::temp_directory_path() / "vectable_format_bench";
    std::filesystem::create_directories(directory);
    std::vector<Question> questions;
    std::vector<Sample> samples = kSamples;
    Sample rotated = samples.back();
    rotated.file = "rotated.oem";
    rotated.write = WriteRotatedCovariances;
    samples.push_back(rotated);
    for (const Sample& sample : samples) {
        const std::string path = directory / sample.file;
        std::ofstream out(path);
        sample.write(out, sample, ManyStates(sample));
        out.close();
        benchmark::RegisterBenchmark(sample.file.c_str(), Load, sample, path)
            ->UseManualTime()
            ->Iterations(2)
            ->Unit(benchmark::kNanosecond);
        const std::string dotE = sample.velDigit == 0.0 ? "10018_position.e" : "10001_leo.e";
        if (sample.file != dotE && sample.file != rotated.file)
            questions.push_back({sample.file + ", ns a number", sample.file, dotE, 1.5});
    }
    benchmark::RegisterBenchmark("itc_bare", Bare, (directory / "itc.txt").string(), 28)
        ->UseManualTime()
        ->Iterations(2)
        ->Unit(benchmark::kNanosecond);
    questions.push_back({"itc.txt beside the bare pass over its numbers", "itc.txt", "itc_bare", 2.5});
    benchmark::RegisterBenchmark("rotated_bare", Bare, (directory / rotated.file).string(), 29)
        ->UseManualTime()
        ->Iterations(2)
        ->Unit(benchmark::kNanosecond);
    questions.push_back(
        {"message, covariances along the orbit, beside a bare pass", rotated.file, "rotated_bare", 2.0});
    benchmark::RegisterBenchmark("binary_bare", BareBinary, (directory / "binary.dce").string(), 13.0)
        ->UseManualTime()
        ->Iterations(2)
        ->Unit(benchmark::kNanosecond);
    questions.push_back({"binary.dce beside a bare read and byte swap", "binary.dce", "binary_bare", 1.6});
    const int result = RunWithRatios(argc, argv, questions);
    std::filesystem::remove_all(directory);
    return result;
}
