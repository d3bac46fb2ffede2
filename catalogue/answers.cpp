#include "catalogue/answers.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <limits>

#include "catalogue/workers.h"
#include "evaluation/batch_kernel.h"
#include "support/finite.h"

namespace VecTableCatalogue {
namespace {

using VecTableProcessing::Outcome;
using VecTableTypes::VecTabPoint;

using CompactTable = VecTableProcessing::Table<CompactLayout>;
using Evaluator = VecTableProcessing::Evaluator<CompactLayout, true>;

constexpr std::size_t kStateSize = 6;
constexpr std::size_t kBlock = 64;   // requests whose rows are looked up side by side
constexpr std::size_t kPart = 8192;  // requests that a thread takes at a time

// The requests of a block, each with its table.
struct Block {
    std::size_t count;
    std::array<double, kBlock> times;
    std::array<const Row*, kBlock> rows;
    std::array<CompactTable, kBlock> tables;

    Block(const Version& version, const Requests& requests, std::size_t first, std::size_t wanted) noexcept
        : count(wanted) {
        const auto numTimes = static_cast<std::size_t>(requests.pairs ? 1 : requests.numTimes);
        std::size_t row = first / numTimes;
        std::size_t time = requests.pairs ? row : first % numTimes;
        for (std::size_t i = 0; i < count; ++i) {
            const auto number = requests.rows == nullptr ? static_cast<std::int64_t>(row) : requests.rows[row];
            rows[i] = &version[number];
            __builtin_prefetch(rows[i]);
            times[i] = VecTableSupport::Quieted(requests.ds50UTCs[time]);
            ++time;
            if (requests.pairs || time == numTimes) ++row;
            if (!requests.pairs && time == numTimes) time = 0;
        }
        for (std::size_t i = 0; i < count; ++i) {
            tables[i] = i > 0 && rows[i] == rows[i - 1] ? tables[i - 1] : rows[i]->AsTable();
        }
    }
};

void Write(const Answers& answers, std::size_t at, Outcome outcome, const VecTabPoint& point) noexcept {
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    const bool there = outcome == Outcome::kState;
    if (answers.states != nullptr) {
        double* state = answers.states + at * kStateSize;
        if (there) [[likely]] {
            std::ranges::copy(point.vel, std::ranges::copy(point.pos, state).out);
        } else {
            std::fill_n(state, kStateSize, kNone);
        }
    }
    if (answers.covs != nullptr) {
        double* cov = answers.covs + at * VecTableTypes::kCovTerms;
        if (there) [[likely]] {
            std::ranges::copy(point.cov, cov);
        } else {
            std::fill_n(cov, VecTableTypes::kCovTerms, kNone);
        }
    }
    if (answers.revNums != nullptr) answers.revNums[at] = there ? point.revNum : 0;
    if (answers.outcomes != nullptr) answers.outcomes[at] = static_cast<std::uint8_t>(outcome);
}

template <bool kWithCovariance>
std::int64_t AnswerPart(const Version& version, const Requests& requests, const Answers& answers, std::size_t first,
                        std::size_t last) noexcept {
    Evaluator evaluator;
    std::int64_t without = 0;
    for (std::size_t at = first; at < last; at += kBlock) {
        const Block block(version, requests, at, std::min(kBlock, last - at));
        without += VecTableProcessing::AnswerInTurn<kWithCovariance>(
            evaluator, block.count, block.times.data(),
            [&](std::size_t i) -> const CompactTable& { return block.tables[i]; },
            [&](std::size_t i, Outcome outcome, const VecTabPoint& point) { Write(answers, at + i, outcome, point); });
    }
    return without;
}

}  // namespace

std::int64_t AnswerRequests(const Version& version, const Requests& requests, const Answers& answers,
                            std::int32_t threads) noexcept {
    const auto count = static_cast<std::size_t>(requests.Count());
    const std::size_t parts = (count + kPart - 1) / kPart;
    std::atomic<std::int64_t> without{0};
    const auto answer = [&](std::size_t part) {
        const std::size_t first = part * kPart, last = std::min(first + kPart, count);
        const auto run = answers.covs == nullptr ? AnswerPart<false> : AnswerPart<true>;
        without.fetch_add(run(version, requests, answers, first, last), std::memory_order_relaxed);  // only a sum
    };
    Workers workers(ThreadCount(threads, parts) - 1, parts, answer);
    workers.TakePart();
    workers.Join();
    return without;
}

}  // namespace VecTableCatalogue
