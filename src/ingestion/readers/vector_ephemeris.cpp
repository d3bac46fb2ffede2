// Vector ephemeris (ReadVecEph) and simulated observations (ReadSimObs): card images after one kind of header.
//
// Header line:
//   columns  1-22  ke                      real, 15 decimals
//           23-44  ae, km                  real, 15 decimals
//           46-60  epoch                   date text, 15
//
// Vector ephemeris, two lines a point:
//   1: columns 18-65  position, km         3 reals of 16 columns, 6 decimals
//              67-71  satellite number     integer, first point only
//              78-80  coordinate word      first point only
//   2: columns  3-17  time                 date text, 15
//              18-65  velocity, km/s       3 reals of 16 columns, 9 decimals
//
// Simulated observations, three lines a point:
//   1: columns  2-6   satellite number     integer, first point only
//               8-22  time                 date text, 15
//              23-29  revolution number    integer
//              76-78  coordinate word      first point only
//   2: columns  1-66  position, km         3 reals of 22 columns
//   3: columns  1-66  velocity, km/s       3 reals of 22 columns
//
// Groups of lines are counted blindly to the end of the file.
#include "ingestion/readers/reading.h"
#include "support/dates.h"

namespace VecTableCardReading {

constexpr Format kVecEphFormat = {CardType::kVecEph, "vector ephemeris", "ReadVecEph", VEC_HOST_HOLDS_VELOCITIES};

bool IsVecEphCard(std::string_view line) noexcept {
    return Column(line, 57) == '.' && (Holds(line, 75, "SP ") || Holds(line, 75, "GP "));
}

constexpr Format kSimObsFormat = {CardType::kSimObs, "simulated observations", "ReadSimObs", VEC_HOST_HOLDS_VELOCITIES};

bool IsSimObsCard(std::string_view line) noexcept {
    return Column(line, 57) == '.' && Holds(line, 75, "     Z");
}

namespace {

constexpr RealField kKe{1, 22, 15};
constexpr RealField kAe{23, 22, 15};
constexpr RealField kVecEphPosition[] = {{18, 16, 6}, {34, 16, 6}, {50, 16, 6}};
constexpr RealField kVecEphVelocity[] = {{18, 16, 9}, {34, 16, 9}, {50, 16, 9}};
constexpr RealField kSimObsVector[] = {{1, 22, 0}, {23, 22, 0}, {45, 22, 0}};

// A constant that cannot be read leaves the record's own.
void ReadDeckHeader(const Line& line, VecTabRecord& record) noexcept {
    ReadColumns(line, {&kKe, 1}, {&record.ke, 1});
    ReadColumns(line, {&kAe, 1}, {&record.ae, 1});
    record.epochDs50UTC = VecTableSupport::Date_In(line.Columns(46, 15));
}

// What the first point says of its satellite. False for a satellite number that is none, which costs the point, and for
// a coordinate word that is none, which costs the file.
bool ReadFirstPoint(const Reading& reading, const Line& line, std::string_view satNum, std::string_view word) noexcept {
    if (VecTableSupport::ReadIntegerField(satNum, reading.record.satNum) != ReadStatus::kOk) {
        SkipBadEphemPoint(reading.name, line.Text());
        return false;
    }
    reading.record.coordSys = Coord(word);
    if (reading.record.coordSys != VecTableTypes::kUnknownFrame) return true;
    FailOnLine(reading, line, "Invalid Coordinate system.");
    return false;
}

bool ReadVector(std::string_view reportedName, const Line& line, std::span<const RealField> fields,
                std::span<double> vector) noexcept {
    if (ReadColumns(line, fields, vector)) return true;
    SkipBadEphemPoint(reportedName, line.Text());
    return false;
}

}  // namespace

void ReadVecEph(InputUnit& unit, const Line& line, VecTabRecord& record, std::int32_t& status) {
    const Reading reading(kVecEphFormat, unit, record, status);
    ReadDeckHeader(line, record);
    std::array<Line, 2> lines;
    StateValues state{};
    const std::span values(state);
    bool first = true;
    ForEachGroup(reading, lines, [&] {
        const bool wasFirst = std::exchange(first, false);
        if (wasFirst && !ReadFirstPoint(reading, lines[0], lines[0].Columns(67, 5), lines[0].Columns(78, 3))) {
            return !reading.Failed();
        }
        const std::string_view date = lines[1].Columns(3, 15);
        double time = 0.0;
        if (ReadTime(date, reading.name, date, time) &&
            ReadVector("ReadVecEph-InvalidPosition", lines[0], kVecEphPosition, values.first(3)) &&
            ReadVector("ReadVecEph-InvalidVelocity", lines[1], kVecEphVelocity, values.last(3))) {
            AddOneEpPoint(MakePoint(time, state), record);
        }
        return true;
    });
}

void ReadSimObs(InputUnit& unit, const Line& line, VecTabRecord& record, std::int32_t& status) {
    const Reading reading(kSimObsFormat, unit, record, status);
    ReadDeckHeader(line, record);
    std::array<Line, 3> lines;
    StateValues state{};
    const std::span values(state);
    bool first = true;
    ForEachGroup(reading, lines, [&] {
        const bool wasFirst = std::exchange(first, false);
        if (wasFirst && !ReadFirstPoint(reading, lines[0], lines[0].Columns(2, 5), lines[0].Columns(76, 3))) {
            return !reading.Failed();
        }
        const std::string_view date = lines[0].Columns(8, 15);
        double time = 0.0;
        if (!ReadTime(date, reading.name, date, time)) return true;
        std::int32_t revNum = 0;
        if (VecTableSupport::ReadIntegerField(lines[0].Columns(23, 7), revNum) != ReadStatus::kOk) {
            SkipBadEphemPoint(reading.name, lines[0].Text());
            return true;
        }
        if (ReadVector(reading.name, lines[1], kSimObsVector, values.first(3)) &&
            ReadVector(reading.name, lines[2], kSimObsVector, values.last(3))) {
            VecTabPoint point = MakePoint(time, state);
            point.revNum = revNum;
            AddOneEpPoint(point, record);
        }
        return true;
    });
}

}  // namespace VecTableCardReading
