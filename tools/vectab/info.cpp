#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "output.h"
#include "records.h"
#include "text.h"
#include "times.h"

namespace Vectab {
namespace {

struct InfoOptions {
    std::vector<std::string> files;
    bool verbose = false;
};

constexpr std::size_t kColumns = 9;
using Row = std::array<std::string, kColumns>;

const Row kTitles = {"record", "satellite", "frame", "points", "start", "end", "mean step, s", "name", "file"};
constexpr std::array<bool, kColumns> kIsNumber = {true, true, false, true, false, false, true, false, false};

Row Describe(const Record& record, std::size_t number) {
    const std::string step = record.points < 2 ? "-" : Fixed(record.SpanSeconds() / (record.points - 1), 3);
    return {std::to_string(number),
            std::to_string(record.satNum),
            FrameName(record.frame),
            std::to_string(record.points),
            FormatUtc(record.start, ' ', 3),
            FormatUtc(record.end, ' ', 3),
            step,
            record.name.empty() ? "-" : record.name,
            record.file};
}

std::string Line(const Row& row, const std::array<std::size_t, kColumns>& widths) {
    std::string line;
    for (std::size_t column = 0; column < kColumns; ++column) {
        const std::string padding(widths[column] - row[column].size(), ' ');
        if (column > 0) line += "  ";
        line += kIsNumber[column] ? padding + row[column] : row[column] + padding;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line + '\n';
}

void Print(const std::vector<Row>& rows) {
    std::array<std::size_t, kColumns> widths{};
    for (const Row& row : rows) {
        for (std::size_t column = 0; column < kColumns; ++column) {
            widths[column] = std::max(widths[column], row[column].size());
        }
    }
    Output output;
    for (const Row& row : rows) output.Write(Line(row, widths));
    output.Finish();
}

int RunInfo(const InfoOptions& options) {
    std::vector<Row> rows{kTitles};
    const int exitStatus = ForEachFile(options.files, options.verbose, [&](const LoadedFile& file) {
        for (std::size_t i = 0; i < file.Records().size(); ++i) rows.push_back(Describe(file.Records()[i], i + 1));
    });
    if (rows.size() > 1) Print(rows);
    return exitStatus;
}

}  // namespace

void AddInfo(CLI::App& program, int& exitStatus) {
    auto options = std::make_shared<InfoOptions>();
    CLI::App* command = program.add_subcommand("info", "Print a table of the records that files hold");
    command->add_option("FILE", options->files, "Ephemeris files, or lists of such files")->required()->type_name("");
    command->add_flag("-v,--verbose", options->verbose, "Print all that the library logs, not only its first errors");
    command->footer(
        "Prints a line for each record: its number in its file, satellite number (99999 when the file gives none),\n"
        "frame, number of points, times of the first and last point (UTC), mean step between points, name, and the\n"
        "file it came from. What could not be read is told on standard error, and makes the exit status 1.");
    command->callback([options, &exitStatus] { exitStatus = RunInfo(*options); });
}

}  // namespace Vectab
