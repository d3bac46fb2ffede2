// Loads any bytes, then uses what was stored. The first byte picks the kind of file, the key mode, the call that loads
// it, and whether the list is saved.
#include <vectable/host.h>
#include <vectable/oem.h>
#include <vectable/vectable.h>

#include <array>
#include <cfenv>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

#include "targets.h"

namespace {

// A file in memory, under a path whose name tells the library what it is.
class MemoryFile {
  public:
    MemoryFile(const std::string& folder, const char* name)
        : path(folder + "/" + name), descriptor_(::memfd_create(name, MFD_CLOEXEC)) {
        const std::string opened = "/proc/self/fd/" + std::to_string(descriptor_);
        if (descriptor_ < 0 || ::symlink(opened.c_str(), path.c_str()) != 0) std::abort();
    }

    void Write(const uint8_t* bytes, size_t size) const {
        if (::ftruncate(descriptor_, 0) != 0) std::abort();
        if (::pwrite(descriptor_, bytes, size, 0) != static_cast<ssize_t>(size)) std::abort();
    }

    const std::string path;

  private:
    int descriptor_;
};

struct Files {
    std::string folder = [] {
        std::string made = "/dev/shm/vectable_fuzz_XXXXXX";
        if (::mkdtemp(made.data()) == nullptr) std::abort();
        return made;
    }();
    std::array<MemoryFile, 3> loaded{MemoryFile(folder, "12345.e"), MemoryFile(folder, "12345.dce"),
                                     MemoryFile(folder, "list.txt")};
    std::string saved = folder + "/saved.txt";

    ~Files() { std::filesystem::remove_all(folder); }
};

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
    static const Files files;
    const MemoryFile& file = files.loaded[data[0] % 3];
    file.Write(data + 1, size - 1);
    const std::string& path = file.path;
    std::feclearexcept(FE_ALL_EXCEPT);
    // Most inputs take one way only, for the sake of speed.
    const int call = data[0] / 48;  // 0: both
    if (call % 2 == 0) VecTabLoadFile(path.c_str());
    if (call % 2 == 1 || call == 0) VecTabAddSatFrFile(path.c_str());
    if (std::fetestexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW) != 0) std::abort();
    int32_t count = 0;
    if (call == 0 || call == 4) VecOemLoadFile(path.c_str(), 0, nullptr, 0, &count);
    std::vector<int64_t> keys(static_cast<size_t>(VecTabGetCount()) + 1);
    VecTabGetLoaded(data[0] % 4, keys.data());
    keys.pop_back();
    for (const int64_t key : keys) Use(key);
    if (data[0] / 6 % 8 == 1 && VecTabSaveFile(files.saved.c_str(), 0) != 0) std::abort();
    for (const int64_t key : keys) {
        if (VecTabRemoveSat(key) != 0) std::abort();
    }
    if (VecTabGetCount() != 0) std::abort();
    return 0;
}
