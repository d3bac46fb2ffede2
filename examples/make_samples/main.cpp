// Makes the sample ephemerides, one or more for each format.
//
//     make_samples FOLDER
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "samples.h"

using namespace SampleMaking;

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: make_samples FOLDER\n", stderr);
        return EXIT_FAILURE;
    }
    for (const Sample& sample : kSamples) {
        const std::string path = std::string(argv[1]) + "/" + sample.file;
        std::ofstream out(path, std::ios::binary);
        sample.write(out, sample, StatesOf(sample));
        if (!out.flush()) {
            std::fprintf(stderr, "make_samples: cannot write %s\n", path.c_str());
            return EXIT_FAILURE;
        }
    }
    return EXIT_SUCCESS;
}
