// How much memory do a load and a save take at their peak, and a store that is filled?
//
//     memory_report load POINTS      beside the points themselves
//     memory_report save RECORDS     of 1440 points each
//     memory_report calls TABLES     built by calls, at the worst number of points from 100 on, beside the points
//     memory_report removal TABLES   of 1440 points each, of which 99 % are removed, then all: what stays
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
#include <random>
#include <string>
#include <sys/resource.h>
#include <vector>

#include "dot_e_file.h"

namespace {

constexpr double kPointSize = 232.0;  // bytes: time, position, velocity, revolution number, 21 covariance terms

double PeakBytes() {
    rusage usage;
    ::getrusage(RUSAGE_SELF, &usage);
    return 1024.0 * static_cast<double>(usage.ru_maxrss);
}

double ResidentBytes() {
    std::ifstream file("/proc/self/statm");
    double size = 0.0, resident = 0.0;
    file >> size >> resident;
    return 4096.0 * resident;
}

int64_t AddTable(long number) {
    return VecTabAddSat(static_cast<int32_t>(number), 27819.0, 6378.135, 0.0743669161, 1);
}

void AddPoint(int64_t key, int point) {
    const double pos[3] = {7000.0, 0.0, 0.0};
    const double vel[3] = {0.0, 7.5, 0.0};
    VecTabAddSatEphem(key, 27819.0 + point / 1440.0, pos, vel, 0);
}

std::vector<int64_t> FillByCalls(long tables, int points) {
    std::vector<int64_t> keys;
    for (long i = 0; i < tables; ++i) {
        keys.push_back(AddTable(i));
        for (int point = 0; point < points; ++point) AddPoint(keys.back(), point);
    }
    return keys;
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

// A point to each table in turn, so that all of them have to move as they grow; then table by table.
int ReportCalls(long tables) {
    constexpr int kFrom = 100, kTo = 250;
    const double before = ResidentBytes();
    const auto ratio = [&](int points) {
        return (ResidentBytes() - before) / (kPointSize * points * static_cast<double>(tables));
    };
    std::vector<int64_t> keys = FillByCalls(tables, 0);
    double worst = 0.0;
    int worstPoints = 0;
    for (int points = 1; points <= kTo; ++points) {
        for (const int64_t key : keys) AddPoint(key, points);
        if (points < kFrom || ratio(points) <= worst) continue;
        worst = ratio(points);
        worstPoints = points;
    }
    VecTabRemoveAllSats();
    keys = FillByCalls(tables, worstPoints);
    std::printf(
        "%ld tables by calls, a point each in turn: at most %.3f times their points resident (of %d to %d: at %d); "
        "table by table %.3f (goal 1.15)\n",
        tables, worst, kFrom, kTo, worstPoints, ratio(worstPoints));
    return EXIT_SUCCESS;
}

int ReportRemoval(long tables) {
    const double before = ResidentBytes();
    const auto resident = [&] { return (ResidentBytes() - before) / 1048576.0; };
    const long left = tables / 100;
    double most = 0.0, mostAfterAll = 0.0;
    for (const char kind : {'f', 'l', 'e', 'a'}) {
        std::vector<int64_t> keys = FillByCalls(tables, 1440);
        if (kind == 'l') std::reverse(keys.begin(), keys.end());
        for (long i = 0; kind == 'e' && i < left; ++i) std::swap(keys.begin()[100 * i], keys.end()[-1 - i]);
        if (kind == 'a') std::shuffle(keys.begin(), keys.end(), std::mt19937_64(1));
        std::for_each(keys.begin(), keys.end() - left, VecTabRemoveSat);
        most = std::max(most, resident());
        std::for_each(keys.end() - left, keys.end(), VecTabRemoveSat);
        mostAfterAll = std::max(mostAfterAll, resident());
    }
    const double own = kPointSize * 1440.0 * static_cast<double>(left) / 1048576.0;
    std::printf(
        "%ld tables of 1440 points, 99 %% of them removed (the first, the last, all but every 100th, any): at most "
        "%.1f MiB resident for the %.1f MiB of the others (goal %.1f); all removed: %.1f (goal 8)\n",
        tables, most, own, 1.5 * own + 16.0, mostAfterAll);
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
    if (argc == 3 && std::strcmp(argv[1], "removal") == 0) return ReportRemoval(std::strtol(argv[2], nullptr, 10));
    if (argc == 3 && std::strcmp(argv[1], "mappings") == 0) return ReportMappings(std::strtol(argv[2], nullptr, 10));
    std::fputs("usage: memory_report load POINTS | save RECORDS | calls TABLES | removal TABLES | mappings TABLES\n",
               stderr);
    return EXIT_FAILURE;
}
