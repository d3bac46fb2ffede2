// DCE text: only the satellite number on the card line, then a point a line, free form:
//
//   1, 2   not used             integers
//   3      not used
//   4      time                 days, counted from a day 7305 days later than the count since 1950
//   5-7    position             km
//   8-10   velocity             km/s
//   11-14  not used
//
// ECI. A line with a bad value fails the file. Ends at a line with too few values, or at the end of the file.
#include <algorithm>

#include "ingestion/readers/reading.h"
#include "support/text.h"

namespace VecTableCardReading {

constexpr Format kDceTextFormat = {CardType::kDceText, "DCE text", "ReadDCEText",
                                   VEC_HOST_HOLDS_VELOCITIES | VEC_HOST_HOLDS_SEVERAL};

bool IsSatNumOnly(std::string_view line) noexcept {
    constexpr std::size_t kMostDigits = 9;
    if (line.empty() || !VecTableSupport::IsDigit(line.front())) return false;
    const std::size_t length = std::min(line.find_first_not_of("0123456789"), line.size());
    return length <= kMostDigits && std::none_of(line.begin() + length, line.end(), VecTableSupport::IsDigit);
}

namespace {

struct DceLine {
    std::array<std::int32_t, 2> integers{};
    std::array<double, 12> reals{};
};

ReadStatus ReadValues(const Line& line, DceLine& values) noexcept {
    VecTableSupport::FreeFormScanner scanner(line.Used());
    ReadStatus read = ReadStatus::kOk;
    for (std::size_t i = 0; i < values.integers.size() && read == ReadStatus::kOk; ++i) {
        read = scanner.Next(values.integers[i]);
    }
    for (std::size_t i = 0; i < values.reals.size() && read == ReadStatus::kOk; ++i) {
        read = scanner.Next(values.reals[i]);
    }
    return read;
}

}  // namespace

void ReadDCEText(InputUnit& unit, const Line& line, VecTabRecord& record, std::int32_t& status) {
    const Reading reading(kDceTextFormat, unit, record, status);
    record.satNum = VecTableSupport::StrToInt(line.Text());
    record.coordSys = VecTableTypes::kTeme;
    Line next;
    DceLine values;
    ForEachGroup(reading, {&next, 1}, [&] {
        const ReadStatus read = ReadValues(next, values);
        if (read == ReadStatus::kError) Fail(reading, "File read error.");
        if (read != ReadStatus::kOk) return false;
        AddOneEpPoint(MakePoint(values.reals[1] + kDceDayZero, std::span(values.reals).subspan<2, 6>()), record);
        return true;
    });
}

}  // namespace VecTableCardReading
