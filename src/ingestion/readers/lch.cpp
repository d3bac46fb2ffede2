// LCH: dated states, each with a number more.
//
// Lines after the card:
//   1-4                not looked at
//   5     columns 44-48  satellite number    integer
//   6-9                not looked at
//
// Then a point a line:
//   columns  1-17   time                   date text
//           19-512  position, km, velocity, km/s, and one number: 7 free-form reals
//
// ECI. The number goes into term 1 of the covariance, beside the mark that says so. Ends at the end of the file.
#include "evaluation/hermite.h"
#include "ingestion/readers/reading.h"
#include "support/dates.h"

namespace VecTableCardReading {

constexpr Format kLchFormat = {CardType::kLch, "LCH", "ReadLCH", VEC_HOST_HOLDS_VELOCITIES,
                               "CLASSIFICATION:                 UNCLASSIFIED"};

namespace {

constexpr int kLinesAround = 4;  // before the satellite line, and after it
constexpr std::size_t kLoggedColumns = 128;

// An unreadable satellite number leaves the record's own. False when the file ends within the header.
bool ReadHeader(InputUnit& unit, VecTabRecord& record) noexcept {
    Line line;
    if (!SkipLines(unit, kLinesAround) || unit.ReadLine(line) != ReadStatus::kOk) return false;
    record.satNum = IntegerOr(line.Columns(44, 5), record.satNum);
    return SkipLines(unit, kLinesAround);
}

}  // namespace

void ReadLCH(InputUnit& unit, VecTabRecord& record, std::int32_t& status) {
    const Reading reading(kLchFormat, unit, record, status);
    record.coordSys = VecTableTypes::kTeme;
    if (!ReadHeader(unit, record)) {
        Fail(reading, "File read error.");
        return;
    }
    Line line;
    std::array<double, 7> values{};
    ForEachGroup(reading, {&line, 1}, [&] {
        if (line.IsCommentOrBlank()) return true;
        if (VecTableSupport::ReadFreeForm(line.Columns(19, kLineLength), values) != ReadStatus::kOk) {
            SkipBadEphemPoint(reading.name, line.Columns(1, kLoggedColumns));
            return true;
        }
        const double time = VecTableSupport::DateStr2Ds50(line.Columns(1, 17));
        VecTabPoint point = MakePoint(time, std::span(values).subspan<0, 6>());
        point.cov[0] = values[6];
        point.cov[1] = VecTableTypes::kScalarMark;
        AddOneEpPoint(point, record);
        return true;
    });
}

}  // namespace VecTableCardReading
