// Many requests by time, one after the other: the memory that a request will need is asked for some requests before its
// turn.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "evaluation/evaluator.h"
#include "evaluation/prefetch.h"
#include "support/time_scales.h"

namespace VecTableProcessing {

// How many requests before its turn the points of a request are asked for.
inline constexpr std::size_t kAhead = 6;

// Asks for the points that a request will need, unless they are those asked for last.
template <bool kWithCovariance, typename Layout>
void AskAhead(const Table<Layout>& table, double t, const typename Layout::Point*& asked) noexcept {
    if (table.count < kStencilPoints || !table.Holds(t)) return;
    const auto* first = GuessStencil(table, t);
    if (first == std::exchange(asked, first)) return;
    AskForStencil<kWithCovariance>(first);
}

template <bool kWithCovariance, typename Layout>
Outcome Answer(Evaluator<Layout, true>& evaluator, const Table<Layout>& table, double t, VecTabPoint& point) noexcept {
    if (table.count == 0) return Outcome::kNoRecord;
    if (!table.Holds(t)) return Outcome::kOutside;
    const double request = VecTableSupport::Tai2Utc(VecTableSupport::Utc2Tai(t));
    return evaluator.template Evaluate<kWithCovariance>(table, t, request, point);
}

// Hands the answers of requests to `write`, with their numbers: outcome and state. A request has its table by
// `tableOf`, and its time. The number of requests without a state.
template <bool kWithCovariance, typename Layout, typename TableOf, typename Write>
std::int64_t AnswerInTurn(Evaluator<Layout, true>& evaluator, std::size_t count, const double* times, TableOf tableOf,
                          Write write) noexcept {
    const typename Layout::Point* asked = nullptr;
    VecTabPoint point;
    std::int64_t without = 0;
    for (std::size_t i = 0; i < count + kAhead; ++i) {
        if (i < count) AskAhead<kWithCovariance>(tableOf(i), times[i], asked);
        if (i < kAhead) continue;
        const std::size_t turn = i - kAhead;
        const Outcome outcome = Answer<kWithCovariance>(evaluator, tableOf(turn), times[turn], point);
        if (outcome != Outcome::kState) ++without;
        write(turn, outcome, point);
    }
    return without;
}

}  // namespace VecTableProcessing
