// Many threads evaluate one store. Keys and times are dealt out in slices; every thread writes into its own slice of
// the results, and takes no lock of its own: the calls that ask a record may run beside each other.
//
//     many_threads [THREADS] [FILE...]
//
// Without files it takes three of the samples, from the root of the source tree. Prints a line for each satellite, and
// whether all results are, bit for bit, those of one thread.
#include <vectable/vectable.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace {

constexpr int kRequestsPerSatellite = 20000;

struct Request {
    int64_t key;
    double time;
};

struct Result {
    double mse;
    double pos[3];
    double vel[3];
    int32_t revNum;
    int32_t status;
};
static_assert(sizeof(Result) == 7 * sizeof(double) + 2 * sizeof(int32_t), "results without gaps compare as bytes");

struct Satellite {
    int64_t key;
    int32_t number;
    double start;
    double end;
};

[[noreturn]] void Fail(const std::string& words) {
    throw std::runtime_error(words);
}

Satellite Describe(int64_t key) {
    Satellite s{key, 0, 0.0, 0.0};
    int32_t frame, numOfPts;
    double epoch, ae, ke, pos[3], vel[3];
    char satName[VEC_TAB_SAT_NAME_LENGTH], ephemName[VEC_TAB_EPHEM_NAME_LENGTH], filePath[VEC_TAB_PATH_LENGTH];
    if (VecTabGetAllFields(key, &s.number, satName, ephemName, &epoch, &ae, &ke, pos, vel, &frame, &numOfPts,
                           filePath) != 0 ||
        VecTabStartEndTime(key, &s.start, &s.end) != 0) {
        Fail("a record without points");
    }
    std::printf("satellite %d  points %d  from %.8f to %.8f\n", s.number, numOfPts, s.start, s.end);
    return s;
}

std::vector<Satellite> Load(std::span<const char* const> files) {
    for (const char* file : files) {
        if (VecTabLoadFile(file) != 0) Fail(std::string(file) + " cannot be loaded");
    }
    std::vector<int64_t> keys(static_cast<std::size_t>(VecTabGetCount()));
    constexpr int32_t kOrderOfEntry = 2;
    VecTabGetLoaded(kOrderOfEntry, keys.data());
    std::vector<Satellite> satellites;
    satellites.reserve(keys.size());
    for (const int64_t key : keys) satellites.push_back(Describe(key));
    return satellites;
}

// Neighbours in the list ask different records, so that all threads meet in all of them.
std::vector<Request> MakeRequests(const std::vector<Satellite>& satellites) {
    std::vector<Request> requests;
    for (int i = 0; i < kRequestsPerSatellite; ++i) {
        const double part = static_cast<double>(i) / kRequestsPerSatellite;
        for (const Satellite& s : satellites) requests.push_back({s.key, s.start + part * (s.end - s.start)});
    }
    return requests;
}

void Evaluate(std::span<const Request> requests, std::span<Result> results) {
    for (std::size_t i = 0; i < requests.size(); ++i) {
        Result& r = results[i];
        r.status = VecTabDs50UTC(requests[i].key, requests[i].time, &r.mse, r.pos, r.vel, &r.revNum);
    }
}

std::vector<Result> EvaluateOnThreads(const std::vector<Request>& requests, std::size_t threads) {
    std::vector<Result> results(requests.size());
    std::vector<std::jthread> workers;
    for (std::size_t i = 0; i < threads; ++i) {
        const std::size_t first = requests.size() * i / threads;
        const std::size_t count = requests.size() * (i + 1) / threads - first;
        workers.emplace_back(Evaluate, std::span(requests).subspan(first, count),
                             std::span(results).subspan(first, count));
    }
    workers.clear();  // joins them, before the results leave
    return results;
}

void Run(std::size_t threads, std::span<const char* const> files) {
    const std::vector<Satellite> satellites = Load(files);
    if (satellites.empty()) Fail("no ephemeris in the files");

    const std::vector<Request> requests = MakeRequests(satellites);
    const std::vector<Result> results = EvaluateOnThreads(requests, threads);
    std::vector<Result> serial(requests.size());
    Evaluate(requests, serial);
    if (std::ranges::any_of(results, [](const Result& r) { return r.status != 0; })) Fail("a request failed");
    if (std::memcmp(results.data(), serial.data(), results.size() * sizeof(Result)) != 0) {
        Fail("the results differ from those of one thread");
    }
    std::printf("%zu requests  %zu threads  same bits as one thread\n", requests.size(), threads);
    if (VecTabRemoveAllSats() != 0) Fail("the records cannot be removed");
}

// The number of threads that a text says, 0 when it says none.
std::size_t ThreadsOf(std::string_view text) {
    std::size_t threads = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), threads);
    return error == std::errc{} && end == text.data() + text.size() ? threads : 0;
}

}  // namespace

int main(int argc, char** argv) {
    static constexpr const char* kSamples[] = {"examples/samples/10001_leo.e", "examples/samples/10002_geo.e",
                                               "examples/samples/10003_heo.e"};
    const std::vector<const char*> arguments(argv + std::min(argc, 1), argv + argc);
    const std::size_t given = arguments.empty() ? 0 : ThreadsOf(arguments[0]);
    const std::span<const char* const> files = std::span(arguments).subspan(given > 0 ? 1 : 0);
    const std::size_t threads = given > 0 ? given : std::max(1U, std::thread::hardware_concurrency());
    try {
        Run(threads, files.empty() ? std::span<const char* const>(kSamples) : files);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "many_threads: %s\n", failure.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
