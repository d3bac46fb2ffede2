#include "store/read_gate.h"

#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "helpers/store_test.h"

using namespace VecTableTree;

// Writers move two numbers together; a reader that sees them apart was inside beside a writer.
TEST(ReadGate, NoReaderIsInsideBesideAWriter) {
    int first = 0;
    int second = 0;
    std::atomic<bool> stop{false};
    std::atomic<int> torn{0};
    std::atomic<int> reads{0};
    std::vector<std::thread> threads;
    for (int r = 0; r < 3; ++r) {
        threads.emplace_back([&] {
            while (!stop) {
                const ReadSection section;
                if (first != second) ++torn;
                ++reads;
            }
        });
    }
    std::vector<std::thread> writers;
    for (int w = 0; w < 2; ++w) {
        writers.emplace_back([&] {
            for (int i = 0; i < 2000; ++i) {
                const WriteSection section;
                ++first;
                ++second;
            }
        });
    }
    for (auto& writer : writers) writer.join();
    stop = true;
    for (auto& reader : threads) reader.join();
    EXPECT_EQ(first, 4000);
    EXPECT_EQ(torn, 0);
    EXPECT_GT(reads, 0);
    EXPECT_EQ(Gate::numReads, 0);
    EXPECT_EQ(Gate::waitingReads, 0);
}

TEST_F(StoreTest, AWaitingWriterKeepsNewReadersOutUntilItIsThrough) {
    Add(1, 1.0);
    BeginRead();
    std::atomic<int> order{0};
    int removedAt = -1;
    int counted = -1;
    std::thread writer([&] {
        VecTabRemoveAllSats();
        removedAt = ++order;
    });
    while (!Gate::isUpdating) std::this_thread::yield();
    std::thread reader([&] { counted = VecTabGetCount(); });
    while (Gate::waitingReads == 0) std::this_thread::yield();
    EXPECT_EQ(order, 0);
    EndRead();
    writer.join();
    reader.join();
    EXPECT_EQ(removedAt, 1);
    EXPECT_EQ(counted, 0);
}

// A record holds one number throughout, so that a mixture of two records would show.
TEST_F(StoreTest, ReadersSeeWholeRecordsWhileOthersComeAndGo) {
    const int64_t kept = Add(1, 100.0);
    for (int i = 0; i < 100; ++i) Append(kept, 100.0 + i / 1440.0, {1.0, 1.0, 1.0});
    std::atomic<bool> stop{false};
    std::atomic<int> wrong{0};
    std::vector<std::thread> readers;
    for (int r = 0; r < 2; ++r) {
        readers.emplace_back([&] {
            State state;
            while (!stop) {
                if (AskByMinutes(kept, 12.5, state) != 0) ++wrong;
                const int64_t passing = VecTabGetSatKey(2);
                if (passing == -1 || AskByIndex(passing, 3, state) != 0) continue;
                if (state.pos[0] < 1.0 || state.pos[0] != state.pos[1] || state.pos[0] != state.pos[2]) ++wrong;
            }
        });
    }
    for (int generation = 1; generation < 300; ++generation) {
        std::string text =
            "stk.v.1\nScenarioEpoch 1 Jan 2025 00:00:00.000\nDistanceUnit Kilometers\nEphemerisTimePos\n";
        const std::string number = " " + std::to_string(generation);
        for (const char* seconds : {"0", "60", "120"}) text += seconds + number + number + number + "\n";
        const int64_t key = VecTabAddSatFrFile(Write("00002.e", text).c_str());
        if (key <= 0 || VecTabRemoveSat(key) != 0) ++wrong;
    }
    stop = true;
    for (auto& reader : readers) reader.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(VecTabGetCount(), 1);
}
