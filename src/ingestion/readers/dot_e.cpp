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
#include <array>

#include "ingestion/point_assembly.h"
#include "ingestion/readers/readers.h"
#include "ingestion/readers/reading.h"
#include "support/dates.h"
#include "support/text.h"

namespace VecTableCardReading {
namespace {

using VecTableSupport::FixedText;
using VecTableSupport::ReadStatus;
using VecTableSupport::TextBuilder;

constexpr std::string_view kReader = "ReadDotE";
constexpr double kKilometersPerMeter = 0.001;
constexpr std::size_t kEpochLength = 24;

// What the header says of the points.
struct DotEHeader {
    double refEpoch = 0.0;  // days since 1950, UTC
    bool hasEpochLine = false;
    bool inMeters = true;
    std::size_t valuesPerLine = 0;  // 0 until the line that ends the header
};

bool Has(std::string_view line, std::string_view text) noexcept {
    return line.find(text) != std::string_view::npos;
}

void ReadEpoch(std::string_view line, DotEHeader& header, std::int32_t& status) noexcept {
    header.hasEpochLine = true;
    const auto first = line.find_first_of("0123456789+-");
    if (first == std::string_view::npos) {
        FailReader(kReader, "Invalid epoch time.", status);
        return;
    }
    const FixedText<kEpochLength> date(line.substr(first));
    const bool oneDigitDay = date.View()[1] == ' ';
    TextBuilder<kEpochLength> text;
    text.Add(oneDigitDay ? "0" : "").Add(date.View());
    header.refEpoch = VecTableSupport::Dtg2Ds50UTC(text.Text().View());
}

void ReadCentralBody(std::string_view line, std::int32_t& status) noexcept {
    if (!Has(line, "Earth")) FailReader(kReader, "Invalid file. CentralBody is not Earth.", status);
}

void ReadFrame(std::string_view line, VecTabRecord& record, std::int32_t& status) noexcept {
    if (Has(line, "TEMEOfDate")) {
        record.coordSys = VecTableTypes::kEci;
    } else if (Has(line, "Fixed")) {
        record.coordSys = VecTableTypes::kEcr;
    } else if (Has(line, "ICRF")) {
        record.coordSys = VecTableTypes::kJ2k;
    } else if (!Has(line, "J2000")) {
        FailReader(kReader, "Invalid coordinate system. Only Fixed, J2000, and TEMEOfDate are supported.", status);
    }
}

void ReadUnit(std::string_view line, DotEHeader& header, std::int32_t& status) noexcept {
    if (Has(line, "Kilometers")) {
        header.inMeters = false;
    } else if (!Has(line, "Meters")) {
        FailReader(kReader, "Invalid distance unit. Only meters and kilometers are supported.", status);
    }
}

void ReadDataKind(std::string_view line, DotEHeader& header, std::int32_t& status) noexcept {
    if (Has(line, "PosVel")) {
        header.valuesPerLine = 7;
    } else if (Has(line, "Pos")) {
        header.valuesPerLine = 4;
    } else {
        FailReader(kReader, "Invalid ephem type. Only TimePos, PosVel, and PosVelAcc are supported.", status);
    }
}

void ReadHeaderLine(std::string_view line, DotEHeader& header, VecTabRecord& record, std::int32_t& status) noexcept {
    if (!header.hasEpochLine && Has(line, "ScenarioEpoch")) {
        ReadEpoch(line, header, status);
    } else if (Has(line, "CentralBody")) {
        ReadCentralBody(line, status);
    } else if (Has(line, "CoordinateSystem")) {
        ReadFrame(line, record, status);
    } else if (Has(line, "DistanceUnit")) {
        ReadUnit(line, header, status);
    } else if (Has(line, "EphemerisTime") || Has(line, "EphemerisEciTime")) {
        ReadDataKind(line, header, status);
    }
}

// Reads up to the line that ends the header, or the end of the file.
DotEHeader ReadHeader(InputUnit& unit, VecTabRecord& record, std::int32_t& status) {
    DotEHeader header;
    Line line;
    while (status == 0 && header.valuesPerLine == 0) {
        const ReadStatus read = unit.ReadLine(line);
        if (read == ReadStatus::kEndOfData) break;
        if (read == ReadStatus::kError) {
            FailReader(kReader, "File read error.", status);
        } else {
            ReadHeaderLine(line.Used(), header, record, status);
        }
    }
    if (status == 0 && header.refEpoch == 0.0) FailReader(kReader, "Unable to read reference epoch time.", status);
    return header;
}

// No number holds a "p", so that a data line is cleared by one look for that letter.
bool IsEndMark(std::string_view line) noexcept {
    return line.find('p') != std::string_view::npos && Has(line, "end Ephemeris");
}

VecTabPoint MakePoint(const std::array<double, 7>& values, const DotEHeader& header) noexcept {
    const double scale = header.inMeters ? kKilometersPerMeter : 1.0;
    VecTabPoint point;
    point.ds50UTC = values[0] / VecTableSupport::kSecondsPerDay + header.refEpoch;
    for (std::size_t i = 0; i < 3; ++i) {
        point.pos[i] = values[1 + i] * scale;
        point.vel[i] = values[4 + i] * scale;
    }
    return point;
}

void ReadPoints(InputUnit& unit, const DotEHeader& header, VecTabRecord& record, std::int32_t& status) {
    std::array<double, 7> values{};
    Line line;
    for (;;) {
        const ReadStatus read = unit.ReadLine(line);
        if (read == ReadStatus::kError) FailReader(kReader, "File read error.", status);
        if (read != ReadStatus::kOk) return;
        if (line.IsComment() || line.IsBlank()) continue;
        if (IsEndMark(line.Used())) return;
        if (VecTableSupport::ReadFreeForm(line.Used(), {values.data(), header.valuesPerLine}) != ReadStatus::kOk) {
            SkipBadEphemPoint(kReader, line.Text());
            continue;
        }
        AddOneEpPoint(MakePoint(values, header), record);
    }
}

}  // namespace

void ReadDotE(std::string_view filePath, InputUnit& unit, VecTabRecord& record, std::int32_t& status) {
    status = 0;
    record.coordSys = VecTableTypes::kJ2k;
    record.epochDs50UTC = 0.0;
    record.satNum = SatNumOfFileName(filePath);
    const DotEHeader header = ReadHeader(unit, record, status);
    if (status == 0 && header.valuesPerLine != 0) ReadPoints(unit, header, record, status);
    if (status == 0) CloseRecord(record);
}

}  // namespace VecTableCardReading
