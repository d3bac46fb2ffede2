#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "accuracy.h"
#include "commands.h"
#include "failure.h"
#include "gnuplot.h"
#include "options.h"
#include "output.h"
#include "tables.h"
#include "text.h"
#include "times.h"

namespace Vectab {
namespace {

struct PlotOptions {
    std::string file;
    std::string output;
    Choice choice;
    bool strict = false;
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
set linetype 3 lc rgb '#b9b9b9' lw 1.2
set linetype 4 lc rgb '#a9c1de' lw 1.8
)";

constexpr std::string_view kRadiusPanel = R"(set bmargin at screen 0.635; set tmargin at screen 0.855
set lmargin at screen 0.075; set rmargin at screen 0.49
set title 'Radius' offset 0,-0.4
set xlabel 'time since start (h)' offset 0,0.4
set ylabel 'radius (km)'
set xrange [0:lastHour]
plot $orbit using 1:(sqrt($2**2+$3**2+$4**2)) with @style lt 1
unset label 9
)";

constexpr std::string_view kErrorPanel = R"(set lmargin at screen 0.57; set rmargin at screen 0.975
set title 'Error in position'
set ylabel 'error (m)'
)";

constexpr std::string_view kErrorCurves = R"(set logscale y
set format y '10^{%T}'
set key at graph 0.99,0.98 right top vertical samplen 1.5 width -2 font ',9' textcolor rgb '#303030' opaque noautotitle
plot $leftout using 1:2 with @style lt 3 title 'at points left out', \
     $errors using 1:2 with @style lt 2 title 'between points, estimated'
unset key
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

// A panel has the whole orbit pale, the Earth over it, and over both the near half: the Earth hides what is behind it.
// `near` is given km towards the viewer, from the plane of the picture; the edge counts as near.
constexpr std::string_view kOrbitPanels = R"(unset object; unset arrow
near(depth) = depth > -60
dot = "with points pt variable ps 1 lc rgb '#c2502a'"
name = "with labels left offset 0.8,0.6 textcolor rgb '#c2502a' font ',9'"
earth = "with circles fillcolor rgb '#d5e4ee' fillstyle solid border lc rgb '#8fb0c4'"
set bmargin at screen 0.075; set tmargin at screen 0.525
set label 2 'Earth' at 0,0.5*earthRadius center textcolor rgb '#6f93a8' font ',9' front
set lmargin at screen 0.075; set rmargin at screen 0.49
set title 'Orbit in the x-y plane, from +z'
set xlabel 'x (km)'
set ylabel 'y (km)'
@rangesY
plot $orbit using 2:3 with @orbitStyle lt 4, '+' using (0):(0):(earthRadius) every ::0::0 @earth, \
     $orbit using (near($4) ? $2 : NaN):3 with @orbitStyle lt 1, \
     $start using 2:3:(near($4) ? 7 : 6) @dot, '' using 2:3:('start') @name
set lmargin at screen 0.57; set rmargin at screen 0.985
set title 'Orbit in the x-z plane, from -y'
set ylabel 'z (km)'
@rangesZ
plot $orbit using 2:4 with @orbitStyle lt 4, '+' using (0):(0):(earthRadius) every ::0::0 @earth, \
     $orbit using (near(-$3) ? $2 : NaN):4 with @orbitStyle lt 1, \
     $start using 2:4:(near(-$3) ? 7 : 6) @dot, '' using 2:4:('start') @name
)";

// The terminal of gnuplot that makes files with the extension of the path.
std::string Terminal(const std::string& path) {
    std::string extension = path.substr(std::min(path.rfind('.'), path.size()));
    for (char& c : extension) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    if (extension == ".svg") return "svg size 1200,900 font 'Helvetica,Arial,sans-serif,14' background rgb 'white'";
    if (extension == ".png") return "pngcairo size 1200,900 font 'Sans,11' background rgb 'white'";
    if (extension == ".pdf") return "pdfcairo size 12,9 font 'Sans,13' fontscale 0.62 background rgb 'white'";
    throw Failure("--output: must end in .svg, .png or .pdf: " + path, kExitUsage);
}

constexpr std::int32_t kMostDrawn = 20000;  // points of a curve

// Lines of gnuplot's data, a blank one where the curve has a gap. A wide table, or a long one of which not every point
// is drawn, has long steps without a gap.
class Curve {
  public:
    explicit Curve(const Table& table)
        : start_(table.record.start),
          before_(start_),
          longestStep_(
              std::max(kLongestStep, 3.0 * table.record.SpanSeconds() / std::min(table.record.points, kMostDrawn))),
          longSteps_(table.survey.longSteps) {}

