// How much memory does a load take at its peak, beside the points themselves?
#include <vectable/host.h>
#include <vectable/vectable.h>

#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>

#include "dot_e_file.h"

namespace {

constexpr double kPointSize = 232.0;  // bytes: time, position, velocity, revolution number, 21 covariance terms

double PeakBytes() {
    rusage usage;
    ::getrusage(RUSAGE_SELF, &usage);
    return 1024.0 * static_cast<double>(usage.ru_maxrss);
}

}  // namespace

int main(int argc, char** argv) {
    const long points = argc > 1 ? std::strtol(argv[1], nullptr, 10) : 1'000'000;
    const DotEFile file(points);
    const double before = PeakBytes();
    if (VecTabLoadFile(file.Path()) != 0) return EXIT_FAILURE;
    const double grown = PeakBytes() - before;
    const double own = kPointSize * static_cast<double>(points);
    std::printf("%ld points of %.0f bytes: %.1f MB; peak of the load: %.1f MB; ratio %.3f (goal 2.2)\n", points,
                kPointSize, own / 1e6, grown / 1e6, grown / own);
    return EXIT_SUCCESS;
}
