#include <vectable/vectable.h>

#include <algorithm>
#include <cmath>
#include <optional>

#include "text.h"
#include "times.h"
#include "writers.h"

namespace Vectab {
namespace {

std::string FrameKeyword(std::int32_t frame) {
    if (frame == VEC_TAB_FRAME_ECI) return "TEMEOfDate";
    if (frame == VEC_TAB_FRAME_J2K) return "J2000";
    return frame == VEC_TAB_FRAME_ECR ? "Fixed" : "";
}

// The midnight before the first point; its text is one that the format reads.
double EpochOf(const Record& record) noexcept {
    return std::floor(record.start);
}

std::string EpochText(double epoch) {
    constexpr const char* kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";
    const std::string date = FormatUtc(epoch, ' ', 3);  // "2026-03-01 00:00:00.000"
    const auto month = static_cast<std::size_t>(std::stoi(date.substr(5, 2)) - 1);
    return date.substr(8, 2) + ' ' + std::string(kMonths).substr(3 * month, 3) + ' ' + date.substr(0, 4) +
           date.substr(10);
}

// The seconds that, over 86400 and with the epoch, give exactly the time, if any do; with few decimals where those do.
std::optional<double> SecondsOf(double ds50UTC, double epoch) noexcept {
    const double seconds = (ds50UTC - epoch) * kSecondsPerDay;
    const auto exact = [&](double tried) { return !(std::fabs(tried / kSecondsPerDay + epoch - ds50UTC) > 0.0); };
    for (const double ticks : {1e3, 1e6, 1e9}) {
        const double rounded = std::round(seconds * ticks) / ticks;
        if (exact(rounded)) return rounded;
    }
    double below = seconds, above = seconds;
    for (int i = 0; i < 8 && !exact(below) && !exact(above); ++i) {
        below = std::nextafter(below, -HUGE_VAL);
        above = std::nextafter(above, HUGE_VAL);
    }
    if (exact(below)) return below;
    return exact(above) ? std::optional(above) : std::nullopt;
}

std::string Refusal(const Table& table) {
    if (FrameKeyword(table.record.frame).empty()) return "Dot-E has no frame " + FrameName(table.record.frame);
    const double epoch = EpochOf(table.record);
    return ReadDate(FormatUtc(epoch, ' ', 3)) == epoch ? "" : "Dot-E cannot hold its times";
}

bool HoldsTime(const Table& table, double ds50UTC) {
    return SecondsOf(ds50UTC, EpochOf(table.record)).has_value();
}

std::vector<std::string> Losses(const Table& table, const std::string& out) {
    std::vector<std::string> losses;
    const std::string head = out.substr(std::min(out.rfind('/') + 1, out.size())).substr(0, 5);
    if (head != std::to_string(table.record.satNum)) losses.emplace_back("satellite numbers");
    if (!table.record.name.empty()) losses.emplace_back("names");
    if (table.survey.withCovariance > 0) losses.emplace_back("covariances");
    if (table.survey.withScalar > 0) losses.emplace_back("the single number of each point");
    if (AnyRevolution(table.survey)) losses.emplace_back("revolution numbers");
    return losses;
}

void WriteHead(Output& /*output*/) {}

void WriteTable(Output& output, const Table& table, const Answers& answers) {
    const double epoch = EpochOf(table.record);
    const bool velocities = table.survey.HasVelocities();
    output.Write("stk.v.12.0\n\nBEGIN Ephemeris\n\nNumberOfEphemerisPoints  " + std::to_string(answers.count) +
                 "\nScenarioEpoch            " + EpochText(epoch) +
                 "\nCentralBody              Earth\nCoordinateSystem         " + FrameKeyword(table.record.frame) +
                 "\nDistanceUnit             Kilometers\n\n" +
                 (velocities ? "EphemerisTimePosVel\n\n" : "EphemerisTimePos\n\n"));
    answers.forEach([&](const Answer& answer) {
        std::string line = Shortest(*SecondsOf(answer.state.ds50UTC, epoch));
        for (const double component : answer.state.pos) line += ' ' + Shortest(component);
        for (std::size_t i = 0; velocities && i < 3; ++i) line += ' ' + Shortest(answer.state.vel[i]);
        output.Write(line + '\n');
    });
    output.Write("\nend Ephemeris\n");
}

}  // namespace

const Writer kDotEWriter = {"dot-e", ".e", Refusal, HoldsTime, Losses, WriteHead, WriteTable};

}  // namespace Vectab
