// Batches give what single calls give, bit for bit, whatever is asked.
#include <vectable/batch.h>

#include <cmath>
#include <cstring>
#include <random>

#include "helpers/store_test.h"

class Batch : public StoreTest {
  protected:
    static constexpr double kStart = 27819.0;
    static constexpr double kMark = -7.0;  // what stands in arrays before a call

    struct Answers {
        explicit Answers(std::size_t count)
            : states(6 * count + 6, kMark),
              covs(21 * count + 21, kMark),
              revNums(count + 1, -7),
              outcomes(count + 1, 77) {}
        std::vector<double> states, covs;
        std::vector<int32_t> revNums;
        std::vector<uint8_t> outcomes;

        void ExpectUntouchedFrom(std::size_t count) const {
            EXPECT_EQ(states[6 * count] + states.back(), 2 * kMark);
            EXPECT_EQ(covs[21 * count] + covs.back(), 2 * kMark);
            EXPECT_EQ(revNums[count] + outcomes[count], 70);
        }
    };

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
            const Vector pos{Any(-7e3, 7e3), Any(-7e3, 7e3), Any(-7e3, 7e3)}, vel{Any(-7, 7), Any(-7, 7), Any(-7, 7)};
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
        const auto pick = random() % 8;
        if (pick == 0) return std::array<double, 6>{NAN, INFINITY, -INFINITY, 0.0, start, end}[random() % 6];
        if (pick == 1) return Any(start - 0.01, end + 0.01);
        if (pick == 2 && AskByIndex(key, 1 + static_cast<int32_t>(random() % 8), point) == 0) return point.time;
        return Any(start, end);
    }

    // What the single call gives, with the outcome that its entry in the log means.
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
        for (const auto& [text, meaning] : meanings) {
            if (!there && log.entries.back().text.find(text) != std::string::npos) outcome = meaning;
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

    std::mt19937_64 random{1};
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
        EXPECT_EQ(without, std::ssize(answers.outcomes) - std::ranges::count(answers.outcomes, 0) - 1);
        const Strings told = {"VecBatchPairs: " + std::to_string(without) + " of " + std::to_string(count) +
                              " requests have no state."};
        EXPECT_EQ(log.Take(VEC_HOST_TRACE_INFO), without == 0 ? Strings{} : told);
        for (std::size_t i = 0; i < count; ++i) ExpectAsAskedSingly(asked[i], times[i], answers, i);
        answers.ExpectUntouchedFrom(count);
    }
    for (const int outcome : counts) EXPECT_GT(outcome, 20);
}

TEST_F(Batch, AGridIsTheProductOfKeysAndTimes) {
    std::vector<int64_t> keys = {16};
    for (int32_t satNum = 1; satNum <= 10; ++satNum) keys.push_back(AnyTable(satNum));
    for (const std::size_t numTimes : {1, 7, 64, 500}) {
        std::vector<double> times;
        for (std::size_t i = 0; i < numTimes; ++i) times.push_back(AnyTime(keys[1 + random() % 10]));
        if (numTimes != 7) std::sort(times.begin(), times.end(), [](double a, double b) { return std::isless(a, b); });
        const std::size_t count = keys.size() * numTimes;
        Answers answers(count), bare(count);
        const auto ask = [&](double* states, double* covs, int32_t* revNums, uint8_t* outcomes) {
            return VecBatchGrid(std::ssize(keys), keys.data(), std::ssize(times), times.data(), states, covs, revNums,
                                outcomes);
        };
        EXPECT_EQ(ask(answers.states.data(), answers.covs.data(), answers.revNums.data(), answers.outcomes.data()),
                  ask(bare.states.data(), nullptr, nullptr, nullptr));
        for (std::size_t at = 0; at < count; ++at) {
            ExpectAsAskedSingly(keys[at / numTimes], times[at % numTimes], answers, at);
            for (std::size_t i = 0; i < 6; ++i) ExpectSame(bare.states[6 * at + i], answers.states[6 * at + i]);
        }
        answers.ExpectUntouchedFrom(count);
        bare.ExpectUntouchedFrom(count);
    }
}

TEST_F(Batch, ArgumentsThatCannotBeAreRefused) {
    const int64_t key = AnyTable(1);
    double time = kStart, states[6] = {kMark};
    struct {
        int64_t numKeys;
        const int64_t* keys;
        int64_t numTimes;
        const double* times;
        double* states;
        std::string told;
    } const cases[] = {{-1, &key, 1, &time, states, "Negative count."},
                       {1, &key, -1, &time, states, "Negative count."},
                       {1, nullptr, 1, &time, states, "Null argument."},
                       {1, &key, 1, nullptr, states, "Null argument."},
                       {1, &key, 1, &time, nullptr, "Null argument."},
                       {INT64_MAX, &key, 2, &time, states, "Too many requests."},
                       {INT64_MAX / 168 + 1, &key, 1, &time, states, "Too many requests."},
                       {1LL << 32, &key, 1LL << 32, &time, states, "Too many requests."}};
    for (const auto& c : cases) {
        EXPECT_EQ(VecBatchGrid(c.numKeys, c.keys, c.numTimes, c.times, c.states, nullptr, nullptr, nullptr), -1);
        EXPECT_EQ(log.Take(), Strings{"VecBatchGrid: " + c.told});
        if (c.numTimes != 1) continue;
        EXPECT_EQ(VecBatchPairs(c.numKeys, c.keys, c.times, c.states, nullptr, nullptr, nullptr), -1);
        EXPECT_EQ(log.Take(), Strings{"VecBatchPairs: " + c.told});
    }
    EXPECT_EQ(VecBatchPairs(0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(VecBatchGrid(5, nullptr, 0, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(states[0], kMark);
    VecTabStartEndTime(key, &time, &time);
    EXPECT_EQ(VecBatchPairs(1, &key, &time, states, nullptr, nullptr, nullptr), 0);
    EXPECT_TRUE(log.entries.empty());
}
