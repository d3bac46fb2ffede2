#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "options.h"
#include "output.h"
#include "tables.h"
#include "text.h"
#include "times.h"

namespace Vectab {
namespace {

constexpr std::array kIsNumber = {true, true, false, false, true, false, false, true, false, false, false};
using Row = std::array<std::string, kIsNumber.size()>;

const Row kTitles = {"record", "satellite",    "format", "frame", "points", "start",
                     "end",    "mean step, s", "notes",  "name",  "file"};

Row Describe(const Table& table) {
    const Record& record = table.record;
    return {std::to_string(record.number),
            std::to_string(record.satNum),
            record.format,
            FrameName(record.frame),
            std::to_string(record.points),
            FormatUtc(record.start, ' ', 3),
            FormatUtc(record.end, ' ', 3),
            record.points < 2 ? "-" : Fixed(record.SpanSeconds() / (record.points - 1), 3),
            Listed(table.notes),
            record.name.empty() ? "-" : record.name,
            Printable(record.file)};
}

std::string Line(const Row& row, const std::array<std::size_t, kIsNumber.size()>& widths) {
    std::string line;
    for (std::size_t column = 0; column < row.size(); ++column) {
        const std::string padding(widths[column] - row[column].size(), ' ');
        if (column > 0) line += "  ";
        line += kIsNumber[column] ? padding + row[column] : row[column] + padding;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line + '\n';
}

void Print(const std::vector<Row>& rows) {
    std::array<std::size_t, kIsNumber.size()> widths{};
    for (const Row& row : rows) {
        for (std::size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], row[column].size());
        }
    }
    Output output;
    for (const Row& row : rows) output.Write(Line(row, widths));
    output.Finish();
}

int RunInfo(const Inputs& inputs) {
    std::vector<Row> rows{kTitles};
    const int exitStatus = ForEachTable(inputs, [&](const Table& table) { rows.push_back(Describe(table)); });
    if (rows.size() > 1) Print(rows);
    return exitStatus;
}

}  // namespace

void AddInfo(CLI::App& program, int& exitStatus) {
    auto inputs = std::make_shared<Inputs>();
    CLI::App* command = program.add_subcommand("info", "Print a table of the records that files hold");
    AddFiles(*command, *inputs);
    command->add_flag("-v,--verbose", inputs->verbose, "Print all that the library logs, not only its first errors");
    command->footer(
        "Prints a line for each record: its number in its file, satellite number (99999 when the file gives none),\n"
        "format, frame, number of points, times of the first and last point (UTC), mean step between points, notes,\n"
        "name, and the file it came from.\n\n"
        "Notes: no velocities; N zero velocities; N holes (steps that are too long for interpolation); N long steps\n"
        "(more than four times the steps around); N spikes (breaks of the orbit, such as manoeuvres); few points "
        "(fewer than\n"
        "four); N bad lines (in the file). What they mean for states is told on standard error.");
    command->callback([inputs, &exitStatus] { exitStatus = RunInfo(*inputs); });
}

}  // namespace Vectab
