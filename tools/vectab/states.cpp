#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>

#include "answers.h"
#include "commands.h"
#include "csv.h"
#include "failure.h"
#include "options.h"
#include "output.h"
#include "times.h"

namespace Vectab {
namespace {

struct StatesOptions {
    Inputs inputs;
    std::string from = "start";
    std::string to = "end";
    std::string at;
    double step = 60.0;
    bool covariance = false;
};

TimeRequest RequiredTime(const std::string& option, const std::string& text) {
    const std::optional<TimeRequest> time = ParseTime(text);
    if (!time) throw Failure(option + ": no time: " + text + " (try 2026-03-01T12:00:00)", kExitUsage);
    return *time;
}

TimeGrid GridOf(const Record& record, const TimeRequest& fromRequest, const TimeRequest& toRequest, double step) {
    const double from = fromRequest.Within(record.start, record.end);
    const double to = toRequest.Within(record.start, record.end);
    if (from > to) {
        throw Failure("the interval runs backwards, from " + FormatUtc(from, ' ', 3) + " to " + FormatUtc(to, ' ', 3),
                      kExitUsage);
    }
    return {from, to, step};
}

int RunStates(const StatesOptions& options) {
    const double step = RequiredStep(options.step);
    const bool single = !options.at.empty();
    const TimeRequest from = RequiredTime(single ? "--at" : "--from", single ? options.at : options.from);
    const TimeRequest to = single ? from : RequiredTime("--to", options.to);
    Output output;
    bool anyTable = false;
    bool all = true;
    const int exitStatus = ForEachTable(options.inputs, [&](const Table& table) {
        const TimeGrid grid = GridOf(table.record, from, to, step);
        if (!anyTable) output.Write(CsvHeader(options.covariance));
        anyTable = true;
        all &= ForEachState(table, grid, options.inputs.strict, [&](const Answer& answer) {
            output.Write(CsvLine(table.record, answer, options.covariance));
        });
    });
    output.Finish();
    return all ? exitStatus : kExitFailure;
}

}  // namespace

void AddStates(CLI::App& program, int& exitStatus) {
    auto options = std::make_shared<StatesOptions>();
    CLI::App* command = program.add_subcommand("states", "Print states at even steps of time, or at one time, as CSV");
    AddFiles(*command, options->inputs);
    CLI::Option* from = command->add_option("--from", options->from, "First time; without it the start of the table");
    CLI::Option* to = command->add_option("--to", options->to, "Last time; without it the end of the table");
    CLI::Option* step = command->add_option("--step", options->step, "Step of time in seconds, 60 without it");
    CLI::Option* at = command->add_option("--at", options->at, "One time, instead of the three options above");
    for (CLI::Option* time : {from, to, at}) time->type_name("TIME");
    step->type_name("SECONDS");
    at->excludes(from)->excludes(to)->excludes(step);
    command->add_flag("--cov", options->covariance, "Print the 21 terms of the covariance's lower triangle as well");
    AddChoice(*command, options->inputs.choice);
    command->footer(
        "TIME is UTC: 2026-03-01, 2026-03-01T12:00, 2026-03-01T12:00:00.5Z, with a day of the year 2026-060T12:00,\n"
        "or \"1 Mar 2026 12:00\"; \"start\" or \"end\" of the table; or a number of days since 1950 (1 is "
        "1950-01-01).\n\n"
        "Columns: satellite, frame, utc, ds50utc (days since 1950), x_km, y_km, z_km, vx_km_s, vy_km_s, vz_km_s, rev\n"
        "(revolution number), note (why a state is not to be trusted: hole, long step or no velocities), and with\n"
        "--cov cov_1_1 to cov_6_6, row by row, in the units of the file. Numbers have all their digits. Times without\n"
        "a state are told on standard error, and make the exit status 1. --strict leaves out states with a note.\n\n"
        "Example: vectab states orbit.e --from \"2026-03-01 00:30\" --to end --step 10 > states.csv");
    command->callback([options, &exitStatus] { exitStatus = RunStates(*options); });
}

}  // namespace Vectab
