// How much memory do a load and a save take at their peak, and a store that is filled?
//
//     memory_report load POINTS      beside the points themselves
//     memory_report save RECORDS     of 1440 points each
//     memory_report calls TABLES     of 200 points each, built by calls, beside the points themselves
//     memory_report mappings TABLES  of 200 points each, loaded: mappings of the process
#include <vectable/host.h>
#include <vectable/vectable.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/resource.h>

#include "dot_e_file.h"

namespace {

constexpr double kPointSize = 232.0;  // bytes: time, position, velocity, revolution number, 21 covariance terms

double PeakBytes() {
    rusage usage;
    ::getrusage(RUSAGE_SELF, &usage);
    return 1024.0 * static_cast<double>(usage.ru_maxrss);
}

void FillByCalls(long tables, int points) {
    const double pos[3] = {7000.0, 0.0, 0.0};
    const double vel[3] = {0.0, 7.5, 0.0};
    for (int32_t i = 0; i < tables; ++i) {
        const int64_t key = VecTabAddSat(i, 27819.0, 6378.135, 0.0743669161, 1);
        for (int point = 0; point < points; ++point) VecTabAddSatEphem(key, 27819.0 + point / 1440.0, pos, vel, 0);
    }
}

int ReportLoad(long points) {
    const DotEFile file(points);
    const double before = PeakBytes();
    if (VecTabLoadFile(file.Path()) != 0) return EXIT_FAILURE;
    const double grown = PeakBytes() - before;
    const double own = kPointSize * static_cast<double>(points);
    std::printf("load of %ld points: %.1f MB of points, %.1f MB at the peak, ratio %.3f (goal 1.02)\n", points,
                own / 1e6, grown / 1e6, grown / own);
    return EXIT_SUCCESS;
}

int ReportSave(long records) {
    FillByCalls(records, 1440);
    const double before = PeakBytes();
    if (VecTabSaveFile("/dev/null", 0) != 0) return EXIT_FAILURE;
    std::printf("save of %ld records of 1440 points (%.0f MB): %.3f MiB more at the peak (goal 1)\n", records,
                before / 1e6, (PeakBytes() - before) / 1048576.0);
    return EXIT_SUCCESS;
}

int ReportCalls(long tables) {
    const double before = PeakBytes();
    FillByCalls(tables, 200);
    const double own = kPointSize * 200.0 * static_cast<double>(tables);
    std::printf("%ld tables of 200 points by calls: %.0f MB of points, %.0f MB resident, ratio %.2f (goal 1.5)\n",
                tables, own / 1e6, (PeakBytes() - before) / 1e6, (PeakBytes() - before) / own);
    return EXIT_SUCCESS;
}

// One file, named once for each table: in direct-memory mode each line stores a record of its own.
int ReportMappings(long tables) {
    const DotEFile file(200);
    const std::string list = std::string(file.Path()) + ".list";
    std::FILE* lines = std::fopen(list.c_str(), "w");
    if (lines == nullptr) return EXIT_FAILURE;
    for (long i = 0; i < tables; ++i) std::fprintf(lines, "EPHFIL = %s\n", file.Path());
    std::fclose(lines);
    VecHostSetElsetKeyMode(1);
    VecHostSetTraceSink(nullptr, nullptr);
    const bool loaded = VecTabLoadFile(list.c_str()) == 0 && VecTabGetCount() == tables;
    std::filesystem::remove(list);
    std::ifstream maps("/proc/self/maps");
    const auto mappings = std::count(std::istreambuf_iterator<char>(maps), {}, '\n');
    std::printf("%ld loaded tables of 200 points: %ld mappings of the process (goal 1000)\n", tables, mappings);
    return loaded ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "load") == 0) return ReportLoad(std::strtol(argv[2], nullptr, 10));
    if (argc == 3 && std::strcmp(argv[1], "save") == 0) return ReportSave(std::strtol(argv[2], nullptr, 10));
    if (argc == 3 && std::strcmp(argv[1], "calls") == 0) return ReportCalls(std::strtol(argv[2], nullptr, 10));
    if (argc == 3 && std::strcmp(argv[1], "mappings") == 0) return ReportMappings(std::strtol(argv[2], nullptr, 10));
    std::fputs("usage: memory_report load POINTS | save RECORDS | calls TABLES | mappings TABLES\n", stderr);
    return EXIT_FAILURE;
}
