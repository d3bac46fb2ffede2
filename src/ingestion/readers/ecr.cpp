// ECR: Earth-fixed states after a header of fixed length.
//
// Lines after the card:
//   1     columns 1-5  satellite number    integer
//   2-7                not looked at
//   8     columns 1-56 the title of the columns, which tells position only from position and velocity
//   9, and in the layout with velocity 10: not looked at
//
// A point is one line with position only, else two:
//   1: columns  1-15   time                date text, 15
//              17-512  position, km        3 free-form reals
//   2: columns 17-512  velocity, km/s      3 free-form reals
//
// Ends at the end of the file, and after a line with too few numbers.
#include "ingestion/readers/reading.h"

namespace VecTableCardReading {

constexpr Format kEcrFormat = {CardType::kEcr, "ECR", "ReadECR", VEC_HOST_HOLDS_VELOCITIES,
                               "CLASSIFICATION: UNCLASSIFIED"};

namespace {

constexpr std::string_view kPositionTitle = "YYDDDHHMMSS.SSS      X(KM)          Y(KM)          Z(KM)";

// Three reals from column 17 on. A line that fails is reported.
ReadStatus ReadVector(const Reading& reading, const Line& line, std::span<double> vector) noexcept {
    const ReadStatus read = VecTableSupport::ReadFreeForm(line.Columns(17, kLineLength), vector);
    if (read != ReadStatus::kOk) SkipBadEphemPoint(reading.name, line.Text());
    return read;
}

}  // namespace

void ReadECR(InputUnit& unit, VecTabRecord& record, std::int32_t& status) {
    const Reading reading(kEcrFormat, unit, record, status);
    std::array<Line, 2> lines;
    unit.ReadLine(lines[0]);
    record.satNum = IntegerOr(lines[0].Columns(1, 5), kUnknownSatNum);
    record.coordSys = VecTableTypes::kEcr;
    SkipLines(unit, 6);
    unit.ReadLine(lines[0]);
    const bool positionOnly = lines[0].Columns(1, kPositionTitle.size()) == kPositionTitle;
    SkipLines(unit, positionOnly ? 1 : 2);

    StateValues state{};
    const std::span values(state);
    bool tooFew = false;  // numbers in a line: the pass after it is the last, and its lines are lost
    ForEachGroup(reading, {lines.data(), positionOnly ? 1U : 2U}, [&] {
        if (tooFew) return false;
        const std::string_view date = lines[0].Columns(1, 15);
        double time = 0.0;
        if (!ReadTime(date, reading.name, date, time)) return true;
        ReadStatus read = ReadVector(reading, lines[0], values.first(3));
        if (read == ReadStatus::kOk && !positionOnly) read = ReadVector(reading, lines[1], values.last(3));
        if (read == ReadStatus::kOk) AddOneEpPoint(MakePoint(time, state), record);
        tooFew = read == ReadStatus::kEndOfData;
        return true;
    });
}

}  // namespace VecTableCardReading
