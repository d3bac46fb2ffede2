#include "support/trace_log.h"

#include <atomic>
#include <cerrno>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>

#include "helpers/store_test.h"

using namespace VecTableSupport;

class TraceLog : public StoreTest {};

TEST_F(TraceLog, AReplacedSinkIsNotCalledAgain) {
    struct Sink {
        std::atomic<int> entries{0};
        std::atomic<bool> retired{false}, late{false};
    } first, second;
    const VecHostTraceSink count = [](int32_t, const char*, int32_t, void* context) {
        auto& sink = *static_cast<Sink*>(context);
        ++sink.entries;
        if (sink.retired) sink.late = true;
    };
    VecHostSetTraceSink(count, &first);
    std::atomic<bool> stop{false};
    std::thread logger([&] {
        while (!stop) TraceLogError("entry");
    });
    while (first.entries == 0) std::this_thread::yield();
    VecHostSetTraceSink(count, &second);
    first.retired = true;
    while (second.entries < 100) std::this_thread::yield();
    stop = true;
    logger.join();
    EXPECT_FALSE(first.late);
}

TEST_F(TraceLog, ASinkThatLogsOrThrowsOrEndsItselfDoesNoHarm) {
    int calls = 0;
    const VecHostTraceSink faulty = [](int32_t, const char*, int32_t, void* context) {
        TraceLogError("from within");
        if (++*static_cast<int*>(context) == 2) VecHostSetTraceSink(nullptr, nullptr);
        throw std::runtime_error("a faulty sink");
    };
    VecHostSetTraceSink(faulty, &calls);
    TraceLogError("one");
    TraceLogInfo("two");
    HoldTraceLog();  // nobody listens: an entry waits for nothing
    std::jthread(TraceLogError, "three").join();
    ReleaseTraceLog();
    EXPECT_EQ(calls, 2);
}

TEST_F(TraceLog, KeptEntriesWaitForTheirThread) {
    VecHostSetTraceSink(VecHostKeepEntry, nullptr);
    std::thread([] { TraceLogError("of another thread"); }).join();
    for (int i = 0; i < VEC_HOST_MOST_KEPT + 5; ++i) {
        const int64_t number = i;
        const VecTableSupport::ReadingPlace place("a.e", &number);
        TraceLogInfo(std::to_string(i));
    }
    TraceLogError("late");
    VecHostSetTraceSink(nullptr, nullptr);
    int32_t level = 0;
    int64_t line = -1;
    std::string text = "######", path(VEC_TAB_PATH_LENGTH, '#');
    const auto take = [&](char* room, int32_t capacity) {
        return VecHostTakeEntry(&level, room, capacity, path.data(), &line);
    };
    for (int i = 0; i < VEC_HOST_MOST_KEPT; ++i) {
        ASSERT_EQ(take(text.data(), 5), std::to_string(i).size());
        ASSERT_EQ(std::to_string(level) + " " + text, "2 " + (std::to_string(i) + "     ").substr(0, 5) + "#");
        ASSERT_EQ(path.substr(0, 5) + std::to_string(line), "a.e  " + std::to_string(i));
    }
    EXPECT_TRUE(take(text.data(), 2) == 4 && level == VEC_HOST_TRACE_ERROR && text == "la99 #") << text;
    EXPECT_TRUE(path == std::string(VEC_TAB_PATH_LENGTH, ' ') && line == 0);
    EXPECT_TRUE(take(text.data(), 5) == -1 && level == 0);
    EXPECT_EQ(take(nullptr, 5) + take(text.data(), -1), -2);
}

TEST_F(TraceLog, AFileGetsALineForEachEntry) {
    const std::string path = Write("trace.log", "earlier\n");
    ASSERT_EQ(VecHostTraceToFile(path.c_str()), 0);
    ASSERT_EQ(VecHostTraceToFile(path.c_str()), 0);  // the first one is closed
    EXPECT_EQ(VecHostTraceToFile((folder / "missing" / "trace.log").c_str()), ENOENT);
    EXPECT_EQ(VecHostTraceToFile(nullptr), EINVAL);
    int64_t line = -1;
    std::string noPath(513, '#');
    EXPECT_EQ(VecHostReadingLine(nullptr, &line) + VecHostReadingLine(noPath.data(), nullptr), 4);
    EXPECT_TRUE(line == 0 && noPath == std::string(512, ' ') + '#');
    const std::string text(400, 'x');
    const auto before = std::time(nullptr);
    const auto logFifty = [&] {
        for (int i = 0; i < 50; ++i) TraceLogError(text + "   ");
    };
    { const std::jthread a(logFifty), b(logFifty), c(logFifty), d(logFifty); }
    TraceLogInfo(std::string(3000, 'y'));
    VecHostSetTraceSink(nullptr, nullptr);

    Strings lines;
    std::ifstream file(path);
    for (std::string read; std::getline(file, read);) lines.push_back(read);
    ASSERT_EQ(lines.size(), 202U);
    EXPECT_EQ(lines[0], "earlier");
    for (std::size_t i = 1; i <= 200; ++i) EXPECT_EQ(lines[i].substr(23), "Z ERROR " + text);
    EXPECT_EQ(lines[201].substr(23), "Z INFO  " + std::string(2016, 'y'));
    std::tm parts{};
    ASSERT_NE(::strptime(lines[1].c_str(), "%Y-%m-%dT%H:%M:%S.", &parts), nullptr) << lines[1];
    EXPECT_NEAR(static_cast<double>(::timegm(&parts) - before), 0.0, 60.0);
    EXPECT_THAT(lines[1].substr(20, 3), testing::MatchesRegex("[0-9]{3}"));
}
