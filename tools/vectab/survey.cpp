#include "survey.h"

#include <vectable/batch.h>
#include <vectable/vectable.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <span>

#include "failure.h"
#include "log_capture.h"
#include "polynomial.h"
#include "times.h"

namespace Vectab {
namespace {

constexpr double kLongStepFactor = 4.0;

bool HasVelocity(const State& point) noexcept {
    return std::ranges::any_of(point.vel, [](double component) { return std::fabs(component) > 0.0; });
}

void AddPoint(const Record& record, std::int32_t number, Survey& survey) {
    double covMtx[VEC_TAB_COV_ELEMENTS];
    const State point = ReadPoint(record, number, covMtx);
    const bool scalar = !(std::fabs(covMtx[1] - VEC_TAB_SCALAR_MARK) > 0.0);
    const bool any = std::ranges::any_of(covMtx, [](double element) { return std::fabs(element) > 0.0; });
    survey.withScalar += scalar ? 1 : 0;
    survey.withCovariance += any && !scalar ? 1 : 0;
    survey.withoutVelocity += HasVelocity(point) ? 0 : 1;
    survey.points.push_back(point);
}

bool IsFilled(const Record& record, double ds50UTC) {
    double state[6];
    return VecBatchPairs(1, &record.key, &ds50UTC, state, nullptr, nullptr, nullptr) == 0;
}

// Whether a value is more than so many times the median of others.
bool ExceedsMedian(double value, double factor, std::span<const double> others) noexcept {
    const auto exceeds = [&](double other) { return value > factor * other; };
    return std::count_if(others.begin(), others.end(), exceeds) > (std::ssize(others) - 1) / 2;
}

// Beside the steps around, up to five on either side.
bool IsLongStep(std::span<const double> steps, std::size_t index) noexcept {
    constexpr std::size_t kAround = 5;
    const std::size_t first = index < kAround ? 0 : index - kAround;
    const std::size_t count = std::min(index + kAround + 1, steps.size()) - first;
    return ExceedsMedian(steps[index], kLongStepFactor, steps.subspan(first, count));
}

void FindGaps(const Record& record, Survey& survey) {
    std::vector<double> steps;
    for (std::size_t i = 1; i < survey.points.size(); ++i) {
        steps.push_back((survey.points[i].ds50UTC - survey.points[i - 1].ds50UTC) * kSecondsPerDay);
    }
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const bool hole = steps[i] > kLongestStep;
        if (!hole && !IsLongStep(steps, i)) continue;
        const double from = survey.points[i].ds50UTC;
        const double to = survey.points[i + 1].ds50UTC;
        (hole ? survey.holes : survey.longSteps).push_back({i, from, to, IsFilled(record, from + (to - from) / 2)});
    }
    LogCapture::Instance().Take();  // refusals in holes
}

// The error at a point left out, found from so many neighbours on either side.
std::optional<double> LeftOutAt(const Survey& survey, std::size_t index, std::size_t neighbours) {
    if (index < neighbours || index + neighbours >= survey.points.size()) return std::nullopt;
    if (survey.Interrupted(index - neighbours, index + neighbours)) return std::nullopt;
    std::array<State, Polynomial::kMostPoints> around;
    const auto left = survey.points.begin() + static_cast<std::ptrdiff_t>(index);
    auto* const end = std::copy_n(left - static_cast<std::ptrdiff_t>(neighbours), neighbours, around.begin());
    std::copy_n(left + 1, neighbours, end);
    const Polynomial curve(std::span<const State>(around).first(2 * neighbours), true);
    return PositionDistance(curve.At(left->ds50UTC), *left);
}

using LeftOutErrors = std::vector<std::optional<double>>;

// Whether the error stands out of those two to six points away on one side. `step` is the side, -1 or 1.
bool StandsOut(const LeftOutErrors& errors, std::size_t index, std::ptrdiff_t step) noexcept {
    constexpr std::ptrdiff_t kNearest = 2, kFarthest = 6;
    constexpr double kFactor = 10.0;
    std::array<double, kFarthest - kNearest + 1> beside;
    std::size_t count = 0;
    for (std::ptrdiff_t away = kNearest; away <= kFarthest; ++away) {
        const std::ptrdiff_t place = static_cast<std::ptrdiff_t>(index) + step * away;
        if (place < 0 || place >= std::ssize(errors)) break;
        if (const auto& error = errors[static_cast<std::size_t>(place)]) beside[count++] = *error;
    }
    return count > 0 && ExceedsMedian(*errors[index], kFactor, std::span(beside).first(count));
}

// A break of the orbit stands out of the errors around, and more neighbours do not make it smaller. Where a smooth
// orbit is strongly curved, they do.
bool IsSpike(const Survey& survey, const LeftOutErrors& errors, std::size_t index) {
    if (!errors[index] || !StandsOut(errors, index, -1) || !StandsOut(errors, index, 1)) return false;
    constexpr double kNoSmaller = 0.95;
    const std::optional<double> fromSix = LeftOutAt(survey, index, 3);
    return fromSix && *fromSix > kNoSmaller * *errors[index];
}

void MeasureLeftOut(Survey& survey) {
    LeftOutErrors errors(survey.points.size());
    for (std::size_t i = 0; i < errors.size(); ++i) {
        errors[i] = LeftOutAt(survey, i, 2);
        if (!errors[i]) continue;
        if (std::isfinite(*errors[i])) {
            survey.leftOut.push_back({survey.points[i].ds50UTC, *errors[i]});
        } else {
            ++survey.tooLarge;
            errors[i].reset();
        }
    }
    constexpr std::size_t kReach = VEC_TAB_STENCIL_POINTS;  // points that one break touches
    std::size_t last = errors.size();
    for (std::size_t i = 0; i < errors.size(); ++i) {
        if (!IsSpike(survey, errors, i)) continue;
        const LeftOut spike{survey.points[i].ds50UTC, *errors[i]};
        if (last == errors.size() || i - last > kReach) {
            survey.spikes.push_back(spike);
        } else if (spike.position > survey.spikes.back().position) {
            survey.spikes.back() = spike;
        }
        last = i;
    }
}

bool Contains(const std::vector<Gap>& gaps, double ds50UTC) noexcept {
    const auto next = std::ranges::upper_bound(gaps, ds50UTC, {}, &Gap::to);
    return next != gaps.end() && ds50UTC > next->from;
}

bool AnyWithin(const std::vector<Gap>& gaps, std::size_t first, std::size_t last) noexcept {
    const auto from = std::ranges::lower_bound(gaps, first, {}, &Gap::interval);
    return from != gaps.end() && from->interval < last;
}

// Whether one of the points that a state at the time comes from has no velocity.
bool NextToZeroVelocity(const std::vector<State>& points, double ds50UTC) noexcept {
    constexpr std::ptrdiff_t kHalfStencil = VEC_TAB_STENCIL_POINTS / 2;
    const auto next = std::ranges::upper_bound(points, ds50UTC, {}, &State::ds50UTC);
    const auto first = next - std::min(kHalfStencil, next - points.begin());
    const auto last = next + std::min(kHalfStencil, points.end() - next);
    return !std::all_of(first, last, HasVelocity);
}

}  // namespace

