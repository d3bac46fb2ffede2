#include <vectable/vectable.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>

#include "commands.h"
#include "failure.h"
#include "log_capture.h"
#include "options.h"
#include "output.h"
#include "records.h"
#include "text.h"
#include "times.h"

namespace Vectab {
namespace {

struct StatesOptions {
    std::string file;
    std::string from = "start";
    std::string to = "end";
    double step = 60.0;
    bool covariance = false;
    Choice choice;
};

// Times from a first to a last one, every one counted from the first so that no rounding adds up.
class TimeGrid {
  public:
    TimeGrid(double from, double to, double step) : from_(from), to_(to), step_(step) {
        constexpr double kMostStates = 1e8;
        constexpr double kResolution = 1e-6;  // s, of a day count of our days
        const double span = (to - from) * kSecondsPerDay;
        const double nearest = std::round(span / step);
        endsOnStep_ = std::fabs(span - nearest * step) <= kResolution + 1e-9 * span;
        const double count = (endsOnStep_ ? nearest : std::floor(span / step)) + 1.0;
        if (!(count <= kMostStates)) throw Failure("more than 100 million states asked for", kExitUsage);
        count_ = static_cast<std::int64_t>(count);
    }

    std::int64_t Count() const noexcept { return count_; }

    double Time(std::int64_t i) const noexcept {
        if (endsOnStep_ && i == count_ - 1) return to_;
        return from_ + static_cast<double>(i) * step_ / kSecondsPerDay;
    }

  private:
    double from_;
    double to_;
    double step_;
    bool endsOnStep_;
    std::int64_t count_;
};

// Tells of times without a state, a line for those that follow each other and have the same cause.
class Refusals {
  public:
    void Add(double ds50UTC, const std::string& words) {
        if (words != words_) Tell();
        if (count_ == 0) first_ = ds50UTC;
        words_ = words;
        last_ = ds50UTC;
        ++count_;
        any_ = true;
    }

    void Tell() {
        if (count_ == 0) return;
        const std::string first = FormatUtc(first_, ' ', 3);
        const std::string times = count_ == 1 ? "at " + first
                                              : "from " + first + " to " + FormatUtc(last_, ' ', 3) + " (" +
                                                    std::to_string(count_) + " times)";
        Complain("no state " + times + ": " + words_);
        count_ = 0;
    }

    bool Any() const noexcept { return any_; }

  private:
    std::string words_;
    double first_ = 0.0;
    double last_ = 0.0;
    std::int64_t count_ = 0;
    bool any_ = false;
};

TimeRequest RequiredTime(const std::string& option, const std::string& text) {
    const std::optional<TimeRequest> time = ParseTime(text);
    if (!time) throw Failure(option + ": no time: " + text + " (try 2026-03-01T12:00:00)", kExitUsage);
    return *time;
}

std::string Header(bool covariance) {
    std::string line = "utc,ds50utc,x_km,y_km,z_km,vx_km_s,vy_km_s,vz_km_s,rev";
    for (int row = 1; covariance && row <= 6; ++row) {
        for (int column = 1; column <= row; ++column) {
            line += ",cov_" + std::to_string(row) + '_' + std::to_string(column);
        }
    }
    return line + '\n';
}

std::string LowerTriangle(const double (&covMtx)[36]) {
    std::string terms;
    for (int row = 0; row < 6; ++row) {
        for (int column = 0; column <= row; ++column) terms += ',' + Shortest(covMtx[row * 6 + column]);
    }
    return terms;
}

// Empty when the library has no state for the time.
std::string StateLine(const Record& record, double ds50UTC, bool covariance) {
    double mse, pos[3], vel[3], covMtx[36];
    std::int32_t revNum;
    if (VecTabDs50UTCCovMtx(record.key, ds50UTC, &mse, pos, vel, &revNum, covMtx) != 0) return {};
    std::string line = FormatUtc(ds50UTC, 'T', 6) + "Z," + Shortest(ds50UTC);
    for (const double component : pos) line += ',' + Shortest(component);
    for (const double component : vel) line += ',' + Shortest(component);
    line += ',' + std::to_string(revNum);
    if (covariance) line += LowerTriangle(covMtx);
    return line + '\n';
}

// Whether there was a state for every time.
bool Print(const Record& record, const TimeGrid& grid, bool covariance) {
    Output output;
    Refusals refusals;
    output.Write(Header(covariance));
    for (std::int64_t i = 0; i < grid.Count(); ++i) {
        const std::string line = StateLine(record, grid.Time(i), covariance);
        if (line.empty()) refusals.Add(grid.Time(i), LogCapture::Instance().TakeError());
        output.Write(line);
    }
    output.Finish();
    refusals.Tell();
    return !refusals.Any();
}

int RunStates(const StatesOptions& options) {
    if (!(options.step > 0.0) || std::isinf(options.step)) {
        throw Failure("--step: must be a number of seconds above 0", kExitUsage);
    }
    const TimeRequest fromRequest = RequiredTime("--from", options.from);
    const TimeRequest toRequest = RequiredTime("--to", options.to);
    const LoadedFile file(options.file);
    const Record& record = Choose(file, options.choice);
    const double from = fromRequest.Within(record.start, record.end);
    const double to = toRequest.Within(record.start, record.end);
    if (from > to) {
        throw Failure("the interval runs backwards, from " + FormatUtc(from, ' ', 3) + " to " + FormatUtc(to, ' ', 3),
                      kExitUsage);
    }
    const bool all = Print(record, TimeGrid(from, to, options.step), options.covariance);
    return all && file.Complete() ? 0 : kExitFailure;
}

}  // namespace

void AddStates(CLI::App& program, int& exitStatus) {
    auto options = std::make_shared<StatesOptions>();
    CLI::App* command = program.add_subcommand("states", "Print states at even steps of time as CSV");
    command->add_option("FILE", options->file, "Ephemeris file")->required()->type_name("");
    command->add_option("--from", options->from, "First time; without it the start of the table")->type_name("TIME");
    command->add_option("--to", options->to, "Last time; without it the end of the table")->type_name("TIME");
    command->add_option("--step", options->step, "Step of time in seconds, 60 without it")->type_name("SECONDS");
    command->add_flag("--cov", options->covariance, "Print the 21 terms of the covariance's lower triangle as well");
    AddChoice(*command, options->choice);
    command->footer(
        "TIME is UTC: YYYY-MM-DD, YYYY-MM-DDTHH:MM or YYYY-MM-DDTHH:MM:SS.fff, a blank for the T and a Z behind\n"
        "allowed; or \"start\" or \"end\" of the table; or a number of days since 1950 (1 is 1950-01-01).\n\n"
        "Columns: utc, ds50utc (days since 1950), x_km, y_km, z_km, vx_km_s, vy_km_s, vz_km_s, rev (revolution\n"
        "number), and with --cov cov_1_1 to cov_6_6, row by row. Frame and units of the covariance are those of the\n"
        "file. Numbers have all their digits. The last time is printed when a step falls on it. Times for which there\n"
        "is no state, outside the table or in a gap, are told on standard error, and make the exit status 1.\n\n"
        "Example: vectab states orbit.e --from \"2026-03-01 00:30\" --to end --step 10 > states.csv");
    command->callback([options, &exitStatus] { exitStatus = RunStates(*options); });
}

}  // namespace Vectab
