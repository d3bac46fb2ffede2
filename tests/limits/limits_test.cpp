// Sizes beyond what is usual, through the calls.
#include <vectable/host.h>
#include <vectable/vectable.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <gtest/gtest.h>
#include <malloc.h>
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

// A point moves along x by a kilometre a second.
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

TEST_F(Limits, AHundredThousandRecords) {
    constexpr int32_t kRecords = 100'000;
    std::vector<int32_t> satNums(kRecords);
    for (int32_t i = 0; i < kRecords; ++i) satNums[static_cast<std::size_t>(i)] = i;
    std::shuffle(satNums.begin(), satNums.end(), std::mt19937(1));
    std::vector<int64_t> added;
    for (const int32_t satNum : satNums) added.push_back(Add(satNum));
    ASSERT_EQ(VecTabGetCount(), kRecords);

    std::vector<int64_t> listed(kRecords);
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
    const std::filesystem::path path = std::filesystem::temp_directory_path() / "00007_limits.e";
    std::FILE* file = std::fopen(path.c_str(), "w");
    ASSERT_NE(file, nullptr);
    std::fputs("stk.v.12.0\nScenarioEpoch 1 Mar 2026 00:00:00.000\nDistanceUnit Kilometers\nEphemerisTimePosVel\n",
               file);
    for (int32_t i = 0; i < kTenMillion; ++i) std::fprintf(file, "%d %d 0 0 1 0 0\n", i, i);
    std::fclose(file);
    const int64_t key = VecTabAddSatFrFile(path.c_str());
    std::filesystem::remove(path);
    ASSERT_GT(key, 0);
    ExpectSteadyMotion(key);
}
