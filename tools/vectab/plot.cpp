#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "commands.h"
#include "failure.h"
#include "gnuplot.h"
#include "left_out.h"
#include "options.h"
#include "output.h"
#include "records.h"
#include "text.h"
#include "times.h"

namespace Vectab {
namespace {

struct PlotOptions {
    std::string file;
    std::string output;
    Choice choice;
};

constexpr double kEarthRadius = 6378.0;  // km

constexpr std::string_view kSettings = R"(set encoding utf8
set border 3 lc rgb '#606060'
set tics nomirror out scale 0.6 textcolor rgb '#303030'
set grid lc rgb '#e0e0e0' lt 1 lw 0.8
set format y '%.6g'
unset key
set linetype 1 lc rgb '#1f5fa8' lw 1.8
set linetype 2 lc rgb '#c2502a' lw 1.8
)";

constexpr std::string_view kRadiusPanel = R"(set bmargin at screen 0.635; set tmargin at screen 0.865
set lmargin at screen 0.075; set rmargin at screen 0.49
set title 'Radius' offset 0,-0.4
set xlabel 'time since start (h)' offset 0,0.4
set ylabel 'radius (km)'
set xrange [0:lastHour]
plot $orbit using 1:(sqrt($2**2+$3**2+$4**2)) with @style lt 1
)";

constexpr std::string_view kErrorPanel = R"(set lmargin at screen 0.57; set rmargin at screen 0.975
set title 'Interpolation error at left-out points (upper bound)'
set ylabel 'position error (m)'
)";

constexpr std::string_view kErrorCurve = R"(set logscale y
set format y '10^{%T}'
plot $errors using 1:2 with @style lt 2
unset logscale y
set format y '%.6g'
)";

constexpr std::string_view kNoErrorCurve = R"(set yrange [0:1]
set format y ''
set label 1 'none measured' at graph 0.5,0.5 center textcolor rgb '#606060'
plot -1
unset label 1
set format y '%.6g'
)";

constexpr std::string_view kOrbitPanels = R"(dot = "with points pt 7 ps 1 lc rgb '#c2502a'"
name = "with labels left offset 0.8,0.6 textcolor rgb '#c2502a' font ',9'"
set bmargin at screen 0.075; set tmargin at screen 0.525
set xrange [-reach:reach]; set yrange [-reach:reach]
set xtics ticStep; set ytics ticStep
set size ratio -1
set object 1 circle at 0,0 size earthRadius back fillcolor rgb '#d5e4ee' fillstyle solid border lc rgb '#8fb0c4'
set label 2 'Earth' at 0,0.5*earthRadius center textcolor rgb '#6f93a8' font ',9'
set lmargin at screen 0.075; set rmargin at screen 0.49
set title 'Orbit in the x-y plane'
set xlabel 'x (km)'
set ylabel 'y (km)'
plot $orbit using 2:3 with @style lt 1, $start using 2:3 @dot, '' using 2:3:('start') @name
set lmargin at screen 0.57; set rmargin at screen 0.975
set title 'Orbit in the x-z plane'
set ylabel 'z (km)'
plot $orbit using 2:4 with @style lt 1, $start using 2:4 @dot, '' using 2:4:('start') @name
)";

// The terminal of gnuplot that makes files with the ending of the path.
std::string Terminal(const std::string& path) {
    std::string ending = path.substr(std::min(path.rfind('.'), path.size()));
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    if (ending == ".svg") return "svg size 1200,900 font 'Helvetica,Arial,sans-serif,14' background rgb 'white'";
    if (ending == ".png") return "pngcairo size 1200,900 font 'Sans,11' background rgb 'white'";
    throw Failure("--output: must end in .svg or .png: " + path, kExitUsage);
}

constexpr std::int32_t kMostDrawn = 20000;  // points of a curve

// Lines of gnuplot's data, a blank one where the curve has a gap. A wide table, or a long one of which not every point
// is drawn, has long steps without a gap.
class Curve {
  public:
    explicit Curve(const Record& record)
        : start_(record.start),
          before_(record.start),
          longestStep_(std::max(kLongestStep, 3.0 * record.SpanSeconds() / std::min(record.points, kMostDrawn))) {}

    template <typename... Values>
    void Add(double ds50UTC, Values... values) {
        if ((ds50UTC - before_) * kSecondsPerDay > longestStep_) text_ += '\n';
        before_ = ds50UTC;
        text_ += Shortest((ds50UTC - start_) * kHoursPerDay);
        ((text_ += ' ' + Shortest(values)), ...);
        text_ += '\n';
    }

    std::string Block(const std::string& name) const { return '$' + name + " << EOD\n" + text_ + "EOD\n"; }

  private:
    double start_;
    double before_;
    double longestStep_;  // s
    std::string text_;
};

