// The floating-point environment of the host: numbers that are none, exceptions that it traps, other ways of rounding.
#include <vectable/batch.h>

#include <bit>
#include <cmath>
#include <limits>

#include "helpers/store_test.h"

class FloatingPoint : public StoreTest {
  protected:
    ~FloatingPoint() override { std::fesetround(FE_TONEAREST); }

    static int64_t MakeTable(int32_t satNum, int points, double start) {
        const int64_t key = Add(satNum, start);
        for (int i = 0; i < points; ++i)
            Append(key, start + i * 0.0007 / 3.0, {7e3 / (i + 3), 1e2, -7.0}, {0.1, 7.0}, i);
        return key;
    }

    // By calls of each kind; the requests without a state.
    static int64_t AskAll(int64_t key, double value, State& s) {
        std::array<double, 128> all;
        std::array<double, 6> state;
        std::array<double, 21> cov;
        int64_t without = AskByMinutes(key, value, s) != 0;
        for (const int32_t type : {1, 2, 3}) without += VecTabXten(key, type, value, all.data()) != 0;
        without += VecBatchPairs(1, &key, &value, state.data(), nullptr, nullptr, nullptr);
        without += VecBatchGrid(1, &key, 1, &value, state.data(), cov.data(), nullptr, nullptr);
        return without + (VecTabDs50UTC(key, value, &s.time, s.pos.data(), s.vel.data(), &s.revNum) != 0);
    }
};

// StoreTest looks at the exceptions.
TEST_F(FloatingPoint, NoArgumentRaisesAnExceptionThatAHostMayTrap) {
    using Limits = std::numeric_limits<double>;
    const std::array tables = {MakeTable(1, 9, 27819.1), MakeTable(2, 3, 27819.1), MakeTable(3, 1, 27819.1)};
    State s;
    for (const double size : {Limits::quiet_NaN(), Limits::signaling_NaN(), Limits::infinity(), Limits::max(), 1e308,
                              1e155, Limits::min(), Limits::denorm_min(), 0.0}) {
        const auto bits = std::bit_cast<std::uint64_t>(size);
        // By the bits: no operation may touch a signalling NaN.
        for (const double x : {size, std::bit_cast<double>(bits ^ (1ULL << 63))}) {
            for (const int64_t key : tables)
                EXPECT_EQ(AskAll(key, x, s) == 7, bits > std::bit_cast<std::uint64_t>(1.0));
            for (const int mode : {1, 0}) {
                VecHostSetElsetKeyMode(mode);
                const std::array added = {VecTabAddSat(7, x, x, x, 1), Add(8, 100.0)};
                const Covariance terms{x, 0.0, x};
                VecTabAddSatEphemCovMtx(added[0], 100.0, Vector{x}.data(), Vector{0.0, x}.data(), 0, terms.data());
                Append(added[1], x);
                AskAll(added[1], 100.0, s);
                for (const double time : {100.0, x, 200.0, Limits::max(), x}) Append(added[1], time);
                std::array<char, 512> text;
                for (int32_t code = 1; code <= 10; ++code) VecTabGetField(added[code % 2], code % 5 + 1, text.data());
                std::array<int64_t, 5> listed;
                VecTabGetLoaded(0, listed.data());
                for (const int64_t key : added) VecTabRemoveSat(key);
            }
        }
    }
    std::string numbers = "\x7F\xF4";  // signalling NaNs
    while (numbers.size() < 104) numbers += numbers.substr(0, 2);
    EXPECT_EQ(VecTabLoadFile(Write("a.dce", std::string(104, ' ') + numbers).c_str()), 0);
}

// Just before a power of two the way to the other scale and back is not exact in the usual rounding either.
TEST_F(FloatingPoint, AStoredPointIsGivenAsStoredWhateverTheRounding) {
    for (const double start : {27819.1, 16383.9995, 1000.3, -5.7}) {
        for (const int points : {1, 3, 300}) {
            const int64_t key = MakeTable(points, points, start);
            for (const int mode : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
                State stored, asked, first;
                for (int32_t index = 1; AskByIndex(key, index, stored) == 0; ++index) {
                    std::array<double, 6> state;
                    std::fesetround(mode);
                    AskAll(key, stored.time, asked);
                    AskByMinutes(key, 0.0, first);
                    VecBatchPairs(1, &key, &stored.time, state.data(), nullptr, nullptr, nullptr);
                    std::fesetround(FE_TONEAREST);
                    ASSERT_TRUE(asked.pos == stored.pos && asked.vel == stored.vel && asked.revNum == index - 1);
                    ASSERT_TRUE(std::equal(stored.pos.begin(), stored.pos.end(), state.begin()));
                    ASSERT_TRUE(first.revNum == 0 && first.time == start);
                }
            }
        }
    }
}
