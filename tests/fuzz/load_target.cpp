// Loads any bytes, then uses what was stored. The first byte picks a text load, a load of a binary file, or of a list.
#include <vectable/host.h>
#include <vectable/vectable.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

#include "targets.h"

namespace {

std::string PathOf(const char* name) {
    static const std::string folder = [] {
        std::string made = "/dev/shm/vectable_fuzz_XXXXXX";
        if (::mkdtemp(made.data()) == nullptr) std::abort();
        return made;
    }();
    return folder + "/" + name;
}

void Use(int64_t key) {
    std::array<double, 128> all;
    std::array<double, 36> matrix;
    std::array<double, 3> pos, vel;
    char text[512], satName[8], ephemName[128], path[512];
    double epoch = 0.0, ae = 0.0, ke = 0.0, time = 0.0, start = 0.0, end = 0.0;
    int32_t satNum = 0, coordSys = 0, numOfPts = 0, revNum = 0;
    for (int32_t code = 0; code <= 16; ++code) VecTabGetField(key, code, text);
    VecTabGetAllFields(key, &satNum, satName, ephemName, &epoch, &ae, &ke, pos.data(), vel.data(), &coordSys, &numOfPts,
                       path);
    if (numOfPts < 1 || VecTabStartEndTime(key, &start, &end) != 0) std::abort();
    for (const int32_t index : {1, (numOfPts + 1) / 2, numOfPts}) {
        if (VecTabGetCovMtx(key, index, &time, pos.data(), vel.data(), &revNum, matrix.data()) != 0) std::abort();
    }
    for (const double part : {0.0, 0.01, 0.4, 0.99, 1.0}) {
        VecTabDs50UTCCovMtx(key, start + part * (end - start), &time, pos.data(), vel.data(), &revNum, matrix.data());
        VecTabXten(key, 1, part * (end - start) * 1440.0, all.data());
    }
    VecTabGetLine(key, text);
    VecTabSetField(key, 15, text);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    VecHostSetTraceSink(nullptr, nullptr);
    VecHostSetElsetKeyMode(data[0] / 3 % 2);
    const std::array<std::string, 3> names = {PathOf("12345.e"), PathOf("12345.dce"), PathOf("list.txt")};
    const std::string& path = names[data[0] % 3];
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) std::abort();
    std::fwrite(data + 1, 1, size - 1, file);
    std::fclose(file);

    VecTabLoadFile(path.c_str());
    VecTabAddSatFrFile(path.c_str());
    std::vector<int64_t> keys(static_cast<size_t>(VecTabGetCount()) + 1);
    VecTabGetLoaded(data[0] % 4, keys.data());
    keys.pop_back();
    for (const int64_t key : keys) Use(key);
    const std::string saved = PathOf("saved.txt");
    if (VecTabSaveFile(saved.c_str(), 0) != 0) std::abort();
    for (const int64_t key : keys) {
        if (VecTabRemoveSat(key) != 0) std::abort();
    }
    if (VecTabGetCount() != 0) std::abort();
    return 0;
}
