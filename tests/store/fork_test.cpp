// A fork from a process whose threads are inside every part of the library.
#include <vectable/host.h>

#include <atomic>
#include <csignal>
#include <functional>
#include <sys/wait.h>
#include <thread>
#include <vector>

#include "helpers/store_test.h"

namespace {

class Fork : public StoreTest {
  protected:
    Fork() {
        for (int32_t i = 0; i < 100; ++i) {
            keys.push_back(Add(i, 1.0));
            for (int j = 0; j < 50; ++j) Append(keys.back(), 1.0 + j / 1440.0, {7000.0 + j, static_cast<double>(i), 0});
        }
        VecHostSetElsetKeyMode(1);
        dmaKey = Add(1, 1.0);
        VecHostSetElsetKeyMode(0);
        VecHostTraceToFile(trace.c_str());
    }
    ~Fork() override { VecHostSetTraceSink(nullptr, nullptr); }

    // 0, or the number of the first step that fails in a process with this store.
    int TryAll() {
        State state;
        VecHostSetElsetKeyMode(0);
        if (VecTabGetCount() < 100) return 1;
        for (std::size_t i = 0; i < keys.size(); ++i) {
            if (AskByMinutes(keys[i], 30.0, state) != 0 || state.pos != Vector{7030.0, static_cast<double>(i), 0})
                return 2;
        }
        const int64_t added = Add(5000, 1.0);
        if (Append(added, 1.0) != 0 || AskByMinutes(added, 0.0, state) != 0) return 3;
        if (VecTabRemoveSat(added) != 0 || AskByMinutes(added, 0.0, state) == 0) return 4;
        if (VecTabRemoveSat(dmaKey) != 0) return 5;
        if (VecTabLoadFile(Write("child.txt", " EPHFIL = " + file + "\n").c_str()) != 0) return 6;
        if (VecTabSaveFile((folder / "child_list.txt").c_str(), 0) != 0) return 7;
        return VecTabRemoveAllSats() != 0 || VecTabGetCount() != 0 ? 8 : 0;
    }

    std::vector<int64_t> keys;
    int64_t dmaKey = 0;
    const std::string trace = Write("trace.log", ""), file = SAMPLES "/10002_geo.e";
};

TEST_F(Fork, TheChildOfABusyProcessHasAWholeStore) {
    std::atomic<bool> isOver{false};
    const auto direct = [] {
        VecHostSetElsetKeyMode(1);
        const int64_t key = Add(6000, 1.0);
        VecHostSetElsetKeyMode(0);
        VecTabRemoveSat(key);
    };
    const auto read = [&] {
        State state;
        for (const int64_t key : keys) AskByMinutes(key, 7.5, state);
    };
    const std::function<void()> works[] = {read,
                                           read,
                                           direct,
                                           [] { VecTabRemoveSat(VecTabAddSatFrFile(SAMPLES "/10001_leo.e")); },
                                           [&] { VecTabSaveFile((folder / "list.txt").c_str(), 0); },
                                           [] { VecTabRemoveSat(-7); }};
    std::vector<std::jthread> threads;
    for (const auto& work : works) {
        threads.emplace_back([&] {
            while (!isOver) work();
        });
    }
    for (int i = 0; i < 100 && !HasFailure(); ++i) {
        const pid_t child = ::fork();
        if (child == 0) {
            ::alarm(60);  // ends a child that hangs
            std::_Exit(TryAll());
        }
        int status = -1;
        ::waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0)
            << "signal " << WTERMSIG(status) << ", step " << WEXITSTATUS(status);
    }
    isOver = true;
    threads.clear();
    EXPECT_GE(VecTabGetCount(), 100);
}

}  // namespace
