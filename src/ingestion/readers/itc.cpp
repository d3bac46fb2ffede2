// ITC: states with a full covariance.
//
// Header line:
//   columns   2-6    satellite number      integer
//            52-68   epoch                 date text, 17
//           107-111  "WOCOV" when the points have no covariance lines
//
// A point is one line without covariance, else four:
//   1: columns  4-18   time                date text, 15
//              19-66   position, km        3 reals of 16 columns, 6 decimals
//              67-114  velocity, km/s      3 reals of 16 columns, 9 decimals
//   2, 3, 4:           covariance terms    7 free-form reals each, in the packed order
//
// ECI. Groups of lines are counted blindly to the end of the file.
#include <algorithm>

#include "ingestion/readers/reading.h"
#include "support/dates.h"

namespace VecTableCardReading {

constexpr Format kItcFormat = {CardType::kItc, "ITC", "ReadITC",
                               VEC_HOST_HOLDS_VELOCITIES | VEC_HOST_HOLDS_COVARIANCES};

bool IsItcCard(std::string_view line) noexcept {
    return Column(line, 65) == '.' && Column(line, 29) == ' ' && Column(line, 51) == ' ' &&
           (Holds(line, 113, "SP") || Holds(line, 113, "GP"));
}

namespace {

constexpr RealField kState[] = {{19, 16, 6}, {35, 16, 6}, {51, 16, 6}, {67, 16, 9}, {83, 16, 9}, {99, 16, 9}};
constexpr std::size_t kTermsPerLine = 7;

using CovTerms = std::array<double, VecTableTypes::kCovTerms>;

bool ReadCovariance(const Reading& reading, std::span<const Line> lines, CovTerms& terms) noexcept {
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::span<double> row(terms.data() + i * kTermsPerLine, kTermsPerLine);
        if (VecTableSupport::ReadFreeForm(lines[i].Used(), row) == ReadStatus::kOk) continue;
        SkipBadEphemPoint(reading.name, lines[i].Text());
        return false;
    }
    return true;
}

}  // namespace

void ReadITC(InputUnit& unit, const Line& line, VecTabRecord& record, std::int32_t& status) {
    const Reading reading(kItcFormat, unit, record, status);
    record.epochDs50UTC = VecTableSupport::Date_In(line.Columns(52, 17));
    record.satNum = IntegerOr(line.Columns(2, 5), record.satNum);
    record.coordSys = VecTableTypes::kTeme;
    std::array<Line, 4> lines;
    const std::span<Line> group(lines.data(), line.Columns(107, 5) == "WOCOV" ? 1 : lines.size());
    StateValues state{};
    CovTerms terms{};
    ForEachGroup(reading, group, [&] {
        const std::string_view date = lines[0].Columns(4, 15);
        double time = 0.0;
        if (!ReadTime(date, reading.name, date, time)) return true;
        if (!ReadColumns(lines[0], kState, state)) {
            SkipBadEphemPoint(reading.name, lines[0].Text());
            return true;
        }
        terms.fill(0.0);
        if (!ReadCovariance(reading, group.subspan(1), terms)) return true;
        const bool hasCovariance = std::any_of(terms.begin(), terms.end(), [](double term) { return term != 0.0; });
        AddOneEpPoint(MakePoint(time, state), record, hasCovariance ? terms.data() : nullptr);
        return true;
    });
}

}  // namespace VecTableCardReading
