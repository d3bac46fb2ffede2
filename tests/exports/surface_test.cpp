#include <functional>
#include <gtest/gtest.h>
#include <pthread.h>
#include <thread>

#include "helpers/store_test.h"
#include "store/direct_memory.h"

class Surface : public StoreTest {};

TEST_F(Surface, NullArgumentsAreRefusedByName) {
    const int64_t key = Add(1, 1.0);
    double x = 0.0;
    Vector v{};
    int32_t i = 0;
    char text[512];
    std::array<double, 128> array{};
    const std::pair<const char*, std::function<int64_t()>> cases[] = {
        {"VecTabFieldsToSatKey", [&] { return VecTabFieldsToSatKey(1, nullptr); }},
        {"VecTabAddSatEphem", [&] { return VecTabAddSatEphem(key, 2.0, nullptr, v.data(), 0); }},
        {"VecTabAddSatEphemCovMtx", [&] { return VecTabAddSatEphemCovMtx(key, 2.0, v.data(), v.data(), 0, nullptr); }},
        {"VecTabAddSatEphemExt", [&] { return VecTabAddSatEphemExt(key, 2.0, v.data(), nullptr, 0, array.data()); }},
        {"VecTabGetAllFields",
         [&] { return VecTabGetAllFields(key, &i, text, text, &x, &x, &x, v.data(), v.data(), &i, nullptr, text); }},
        {"VecTabGetField", [&] { return VecTabGetField(key, 1, nullptr); }},
        {"VecTabSetField", [&] { return VecTabSetField(key, 15, nullptr); }},
        {"VecTabStartEndTime", [&] { return VecTabStartEndTime(key, &x, nullptr); }},
        {"VecTabGetEphemeris", [&] { return VecTabGetEphemeris(key, 1, nullptr, v.data(), v.data(), &i); }},
        {"VecTabGetCovMtx", [&] { return VecTabGetCovMtx(key, 1, &x, v.data(), v.data(), &i, nullptr); }},
        {"VecTabMse", [&] { return VecTabMse(key, 0.0, &x, nullptr, v.data(), &i); }},
        {"VecTabMseCovMtx", [&] { return VecTabMseCovMtx(key, 0.0, &x, v.data(), v.data(), &i, nullptr); }},
        {"VecTabDs50UTC", [&] { return VecTabDs50UTC(key, 1.0, &x, v.data(), v.data(), nullptr); }},
        {"VecTabDs50UTCCovMtx", [&] { return VecTabDs50UTCCovMtx(key, 1.0, &x, v.data(), v.data(), &i, nullptr); }},
        {"VecTabXten", [&] { return VecTabXten(key, 1, 0.0, nullptr); }},
        {"VecTabLoadFile", [&] { return VecTabLoadFile(nullptr); }},
        {"VecTabAddSatFrFile", [&] { return VecTabAddSatFrFile(nullptr); }},
        {"VecTabSaveFile", [&] { return VecTabSaveFile(nullptr, 0); }},
        {"VecTabGetLine", [&] { return VecTabGetLine(key, nullptr); }},
        {"VecHostTimeOfText", [&] { return VecHostTimeOfText("2026-03-01", nullptr); }},
        {"VecHostTimeOfText", [&] { return VecHostTimeOfText(nullptr, &x); }},
        {"VecTabGetInfo",
         [&] {
             VecTabGetInfo(nullptr);
             return 2;
         }},
        {"VecTabGetLoaded",
         [&] {
             VecTabGetLoaded(0, nullptr);
             return 2;
         }},
    };
    for (const auto& [name, call] : cases) {
        const int64_t result = call();
        EXPECT_TRUE(result == 2 || result == -1) << name;
        EXPECT_EQ(log.Take(), Strings{std::string(name) + ": Null argument."});
    }
    x = 5.0;
    EXPECT_EQ(VecTabMse(key, 0.0, &x, nullptr, v.data(), &i), 2);
    EXPECT_EQ(x, 0.0);
    EXPECT_EQ(VecTabGetCount(), 1);
}

// A thread that is cancelled ahead of a call does the whole of it, and ends at the first chance after it.
TEST_F(Surface, ACancelledThreadFinishesItsCall) {
    const std::string file =
        Write("10001.e", "stk.v.4\nScenarioEpoch 1 Jan 2025 00:00:00.000\nEphemerisTimePos\n0 1 2 3\n");
    const std::string list = folder / "list.txt";
    const std::string trace = folder / "trace.log";
    const std::function<bool()> calls[] = {
        [&] { return VecTabAddSatFrFile(file.c_str()) > 0; },
        [&] { return VecTabRemoveAllSats() == 0 && VecTabLoadFile(file.c_str()) == 0; },
        [&] { return VecTabSaveFile(list.c_str(), 0) == 0; },
        [&] { return VecTabSaveFile(list.c_str(), 1) == 0; },
        [&] { return VecHostTraceToFile(trace.c_str()) == 0; },
        [&] { return VecTabRemoveSat(16) == 2; },  // writes to the log
        [&] {
            VecHostSetTraceSink([](int32_t, const char*, int32_t, void*) { ::pthread_testcancel(); }, nullptr);
            return VecTabRemoveSat(16) == 2;
        }};
    for (const auto& call : calls) {
        struct Thread {
            const std::function<bool()>& call;
            bool done;
        } work{call, false};
        const auto run = [](void* context) -> void* {
            auto& thread = *static_cast<Thread*>(context);
            ::pthread_cancel(::pthread_self());
            thread.done = thread.call();
            for (;;) ::pthread_testcancel();
        };
        pthread_t thread;
        void* result = nullptr;
        ASSERT_EQ(::pthread_create(&thread, nullptr, run, &work), 0);
        ::pthread_join(thread, &result);
        EXPECT_EQ(result, PTHREAD_CANCELED);
        EXPECT_TRUE(work.done) << &call - calls;
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

TEST_F(Surface, TheLibraryNamesItself) {
    EXPECT_EQ(VecTabInit(), 0);
    std::string info(130, '#');
    VecTabGetInfo(info.data());
    EXPECT_EQ(info.substr(0, 9), "VecTable ");
    EXPECT_EQ(info.substr(128), "##");
    EXPECT_EQ(info.find('\0'), std::string::npos);
}
