#include <vectable/vectable.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "commands.h"
#include "failure.h"
#include "left_out.h"
#include "log_capture.h"
#include "output.h"
#include "records.h"
#include "text.h"
#include "times.h"

namespace Vectab {
namespace {

struct Gap {
    double ds50UTC;  // of the point ahead
    double seconds;
};

// What a walk over the points of a record finds.
struct Survey {
    std::vector<double> steps;  // s
    std::vector<Gap> gaps;
    std::size_t withCovariance = 0;
    std::size_t withScalar = 0;
    bool moves = false;  // whether any velocity is not zero
};

void SurveyCovariance(const double (&covMtx)[36], Survey& survey) {
    constexpr double kScalarMark = 12345.0;
    const bool any = std::any_of(covMtx, covMtx + 36, [](double element) { return std::fabs(element) > 0.0; });
    if (std::fabs(covMtx[1] - kScalarMark) <= 0.0) {
        ++survey.withScalar;
    } else if (any) {
        ++survey.withCovariance;
    }
}

Survey SurveyPoints(const Record& record) {
    Survey survey;
    double ds50UTC, pos[3], vel[3], covMtx[36];
    std::int32_t revNum;
    double before = record.start;
    for (std::int32_t number = 1; number <= record.points; ++number) {
        if (VecTabGetCovMtx(record.key, number, &ds50UTC, pos, vel, &revNum, covMtx) != 0) {
            throw Failure(LogCapture::Instance().TakeError());
        }
        survey.moves |= std::hypot(vel[0], vel[1], vel[2]) > 0.0;
        SurveyCovariance(covMtx, survey);
        if (number == 1) continue;
        const double step = (ds50UTC - before) * kSecondsPerDay;
        survey.steps.push_back(step);
        if (step > kLongestStep) survey.gaps.push_back({before, step});
        before = ds50UTC;
    }
    return survey;
}

std::string Labelled(const std::string& label, const std::string& text) {
    constexpr std::size_t kLabelWidth = 14;
    return "  " + label + std::string(kLabelWidth - label.size(), ' ') + text + '\n';
}

std::string RightAligned(const std::string& text) {
    constexpr std::size_t kNumberWidth = 14;
    return std::string(kNumberWidth - std::min(kNumberWidth, text.size()), ' ') + text;
}

std::string DescribeSteps(const std::vector<double>& steps) {
    if (steps.empty()) return "none";
    const auto [smallest, largest] = std::minmax_element(steps.begin(), steps.end());
    const double mean = std::accumulate(steps.begin(), steps.end(), 0.0) / static_cast<double>(steps.size());
    return "smallest " + Fixed(*smallest, 3) + " s, mean " + Fixed(mean, 3) + " s, largest " + Fixed(*largest, 3) +
           " s";
}

std::string DescribeGaps(const std::vector<Gap>& gaps) {
    constexpr std::size_t kMostShown = 5;
    if (gaps.empty()) return Labelled("gaps", "none over 61 minutes");
    std::string text = Labelled("gaps", std::to_string(gaps.size()) + " over 61 minutes");
    for (std::size_t i = 0; i < std::min(gaps.size(), kMostShown); ++i) {
        text += Labelled("", FormatUtc(gaps[i].ds50UTC, ' ', 3) + "  " + Fixed(gaps[i].seconds / 60.0, 1) + " min");
    }
    return gaps.size() > kMostShown ? text + Labelled("", "...") : text;
}

std::string DescribeCovariance(const Record& record, const Survey& survey) {
    if (survey.withScalar > 0) return "none; a single number at " + Counted(survey.withScalar, "point");
    if (survey.withCovariance == 0) return "none";
    return "at " + std::to_string(survey.withCovariance) + " of " + std::to_string(record.points) + " points";
}

// Median, 95 % and largest, by the nearest rank.
std::string Quantiles(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const auto count = static_cast<double>(values.size());
    std::string text;
    for (const double share : {0.5, 0.95, 1.0}) {
        const auto rank = static_cast<std::size_t>(std::ceil(share * count - 1e-9));
        text += RightAligned(FourDigits(values[rank - 1]));
    }
    return text;
}

std::string DescribeErrors(const LeftOutErrors& errors) {
    std::string text = Labelled("interpolation", "error at left-out points, an upper bound: the step doubles there");
    std::string measured = Counted(errors.measured.size(), "point") + " measured";
    if (errors.refused > 0) measured += ", " + std::to_string(errors.refused) + " next to a gap";
    text += Labelled("", measured);
    if (errors.measured.empty()) return text;

    std::vector<double> positions, velocities;
    for (const LeftOutError& error : errors.measured) {
        positions.push_back(error.position);
        velocities.push_back(error.velocity);
    }
    text += Labelled("", "                " + RightAligned("median") + RightAligned("95 %") + RightAligned("largest"));
    text += Labelled("", "position, m     " + Quantiles(std::move(positions)));
    return text + Labelled("", "velocity, mm/s  " + Quantiles(std::move(velocities)));
}

std::string DescribeInterpolation(const Record& record, const Survey& survey) {
    constexpr std::int32_t kFewest = 5;
    if (!IsCartesian(record.frame)) return Labelled("interpolation", "not measured in this frame");
    if (record.points < kFewest) return Labelled("interpolation", "not measured with fewer than 5 points");
    std::string text = DescribeErrors(MeasureLeftOut(record));
    if (survey.moves) return text;
    return text + Labelled("", "All velocities are zero: states between points are of no use.");
}

std::string Report(const LoadedFile& file, std::size_t index) {
    const Record& record = file.Records()[index];
    const Survey survey = SurveyPoints(record);
    return file.Path() + " record " + std::to_string(index + 1) + ": satellite " + std::to_string(record.satNum) +
           ", " + FrameName(record.frame) + ", " + Counted(static_cast<std::size_t>(record.points), "point") + '\n' +
           Labelled("span", FormatUtc(record.start, ' ', 3) + " to " + FormatUtc(record.end, ' ', 3) + " (" +
                                Fixed(record.SpanSeconds() / 3600.0, 3) + " h)") +
           Labelled("steps", DescribeSteps(survey.steps)) + DescribeGaps(survey.gaps) +
           Labelled("covariance", DescribeCovariance(record, survey)) + DescribeInterpolation(record, survey);
}

int RunCheck(const std::vector<std::string>& files) {
    Output output;
    const int exitStatus = ForEachFile(files, false, [&](const LoadedFile& file) {
        for (std::size_t i = 0; i < file.Records().size(); ++i) output.Write(Report(file, i));
    });
    output.Finish();
    return exitStatus;
}

}  // namespace

void AddCheck(CLI::App& program, int& exitStatus) {
    auto files = std::make_shared<std::vector<std::string>>();
    CLI::App* command = program.add_subcommand("check", "Tell what the records of files are good for");
    command->add_option("FILE", *files, "Ephemeris files, or lists of such files")->required()->type_name("");
    command->footer(
        "Prints for each record: points, span, steps between points, gaps over 61 minutes (the library does not\n"
        "interpolate over longer mean steps), points with covariance, and the error of interpolation: each point, or\n"
        "some 20,000 of them, is left out in turn, found from its two neighbours on either side, and compared with\n"
        "the point itself. As the step doubles where a point is left out, the table itself does better than that.\n"
        "A file that cannot be read or holds no ephemeris makes the exit status 1.");
    command->callback([files, &exitStatus] { exitStatus = RunCheck(*files); });
}

}  // namespace Vectab
