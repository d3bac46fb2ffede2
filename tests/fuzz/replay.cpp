// Runs a target of the fuzzer over files: those of folders after "--seeds" once with every first byte that picks a kind
// of load, those of the other folders as they are.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "targets.h"

int main(int argc, char** argv) {
    bool seeds = false;
    int runs = 0;
    for (int i = 1; i < argc; ++i) {
        if (std::string(argv[i]) == "--seeds") {
            seeds = true;
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            std::ifstream file(entry.path(), std::ios::binary);
            std::string bytes{std::istreambuf_iterator<char>(file), {}};
            if (seeds) bytes.insert(bytes.begin(), '\0');
            for (char pick = 0; pick < (seeds ? 7 : 1); ++pick, ++runs) {
                if (seeds) bytes[0] = pick;
                LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
            }
        }
    }
    std::printf("%d inputs\n", runs);
    return runs == 0;
}
