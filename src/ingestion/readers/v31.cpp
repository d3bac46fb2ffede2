// V31: a report of one satellite, its data in blocks between fences.
//
// Title line:
//   columns 30-34  satellite number        integer
//
// Header text, up to a fence of 48 "=", or 48 "Z" that end the ephemeris; of its lines only this one counts:
//   columns  1-14  "Propagation by"
//           66-68  frame                   "ECI" or "EFG"
//
// Data lines, up to a fence of 48 "E":
//   columns  1-15  time                    date text, 15
//           16-72  position, km            3 reals of 19 columns, 8 decimals
//           73-129 velocity, m/s           3 reals of 19 columns, 8 decimals
//
// Letter case counts. Ends at the end mark or the end of the file.
#include "ingestion/readers/reading.h"

namespace VecTableCardReading {

constexpr Format kV31Format = {CardType::kV31, "V31", "ReadV31", VEC_HOST_HOLDS_VELOCITIES | VEC_HOST_HOLDS_SEVERAL,
                               "EPHEMERIS FILE FOR SATELLITE"};

namespace {

constexpr RealField kState[] = {{16, 19, 8}, {35, 19, 8}, {54, 19, 8}, {73, 19, 8}, {92, 19, 8}, {111, 19, 8}};
constexpr std::size_t kFenceLength = 48;

bool IsFence(const Line& line, char mark) noexcept {
    return line.Columns(1, kFenceLength).find_first_not_of(mark) == std::string_view::npos;
}

void ReadFrame(const Reading& reading, const Line& line) noexcept {
    const std::int32_t frame = FrameCode(&VecTableTypes::Frame::v31, line.Columns(66, 3));
    if (frame == VecTableTypes::kUnknownFrame) return FailOnLine(reading, line, "Unrecognized Coordinates.");
    reading.record.coordSys = frame;
}

void ReadPoint(const Reading& reading, const Line& line, StateValues& state) {
    const std::string_view date = line.Columns(1, 15);
    double time = 0.0;
    if (!ReadTime(date, "ReadV31-Invalid ephemeris time format", date, time)) return;
    if (!ReadColumns(line, kState, state)) {
        SkipBadEphemPoint(reading.name, line.Columns(16, kLineLength));
        return;
    }
    VecTabPoint point = MakePoint(time, state);
    for (double& v : point.vel) v *= kKilometersPerMeter;
    AddOneEpPoint(point, reading.record);
}

}  // namespace

void ReadV31(InputUnit& unit, const Line& line, VecTabRecord& record, std::int32_t& status) {
    const Reading reading(kV31Format, unit, record, status);
    if (VecTableSupport::ReadIntegerField(line.Columns(30, 5), record.satNum) != ReadStatus::kOk) {
        FailOnLine(reading, line, "Invalid satellite number.");
        return;
    }
    Line next;
    StateValues state{};
    bool inData = false;
    ForEachGroup(reading, {&next, 1}, [&] {
        if (inData) {
            inData = !IsFence(next, 'E');
            if (inData && !next.IsCommentOrBlank()) ReadPoint(reading, next, state);
            return true;
        }
        if (IsFence(next, 'Z')) return false;
        if (next.Columns(1, 14) == "Propagation by") ReadFrame(reading, next);
        inData = IsFence(next, '=');
        return !reading.Failed();
    });
}

}  // namespace VecTableCardReading
