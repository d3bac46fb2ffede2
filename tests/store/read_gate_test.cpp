#include "store/read_gate.h"

#include <vectable/batch.h>

#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <thread>
#include <vector>

#include "helpers/store_test.h"

using namespace VecTableTree;

TEST_F(StoreTest, AWaitingWriterKeepsNewReadersOutUntilItIsThrough) {
    Add(1, 1.0);
    BeginRead();
    std::atomic<bool> removed{false};
    int counted = -1;
    std::thread writer([&] { removed = VecTabRemoveAllSats() == 0; });
    while (!gate.IsUpdating()) std::this_thread::yield();
    std::thread reader([&] { counted = VecTabGetCount(); });
    EXPECT_FALSE(removed);
    EndRead();
    writer.join();
    reader.join();
    EXPECT_TRUE(removed && counted == 0);
}

// The gate is held: a removal that entered it would wait for ever.
TEST_F(StoreTest, AKeyThatNamesNoObjectIsRefusedWithoutWaiting) {
    Add(1, 1.0);
    BeginRead();
    EXPECT_EQ(VecTabRemoveSat(640), 2);
    EndRead();
    EXPECT_EQ(log.Take(), Strings{"RemoveDMA: /DMA doesn't exist or was already deallocated"});
}

// A batch leaves the gate between its blocks: a removal gets through while one is under way.
TEST_F(StoreTest, AWriterPassesBetweenTheBlocksOfABatch) {
    constexpr int64_t kTimes = 200'000;
    const std::vector<double> times(kTimes, 100.0);
    std::vector<double> states(6 * kTimes);
    bool passed = false;
    for (int attempt = 0; attempt < 100 && !passed; ++attempt) {
        const int64_t key = Add(1, 100.0);
        Append(key, 100.0);
        std::atomic<bool> done{false};
        int64_t without = 0;
        std::thread reader([&] {
            without = VecBatchGrid(1, &key, kTimes, times.data(), states.data(), nullptr, nullptr, nullptr);
            done = true;
        });
        while (!done && gate.Readers() == 0) std::this_thread::yield();
        VecTabRemoveSat(key);
        reader.join();
        passed = without > 0 && without < kTimes;
    }
    EXPECT_TRUE(passed);
}

// Real calls side by side. A record holds one number throughout, so that a mixture of two would show.
TEST_F(StoreTest, EveryAnswerIsOneThatSomeOrderOfTheCallsAllows) {
    for (const int mode : {0, 1}) {
        VecHostSetElsetKeyMode(mode);
        const int64_t kept = Add(1, 100.0);
        for (int i = 0; i < 100; ++i) Append(kept, 100.0 + i / 1440.0, {1.0, 1.0, 1.0});
        std::atomic<bool> stop{false};
        std::atomic<int> wrong{0};
        std::atomic<int64_t> latest{0};
        const auto expect = [&](bool right) { wrong += right ? 0 : 1; };
        const std::string list = Write("list.txt", "");
        const auto evaluate = [&] {
            State state;
            std::vector<int64_t> keys(100);
            const std::vector<double> times(100, 100.0 + 12.5 / 1440.0), starts(100, 27395.0);
            std::vector<double> states(600);
            std::mt19937_64 random(1);
            while (!stop) {
                expect(AskByMinutes(kept, 12.5, state) == 0 && state.pos == Vector{1.0, 1.0, 1.0});
                expect(VecTabGetCount() >= 1);
                VecTabGetLoaded(static_cast<int32_t>(random() % 4), keys.data());
                expect(AskByIndex(static_cast<int64_t>(random()) | 1, 1, state) == 2);
                // In direct-memory mode a record must not be removed while it is used: stale keys are not asked there.
                const int64_t passing = mode == 0 ? latest.load() : -1;
                if (AskByIndex(passing, 3, state) == 0) expect(state.pos[0] >= 1 && state.pos[0] == state.pos[2]);
                expect(VecBatchPairs(100, std::vector<int64_t>(100, kept).data(), times.data(), states.data(), nullptr,
                                     nullptr, nullptr) == 0 &&
                       states[6 * 77 + 2] == 1.0);
                VecBatchPairs(100, std::vector<int64_t>(100, passing).data(), starts.data(), states.data(), nullptr,
                              nullptr, nullptr);
                expect(std::isnan(states[6 * 99]) || (states[6 * 99] >= 1 && states[6 * 99] == states[6 * 99 + 2]));
            }
        };
        std::vector<std::thread> others;
        others.emplace_back(evaluate);
        others.emplace_back(evaluate);
        others.emplace_back([&] {
            while (!stop) expect(VecTabSaveFile(list.c_str(), 0) == 0);
        });
        for (int generation = 1; generation <= 100; ++generation) {
            std::string text = "stk.v.1\nScenarioEpoch 1 Jan 2025 00:00:00.000\nEphemerisTimePos\n";
            const std::string number = " " + std::to_string(1000 * generation);
            for (const char* seconds : {"0", "60", "120"}) text += seconds + number + number + number + "\n";
            latest = VecTabAddSatFrFile(Write("00002.e", text).c_str());
            expect(VecTabRemoveSat(latest) == 0);
        }
        stop = true;
        for (auto& other : others) other.join();
        EXPECT_EQ(wrong, 0);
        EXPECT_EQ(VecTabGetCount(), 1);
        VecTabRemoveAllSats();
    }
}
