#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "answers.h"
#include "commands.h"
#include "failure.h"
#include "options.h"
#include "output.h"
#include "text.h"
#include "times.h"
#include "writers.h"

namespace Vectab {
namespace {

constexpr std::array<const Writer*, 3> kWriters = {&kOemWriter, &kDotEWriter, &kCsvWriter};

struct ConvertOptions {
    Inputs inputs;
    std::string output;
    std::string to;
    std::optional<double> step;
};

const Writer& WriterFor(const ConvertOptions& options) {
    for (const Writer* writer : kWriters) {
        if (options.to.empty() ? options.output.ends_with(writer->extension) : options.to == writer->name)
            return *writer;
    }
    if (!options.to.empty()) throw Failure("--to: must be oem, dot-e or csv: " + options.to, kExitUsage);
    throw Failure("--output: must end in .oem, .e or .csv, or --to say the format: " + options.output, kExitUsage);
}

// The answers to write: the points, or states at even steps. False when states had to be left out.
bool ForEachAnswer(const Table& table, const std::optional<double>& step, const UseAnswer& use, bool silent) {
    if (step) return ForEachState(table, TimeGrid(table.record.start, table.record.end, *step), true, use, silent);
    ForEachPoint(table, use);
    return true;
}

// Walks once over the answers, for what has to be known of them before the first is written. `refusal` is why they
// cannot be written.
Answers LookAhead(const Writer& writer, const Table& table, const std::optional<double>& step, bool& all,
                  std::string& refusal) {
    Answers answers;
    const auto look = [&](const Answer& answer) {
        const double time = answer.state.ds50UTC;
        if (answers.count++ == 0) answers.start = time;
        answers.end = time;
        if (refusal.empty() && !writer.holdsTime(table, time)) {
            refusal = "the format cannot hold the time " + FormatUtc(time, ' ', 3);
        }
    };
    all &= ForEachAnswer(table, step, look, false);
    if (answers.count == 0) refusal = "no state to write";
    answers.forEach = [&table, step](const UseAnswer& use) { ForEachAnswer(table, step, use, true); };
    return answers;
}

// What a conversion has lost, told once however many tables it concerns.
void TellLosses(const std::set<std::string>& losses, const std::string& output) {
    std::string message;
    for (const std::string& loss : losses) message += (message.empty() ? "" : ", ") + loss;
    if (!message.empty()) Complain(output + ": the format does not hold " + message);
}

int RunConvert(const ConvertOptions& options) {
    const Writer& writer = WriterFor(options);
    if (options.step) RequiredStep(*options.step);
    for (const std::string& file : options.inputs.files) RefuseInput(options.output, file);
    Output output(options.output);
    writer.writeHead(output);
    std::set<std::string> losses;
    bool any = false;
    bool all = true;
    const int exitStatus = ForEachTable(options.inputs, [&](const Table& table) {
        RefuseInput(options.output, table.record.file);
        std::string refusal = writer.refusal(table);
        Answers answers;
        if (refusal.empty()) answers = LookAhead(writer, table, options.step, all, refusal);
        if (!refusal.empty()) {
            Complain(table.file.Label(table.record) + ": left out: " + refusal);
            all = false;
            return;
        }
        for (std::string& loss : writer.losses(table, options.output)) losses.insert(std::move(loss));
        writer.writeTable(output, table, answers);
        any = true;
    });
    if (!any) throw Failure(output.Name() + ": not written, for there is no table to write");
    output.Finish();
    TellLosses(losses, output.Name());
    return all ? exitStatus : kExitFailure;
}

}  // namespace

bool AnyRevolution(const Survey& survey) noexcept {
    return std::ranges::any_of(survey.points, [](const State& point) { return point.revNum != 0; });
}

void AddConvert(CLI::App& program, int& exitStatus) {
    auto options = std::make_shared<ConvertOptions>();
    CLI::App* command = program.add_subcommand("convert", "Write records as CCSDS OEM, Dot-E or CSV");
    AddFiles(*command, options->inputs);
    command->add_option("-o,--output", options->output, "The file to write; - is standard output")
        ->required()
        ->type_name("OUT");
    command->add_option("--to", options->to, "oem, dot-e or csv; without it the ending of OUT decides: .oem, .e, .csv")
        ->type_name("FORMAT");
    command->add_option("--step", options->step, "Write states at this step of time, in seconds, not the points")
        ->type_name("SECONDS");
    AddChoice(*command, options->inputs.choice);
    command->footer(
        "Writes the points of all records, with their covariances, so that they read back bit for bit. With --step it\n"
        "writes interpolated states; those that are not to be trusted (info tells) are left out. What the format does\n"
        "not hold is told on standard error. OUT takes its place when it is complete: a failure leaves an earlier\n"
        "file as it was, and OUT cannot be one of the inputs. A table that the format has no frame for, or with a\n"
        "time that would not be read back as the same, is left out, and makes the exit status 1.\n\n"
        "Example: vectab convert orbit.e -o orbit.oem");
    command->callback([options, &exitStatus] { exitStatus = RunConvert(*options); });
}

}  // namespace Vectab
