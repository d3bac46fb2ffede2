// How much memory do a load and a save take at their peak?
//
//     memory_report load POINTS      beside the points themselves
//     memory_report save RECORDS     of 1440 points each
#include <vectable/host.h>
#include <vectable/vectable.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/resource.h>

#include "dot_e_file.h"

namespace {

constexpr double kPointSize = 232.0;  // bytes: time, position, velocity, revolution number, 21 covariance terms

double PeakBytes() {
    rusage usage;
    ::getrusage(RUSAGE_SELF, &usage);
    return 1024.0 * static_cast<double>(usage.ru_maxrss);
}

int ReportLoad(long points) {
    const DotEFile file(points);
    const double before = PeakBytes();
    if (VecTabLoadFile(file.Path()) != 0) return EXIT_FAILURE;
    const double grown = PeakBytes() - before;
    const double own = kPointSize * static_cast<double>(points);
    std::printf("load of %ld points: %.1f MB of points, %.1f MB at the peak, ratio %.3f (goal 2.2)\n", points,
                own / 1e6, grown / 1e6, grown / own);
    return EXIT_SUCCESS;
}

int ReportSave(long records) {
    const double pos[3] = {7000.0, 0.0, 0.0};
    const double vel[3] = {0.0, 7.5, 0.0};
    for (int32_t i = 0; i < records; ++i) {
        const int64_t key = VecTabAddSat(i, 27819.0, 6378.135, 0.0743669161, 1);
        for (int point = 0; point < 1440; ++point) VecTabAddSatEphem(key, 27819.0 + point / 1440.0, pos, vel, 0);
    }
    const double before = PeakBytes();
    if (VecTabSaveFile("/dev/null", 0) != 0) return EXIT_FAILURE;
    std::printf("save of %ld records of 1440 points (%.0f MB): %.3f MiB more at the peak (goal 1)\n", records,
                before / 1e6, (PeakBytes() - before) / 1048576.0);
    return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "load") == 0) return ReportLoad(std::strtol(argv[2], nullptr, 10));
    if (argc == 3 && std::strcmp(argv[1], "save") == 0) return ReportSave(std::strtol(argv[2], nullptr, 10));
    std::fputs("usage: memory_report load POINTS | save RECORDS\n", stderr);
    return EXIT_FAILURE;
}
