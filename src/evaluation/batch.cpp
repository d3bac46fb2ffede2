#include "evaluation/batch.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <span>
#include <utility>

#include "evaluation/evaluator.h"
#include "evaluation/prefetch.h"
#include "store/gate.h"
#include "store/record_lookup.h"
#include "support/finite.h"
#include "support/keys.h"
#include "support/time_scales.h"

namespace VecTableDllVarsUtils {
namespace {

using VecTableProcessing::kStencilPoints;
using VecTableProcessing::Outcome;
using VecTableProcessing::RecordTable;
using VecTableTypes::kCovTerms;
using VecTableTypes::VecTabPoint;
using VecTableTypes::VecTabRecord;

using Evaluator = VecTableProcessing::Evaluator<VecTableProcessing::RecordLayout, true>;

// Requests for which the gate is held, and how many requests before its turn the points of a request are asked for.
constexpr std::size_t kBlock = VecTableTree::kRecordsAtOnce;
constexpr std::size_t kAhead = 6;

constexpr std::size_t kStateSize = 6;

// Goes through the requests in the order of their answers.
struct Cursor {
    std::int64_t key = 0;
    std::int64_t time = 0;

    void Next(const BatchRequests& requests) noexcept {
        ++time;
        if (requests.pairs || time == requests.numTimes) ++key;
        if (!requests.pairs && time == requests.numTimes) time = 0;
    }
};

// The requests of a block, each with its record among those that the block asks.
struct Block {
    std::size_t count = 0;
    std::array<double, kBlock> times;
    std::array<std::uint8_t, kBlock> recordOf;
    std::size_t records = 0;
    std::array<std::int64_t, kBlock> keys;
    std::array<const VecTabRecord*, kBlock> found;
    std::array<RecordTable, kBlock> tables;

    void Gather(const BatchRequests& requests, Cursor& cursor, std::size_t wanted) noexcept {
        std::int64_t lastKey = -1;
        for (; count < wanted; ++count, cursor.Next(requests)) {
            if (cursor.key != lastKey) keys[records++] = requests.satKeys[lastKey = cursor.key];
            recordOf[count] = static_cast<std::uint8_t>(records - 1);
            times[count] = VecTableSupport::Quieted(requests.ds50UTCs[cursor.time]);
        }
    }

    bool AsksTree() const noexcept {
        return !std::all_of(keys.begin(), keys.begin() + records, VecTableSupport::IsDma);
    }

    void FindTables() noexcept {
        VecTableTree::FindRecords({keys.data(), records}, {found.data(), records});
        for (std::size_t i = 0; i < records; ++i) {
            tables[i] = found[i] == nullptr ? RecordTable{} : VecTableProcessing::TableOf(*found[i]);
        }
    }
};

// Asks for the points that a request will need, unless they are those asked for last.
template <bool kWithCovariance>
void AskAhead(const RecordTable& table, double t, const VecTabPoint*& asked) noexcept {
    if (table.count < kStencilPoints || !table.Holds(t)) return;
    const VecTabPoint* first = VecTableProcessing::GuessStencil(table, t);
    if (first == std::exchange(asked, first)) return;
    VecTableProcessing::AskForStencil<kWithCovariance>(first);
}

template <bool kWithCovariance>
Outcome Answer(Evaluator& evaluator, const RecordTable& table, double t, VecTabPoint& point) noexcept {
    if (table.count == 0) return Outcome::kNoRecord;
    if (!table.Holds(t)) return Outcome::kOutside;
    const double request = VecTableSupport::Tai2Utc(VecTableSupport::Utc2Tai(t));
    return evaluator.Evaluate<kWithCovariance>(table, t, request, point);
}

template <bool kWithCovariance>
void Write(const BatchAnswers& answers, std::size_t at, Outcome outcome, const VecTabPoint& point) noexcept {
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    double* state = answers.states + at * kStateSize;
    const bool there = outcome == Outcome::kState;
    if (there) [[likely]] {
        std::copy_n(point.pos.begin(), 3, state);
        std::copy_n(point.vel.begin(), 3, state + 3);
    } else {
        std::fill_n(state, kStateSize, kNone);
    }
    if constexpr (kWithCovariance) {
        double* cov = answers.covs + at * kCovTerms;
        if (there) [[likely]] {
            std::copy_n(point.cov.begin(), kCovTerms, cov);
        } else {
            std::fill_n(cov, kCovTerms, kNone);
        }
    }
    if (answers.revNums != nullptr) answers.revNums[at] = there ? point.revNum : 0;
    if (answers.outcomes != nullptr) answers.outcomes[at] = static_cast<std::uint8_t>(outcome);
}

// The number of requests without a state.
template <bool kWithCovariance>
std::int64_t AnswerBlock(const Block& block, const BatchAnswers& answers, std::size_t at) noexcept {
    const auto tableOf = [&](std::size_t i) -> const RecordTable& { return block.tables[block.recordOf[i]]; };
    const VecTabPoint* asked = nullptr;
    Evaluator evaluator;
    VecTabPoint point;
    std::int64_t without = 0;
    for (std::size_t i = 0; i < block.count + kAhead; ++i) {
        if (i < block.count) AskAhead<kWithCovariance>(tableOf(i), block.times[i], asked);
        if (i < kAhead) continue;
        const std::size_t turn = i - kAhead;
        const Outcome outcome = Answer<kWithCovariance>(evaluator, tableOf(turn), block.times[turn], point);
        if (outcome != Outcome::kState) ++without;
        Write<kWithCovariance>(answers, at + turn, outcome, point);
    }
    return without;
}

template <bool kWithCovariance>
std::int64_t AnswerAll(const BatchRequests& requests, const BatchAnswers& answers) noexcept {
    const auto count = static_cast<std::size_t>(requests.Count());
    Cursor cursor;
    std::int64_t without = 0;
    for (std::size_t at = 0; at < count; at += kBlock) {
        Block block;
        block.Gather(requests, cursor, std::min(kBlock, count - at));
        std::optional<VecTableTree::ReadSection> section;
        if (block.AsksTree()) section.emplace();
        block.FindTables();
        without += AnswerBlock<kWithCovariance>(block, answers, at);
    }
    return without;
}

}  // namespace

std::int64_t AnswerBatch(const BatchRequests& requests, const BatchAnswers& answers) noexcept {
    return answers.covs == nullptr ? AnswerAll<false>(requests, answers) : AnswerAll<true>(requests, answers);
}

}  // namespace VecTableDllVarsUtils
