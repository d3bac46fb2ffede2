// Batches give what single calls give, bit for bit, whatever is asked.
#include <vectable/batch.h>

#include <cmath>
#include <cstring>
#include <random>

#include "helpers/store_test.h"

class Batch : public StoreTest {
  protected:
    static constexpr double kStart = 27819.0;
    static constexpr double kMark = -7.0;  // what stands in arrays ahead of a call

    // A request's answer: state, packed covariance, revolution number, outcome.
    struct Answers {
        explicit Answers(std::size_t count)
            : states(6 * count + 6, kMark),
              covs(21 * count + 21, kMark),
              revNums(count + 1, -7),
              outcomes(count + 1, 77) {}
        std::vector<double> states, covs;
        std::vector<int32_t> revNums;
        std::vector<uint8_t> outcomes;
    };

    std::mt19937_64 random{1};

    double Any(double low, double high) { return std::uniform_real_distribution<double>(low, high)(random); }

    // A table of any shape: steps that are even, uneven, or with holes; of few points or many; now and then marked.
    int64_t AnyTable(int32_t satNum) {
        const int64_t key = Add(satNum, kStart);
        const int kind = satNum % 5;
        const int points = kind == 4 ? satNum / 5 % 6 : 4 + static_cast<int>(random() % 300);
        double minutes = Any(0.0, 5.0);
        for (int i = 0; i < points; ++i) {
            Covariance terms;
            for (double& term : terms) term = Any(-1.0, 1.0);
            if (kind == 3) terms[1] = 12345.0;
            const Vector pos{Any(-7e3, 7e3), Any(-7e3, 7e3), Any(-7e3, 7e3)};
            const Vector vel{Any(-7, 7), Any(-7, 7), Any(-7, 7)};
            VecTabAddSatEphemCovMtx(key, kStart + minutes / 1440.0, pos.data(), vel.data(),
                                    static_cast<int32_t>(random() % 200000), terms.data());
            minutes += kind == 0 ? 1.0 : Any(0.1, 2.0) + (kind == 2 && random() % 20 == 0 ? 500.0 : 0.0);
        }
        return key;
    }

    double AnyTime(int64_t key) {
        double start = kStart, end = kStart + 1.0;
        VecTabStartEndTime(key, &start, &end);
        State point;
        switch (random() % 8) {
            case 0:
                return std::array<double, 6>{NAN, INFINITY, -INFINITY, 0.0, start, end}[random() % 6];
            case 1:
                return Any(start - 0.01, end + 0.01);
            case 2:
                AskByIndex(key, 1 + static_cast<int32_t>(random() % 8), point);
                return point.time;
            default:
                return Any(start, end);
        }
    }

    // What the single call gives, with the outcome that its words in the log mean.
    void ExpectAsAskedSingly(int64_t key, double time, const Answers& answers, std::size_t at) {
        const std::pair<const char*, uint8_t> meanings[] = {{"FindRecPtr: ", VEC_BATCH_NO_RECORD},
                                                            {"does not contain", VEC_BATCH_NO_RECORD},
                                                            {"outside of ephemeris", VEC_BATCH_OUTSIDE},
                                                            {"too far apart", VEC_BATCH_GAP},
                                                            {"less than 4", VEC_BATCH_TOO_FEW}};
        log.entries.clear();
        std::array<double, 128> all;
        const bool there = VecTabXten(key, 2, time, all.data()) == 0;
        uint8_t outcome = VEC_BATCH_STATE;
        for (const auto& [words, meaning] : meanings) {
            if (!there && log.entries.back().text.find(words) != std::string::npos) outcome = meaning;
        }
        if (!there) all.fill(NAN);
        ASSERT_EQ(answers.outcomes[at], outcome) << time;
        ASSERT_EQ(answers.revNums[at], there ? static_cast<int32_t>(all[8]) : 0);
        for (std::size_t i = 0; i < 6; ++i) ExpectSame(answers.states[6 * at + i], all[2 + i]);
        for (std::size_t i = 0; i < 21; ++i) ExpectSame(answers.covs[21 * at + i], all[9 + i]);
        ++counts[outcome];
    }

    static void ExpectSame(double a, double b) {
        ASSERT_TRUE(std::isnan(b) ? std::isnan(a) : std::memcmp(&a, &b, sizeof a) == 0) << a << " for " << b;
    }

    static void ExpectUntouched(const Answers& answers, std::size_t from) {
        EXPECT_EQ(answers.states[6 * from] + answers.states.back(), 2 * kMark);
        EXPECT_EQ(answers.covs[21 * from] + answers.covs.back(), 2 * kMark);
        EXPECT_EQ(answers.revNums[from], -7);
        EXPECT_EQ(answers.outcomes[from], 77);
    }

    std::array<int, 5> counts{};
};