double Gap::Seconds() const noexcept {
    return (to - from) * kSecondsPerDay;
}

bool Survey::Interrupted(std::size_t first, std::size_t last) const noexcept {
    return AnyWithin(holes, first, last) || AnyWithin(longSteps, first, last);
}

std::string_view Survey::Mark(double ds50UTC) const noexcept {
    if (Contains(holes, ds50UTC)) return kHole;
    if (withoutVelocity > 0 && NextToZeroVelocity(points, ds50UTC)) return kNoVelocities;
    return Contains(longSteps, ds50UTC) ? kLongStep : std::string_view();
}

State ReadPoint(const Record& record, std::int32_t number, double (&covMtx)[VEC_TAB_COV_ELEMENTS]) {
    State point;
    if (VecTabGetCovMtx(record.key, number, &point.ds50UTC, point.pos, point.vel, &point.revNum, covMtx) != 0) {
        throw Failure(LogCapture::Instance().TakeError());
    }
    return point;
}

Survey SurveyOf(const Record& record) {
    Survey survey;
    survey.points.reserve(static_cast<std::size_t>(record.points));
    for (std::int32_t number = 1; number <= record.points; ++number) AddPoint(record, number, survey);
    FindGaps(record, survey);
    if (survey.withoutVelocity == 0 && IsCartesian(record.frame)) MeasureLeftOut(survey);
    return survey;
}

}  // namespace Vectab
