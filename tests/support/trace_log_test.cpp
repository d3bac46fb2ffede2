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

namespace {

struct Sink {
    std::atomic<bool> retired{false};
    std::atomic<int> entries{0};
    std::atomic<int> late{0};

    static void Collect(int32_t, const char*, int32_t, void* context) {
        auto& sink = *static_cast<Sink*>(context);
        ++sink.entries;
        if (sink.retired) ++sink.late;
    }
};

void LogAgainAndThrow(int32_t, const char*, int32_t, void* context) {
    ++*static_cast<int*>(context);
    TraceLogError("from within");
    throw std::runtime_error("a faulty sink");
}

}  // namespace

TEST(TraceLog, AnEntryReachesTheSinkExactly) {
    LogCapture log;
    TraceLogError("words   ");
    TraceLogInfo("");
    EXPECT_EQ(log.entries, (std::vector<LogEntry>{{VEC_HOST_TRACE_ERROR, "words   "}, {VEC_HOST_TRACE_INFO, ""}}));
}

TEST(TraceLog, AReplacedSinkIsNotCalledAgain) {
    Sink first, second;
    VecHostSetTraceSink(Sink::Collect, &first);
    std::atomic<bool> stop{false};
    std::thread logger([&] {
        while (!stop) TraceLogError("entry");
    });
    while (first.entries == 0) std::this_thread::yield();
    VecHostSetTraceSink(Sink::Collect, &second);
    first.retired = true;
    while (second.entries < 100) std::this_thread::yield();
    stop = true;
    logger.join();
    VecHostSetTraceSink(nullptr, nullptr);
    EXPECT_EQ(first.late, 0);
}

TEST(TraceLog, ASinkThatLogsOrThrowsDoesNoHarm) {
    int calls = 0;
    VecHostSetTraceSink(LogAgainAndThrow, &calls);
    TraceLogError("one");
    TraceLogError("two");
    VecHostSetTraceSink(nullptr, nullptr);
    TraceLogError("three");
    EXPECT_EQ(calls, 2);
}

TEST_F(StoreTest, AFileGetsALineForEachEntry) {
    const std::string path = Write("trace.log", "earlier\n");
    ASSERT_EQ(VecHostTraceToFile(path.c_str()), 0);
    EXPECT_EQ(VecHostTraceToFile((folder / "missing" / "trace.log").c_str()), ENOENT);
    EXPECT_EQ(VecHostTraceToFile(nullptr), EINVAL);
    const std::string words(400, 'x');
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 50; ++i) TraceLogError(words + "   ");
        });
    }
    for (auto& thread : threads) thread.join();
    TraceLogInfo("last");
    VecHostSetTraceSink(nullptr, nullptr);

    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    EXPECT_EQ(line, "earlier");
    const std::string stamp = "20[0-9]{2}-[0-1][0-9]-[0-3][0-9]T[0-2][0-9]:[0-5][0-9]:[0-6][0-9]\\.[0-9]{3}Z ";
    for (int i = 0; i < 200; ++i) {
        ASSERT_TRUE(std::getline(file, line));
        ASSERT_THAT(line, testing::MatchesRegex(stamp + "ERROR " + words));
    }
    ASSERT_TRUE(std::getline(file, line));
    EXPECT_THAT(line, testing::MatchesRegex(stamp + "INFO  last"));
}
