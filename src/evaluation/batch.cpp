#include "evaluation/batch.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <span>

#include "evaluation/batch_kernel.h"
#include "store/gate.h"
#include "store/record_lookup.h"
#include "support/finite.h"
#include "support/keys.h"

namespace VecTableDllVarsUtils {
namespace {

using VecTableProcessing::Outcome;
using VecTableProcessing::RecordTable;
using VecTableTypes::kCovTerms;
using VecTableTypes::VecTabPoint;
using VecTableTypes::VecTabRecord;

using Evaluator = VecTableProcessing::Evaluator<VecTableProcessing::RecordLayout, true>;

// Requests for which the gate is held.
constexpr std::size_t kBlock = VecTableTree::kRecordsAtOnce;

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

template <bool kWithCovariance>
std::int64_t AnswerBlock(const Block& block, const BatchAnswers& answers, std::size_t at) noexcept {
    Evaluator evaluator;
    return VecTableProcessing::AnswerInTurn<kWithCovariance>(
        evaluator, block.count, block.times.data(),
        [&](std::size_t i) -> const RecordTable& { return block.tables[block.recordOf[i]]; },
        [&](std::size_t i, Outcome outcome, const VecTabPoint& point) {
            Write<kWithCovariance>(answers, at + i, outcome, point);
        });
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
