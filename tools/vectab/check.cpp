#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "accuracy.h"
#include "commands.h"
#include "options.h"
#include "output.h"
#include "tables.h"
#include "text.h"
#include "times.h"

namespace Vectab {
namespace {

std::string Labelled(const std::string& label, const std::string& text) {
    constexpr std::size_t kLabelWidth = 14;
    return "  " + label + std::string(kLabelWidth - label.size(), ' ') + text + '\n';
}

std::string RightAligned(const std::string& text) {
    constexpr std::size_t kNumberWidth = 14;
    return std::string(kNumberWidth - std::min(kNumberWidth, text.size()), ' ') + text;
}

std::string DescribeSteps(const std::vector<State>& points) {
    if (points.size() < 2) return "none";
    double smallest = HUGE_VAL, largest = 0.0;
    for (std::size_t i = 1; i < points.size(); ++i) {
        const double step = (points[i].ds50UTC - points[i - 1].ds50UTC) * kSecondsPerDay;
        smallest = std::min(smallest, step);
        largest = std::max(largest, step);
    }
    const double span = (points.back().ds50UTC - points.front().ds50UTC) * kSecondsPerDay;
    return "smallest " + Fixed(smallest, 3) + " s, mean " + Fixed(span / static_cast<double>(points.size() - 1), 3) +
           " s, largest " + Fixed(largest, 3) + " s";
}

std::string DescribeGaps(const std::string& label, const std::vector<Gap>& gaps, const std::string& kind) {
    constexpr std::size_t kMostShown = 5;
    if (gaps.empty()) return Labelled(label, "none " + kind);
    std::string text = Labelled(label, std::to_string(gaps.size()) + ' ' + kind);
    for (std::size_t i = 0; i < std::min(gaps.size(), kMostShown); ++i) {
        text += Labelled("", FormatUtc(gaps[i].from, ' ', 3) + "  " + Fixed(gaps[i].Seconds() / 60.0, 1) + " min, " +
                                 (gaps[i].filled ? "states inside are not to be trusted" : "no states inside"));
    }
    return gaps.size() > kMostShown ? text + Labelled("", "...") : text;
}

std::string DescribeCovariance(const Survey& survey) {
    if (survey.withScalar > 0) return "none; a single number at " + Counted(survey.withScalar, "point");
    if (survey.withCovariance == 0) return "none";
    return "at " + std::to_string(survey.withCovariance) + " of " + Counted(survey.points.size(), "point");
}

// A line with the median, 95 % and largest, by the nearest rank; none without errors.
template <typename Element>
std::string Quantiles(const std::string& label, const std::vector<Element>& errors, double Element::*member) {
    if (errors.empty()) return {};
    std::vector<double> values;
    values.reserve(errors.size());
    for (const Element& error : errors) values.push_back(error.*member);
    std::ranges::sort(values);
    constexpr std::size_t kLabelWidth = 32;
    std::string text = label + std::string(kLabelWidth - label.size(), ' ');
    for (const double share : {0.5, 0.95, 1.0}) {
        const auto rank = static_cast<std::size_t>(std::ceil(share * static_cast<double>(values.size()) - 1e-9));
        text += RightAligned(FourDigits(values[rank - 1]));
    }
    return Labelled("", text);
}

std::string DescribeErrors(const Table& table) {
    if (!IsCartesian(table.record.frame)) return Labelled("errors", "not measured in this frame");
    const std::size_t fewest = FewestForEstimate(table.survey);
    if (table.survey.points.size() < fewest) {
        return Labelled("errors", "not measured with fewer than " + std::to_string(fewest) + " points");
    }
    const ErrorEstimate estimate = EstimateErrors(table.record, table.survey);
    const std::vector<LeftOut>& leftOut = table.survey.leftOut;
    std::string text = Labelled(
        "errors", std::string(32, ' ') + RightAligned("median") + RightAligned("95 %") + RightAligned("largest"));
    text += Quantiles("position between, m", estimate.inner, &ErrorBetween::position);
    text += Quantiles("position at the ends, m", estimate.ends, &ErrorBetween::position);
    if (table.survey.HasVelocities()) {
        text += Quantiles("velocity between, mm/s", estimate.inner, &ErrorBetween::velocity);
        text += Quantiles("velocity at the ends, mm/s", estimate.ends, &ErrorBetween::velocity);
    }
    text += Quantiles("position of points left out, m", leftOut, &LeftOut::position);
    text += Labelled("", Counted(estimate.inner.size() + estimate.ends.size(), "interval") + " estimated, " +
                             std::to_string(estimate.skipped) + " skipped next to a gap");
    if (estimate.tooLarge + table.survey.tooLarge > 0) {
        text +=
            Labelled("", Counted(estimate.tooLarge, "interval") + " and " + Counted(table.survey.tooLarge, "point") +
                             " left out cannot be measured: the numbers are too large");
    }
    return text;
}

std::string Report(const Table& table) {
    const Record& record = table.record;
    const Survey& survey = table.survey;
    return Printable(table.file.Name()) + " record " + std::to_string(record.number) + ": satellite " +
           std::to_string(record.satNum) + ", " + record.format + ", " + FrameName(record.frame) + ", " +
           Counted(survey.points.size(), "point") + '\n' +
           Labelled("span", FormatUtc(record.start, ' ', 3) + " to " + FormatUtc(record.end, ' ', 3) + " (" +
                                Fixed(record.SpanSeconds() / 3600.0, 3) + " h)") +
           Labelled("steps", DescribeSteps(survey.points)) +
           DescribeGaps("holes", survey.holes, "of more than " + Fixed(VEC_TAB_GAP_MINUTES, 0) + " minutes") +
           DescribeGaps("long steps", survey.longSteps, "of more than four times the steps around") +
           Labelled("covariance", DescribeCovariance(survey)) + Labelled("notes", Listed(table.notes)) +
           DescribeErrors(table);
}

int RunCheck(const Inputs& inputs) {
    Output output;
    const int exitStatus = ForEachTable(inputs, [&](const Table& table) { output.Write(Report(table)); });
    output.Finish();
    return exitStatus;
}

}  // namespace

void AddCheck(CLI::App& program, int& exitStatus) {
    auto inputs = std::make_shared<Inputs>();
    CLI::App* command = program.add_subcommand("check", "Tell what the records of files are good for");
    AddFiles(*command, *inputs);
    AddChoice(*command, inputs->choice);
    command->footer(
        "Prints for each record: span, steps, holes, long steps, points with covariance, notes as info has\n"
        "them, and errors.\n\n"
        "The errors between points are estimates of what interpolation adds: the library's states at a quarter, half\n"
        "and three quarters of an interval less those of a polynomial of higher degree, through six points with their\n"
        "velocities, or through eight points where there are no velocities. \"At the ends\" is the first and the last\n"
        "interval, whose states come from points on one side. For a smooth orbit the estimate is right to a fifth,\n"
        "mostly to some per cent. It does not see what the points themselves are off.\n"
        "That shows at points left out: each is found from two neighbours on either side and compared with itself.\n"
        "The step is doubled there: where the orbit is smooth and strongly curved, this error is some 50 times that\n"
        "between points; otherwise it is the rounding, the noise or the breaks of the points.\n"
        "Of a long table some 20,000 intervals are taken, evenly spread.");
    command->callback([inputs, &exitStatus] { exitStatus = RunCheck(*inputs); });
}

}  // namespace Vectab
