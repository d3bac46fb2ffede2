#include "answers.h"

#include <vectable/batch.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "failure.h"
#include "log_capture.h"
#include "text.h"
#include "times.h"

namespace Vectab {
namespace {

constexpr std::int64_t kAtOnce = 4096;  // requests of a batch

// By outcome.
constexpr std::array<std::string_view, 5> kRefusals = {"", "no record", "outside the table",
                                                       "the points around are too far apart", "too few points"};
static_assert(VEC_BATCH_STATE == 0 && VEC_BATCH_OUTSIDE == 2 && VEC_BATCH_GAP == 3 && VEC_BATCH_TOO_FEW == 4);

// The answers to a part of a grid, side by side.
struct Batch {
    std::vector<double> times;
    std::vector<std::array<double, 6>> states;
    std::vector<CovarianceTerms> covariances;
    std::vector<std::int32_t> revNums;
    std::vector<std::uint8_t> outcomes;

    Batch(const Record& record, const TimeGrid& grid, std::int64_t first) {
        const std::int64_t count = std::min(kAtOnce, grid.Count() - first);
        for (std::int64_t i = 0; i < count; ++i) times.push_back(grid.Time(first + i));
        states.resize(times.size());
        covariances.resize(times.size());
        revNums.resize(times.size());
        outcomes.resize(times.size());
        VecBatchGrid(1, &record.key, count, times.data(), states.front().data(), covariances.front().data(),
                     revNums.data(), outcomes.data());
        LogCapture::Instance().Take();  // the outcomes tell
    }

    Answer At(std::size_t i) const noexcept {
        Answer answer{{times[i], {}, {}, revNums[i]}, covariances[i], {}};
        std::copy_n(states[i].begin(), 3, answer.state.pos);
        std::copy_n(states[i].begin() + 3, 3, answer.state.vel);
        return answer;
    }
};

// Tells of times without a state, a line for those that follow each other and have the same cause.
class LeftOutTimes {
  public:
    LeftOutTimes(std::string label, bool silent) : label_(std::move(label)), silent_(silent) {}

    void Add(double ds50UTC, std::string_view cause) {
        if (cause != cause_) Tell();
        if (count_ == 0) first_ = ds50UTC;
        cause_ = cause;
        last_ = ds50UTC;
        ++count_;
        any_ = true;
    }

    void Tell() {
        if (count_ == 0 || silent_) return;
        const std::string first = FormatUtc(first_, ' ', 3);
        const std::string times = count_ == 1 ? "at " + first
                                              : "from " + first + " to " + FormatUtc(last_, ' ', 3) + " (" +
                                                    std::to_string(count_) + " times)";
        Complain(label_ + ": no state " + times + ": " + std::string(cause_));
        count_ = 0;
    }

    bool Any() const noexcept { return any_; }

  private:
    std::string label_;
    bool silent_;
    std::string_view cause_;
    double first_ = 0.0;
    double last_ = 0.0;
    std::int64_t count_ = 0;
    bool any_ = false;
};

}  // namespace

TimeGrid::TimeGrid(double from, double to, double step) : from_(from), to_(to), step_(step) {
    constexpr double kMostStates = 1e8;
    constexpr double kResolution = 1e-6;  // s, of a day count of our days
    const double span = (to - from) * kSecondsPerDay;
    const double nearest = std::round(span / step);
    endsOnStep_ = std::fabs(span - nearest * step) <= kResolution + 1e-9 * span;
    const double count = (endsOnStep_ ? nearest : std::floor(span / step)) + 1.0;
    if (!(count <= kMostStates)) throw Failure("more than 100 million states asked for", kExitUsage);
    count_ = static_cast<std::int64_t>(count);
}

double TimeGrid::Time(std::int64_t i) const noexcept {
    if (endsOnStep_ && i == count_ - 1) return to_;
    return from_ + static_cast<double>(i) * step_ / kSecondsPerDay;
}

bool ForEachState(const Table& table, const TimeGrid& grid, bool trustedOnly, const UseAnswer& use, bool silent) {
    LeftOutTimes leftOut(table.file.Label(table.record), silent);
    for (std::int64_t first = 0; first < grid.Count(); first += kAtOnce) {
        const Batch batch(table.record, grid, first);
        for (std::size_t i = 0; i < batch.times.size(); ++i) {
            Answer answer = batch.At(i);
            std::string_view refusal = kRefusals[batch.outcomes[i]];
            if (refusal.empty()) answer.mark = table.survey.Mark(batch.times[i]);
            if (trustedOnly && refusal.empty()) refusal = answer.mark;
            if (refusal.empty()) {
                use(answer);
            } else {
                leftOut.Add(batch.times[i], refusal);
            }
        }
    }
    leftOut.Tell();
    return !leftOut.Any();
}

void ForEachPoint(const Table& table, const UseAnswer& use) {
    for (std::int32_t number = 1; number <= table.record.points; ++number) {
        double covMtx[VEC_TAB_COV_ELEMENTS];
        Answer answer{ReadPoint(table.record, number, covMtx), {}, {}};
        std::size_t term = 0;
        for (std::size_t row = 0; row < 6; ++row) {
            for (std::size_t column = 0; column <= row; ++column) answer.covariance[term++] = covMtx[row * 6 + column];
        }
        answer.mark = table.survey.Mark(answer.state.ds50UTC);
        use(answer);
    }
}

double RequiredStep(double seconds) {
    if (seconds > 0.0 && std::isfinite(seconds)) return seconds;
    throw Failure("--step: must be a number of seconds above 0", kExitUsage);
}

}  // namespace Vectab
