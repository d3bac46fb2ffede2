// Dot-E: keyword-driven ephemeris text, its first line "stk.v." and a version.
//
//   ScenarioEpoch            DD Mon YYYY HH:MM:SS.fff    base of all times
//   CentralBody              Earth
//   CoordinateSystem         TEMEOfDate, Fixed, ICRF or J2000; J2000 without the line
//   DistanceUnit             Kilometers or Meters; Meters without the line
//   EphemerisTimePosVel      (or ...Pos, ...PosVelAcc) ends the header; then one point a line, free form:
//   seconds x y z vx vy vz   seconds from the epoch; lengths in the unit, velocities in the unit a second
//   end Ephemeris            the end mark; with another letter case it is a bad line
//
// Keywords count anywhere in a line, in exact letter case and any order. Ends at the end mark or the end of the file.
// The satellite number is the head of the file's name.
#include "ingestion/readers/reading.h"
#include "support/dates.h"
#include "support/text.h"

namespace VecTableCardReading {

constexpr Format kDotEFormat = {CardType::kDotE, "Dot-E", "ReadDotE",
                                VEC_HOST_HOLDS_VELOCITIES | VEC_HOST_HOLDS_SEVERAL, "STK.V"};

namespace {

using VecTableSupport::FixedText;
using VecTableSupport::TextBuilder;

constexpr std::size_t kEpochLength = 24;

// The word that leaves the frame as it is: J2000, where no line has named another.
constexpr std::string_view kUnchangedFrame = "J2000";

// What the header says of the points.
struct DotEHeader {
    double refEpoch = 0.0;  // days since 1950, UTC
    bool hasEpochLine = false;
    double kilometersPerUnit = kKilometersPerMeter;
    std::size_t valuesPerLine = 0;  // 0 until the line that ends the header
};

bool Has(std::string_view line, std::string_view text) noexcept {
    return line.find(text) != std::string_view::npos;
}

void ReadEpoch(const Reading& reading, std::string_view line, DotEHeader& header) noexcept {
    header.hasEpochLine = true;
    const auto first = line.find_first_of("0123456789+-");
    if (first == std::string_view::npos) {
        Fail(reading, "Invalid epoch time.");
        return;
    }
    const FixedText<kEpochLength> date(line.substr(first));
    const bool oneDigitDay = date.View()[1] == ' ';
    TextBuilder<kEpochLength> text;
    text.Add(oneDigitDay ? "0" : "").Add(date.View());
    header.refEpoch = VecTableSupport::Dtg2Ds50UTC(text.Text().View());
}

void ReadFrame(const Reading& reading, std::string_view line) noexcept {
    for (const VecTableTypes::Frame& frame : VecTableTypes::kFrames) {
        if (frame.dotE.empty() || !Has(line, frame.dotE)) continue;
        reading.record.coordSys = frame.code;
        return;
    }
    if (!Has(line, kUnchangedFrame)) {
        Fail(reading, "Invalid coordinate system. Only Fixed, J2000, and TEMEOfDate are supported.");
    }
}

void ReadDistanceUnit(const Reading& reading, std::string_view line, DotEHeader& header) noexcept {
    if (Has(line, "Kilometers")) {
        header.kilometersPerUnit = 1.0;
    } else if (!Has(line, "Meters")) {
        Fail(reading, "Invalid distance unit. Only meters and kilometers are supported.");
    }
}

void ReadDataKind(const Reading& reading, std::string_view line, DotEHeader& header) noexcept {
    if (Has(line, "PosVel")) {
        header.valuesPerLine = 7;
    } else if (Has(line, "Pos")) {
        header.valuesPerLine = 4;
    } else {
        Fail(reading, "Invalid ephem type. Only TimePos, PosVel, and PosVelAcc are supported.");
    }
}

void ReadHeaderLine(const Reading& reading, std::string_view line, DotEHeader& header) noexcept {
    if (!header.hasEpochLine && Has(line, "ScenarioEpoch")) {
        ReadEpoch(reading, line, header);
    } else if (Has(line, "CentralBody")) {
        if (!Has(line, "Earth")) Fail(reading, "Invalid file. CentralBody is not Earth.");
    } else if (Has(line, "CoordinateSystem")) {
        ReadFrame(reading, line);
    } else if (Has(line, "DistanceUnit")) {
        ReadDistanceUnit(reading, line, header);
    } else if (Has(line, "EphemerisTime") || Has(line, "EphemerisEciTime")) {
        ReadDataKind(reading, line, header);
    }
}

// Reads up to the line that ends the header, or the end of the file.
DotEHeader ReadHeader(const Reading& reading) {
    DotEHeader header;
    Line line;
    ForEachGroup(reading, {&line, 1}, [&] {
        ReadHeaderLine(reading, line.Used(), header);
        return !reading.Failed() && header.valuesPerLine == 0;
    });
    if (!reading.Failed() && header.refEpoch == 0.0) Fail(reading, "Unable to read reference epoch time.");
    return header;
}

// No number holds a "p", so that a data line is cleared by one look for that letter.
bool IsEndMark(std::string_view line) noexcept {
    return line.find('p') != std::string_view::npos && Has(line, "end Ephemeris");
}

void ReadPoints(const Reading& reading, const DotEHeader& header) {
    TimedValues values{};
    const std::span wanted = std::span<double>(values).first(header.valuesPerLine);
    Line line;
    ForEachGroup(reading, {&line, 1}, [&] {
        if (line.IsCommentOrBlank()) return true;
        if (IsEndMark(line.Used())) return false;
        if (ReadNumbers(reading, line, line.Used(), wanted)) {
            AddOneEpPoint(MakePoint(header.refEpoch, values, header.kilometersPerUnit), reading.record);
        }
        return true;
    });
}

}  // namespace

void ReadDotE(std::string_view filePath, InputUnit& unit, VecTabRecord& record, std::int32_t& status) {
    const Reading reading(kDotEFormat, unit, record, status);
    record.coordSys = VecTableTypes::kJ2k;
    record.epochDs50UTC = 0.0;
    record.satNum = SatNumOfFileName(filePath);
    const DotEHeader header = ReadHeader(reading);
    if (!reading.Failed() && header.valuesPerLine != 0) ReadPoints(reading, header);
}

}  // namespace VecTableCardReading
