#include <functional>
#include <gtest/gtest.h>
#include <pthread.h>
#include <thread>

#include "helpers/store_test.h"
#include "store/direct_memory.h"

class Surface : public StoreTest {};

// A thread that is cancelled before a call does the whole of it, and ends at the first chance after it.
TEST_F(Surface, ACancelledThreadFinishesItsCall) {
    const std::string file =
        Write("10001.e", "stk.v.4\nScenarioEpoch 1 Jan 2025 00:00:00.000\nEphemerisTimePos\n0 1 2 3\n");
    const std::string list = folder / "list.txt";
    const std::function<bool()> calls[] = {
        [&] { return VecTabAddSatFrFile(file.c_str()) > 0; },
        [&] { return VecTabRemoveAllSats() == 0 && VecTabLoadFile(file.c_str()) == 0; },
        [&] { return VecTabSaveFile(list.c_str(), 0) == 0; },
        [&] { return VecTabSaveFile(list.c_str(), 1) == 0; },
        [&] { return VecHostTraceToFile(list.c_str()) == 0; },
        [&] { return VecTabRemoveSat(16) == 2; },  // writes to the log
        [&] {
            VecHostSetTraceSink([](int32_t, const char*, int32_t, void*) { ::pthread_testcancel(); }, nullptr);
            return VecTabRemoveSat(16) == 2;
        }};
    for (const auto& call : calls) {
        std::pair<const std::function<bool()>*, bool> work{&call, false};
        const auto run = [](void* context) -> void* {
            auto& [made, done] = *static_cast<decltype(work)*>(context);
            ::pthread_cancel(::pthread_self());
            done = (*made)();
            for (;;) ::pthread_testcancel();
        };
        pthread_t thread;
        void* result = nullptr;
        ASSERT_EQ(::pthread_create(&thread, nullptr, run, &work), 0);
        ::pthread_join(thread, &result);
        EXPECT_EQ(result, PTHREAD_CANCELED);
        EXPECT_TRUE(work.second) << &call - calls;
    }
}

// Entries of failures are made when nothing is held: a slow sink holds no writer up.
TEST_F(Surface, NothingIsHeldWhileAFailureIsLogged) {
    VecHostSetElsetKeyMode(1);
    const int64_t key = Add(1, 1.0);
    const VecHostTraceSink store = [](int32_t, const char*, int32_t, void* context) {
        ++*static_cast<int*>(context);
        std::thread([] { VecTabAddSat(2, 1.0, 0.0, 0.0, 1); }).join();  // never ends when something is held
    };
    int entries = 0;
    State state;
    VecHostSetTraceSink(store, &entries);
    VecTabRemoveSat(16);
    VecTabRemoveSat(10);
    AskByIndex(16, 1, state);
    auto* object = VecTableTree::FindDmaObject(key);
    object->elsetType = 5;
    VecTabRemoveSat(key);
    VecTabRemoveAllSats();
    VecHostSetTraceSink(nullptr, nullptr);
    EXPECT_EQ(entries, 5);
    object->elsetType = 6;
    EXPECT_EQ(VecTableTree::RemoveDMA(key), 0);
    EXPECT_EQ(VecTabGetCount(), 1);
}
