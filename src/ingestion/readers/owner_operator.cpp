// Owner-operator: bare data lines.
//
//   columns  1-15   time                   date text, 15
//           16-512  position, km, then velocity, km/s: 6 free-form reals
//
// J2000. The satellite number is the head of the file's name. Ends at the end of the file.
#include "ingestion/readers/reading.h"
#include "support/dates.h"

namespace VecTableCardReading {

void ReadOwner(std::string_view filePath, InputUnit& unit, const Line& line, VecTabRecord& record,
               std::int32_t& status) {
    const Reading reading("ReadOwner", unit, record, status);
    record.coordSys = VecTableTypes::kJ2k;
    record.epochDs50UTC = VecTableSupport::Date_In(line.Columns(1, 15));
    record.satNum = SatNumOfFileName(filePath);
    unit.Rewind();  // the card is the first data line
    Line next;
    StateValues state{};
    ForEachGroup(reading, {&next, 1}, [&] {
        double time = 0.0;
        if (next.IsCommentOrBlank() || !ReadTime(next.Columns(1, 15), reading.name, next.Text(), time)) return true;
        if (VecTableSupport::ReadFreeForm(next.Columns(16, kLineLength), state) == ReadStatus::kOk) {
            AddOneEpPoint(MakePoint(time, state), record);
        } else {
            SkipBadEphemPoint(reading.name, next.Text());
        }
        return true;
    });
}

}  // namespace VecTableCardReading
