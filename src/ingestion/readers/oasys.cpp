// OASYS: dated states among other text, read from the top of the file.
//
//   columns 10-20   "Spacecraft:"          a line that names the satellite
//           21-512  satellite number
//
//   columns  5, 8   "/"                    a line of data
//           14, 17  ":"
//            1-23   time                   date-time text
//           25-512  position, km, then velocity, km/s: 6 free-form reals
//
// J2000. The satellite number is the head of the file's name, unless a line names it. Ends at the end of the file.
#include "ingestion/readers/reading.h"
#include "support/dates.h"
#include "support/text.h"

namespace VecTableCardReading {

constexpr Format kOasysFormat = {CardType::kOasys, "OASYS", "ReadOASYS", VEC_HOST_HOLDS_VELOCITIES};

bool IsOasysCard(std::string_view line) noexcept {
    if (Holds(line, 13, "VERSION:")) return true;
    return Column(line, 5) == '/' && Column(line, 8) == '/' && Column(line, 14) == ':' && Column(line, 17) == ':' &&
           Column(line, 20) == '.';
}

namespace {

bool IsDataLine(const Line& line) noexcept {
    const std::string_view text = line.Text();
    return text[4] == '/' && text[7] == '/' && text[13] == ':' && text[16] == ':';
}

}  // namespace

void ReadOASYS(std::string_view filePath, InputUnit& unit, VecTabRecord& record, std::int32_t& status) {
    const Reading reading(kOasysFormat, unit, record, status);
    record.coordSys = VecTableTypes::kJ2k;
    record.satNum = SatNumOfFileName(filePath);
    unit.Rewind();
    Line line;
    StateValues state{};
    ForEachGroup(reading, {&line, 1}, [&] {
        if (line.IsCommentOrBlank()) return true;
        if (line.Columns(10, 11) == "Spacecraft:")
            record.satNum = VecTableSupport::StrToInt(line.Columns(21, kLineLength));
        if (!IsDataLine(line)) return true;
        if (ReadNumbers(reading, line, line.Columns(25, kLineLength), state)) {
            AddOneEpPoint(MakePoint(VecTableSupport::Dtg2Ds50UTC(line.Columns(1, 23)), state), record);
        }
        return true;
    });
}

}  // namespace VecTableCardReading
