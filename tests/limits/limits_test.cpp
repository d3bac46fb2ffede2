// Sizes beyond what is usual, through the calls.
#include <vectable/batch.h>
#include <vectable/host.h>
#include <vectable/vectable.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <malloc.h>
#include <numeric>
#include <random>
#include <vector>

namespace {

constexpr double kStart = 27819.0;
constexpr int32_t kTenMillion = 10'000'000;

int64_t Add(int32_t satNum) {
    return VecTabAddSat(satNum, kStart, 6378.135, 0.0743669161, 1);
}

std::size_t HeapInUse() {
    const struct mallinfo2 heap = ::mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

// The mappings of the process are far from the 65,530 that it may have, and it can start another one.
void ExpectRoomForTheHost() {
    std::ifstream maps("/proc/self/maps");
    EXPECT_LT(std::count(std::istreambuf_iterator<char>(maps), {}, '\n'), 1000);
    EXPECT_EQ(std::system("true"), 0);
}

// A Dot-E file whose point moves along x by a kilometre a second.
std::filesystem::path WriteSteadyMotion(const std::filesystem::path& path, int32_t points) {
    std::ofstream file(path);
    file << "stk.v.12.0\nScenarioEpoch 1 Mar 2026 00:00:00.000\nDistanceUnit Kilometers\nEphemerisTimePosVel\n";
    for (int32_t i = 0; i < points; ++i) file << i << ' ' << i << " 0 0 1 0 0\n";
    return path;
}

void ExpectSteadyMotion(int64_t key) {
    double time, pos[3], vel[3];
    int32_t revNum;
    for (const double second : {1.5, 5'000'000.25, 9'999'997.75}) {
        ASSERT_EQ(VecTabMse(key, second / 60.0, &time, pos, vel, &revNum), 0) << second;
        EXPECT_NEAR(pos[0], second, 1e-5);
        EXPECT_NEAR(vel[0], 1.0, 1e-6);
    }
    ASSERT_EQ(VecTabGetEphemeris(key, kTenMillion, &time, pos, vel, &revNum), 0);
    EXPECT_EQ(pos[0], kTenMillion - 1.0);
    EXPECT_EQ(VecTabGetEphemeris(key, kTenMillion + 1, &time, pos, vel, &revNum), 2);
    EXPECT_EQ(VecTabRemoveAllSats(), 0);
}

class Limits : public testing::Test {
  protected:
    Limits() { VecHostSetTraceSink(nullptr, nullptr); }
    ~Limits() override {
        VecTabRemoveAllSats();
        VecHostSetElsetKeyMode(0);
    }
};

}  // namespace

TEST_F(Limits, AMillionTablesByCalls) {
    constexpr int32_t kTables = 1'000'000;
    std::vector<int32_t> satNums(kTables);
    std::iota(satNums.begin(), satNums.end(), 0);
    std::shuffle(satNums.begin(), satNums.end(), std::mt19937(1));
    std::vector<int64_t> added;
    const double vel[3] = {1.0, 0.0, 0.0};
    for (const int32_t satNum : satNums) {
        added.push_back(Add(satNum));
        for (int i = 0; i < 20; ++i) {
            const double pos[3] = {static_cast<double>(i), static_cast<double>(satNum), 0.0};
            ASSERT_EQ(VecTabAddSatEphem(added.back(), kStart + i / 86400.0, pos, vel, 0), 0);
        }
    }
    ASSERT_EQ(VecTabGetCount(), kTables);
    ExpectRoomForTheHost();

    std::vector<double> states(kTables * std::size_t{6});
    const double time = kStart + 8.25 / 86400.0;
    ASSERT_EQ(VecBatchGrid(kTables, added.data(), 1, &time, states.data(), nullptr, nullptr, nullptr), 0);
    for (std::size_t i = 0; i < kTables; ++i) {
        ASSERT_NEAR(states[i * 6], 8.25, 1e-6);
        ASSERT_NEAR(states[i * 6 + 1], satNums[i], 1e-6);
    }

    std::vector<int64_t> listed(kTables);
    VecTabGetLoaded(2, listed.data());
    EXPECT_EQ(listed, added);
    std::vector<int64_t> sorted = added;
    std::sort(sorted.begin(), sorted.end());
    for (const int32_t order : {0, 3}) {
        VecTabGetLoaded(order, listed.data());
        EXPECT_EQ(listed, sorted) << order;
    }
    for (const int64_t key : added) ASSERT_EQ(VecTabRemoveSat(key), 0);
    EXPECT_EQ(VecTabGetCount(), 0);
}

// One file, listed once for each table: in direct-memory mode each line stores a record of its own.
TEST_F(Limits, AHundredThousandTablesByFiles) {
    constexpr int32_t kTables = 100'000;
    const std::filesystem::path folder = std::filesystem::temp_directory_path();
    const std::filesystem::path path = WriteSteadyMotion(folder / "00008_limits.e", 200);
    const std::filesystem::path list = folder / "limits_list.txt";
    std::FILE* lines = std::fopen(list.c_str(), "w");
    ASSERT_NE(lines, nullptr);
    for (int32_t i = 0; i < kTables; ++i) std::fprintf(lines, "EPHFIL = %s\n", path.c_str());
    std::fclose(lines);
    VecHostSetElsetKeyMode(1);
    EXPECT_EQ(VecTabLoadFile(list.c_str()), 0);
    std::filesystem::remove(path);
    std::filesystem::remove(list);
    ASSERT_EQ(VecTabGetCount(), kTables);
    ExpectRoomForTheHost();

    std::vector<int64_t> keys(kTables);
    VecTabGetLoaded(3, keys.data());
    const auto second = [](std::size_t i) { return static_cast<double>(i % 199) + 0.5; };
    std::vector<double> times, states(kTables * std::size_t{6});
    for (std::size_t i = 0; i < kTables; ++i) times.push_back(kStart + second(i) / 86400.0);
    ASSERT_EQ(VecBatchPairs(kTables, keys.data(), times.data(), states.data(), nullptr, nullptr, nullptr), 0);
    for (std::size_t i = 0; i < kTables; ++i) ASSERT_NEAR(states[i * 6], second(i), 1e-6);
}

TEST_F(Limits, AStoreFilledAndEmptiedAThousandTimesKeepsNoMemory) {
    const double pos[3] = {7000.0, 0.0, 0.0}, vel[3] = {0.0, 7.5, 0.0};
    for (const int mode : {0, 1}) {
        VecHostSetElsetKeyMode(mode);
        std::size_t used = 0;
        for (int round = 0; round < 1000; ++round) {
            for (int32_t satNum = 0; satNum < 100; ++satNum) VecTabAddSatEphem(Add(satNum), kStart, pos, vel, 0);
            VecTabRemoveAllSats();
            if (round == 10) used = HeapInUse();
        }
        EXPECT_LE(HeapInUse(), used + 65536) << mode;
    }
}

TEST_F(Limits, ATableOfTenMillionPoints) {
    const int64_t key = Add(1);
    const double vel[3] = {1.0, 0.0, 0.0};
    for (int32_t i = 0; i < kTenMillion; ++i) {
        const double pos[3] = {static_cast<double>(i), 0.0, 0.0};
        ASSERT_EQ(VecTabAddSatEphem(key, kStart + i / 86400.0, pos, vel, 0), 0);
    }
    ExpectSteadyMotion(key);
}

TEST_F(Limits, AFileOfTenMillionLines) {
    const std::filesystem::path path =
        WriteSteadyMotion(std::filesystem::temp_directory_path() / "00007_limits.e", kTenMillion);
    const int64_t key = VecTabAddSatFrFile(path.c_str());
    std::filesystem::remove(path);
    ASSERT_GT(key, 0);
    ExpectSteadyMotion(key);
}