    template <typename... Values>
    void Add(double ds50UTC, Values... values) {
        while (!longSteps_.empty() && longSteps_.front().from < before_) longSteps_ = longSteps_.subspan(1);
        const bool overLongStep = !longSteps_.empty() && longSteps_.front().to <= ds50UTC;
        if (overLongStep || (ds50UTC - before_) * kSecondsPerDay > longestStep_) text_ += '\n';
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
    std::span<const Gap> longSteps_;
    std::string text_;
};

// What the orbit takes up along an axis, the Earth with it.
struct Extent {
    double low = -kEarthRadius;  // km
    double high = kEarthRadius;

    void Add(double value) noexcept {
        low = std::min(low, value);
        high = std::max(high, value);
    }
    double Length() const noexcept { return high - low; }
};

// Whether gnuplot could not square its ends.
bool IsTooLong(const Extent& extent) noexcept {
    constexpr double kLongest = 1e100;  // km
    return !(extent.Length() < kLongest);
}

struct Orbit {
    std::string blocks;
    std::array<Extent, 3> extents;
};

void AddPosition(Curve& curve, const State& point) {
    curve.Add(point.ds50UTC, point.pos[0], point.pos[1], point.pos[2]);
}

// Hands every element of a short list to `draw`, and some 20,000 of a long one.
template <typename Element, typename Draw>
void ForEachDrawn(const std::vector<Element>& elements, const Draw& draw) {
    const std::size_t drawn = std::min(elements.size(), static_cast<std::size_t>(kMostDrawn));
    for (std::size_t i = 0; i < drawn; ++i) draw(elements[i * elements.size() / drawn]);
}

Orbit OrbitOf(const Table& table) {
    Curve curve(table);
    Orbit orbit;
    ForEachDrawn(table.survey.points, [&](const State& point) {
        AddPosition(curve, point);
        for (std::size_t axis = 0; axis < 3; ++axis) orbit.extents[axis].Add(point.pos[axis]);
    });
    Curve start(table);
    AddPosition(start, table.survey.points.front());
    orbit.blocks = curve.Block("orbit") + start.Block("start");
    return orbit;
}

// The blocks of both error curves; empty when none has anything to draw on a logarithmic axis.
std::string ErrorBlocks(const Table& table) {
    const ErrorEstimate estimate = EstimateErrors(table.record, table.survey);
    std::vector<ErrorBetween> between = estimate.inner;
    between.insert(between.end(), estimate.ends.begin(), estimate.ends.end());
    std::ranges::sort(between, {}, &ErrorBetween::ds50UTC);
    if (!(estimate.LargestPosition() > 0.0)) return {};
    Curve errors(table), leftOut(table);
    for (const ErrorBetween& error : between) errors.Add(error.ds50UTC, error.position);
    ForEachDrawn(table.survey.leftOut, [&](const LeftOut& point) { leftOut.Add(point.ds50UTC, point.position); });
    return errors.Block("errors") + leftOut.Block("leftout");
}

// Bands over the holes and long steps, and a line at each spike, in the panels over time.
std::string Marks(const Table& table) {
    constexpr std::size_t kMostMarks = 200;
    const auto hours = [&](double ds50UTC) { return Shortest((ds50UTC - table.record.start) * kHoursPerDay); };
    std::vector<Gap> gaps = table.survey.holes;
    gaps.insert(gaps.end(), table.survey.longSteps.begin(), table.survey.longSteps.end());
    gaps.resize(std::min(gaps.size(), kMostMarks));
    std::string script;
    for (const Gap& gap : gaps) {
        script += "set object rectangle from " + hours(gap.from) + ", graph 0 to " + hours(gap.to) +
                  ", graph 1 behind fillcolor rgb '#f7dfd6' fillstyle solid noborder\n";
    }
    for (std::size_t i = 0; i < std::min(table.survey.spikes.size(), kMostMarks); ++i) {
        const std::string hour = hours(table.survey.spikes[i].ds50UTC);
        script.append("set arrow from ").append(hour).append(", graph 0 to ").append(hour);
        script.append(", graph 1 nohead dashtype 2 lc rgb '#c2502a'\n");
    }
    return script;
}

// A round number, of which two to six make up the width of an orbit panel.
double TicStep(double width) {
    const double decade = std::pow(10.0, std::floor(std::log10(width / 2.0)));
    const double leading = width / 2.0 / decade;
    if (leading < 1.5) return decade * 0.5;
    if (leading < 3.0) return decade;
    return leading < 6.0 ? decade * 2.0 : decade * 5.0;
}

// A macro with the ranges of a panel: both axes have the same scale, in which the orbit fills the panel.
std::string Ranges(const std::string& name, const Extent& across, const Extent& up) {
    constexpr double kWidth = 498.0, kHeight = 405.0;  // of a panel, in a picture of 1200 by 900
    constexpr double kMargin = 1.08;
    const double scale = kMargin * std::max(across.Length() / kWidth, up.Length() / kHeight);
    const auto range = [&](const Extent& extent, double size) {
        const double middle = (extent.low + extent.high) / 2.0;
        return "range [" + Shortest(middle - scale * size / 2.0) + ':' + Shortest(middle + scale * size / 2.0) + "]; ";
    };
    const std::string step = Shortest(TicStep(scale * kWidth));
    return name + " = \"set x" + range(across, kWidth) + "set y" + range(up, kHeight) + "set xtics " + step +
           "; set ytics " + step + "\"\n";
}

std::string Title(const Record& record) {
    return "Satellite " + std::to_string(record.satNum) + ", frame " + FrameName(record.frame) + "\\n" +
           FormatUtc(record.start, ' ', 0) + " to " + FormatUtc(record.end, ' ', 0) + " UTC, " +
           Counted(static_cast<std::size_t>(record.points), "point");
}

std::string Script(const Table& table, const std::string& terminal) {
    constexpr std::int32_t kFewPoints = 60;
    const Record& record = table.record;
    const Orbit orbit = OrbitOf(table);
    if (std::ranges::any_of(orbit.extents, IsTooLong)) {
        throw Failure(table.file.Label(record) + ": its positions are too large to be drawn");
    }
    const std::string errors = ErrorBlocks(table);
    std::string script = "set terminal " + terminal + '\n' + std::string(kSettings) + orbit.blocks + errors;
    script += record.points <= kFewPoints ? "style = 'linespoints pt 7 ps 0.45'\n" : "style = 'lines'\n";
    // Lines between points that are left out would cut across the orbit.
    script += record.points > kMostDrawn ? "orbitStyle = 'dots'\n" : "orbitStyle = style\n";
    script += "lastHour = " + Shortest(record.points > 1 ? record.SpanSeconds() / 3600.0 : 1.0) + '\n';
    const auto& [x, y, z] = orbit.extents;
    script += Ranges("rangesY", x, y) + Ranges("rangesZ", x, z);
    script += "earthRadius = " + Shortest(kEarthRadius) + '\n';
    script += "set multiplot title \"" + Title(record) + "\" noenhanced font ',15' offset 0,-0.6\n";
    if (!table.notes.empty()) {
        script += "set label 9 \"" + Listed(table.notes) +
                  "\" at screen 0.5,0.912 center noenhanced textcolor rgb '#c2502a'\n";
    }
    script += Marks(table);
    script += kRadiusPanel;
    script += kErrorPanel;
    script += errors.empty() ? kNoErrorCurve : kErrorCurves;
    script += kOrbitPanels;
    return script + "unset multiplot\n";
}

void RunPlot(const PlotOptions& options, int& exitStatus) {
    const std::string terminal = Terminal(options.output);
    const LoadedFile file(options.file);
    RefuseInput(options.output, options.file);
    const Record& record = Choose(file, options.choice);
    if (!IsCartesian(record.frame)) throw Failure(options.file + ": a record in latitude and longitude has no orbit");
    const Table table(file, record);
    table.Warn();
    const std::string picture = RunGnuplot(Script(table, terminal));
    Output output(options.output);
    output.Write(picture);
    output.Finish();
    if (!file.Complete() || (options.strict && !table.notes.empty())) exitStatus = kExitFailure;
}

}  // namespace

void AddPlot(CLI::App& program, int& exitStatus) {
    auto options = std::make_shared<PlotOptions>();
    CLI::App* command = program.add_subcommand("plot", "Draw a record as SVG, PNG or PDF, with gnuplot");
    command->add_option("FILE", options->file, "Ephemeris file; - is standard input")->required()->type_name("");
    command->add_option("-o,--output", options->output, "The file to write, which ends in .svg, .png or .pdf")
        ->required()
        ->type_name("OUT");
    command->add_flag("--strict", options->strict, "Exit status 1 when there is a warning on the table");
    AddChoice(*command, options->choice);
    command->footer(
        "Draws four panels: radius over time, the errors that check prints over time, and the orbit in the x-y and\n"
        "the x-z plane of the record's frame, with the Earth as a disc of 6378 km that hides what is behind it and a\n"
        "dot at the start. The far half of the orbit is pale. Holes and long steps are shaded, a dashed line marks\n"
        "each spike (\"vectab info --help\" tells what they are), and the notes stand below the title. Needs "
        "gnuplot.\n\n"
        "Example: vectab plot orbit.e -o orbit.svg");
    command->callback([options, &exitStatus] { RunPlot(*options, exitStatus); });
}

}  // namespace Vectab
