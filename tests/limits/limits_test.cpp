// Sizes beyond what is usual, through the calls.
#include <vectable/batch.h>
#include <vectable/host.h>
#include <vectable/vectable.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <numeric>
#include <random>
#include <vector>

namespace {

constexpr double kStart = 27819.0;

int64_t Add(int32_t satNum) {
    return VecTabAddSat(satNum, kStart, 6378.135, 0.0743669161, 1);
}

// The mappings of the process are far from the 65,530 that it may have, and it can start another one.
void ExpectRoomForTheHost() {
    std::ifstream maps("/proc/self/maps");
    EXPECT_LT(std::count(std::istreambuf_iterator<char>(maps), {}, '\n'), 1000);
    EXPECT_EQ(std::system("true"), 0);
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
