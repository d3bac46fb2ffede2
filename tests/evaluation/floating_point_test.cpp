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
        for (int i = 0; i < points; ++i) {
            const double x = 1.0 / (i + 3);
            Append(key, start + i * 0.0007 / 3.0, {7000.0 * x, 100.0 - x, x}, {x, 7.0 - x, 7.0 * x}, i);
        }
        return key;
    }

    // Every call that gives a state; the requests without one.
    static int64_t AskAll(int64_t key, double value) {
        State s;
        std::array<double, 128> all;
        double *const p = s.pos.data(), *const v = s.vel.data();
        std::array<double, 6> state;
        std::array<double, 21> cov;
        int64_t failed = (VecTabMse(key, value, &s.time, p, v, &s.revNum) != 0) + (AskByMinutes(key, value, s) != 0) +
                         (VecTabDs50UTC(key, value, &s.time, p, v, &s.revNum) != 0) +
                         (VecTabDs50UTCCovMtx(key, value, &s.time, p, v, &s.revNum, s.covMtx.data()) != 0);
        for (const int32_t type : {1, 2, 3}) failed += VecTabXten(key, type, value, all.data()) != 0;
        return failed + VecBatchPairs(1, &key, &value, state.data(), nullptr, nullptr, nullptr) +
               VecBatchGrid(1, &key, 1, &value, state.data(), cov.data(), nullptr, nullptr);
    }
};

// StoreTest looks at the exceptions.
TEST_F(FloatingPoint, NoArgumentRaisesAnExceptionThatAHostMayTrap) {
    using Limits = std::numeric_limits<double>;
    const std::array tables = {MakeTable(1, 9, 27819.1), MakeTable(2, 3, 27819.1), MakeTable(3, 1, 27819.1)};
    for (const double size : {Limits::quiet_NaN(), Limits::signaling_NaN(), Limits::infinity(), Limits::max(), 1e308,
                              1e155, Limits::min(), Limits::denorm_min(), 0.0}) {
        const auto bits = std::bit_cast<std::uint64_t>(size);
        // By the bits: no operation may touch a signalling NaN.
        for (const double x : {size, std::bit_cast<double>(bits ^ (1ULL << 63))}) {
            for (const int64_t key : tables) EXPECT_EQ(AskAll(key, x) == 9, bits > std::bit_cast<std::uint64_t>(1.0));
            for (const int mode : {1, 0}) {
                VecHostSetElsetKeyMode(mode);
                const std::array added = {VecTabAddSat(7, x, x, x, 1), Add(8, 100.0)};
                const Covariance terms{x, 0.0, x};
                VecTabAddSatEphemCovMtx(added[0], 100.0, Vector{x}.data(), Vector{0.0, x}.data(), 0, terms.data());
                Append(added[1], x);
                AskAll(added[1], 100.0);
                for (const double time : {100.0, x, 200.0, Limits::max(), x}) Append(added[1], time);
                for (const int64_t key : added) {
                    char text[512];
                    for (int32_t code = 1; code <= 15; ++code) VecTabGetField(key, code, text);
                }
                std::array<int64_t, 5> listed;
                VecTabGetLoaded(0, listed.data());
                for (const int64_t key : added) VecTabRemoveSat(key);
            }
        }
    }
    std::string numbers = "\x7F\xF4";  // signalling NaNs
    while (numbers.size() < 104) numbers += numbers.substr(0, 2);
    EXPECT_EQ(VecTabLoadFile(Write("a.dce", std::string(104, ' ') + numbers).c_str()), 0);
    EXPECT_EQ(VecTabGetSatKey(0x20202020), -1);
}

// Just before a power of two the way to the other scale and back is not exact in the usual rounding either.
TEST_F(FloatingPoint, AStoredPointIsGivenAsStoredWhateverTheRounding) {
    int32_t satNum = 0;
    for (const double start : {27819.1, 16383.9995, 1000.3, -5.7}) {
        for (const int points : {1, 3, 300}) {
            const int64_t key = MakeTable(++satNum, points, start);
            for (const int mode : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
                State stored, asked, first;
                for (int32_t index = 1; AskByIndex(key, index, stored) == 0; ++index) {
                    std::array<double, 6> state;
                    std::fesetround(mode);
                    const int32_t status = VecTabDs50UTC(key, stored.time, &asked.time, asked.pos.data(),
                                                         asked.vel.data(), &asked.revNum) +
                                           AskByMinutes(key, 0.0, first);
                    VecBatchPairs(1, &key, &stored.time, state.data(), nullptr, nullptr, nullptr);
                    std::fesetround(FE_TONEAREST);
                    ASSERT_EQ(status, 0);
                    ASSERT_TRUE(asked.pos == stored.pos && asked.vel == stored.vel && asked.revNum == index - 1);
                    ASSERT_TRUE(std::equal(state.begin(), state.begin() + 3, stored.pos.begin()));
                    ASSERT_TRUE(first.revNum == 0 && first.time == start);
                }
                log.entries.clear();
            }
        }
    }
}
