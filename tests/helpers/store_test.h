// A test of whole calls on an empty store, with the log at hand and a folder for files.
#pragma once

#include <vectable/oem.h>
#include <vectable/vectable.h>

#include <algorithm>
#include <array>
#include <cfenv>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <unistd.h>

#include "helpers/log_capture.h"
#include "store/gate.h"

using Vector = std::array<double, 3>;
using Covariance = std::array<double, 21>;
using Strings = std::vector<std::string>;

// A state as the calls give it.
struct State {
    double time = 0.0;
    Vector pos{}, vel{};
    int32_t revNum = 0;
    std::array<double, 36> covMtx{};
};

inline int32_t AskByIndex(int64_t key, int32_t index, State& s) {
    return VecTabGetCovMtx(key, index, &s.time, s.pos.data(), s.vel.data(), &s.revNum, s.covMtx.data());
}
inline int32_t AskByMinutes(int64_t key, double mse, State& s) {
    return VecTabMseCovMtx(key, mse, &s.time, s.pos.data(), s.vel.data(), &s.revNum, s.covMtx.data());
}

// Loads a file by the call that its name asks for.
inline int32_t LoadByName(const std::string& path, int32_t satNum = 0) {
    int32_t count = 0;
    return path.ends_with(".oem") ? VecOemLoadFile(path.c_str(), satNum, nullptr, 0, &count)
                                  : VecTabLoadFile(path.c_str());
}

class StoreTest : public testing::Test {
  protected:
    StoreTest() {
        Reset();
        std::feclearexcept(FE_ALL_EXCEPT);
    }
    // Whatever a test does, no call stays inside the gate, no file stays open, and no operation on numbers is one
    // that a host may have turned into a signal.
    ~StoreTest() override {
        EXPECT_EQ(std::fetestexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW), 0);
        using VecTableTree::gate;
        EXPECT_TRUE(gate.Readers() == 0 && !gate.IsUpdating());
        EXPECT_EQ(OpenFiles(), openFiles);
        Reset();
        std::filesystem::remove_all(folder);
    }

    static void Reset() {
        VecTabRemoveAllSats();
        VecHostSetUseAllKeyMode(0);
        VecHostSetAllKeyMode(0);
        VecHostSetElsetKeyMode(0);
        VecHostSetDupKeyMode(0);
    }

    // A file in the folder of the test; its path.
    std::string Write(const std::string& name, std::string_view text) const {
        std::filesystem::create_directories(folder);
        const std::string path = folder / name;
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    static std::string ReadAll(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    static int64_t Add(int32_t satNum, double epoch, int32_t typeCode = 1) {
        return VecTabAddSat(satNum, epoch, 6378.135, 0.0743669161, typeCode);
    }

    static int32_t Append(int64_t key, double ds50UTC, Vector pos = {7000.0, 0.0, 0.0}, Vector vel = {},
                          int32_t revNum = 0) {
        return VecTabAddSatEphem(key, ds50UTC, pos.data(), vel.data(), revNum);
    }

    LogCapture log;
    const std::filesystem::path folder = NewFolder();

  private:
    static std::ptrdiff_t OpenFiles() {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    }

    const std::ptrdiff_t openFiles = OpenFiles();

    // In memory where the system has a place for that: some tests write thousands of files.
    static std::filesystem::path NewFolder() {
        std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
        std::replace(name.begin(), name.end(), '/', '_');
        const std::filesystem::path memory = "/dev/shm";
        const auto base = std::filesystem::exists(memory) ? memory : std::filesystem::temp_directory_path();
        return base / ("vectable_" + std::to_string(::getpid()) + "_" + name);
    }
};