TEST_F(Batch, EveryStateHasTheBitsOfTheSingleCall) {
    std::vector<int64_t> keys = {16, -10, 0, 1234567890, INT64_MIN};
    for (const int mode : {0, 1}) {
        VecHostSetElsetKeyMode(mode);
        for (int32_t satNum = 1; satNum <= 60; ++satNum) keys.push_back(AnyTable(satNum));
    }
    for (const std::size_t count : {1, 63, 64, 65, 3000}) {
        std::vector<int64_t> asked;
        std::vector<double> times;
        for (std::size_t i = 0; i < count; ++i) {
            asked.push_back(keys[random() % keys.size()]);
            times.push_back(AnyTime(asked.back()));
        }
        Answers answers(count);
        log.entries.clear();
        const int64_t without =
            VecBatchPairs(static_cast<int64_t>(count), asked.data(), times.data(), answers.states.data(),
                          answers.covs.data(), answers.revNums.data(), answers.outcomes.data());
        EXPECT_EQ(without,
                  std::count_if(answers.outcomes.begin(), answers.outcomes.end() - 1, [](int o) { return o != 0; }));
        const Strings words = {"VecBatchPairs: " + std::to_string(without) + " of " + std::to_string(count) +
                               " requests have no state."};
        EXPECT_EQ(log.Take(VEC_HOST_TRACE_INFO), without == 0 ? Strings{} : words);
        for (std::size_t i = 0; i < count; ++i) ExpectAsAskedSingly(asked[i], times[i], answers, i);
        ExpectUntouched(answers, count);
    }
    for (const int outcome : counts) EXPECT_GT(outcome, 20);
}

TEST_F(Batch, AGridIsTheProductOfKeysAndTimes) {
    std::vector<int64_t> keys = {16};
    for (int32_t satNum = 1; satNum <= 10; ++satNum) keys.push_back(AnyTable(satNum));
    for (const std::size_t numTimes : {1, 7, 64, 500}) {
        std::vector<double> times;
        for (std::size_t i = 0; i < numTimes; ++i) times.push_back(AnyTime(keys[1 + random() % 10]));
        if (numTimes != 7) std::sort(times.begin(), times.end(), [](double a, double b) { return a < b; });
        const std::size_t count = keys.size() * numTimes;
        Answers answers(count), states(count);
        const auto grid = [&](Answers& to, bool all) {
            return VecBatchGrid(static_cast<int64_t>(keys.size()), keys.data(), static_cast<int64_t>(numTimes),
                                times.data(), to.states.data(), all ? to.covs.data() : nullptr,
                                all ? to.revNums.data() : nullptr, all ? to.outcomes.data() : nullptr);
        };
        EXPECT_EQ(grid(answers, true), grid(states, false));
        for (std::size_t at = 0; at < count; ++at) {
            ExpectAsAskedSingly(keys[at / numTimes], times[at % numTimes], answers, at);
            for (std::size_t i = 0; i < 6; ++i) ExpectSame(states.states[6 * at + i], answers.states[6 * at + i]);
        }
        ExpectUntouched(answers, count);
        ExpectUntouched(states, 0 * count + count);
    }
}

TEST_F(Batch, ArgumentsThatCannotBeAreRefused) {
    const int64_t key = AnyTable(1);
    const double time = kStart;
    Answers answers(1);
    double* states = answers.states.data();
    struct {
        int64_t numKeys;
        const int64_t* keys;
        int64_t numTimes;
        const double* times;
        double* states;
        const char* words;
    } const cases[] = {{-1, &key, 1, &time, states, "Negative count."},
                       {1, &key, -1, &time, states, "Negative count."},
                       {1, nullptr, 1, &time, states, "Null argument."},
                       {1, &key, 1, nullptr, states, "Null argument."},
                       {1, &key, 1, &time, nullptr, "Null argument."},
                       {INT64_MAX, &key, 2, &time, states, "Too many requests."},
                       {INT64_MAX / 100, &key, 1, &time, states, "Too many requests."},
                       {1LL << 32, &key, 1LL << 32, &time, states, "Too many requests."}};
    for (const auto& c : cases) {
        EXPECT_EQ(VecBatchGrid(c.numKeys, c.keys, c.numTimes, c.times, c.states, nullptr, nullptr, nullptr), -1);
        EXPECT_EQ(log.Take(), Strings{std::string("VecBatchGrid: ") + c.words});
        if (c.numTimes != 1) continue;
        EXPECT_EQ(VecBatchPairs(c.numKeys, c.keys, c.times, c.states, nullptr, nullptr, nullptr), -1);
        EXPECT_EQ(log.Take(), Strings{std::string("VecBatchPairs: ") + c.words});
    }
    EXPECT_EQ(VecBatchPairs(0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(VecBatchGrid(5, nullptr, 0, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_TRUE(log.entries.empty());
    ExpectUntouched(answers, 0);
}
