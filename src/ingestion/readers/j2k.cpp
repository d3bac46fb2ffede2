// J2K: J2000 predictions.
//
//   columns  3-7    satellite number       integer, first line only
//           12-13   year                   two digits
//           15-17   day of the year
//           19-20   hour
//           22-23   minute
//           25-30   seconds
//           32-512  position, km, then velocity, km/s: 6 free-form reals
//
// Blanks in the time are zeros. Ends at the end of the file.
#include "ingestion/readers/reading.h"
#include "support/text.h"

namespace VecTableCardReading {

constexpr Format kJ2kFormat = {CardType::kJ2k, "J2K", "ReadJ2K", VEC_HOST_HOLDS_VELOCITIES,
                               " SPEPH PREDICTION EPHEMERIS"};

namespace {

// "YYDDDHHMMSS.SSS" of the pieces of the time.
VecTableSupport::FixedText<15> JoinTime(const Line& line) noexcept {
    VecTableSupport::TextBuilder<15> joined;
    joined.Add(line.Columns(12, 2)).Add(line.Columns(15, 3)).Add(line.Columns(19, 2));
    joined.Add(line.Columns(22, 2)).Add(line.Columns(25, 6));
    auto date = joined.Text();
    VecTableSupport::BlankToZeroChar(date.Data(), date.View().size());
    return date;
}

}  // namespace

void ReadJ2K(InputUnit& unit, VecTabRecord& record, std::int32_t& status) {
    const Reading reading(kJ2kFormat, unit, record, status);
    record.coordSys = VecTableTypes::kJ2k;
    Line line;
    StateValues state{};
    bool first = true;
    ForEachGroup(reading, {&line, 1}, [&] {
        if (std::exchange(first, false)) record.satNum = IntegerOr(line.Columns(3, 5), kUnknownSatNum);
        double time = 0.0;
        if (!ReadTime(JoinTime(line).View(), reading.name, line.Columns(12, 19), time)) return true;
        if (ReadNumbers(reading, line, line.Columns(32, kLineLength), state)) {
            AddOneEpPoint(MakePoint(time, state), record);
        }
        return true;
    });
}

}  // namespace VecTableCardReading
