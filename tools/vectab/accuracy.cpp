#include "accuracy.h"

#include <vectable/batch.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <span>

#include "log_capture.h"
#include "polynomial.h"

namespace Vectab {
namespace {

constexpr std::size_t kMostTried = 20000;
constexpr std::size_t kPointsWithVelocity = 6;
constexpr std::size_t kPointsWithout = 8;
constexpr std::array<double, 3> kShares = {0.25, 0.5, 0.75};  // of an interval

// Of the reference in an interval; the nearest ones.
struct Neighbours {
    std::size_t first;
    std::size_t count;
};

Neighbours NeighboursOf(const Survey& survey, std::size_t interval) noexcept {
    const std::size_t all = survey.points.size();
    const std::size_t count = std::min(all, survey.HasVelocities() ? kPointsWithVelocity : kPointsWithout);
    const std::size_t before = count / 2 - 1;
    const std::size_t first = interval < before ? 0 : interval - before;
    return {std::min(first, all - count), count};
}

std::vector<std::size_t> IntervalsToTry(std::size_t intervals) {
    const std::size_t tried = std::min(intervals, kMostTried);
    std::vector<std::size_t> chosen(tried);
    for (std::size_t i = 0; i < tried; ++i) chosen[i] = tried == 1 ? 0 : i * (intervals - 1) / (tried - 1);
    return chosen;
}

// The library's states at the three times of every interval. The outcome is 0 where there is one.
struct LibraryStates {
    std::vector<double> times;
    std::vector<std::array<double, 6>> states;
    std::vector<std::uint8_t> outcomes;

    LibraryStates(const Record& record, const Survey& survey, const std::vector<std::size_t>& intervals) {
        for (const std::size_t interval : intervals) {
            const double from = survey.points[interval].ds50UTC;
            const double step = survey.points[interval + 1].ds50UTC - from;
            for (const double share : kShares) times.push_back(from + share * step);
        }
        states.resize(times.size());
        outcomes.resize(times.size());
        VecBatchGrid(1, &record.key, static_cast<std::int64_t>(times.size()), times.data(), states.front().data(),
                     nullptr, nullptr, outcomes.data());
        LogCapture::Instance().Take();  // refusals are counted
    }

    State At(std::size_t i) const noexcept {
        State state{times[i], {}, {}, 0};
        std::copy_n(states[i].begin(), 3, state.pos);
        std::copy_n(states[i].begin() + 3, 3, state.vel);
        return state;
    }
};

}  // namespace

double ErrorEstimate::LargestPosition() const noexcept {
    double largest = 0.0;
    for (const auto* errors : {&inner, &ends}) {
        for (const ErrorBetween& error : *errors) largest = std::max(largest, error.position);
    }
    return largest;
}

std::size_t FewestForEstimate(const Survey& survey) noexcept {
    return survey.HasVelocities() ? 5 : 4;
}

ErrorEstimate EstimateErrors(const Record& record, const Survey& survey) {
    ErrorEstimate estimate;
    if (survey.points.size() < FewestForEstimate(survey) || !IsCartesian(record.frame)) return estimate;
    const std::size_t last = survey.points.size() - 2;
    const std::vector<std::size_t> intervals = IntervalsToTry(last + 1);
    const LibraryStates given(record, survey, intervals);
    for (std::size_t i = 0; i < intervals.size(); ++i) {
        const auto [first, count] = NeighboursOf(survey, intervals[i]);
        const std::size_t place = i * kShares.size();
        if (given.outcomes[place] != VEC_BATCH_STATE || survey.Interrupted(first, first + count - 1)) {
            ++estimate.skipped;
            continue;
        }
        const Polynomial reference(std::span<const State>(survey.points).subspan(first, count), survey.HasVelocities());
        ErrorBetween error{given.times[place + 1], 0.0, 0.0};
        bool measured = true;
        for (std::size_t k = place; k < place + kShares.size(); ++k) {
            const State state = given.At(k);
            const State wanted = reference.At(state.ds50UTC);
            const double position = PositionDistance(state, wanted), velocity = VelocityDistance(state, wanted);
            measured &= std::isfinite(position) && std::isfinite(velocity);
            error.position = std::max(error.position, position);
            error.velocity = std::max(error.velocity, velocity);
        }
        if (!measured) {
            ++estimate.tooLarge;
            continue;
        }
        const bool atEnd = intervals[i] == 0 || intervals[i] == last;
        (atEnd ? estimate.ends : estimate.inner).push_back(error);
    }
    return estimate;
}

}  // namespace Vectab
