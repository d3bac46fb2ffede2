// EELV: a launch in feet and seconds.
//
// The card line is the epoch: year (0 to 99 are 1957 to 2056), month, day, hour, minute, seconds, free form in
// columns 1 to 137. Then a point a line, free form:
//   1      time                 s from the epoch
//   2-4    position             feet
//   5-7    velocity             feet a second
//
// ECI. Ends at the end of the file.
#include "ingestion/readers/reading.h"
#include "support/dates.h"

namespace VecTableCardReading {
namespace {

constexpr std::size_t kEpochColumns = 137;
constexpr double kKilometersPerFoot = 0.0003048;

// A number without its fraction; -1, which is part of no date, where that is out of range.
std::int32_t WholeNumber(double number) noexcept {
    return number > -1.0 && number < 1e9 ? static_cast<std::int32_t>(number) : -1;
}

// Days since 1950; 0.0 when the card is no date.
double ReadEpoch(const Line& card) noexcept {
    std::array<double, 6> c{};
    if (VecTableSupport::ReadFreeForm(card.Columns(1, kEpochColumns), c) != ReadStatus::kOk) return 0.0;
    const std::int32_t year = c[0] < 0.0 ? -1 : VecTableSupport::FullYear(WholeNumber(c[0]));
    const std::int32_t dayOfYear = VecTableSupport::MmDd2Jul(year, WholeNumber(c[1]), WholeNumber(c[2]));
    return VecTableSupport::TComps2UTC(dayOfYear, WholeNumber(c[3]), WholeNumber(c[4]), c[5], year);
}

}  // namespace

void ReadEELV(InputUnit& unit, const Line& line, VecTabRecord& record, std::int32_t& status) {
    const Reading reading("ReadEELV", unit, record, status);
    const double refEpoch = ReadEpoch(line);
    if (refEpoch == 0.0) {
        FailOnLine(reading, line, "Invalid EELV first line.");
        return;
    }
    record.satNum = kUnknownSatNum;
    record.coordSys = VecTableTypes::kEci;
    Line next;
    TimedValues values{};
    ForEachGroup(reading, {&next, 1}, [&] {
        if (VecTableSupport::ReadFreeForm(next.Used(), values) == ReadStatus::kOk) {
            const double time = values[0] / VecTableSupport::kSecondsPerDay + refEpoch;
            AddOneEpPoint(MakePoint(time, std::span(values).subspan<1>(), kKilometersPerFoot), record);
        } else {
            SkipBadEphemPoint(reading.name, next.Text());
        }
        return true;
    });
}

}  // namespace VecTableCardReading
