// Work for an instruction counter: `evaluate COUNT` asks for COUNT states one by one, `batch COUNT` for the same in one
// call, `load COUNT` loads a file of COUNT points.
#include <vectable/batch.h>
#include <vectable/host.h>
#include <vectable/vectable.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "dot_e_file.h"

namespace {

constexpr double kStart = 27819.0;

// One table among many.
int64_t MakeTable() {
    std::array<double, 21> terms;
    terms.fill(1.0);
    for (int i = 0; i < 2000; ++i) VecTabAddSat(10000 + i, kStart, 6378.135, 0.0743669161, 1);
    const int64_t key = VecTabGetSatKey(11234);
    for (int i = 0; i < 1440; ++i) {
        const std::array<double, 3> pos = {7000.0, 0.1 * i, 100.0}, vel = {0.1, 7.5, 0.1};
        VecTabAddSatEphemCovMtx(key, kStart + i / 1440.0, pos.data(), vel.data(), 0, terms.data());
    }
    return key;
}

std::vector<double> ScatteredTimes(long count) {
    std::vector<double> times;
    for (long i = 0; i < count; ++i) {
        times.push_back(kStart + 0.99 * static_cast<double>(i * 7919 % count) / static_cast<double>(count));
    }
    return times;
}

bool Evaluate(int64_t key, const std::vector<double>& times) {
    bool all = true;
    for (const double time : times) {
        double mse, pos[3], vel[3], covMtx[36];
        int32_t revNum;
        all = VecTabDs50UTCCovMtx(key, time, &mse, pos, vel, &revNum, covMtx) == 0 && all;
    }
    return all;
}

bool EvaluateAtOnce(int64_t key, const std::vector<double>& times) {
    std::vector<double> states(times.size() * 6), covs(times.size() * 21);
    return VecBatchGrid(1, &key, static_cast<int64_t>(times.size()), times.data(), states.data(), covs.data(), nullptr,
                        nullptr) == 0;
}

}  // namespace

int main(int argc, char** argv) {
    VecHostSetTraceSink(nullptr, nullptr);
    if (argc != 3) return EXIT_FAILURE;
    const long count = std::strtol(argv[2], nullptr, 10);
    if (std::strcmp(argv[1], "load") != 0) {
        const int64_t key = MakeTable();
        const auto evaluate = std::strcmp(argv[1], "batch") == 0 ? EvaluateAtOnce : Evaluate;
        return evaluate(key, ScatteredTimes(count)) ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    const DotEFile file(count);
    return VecTabLoadFile(file.Path());
}
