// Launch: a trajectory in metres and seconds, counted from the start of the day on the computer's clock.
//
// 16 lines after the card are not looked at. Then records in free form, each from the start of a line on, over as many
// lines as it takes:
//   1      time                 s
//   2-4    not used
//   5-7    position             m
//   8-10   velocity             m/s
//   11-15  not used
//   16     one word, not used
//
// ECR. A record with a bad value fails the file. Ends at the end of the file.
#include "ingestion/readers/reading.h"
#include "support/dates.h"

namespace VecTableCardReading {

constexpr Format kLaunchFormat = {CardType::kLaunch, "launch", "ReadLaunchFormat", VEC_HOST_HOLDS_VELOCITIES,
                                  "TIME(SEC): TIME"};

namespace {

constexpr int kHeaderLines = 16;
constexpr std::size_t kNumbers = 15;
constexpr std::size_t kFirstOfState = 4;

using LaunchValues = std::array<double, kNumbers>;

// The start of the current day, days since 1950.
double StartOfToday() noexcept {
    const auto [year, month, day] = VecTableSupport::ClockDate();
    double ds50UTC = 0.0;
    VecTableSupport::ClockA(VecTableSupport::MmDd2Jul(year, month, day), year, ds50UTC);
    return ds50UTC;
}

// Reads from the line given on, and further lines as long as values are missing.
ReadStatus ReadRecord(InputUnit& unit, Line& line, LaunchValues& values) noexcept {
    VecTableSupport::FreeFormScanner scanner(line.Used());
    for (std::size_t i = 0; i <= kNumbers;) {
        const ReadStatus read = i < kNumbers ? scanner.Next(values[i]) : scanner.SkipWord();
        if (read == ReadStatus::kError) return read;
        if (read == ReadStatus::kOk) {
            ++i;
            continue;
        }
        const ReadStatus readLine = unit.ReadLine(line);
        if (readLine != ReadStatus::kOk) return readLine;
        scanner.GoOn(line.Used());
    }
    return ReadStatus::kOk;
}

}  // namespace

void ReadLaunchFormat(InputUnit& unit, VecTabRecord& record, std::int32_t& status) {
    const Reading reading(kLaunchFormat, unit, record, status);
    record.coordSys = VecTableTypes::kEcr;
    record.satNum = kUnknownSatNum;
    if (!SkipLines(unit, kHeaderLines)) {
        Fail(reading, "File read error.");
        return;
    }
    const double refEpoch = StartOfToday();
    LaunchValues values{};
    Line line;
    ForEachGroup(reading, {&line, 1}, [&] {
        const ReadStatus read = ReadRecord(unit, line, values);
        if (read == ReadStatus::kError) Fail(reading, "File read error.");
        if (read != ReadStatus::kOk) return false;
        const double time = values[0] / VecTableSupport::kSecondsPerDay + refEpoch;
        AddOneEpPoint(MakePoint(time, std::span(values).subspan<kFirstOfState, 6>(), kKilometersPerMeter), record);
        return true;
    });
}

}  // namespace VecTableCardReading
