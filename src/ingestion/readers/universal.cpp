// Universal: one header card, then a point a line, in fixed columns or separated by commas.
//
// Header card:
//   columns 30-39  satellite number        integer
//           40-49  coordinate word         its first five characters
//           50-53  "CSV " for the form with commas
//
// Fixed form:
//   columns  1-26  time                    date-time text
//           28-86  position, km            3 reals of 19 columns, a column between them
//           88-146 velocity, km/s          3 reals of 19 columns, a column between them
//
// With commas: a date-time text, a comma no later than column 27, then position and velocity: 6 free-form reals.
//
// Numbers that a line leaves out are zeros. Ends at the end of the file.
#include "ingestion/readers/reading.h"
#include "support/dates.h"
#include "support/text.h"

namespace VecTableCardReading {

constexpr Format kUniversalFormat = {CardType::kUniversal, "universal", "ReadVTUniversalVecTab",
                                     VEC_HOST_HOLDS_VELOCITIES, "VT_UNIVERSAL_VECTABLE_V"};

namespace {

constexpr std::size_t kDateWidth = 26;
constexpr RealField kState[] = {{28, 19, 0}, {48, 19, 0}, {68, 19, 0}, {88, 19, 0}, {108, 19, 0}, {128, 19, 0}};

// A date is tested before the numbers, so that a line that is bad in both ways shows its date.
void AddLine(const Reading& reading, const Line& line, std::string_view date, bool numbersRead,
             const StateValues& state) {
    const double time = VecTableSupport::Dtg2Ds50UTC(date);
    if (!(time > 0.0)) {
        SkipBadEphemPoint(reading.name, date);
    } else if (!numbersRead) {
        SkipBadEphemPoint(reading.name, line.Text());
    } else {
        AddOneEpPoint(MakePoint(time, state), reading.record);
    }
}

void ReadFixedLine(const Reading& reading, const Line& line) {
    StateValues state{};
    const bool read = ReadColumns(line, kState, state);
    AddLine(reading, line, line.Columns(1, kDateWidth), read, state);
}

void ReadCommaLine(const Reading& reading, const Line& line) {
    StateValues state{};
    const auto comma = line.Columns(1, kDateWidth + 1).find(',');
    if (comma == std::string_view::npos) {
        SkipBadEphemPoint(reading.name, "");
        return;
    }
    const bool read = VecTableSupport::ReadFreeForm(line.Columns(comma + 2, kLineLength), state) == ReadStatus::kOk;
    AddLine(reading, line, line.Columns(1, comma), read, state);
}

}  // namespace

void ReadVTUniversalVecTab(InputUnit& unit, const Line& line, VecTabRecord& record, std::int32_t& status) {
    const Reading reading(kUniversalFormat, unit, record, status);
    record.coordSys = Coord(line.Columns(40, 10));
    if (record.coordSys == VecTableTypes::kUnknownFrame) {
        Fail(reading, "Invalid coordinate system.");
        return;
    }
    record.satNum = VecTableSupport::StrToInt(line.Columns(30, 10));
    if (record.satNum == VecTableSupport::kNoInteger) {
        Fail(reading, "Invalid satellite number.");
        return;
    }
    const bool commas = line.Columns(50, 4) == "CSV ";
    Line next;
    ForEachGroup(reading, {&next, 1}, [&] {
        if (next.IsCommentOrBlank()) return true;
        if (commas) {
            ReadCommaLine(reading, next);
        } else {
            ReadFixedLine(reading, next);
        }
        return true;
    });
}

}  // namespace VecTableCardReading
