// The arithmetic of one evaluation with nothing round it: a table, a search, the formulas over four points. What the
// library takes beyond that is its own.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "plain_formulas.h"

namespace Floor {

struct Point {
    double time;
    std::array<double, 3> pos;
    std::array<double, 3> vel;
    int32_t revNum;
    std::array<double, 21> cov;
};

struct Answer {
    double time;
    std::array<double, 3> pos;
    std::array<double, 3> vel;
    int32_t revNum;
    std::array<double, 36> covMtx;
};

using Table = std::vector<Point>;

inline const Point* StencilAt(const Table& table, std::size_t low) {
    const std::size_t start = low > 2 ? low - 1 : 1;
    const std::size_t last = start + 3 < table.size() ? start + 3 : table.size();
    return &table[last - 4];
}

inline void Unpack(const std::array<double, 21>& cov, Answer& answer) {
    std::size_t m = 0;
    for (std::size_t row = 0; row < 6; ++row) {
        for (std::size_t column = 0; column <= row; ++column, ++m) {
            answer.covMtx[row * 6 + column] = answer.covMtx[column * 6 + row] = cov[m];
        }
    }
}

template <typename State>
int32_t RevolutionFrom(const Point& reference, double t, const State& answer) {
    int32_t revolution = reference.revNum;
    if (0.0 > answer.pos[2] * reference.pos[2] && answer.vel[2] > 0.0) revolution += t < reference.time ? -1 : 1;
    return (revolution + 100000) % 100000;
}

// By the point that a bisection would have looked at last.
template <typename State>
int32_t Revolution(const Table& table, double t, std::size_t low, const State& answer) {
    std::size_t left = 0, right = table.size() + 1, mid = 0;
    const int32_t revolution = RevolutionFrom(table[low > 1 ? low - 1 : 0], t, answer);
    if (revolution == RevolutionFrom(table[low < table.size() ? low : low - 1], t, answer)) return revolution;
    while (left + 1 != right) {
        mid = (left + right) / 2;
        (mid <= low ? left : right) = mid;
    }
    return RevolutionFrom(table[mid - 1], t, answer);
}

// Bisection, and the formulas one operation at a time.
inline void EvaluatePlain(const Table& table, double t, Answer& answer) {
    const auto timeOf = [&](std::size_t number) { return table[number - 1].time; };
    const auto [low, lastMid] = Plain::Bisect(table.size(), timeOf, t);
    const Point* s = StencilAt(table, low);
    const Plain::State state = Plain::Hermite(s, {s[0].time, s[1].time, s[2].time, s[3].time}, t);
    answer.pos = state.pos;
    answer.vel = state.vel;
    answer.time = (t - table.front().time) * 1440.0;
    answer.revNum = RevolutionFrom(table[lastMid - 1], t, answer);
    Unpack(state.cov, answer);
}

using Pair = double __attribute__((vector_size(16)));

struct Split {
    Pair day, fraction;
};

inline Split SplitDays(Pair time) {
    const Pair nearest = (time + 0x1.8p52) - 0x1.8p52;
    const Pair day = nearest > time ? nearest - 1.0 : nearest;
    return {day, time - day};
}
inline Pair Minus(const Split& a, const Split& b) {
    return ((a.day - b.day) + (a.fraction - b.fraction)) * 86400.0;
}
inline Pair Lanes(Pair a, Pair b, int lane) {
    return Pair{a[lane], b[lane]};
}
inline Split Lanes(const Split& a, const Split& b, int lane) {
    return {Lanes(a.day, b.day, lane), Lanes(a.fraction, b.fraction, lane)};
}

// An answer as a batch gives it.
struct PackedAnswer {
    std::array<double, 3> pos;
    std::array<double, 3> vel;
    std::array<double, 21> cov;
    int32_t revNum;
};

// Guessed from the mean step, for a table of an even one.
inline std::size_t GuessLow(const Table& table, double t) {
    const double first = table.front().time;
    return static_cast<std::size_t>((t - first) / (table.back().time - first) * static_cast<double>(table.size() - 1));
}

// The same formulas two at a time.
template <bool kWithCovariance>
void EvaluatePacked(const Table& table, double t, PackedAnswer& answer) {
    std::size_t low = GuessLow(table, t);
    while (low < table.size() && t > table[low].time) ++low;
    while (low > 0 && !(t > table[low - 1].time)) --low;
    const Point* s = StencilAt(table, low);

    const Split T01 = SplitDays(Pair{s[0].time, s[1].time}), T23 = SplitDays(Pair{s[2].time, s[3].time});
    const Split request = SplitDays(Pair{t, t});
    const Pair dt[2] = {Minus(request, T01), Minus(request, T23)};
    const Pair to2 = Minus(T01, Lanes(T23, T23, 0)), to3 = Minus(T01, Lanes(T23, T23, 1));
    const Pair next = Minus(Lanes(T01, T23, 0), Lanes(T01, T23, 1));
    const Pair per2 = 1.0 / to2, per3 = 1.0 / to3, perNext = 1.0 / next;
    const Pair D[2] = {Pair{next[0], -next[0]} * to2 * to3,
                       -Lanes(to2, to3, 0) * -Lanes(to2, to3, 1) * Pair{next[1], -next[1]}};
    const Pair S2[2] = {Pair{perNext[0], -perNext[0]} + per2 + per3,
                        -Lanes(per2, per3, 0) - Lanes(per2, per3, 1) + Pair{perNext[1], -perNext[1]}};
    const Pair q0 = 1.0 / dt[0], q1 = 1.0 / dt[1];
    const Pair S1[2] = {Pair{q0[1], q0[0]} + q1[0] + q1[1], q0[0] + Lanes(q0, q0, 1) + Pair{q1[1], q1[0]}};
    const double P = dt[0][0] * dt[0][1] * dt[1][0] * dt[1][1];

    Pair state[3] = {};
    double g[4] = {};
    for (int h = 0; h < 2; ++h) {
        const Pair L = P / dt[h];
        const Pair c = -(0.5 / S2[h]);
        const Pair U = L * L, W = D[h] * D[h], Wc = W * c, S = S1[h] + S1[h];
        const Pair A1 = U * (dt[h] + c), B1 = U * dt[h];
        const Pair A2 = U * (1.0 + S * (dt[h] + c)), B2 = U * (1.0 + S * dt[h]);
#pragma GCC unroll 2
        for (int j = 0; j < 2; ++j) {
            const Point& point = s[2 * h + j];
#pragma GCC unroll 3
            for (std::size_t i = 0; i < 3; ++i) {
                state[i] += (Pair{A1[j], A2[j]} * point.pos[i]) / Wc[j];
                state[i] += (Pair{B1[j], B2[j]} * point.vel[i]) / W[j];
            }
            if (kWithCovariance) g[2 * h + j] = (L / D[h])[j];
        }
    }
    for (std::size_t i = 0; i < 3; ++i) {
        answer.pos[i] = state[i][0];
        answer.vel[i] = state[i][1];
    }
    if constexpr (kWithCovariance) {
        const auto sum = [&](auto term) {
            return g[0] * term(s[0]) + g[1] * term(s[1]) + g[2] * term(s[2]) + g[3] * term(s[3]);
        };
        for (std::size_t m = 0; m < 20; m += 2) {
            const Pair terms = sum([m](const Point& p) { return Pair{p.cov[m], p.cov[m + 1]}; });
            answer.cov[m] = terms[0];
            answer.cov[m + 1] = terms[1];
        }
        answer.cov[20] = sum([](const Point& p) { return p.cov[20]; });
    }
    answer.revNum = Revolution(table, t, low, answer);
}

inline void EvaluatePacked(const Table& table, double t, Answer& answer) {
    PackedAnswer packed;
    EvaluatePacked<true>(table, t, packed);
    answer.pos = packed.pos;
    answer.vel = packed.vel;
    answer.revNum = packed.revNum;
    answer.time = (t - table.front().time) * 1440.0;
    Unpack(packed.cov, answer);
}

}  // namespace Floor