struct Orbit {
    std::string blocks;
    double reach = kEarthRadius;  // the largest coordinate, km
};

// Every point of a short table, and some 20,000 of a long one.
Orbit OrbitOf(const Record& record) {
    Curve curve(record);
    Orbit orbit;
    const std::int64_t drawn = std::min(record.points, kMostDrawn);
    for (std::int64_t i = 0; i < drawn; ++i) {
        const State point = PointOf(record, static_cast<std::int32_t>(1 + i * record.points / drawn));
        curve.Add(point.ds50UTC, point.pos[0], point.pos[1], point.pos[2]);
        for (const double component : point.pos) orbit.reach = std::max(orbit.reach, std::fabs(component));
    }
    Curve start(record);
    const State first = PointOf(record, 1);
    start.Add(first.ds50UTC, first.pos[0], first.pos[1], first.pos[2]);
    orbit.blocks = curve.Block("orbit") + start.Block("start");
    return orbit;
}

std::string ErrorBlock(const Record& record, const LeftOutErrors& errors) {
    Curve curve(record);
    for (const LeftOutError& error : errors.measured) curve.Add(error.ds50UTC, error.position);
    return curve.Block("errors");
}

// A round number, of which two to six make up the width of an orbit panel.
double TicStep(double reach) {
    const double decade = std::pow(10.0, std::floor(std::log10(reach)));
    const double leading = reach / decade;
    if (leading < 1.5) return decade * 0.5;
    if (leading < 3.0) return decade;
    return leading < 6.0 ? decade * 2.0 : decade * 5.0;
}

std::string Title(const Record& record) {
    return "Satellite " + std::to_string(record.satNum) + ", frame " + FrameName(record.frame) + "\\n" +
           FormatUtc(record.start, ' ', 0) + " to " + FormatUtc(record.end, ' ', 0) + " UTC, " +
           Counted(static_cast<std::size_t>(record.points), "point");
}

std::string Script(const Record& record, const std::string& terminal) {
    constexpr std::int32_t kFewPoints = 60;
    const Orbit orbit = OrbitOf(record);
    const LeftOutErrors errors = MeasureLeftOut(record);
    const bool anyError = std::any_of(errors.measured.begin(), errors.measured.end(),
                                      [](const LeftOutError& error) { return error.position > 0.0; });
    std::string script = "set terminal " + terminal + '\n' + std::string(kSettings) + orbit.blocks;
    if (anyError) script += ErrorBlock(record, errors);
    script += record.points <= kFewPoints ? "style = 'linespoints pt 7 ps 0.45'\n" : "style = 'lines'\n";
    script += "lastHour = " + Shortest(record.points > 1 ? record.SpanSeconds() / 3600.0 : 1.0) + '\n';
    script += "reach = " + Shortest(orbit.reach * 1.08) + "\nticStep = " + Shortest(TicStep(orbit.reach)) +
              "\nearthRadius = " + Shortest(kEarthRadius) + '\n';
    script += "set multiplot title \"" + Title(record) + "\" noenhanced font ',15' offset 0,-0.6\n";
    script += kRadiusPanel;
    script += kErrorPanel;
    script += anyError ? kErrorCurve : kNoErrorCurve;
    script += kOrbitPanels;
    return script + "unset multiplot\n";
}

void RunPlot(const PlotOptions& options, int& exitStatus) {
    const std::string terminal = Terminal(options.output);
    const LoadedFile file(options.file);
    const Record& record = Choose(file, options.choice);
    if (!IsCartesian(record.frame)) throw Failure(options.file + ": a record in latitude and longitude has no orbit");
    const std::string picture = RunGnuplot(Script(record, terminal));
    Output output(options.output);
    output.Write(picture);
    output.Finish();
    if (!file.Complete()) exitStatus = kExitFailure;
}

}  // namespace

void AddPlot(CLI::App& program, int& exitStatus) {
    auto options = std::make_shared<PlotOptions>();
    CLI::App* command = program.add_subcommand("plot", "Draw a record as SVG or PNG, with gnuplot");
    command->add_option("FILE", options->file, "Ephemeris file")->required()->type_name("");
    command->add_option("-o,--output", options->output, "The file to write, which ends in .svg or .png")
        ->required()
        ->type_name("OUT");
    AddChoice(*command, options->choice);
    command->footer(
        "Draws four panels: radius over time, the orbit in the x-y and the x-z plane of the record's frame with the\n"
        "Earth as a circle of 6378 km and a dot at the start, and the error of interpolation at left-out points over\n"
        "time (\"vectab check --help\" tells what that is). Needs gnuplot.\n\n"
        "Example: vectab plot orbit.e -o orbit.svg");
    command->callback([options, &exitStatus] { RunPlot(*options, exitStatus); });
}

}  // namespace Vectab
