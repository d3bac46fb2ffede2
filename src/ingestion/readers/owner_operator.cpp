// Owner-operator: bare data lines.
//
//   columns  1-15   time                   date text, 15
//           16-512  position, km, then velocity, km/s: 6 free-form reals
//
// J2000. The satellite number is the head of the file's name. Ends at the end of the file.
#include <algorithm>
#include <functional>

#include "ingestion/readers/reading.h"
#include "support/dates.h"

namespace VecTableCardReading {

constexpr Format kOwnerFormat = {CardType::kOwner, "owner-operator", "ReadOwner", VEC_HOST_HOLDS_VELOCITIES};

bool MayBeOwnerCard(std::string_view line) noexcept {
    return Column(line, 12) == '.' && Column(line, 16) == ' ';
}

bool IsOwnerOperatorFile(std::string_view line) noexcept {
    constexpr std::size_t kFields = 6;
    constexpr std::size_t kFirstRun = 15;  // index of column 16
    std::array<std::size_t, kFields> dots;
    std::size_t place = kFirstRun;
    for (std::size_t& dot : dots) {
        dot = place = line.find('.', place + 1);
        if (place == std::string_view::npos) return false;
    }

    // The last column of each run of blanks; the seventh run closes the sixth field.
    std::array<std::size_t, kFields> runs{kFirstRun};
    std::size_t run = 0;
    std::size_t column = kFirstRun + 1;
    for (; column < line.size(); ++column) {
        if (line[column] != ' ') continue;
        if (column != runs[run] + 1 && ++run == kFields) break;
        runs[run] = column;
    }
    if (column == line.size()) return false;
    return std::equal(runs.begin(), runs.end(), dots.begin(), std::less_equal<>());
}

void ReadOwner(std::string_view filePath, InputUnit& unit, const Line& line, VecTabRecord& record,
               std::int32_t& status) {
    const Reading reading(kOwnerFormat, unit, record, status);
    record.coordSys = VecTableTypes::kJ2k;
    record.epochDs50UTC = VecTableSupport::Date_In(line.Columns(1, 15));
    record.satNum = SatNumOfFileName(filePath);
    unit.Rewind();  // the card is the first data line
    Line next;
    StateValues state{};
    ForEachGroup(reading, {&next, 1}, [&] {
        double time = 0.0;
        if (next.IsCommentOrBlank() || !ReadTime(next.Columns(1, 15), reading.name, next.Text(), time)) return true;
        if (ReadNumbers(reading, next, next.Columns(16, kLineLength), state)) {
            AddOneEpPoint(MakePoint(time, state), record);
        }
        return true;
    });
}

}  // namespace VecTableCardReading
