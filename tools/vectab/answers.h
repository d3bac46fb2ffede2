// States of a table at many times.
#pragma once

#include <vectable/vectable.h>

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "tables.h"

namespace Vectab {

using CovarianceTerms = std::array<double, VEC_TAB_COV_TERMS>;  // lower triangle, row by row

struct Answer {
    State state;
    CovarianceTerms covariance;
    std::string_view mark;  // why it is not to be trusted; empty otherwise
};

// Times from a first to a last one, every one counted from the first so that no rounding adds up. The last one is in it
// when a step falls on it.
class TimeGrid {
  public:
    // The step in seconds. A failure when there would be more than 100 million times.
    TimeGrid(double from, double to, double step);

    std::int64_t Count() const noexcept { return count_; }
    double Time(std::int64_t i) const noexcept;

  private:
    double from_;
    double to_;
    double step_;
    bool endsOnStep_;
    std::int64_t count_;
};

using UseAnswer = std::function<void(const Answer&)>;

// Hands the states at the times of the grid to `use`, one after the other; with `trustedOnly` those without a mark.
// What is left out, because there is no state or by its mark, is told on standard error, unless that is to be silent.
// Whether all states were there.
bool ForEachState(const Table& table, const TimeGrid& grid, bool trustedOnly, const UseAnswer& use,
                  bool silent = false);

// Hands the points themselves to `use`.
void ForEachPoint(const Table& table, const UseAnswer& use);

// A number of seconds above 0 for an option, or a failure.
double RequiredStep(double seconds);

}  // namespace Vectab
