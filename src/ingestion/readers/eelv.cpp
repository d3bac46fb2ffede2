// EELV: a launch in feet and seconds.
//
// The card line is the epoch: year (0 to 99 are 1957 to 2056), month, day, hour, minute, seconds, free form in
// columns 1 to 137. Then a point a line, free form:
//   1      time                 s from the epoch
//   2-4    position             feet
//   5-7    velocity             feet a second
//
// ECI. Ends at the end of the file.
#include <algorithm>

#include "ingestion/readers/reading.h"
#include "support/dates.h"

namespace VecTableCardReading {

constexpr Format kEelvFormat = {CardType::kEelv, "EELV", "ReadEELV", VEC_HOST_HOLDS_VELOCITIES};

bool IsEelvCard(std::string_view line) noexcept {
    constexpr std::array<std::size_t, 6> kPoints = {2, 25, 48, 71, 94, 117};
    return std::all_of(kPoints.begin(), kPoints.end(), [&](std::size_t column) { return Column(line, column) == '.'; });
}

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
    const Reading reading(kEelvFormat, unit, record, status);
    const double refEpoch = ReadEpoch(line);
    if (refEpoch == 0.0) {
        FailOnLine(reading, line, "Invalid EELV first line.");
        return;
    }
    record.satNum = kUnknownSatNum;
    record.coordSys = VecTableTypes::kTeme;
    Line next;
    TimedValues values{};
    ForEachGroup(reading, {&next, 1}, [&] {
        if (ReadNumbers(reading, next, next.Used(), values)) {
            AddOneEpPoint(MakePoint(refEpoch, values, kKilometersPerFoot), record);
        }
        return true;
    });
}

}  // namespace VecTableCardReading
