// What the readers share: the loop over the lines of a file, fixed and free fields of a line, times, points, and the
// messages of failures.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>

#include "ingestion/point_assembly.h"
#include "ingestion/readers/readers.h"
#include "support/dates.h"
#include "support/number_fields.h"

namespace VecTableCardReading {

using VecTableSupport::ReadStatus;

// The satellite number of a file that gives none.
inline constexpr std::int32_t kUnknownSatNum = VEC_TAB_UNKNOWN_SAT_NUM;

// Position and velocity, in the units of the file; or a time in seconds and these.
using StateValues = std::array<double, 6>;
using TimedValues = std::array<double, 7>;

// A column of a line in upper case. Columns are counted from 1; those after the end of the line are blank.
inline char Column(std::string_view line, std::size_t column) noexcept {
    return column <= line.size() ? VecTableSupport::ToUpperCase(line[column - 1]) : ' ';
}

// Whether the columns from `column` on hold the text, given in upper case.
inline bool Holds(std::string_view line, std::size_t column, std::string_view text) noexcept {
    for (const char c : text) {
        if (Column(line, column++) != c) return false;
    }
    return true;
}

// One reader at work.
struct Reading {
    Reading(const Format& format, InputUnit& openUnit, VecTabRecord& workingRecord, std::int32_t& readerStatus) noexcept
        : name(format.reader), unit(openUnit), record(workingRecord), status(readerStatus) {
        record.format = format.name;
        status = 0;
    }

    bool Failed() const noexcept { return status != 0; }

    std::string_view name;  // in the messages of the log
    InputUnit& unit;
    VecTabRecord& record;
    std::int32_t& status;
};

// Ends a reader with "*** `name`: `message` ***" in the log.
void Fail(const Reading& reading, std::string_view message) noexcept;

// The same, after an entry with the line that is to blame.
void FailOnLine(const Reading& reading, const Line& line, std::string_view message) noexcept;

// Reports a line that a reader cannot use, in two entries of the log. Nothing stops.
VECTABLE_MODULE void SkipBadEphemPoint(std::string_view readerName, std::string_view badText) noexcept;

// Reads past lines; false when the file ends, or fails, within them.
bool SkipLines(InputUnit& unit, int count) noexcept;

// Reads all lines of a group. An error, or the end of the file, on any of them is that of the group.
ReadStatus ReadGroup(InputUnit& unit, std::span<Line> lines) noexcept;

// Gives a record with points the time of the first as its epoch.
void CloseRecord(VecTabRecord& record) noexcept;

// Hands group after group of lines to `use`, up to the end of the file or until `use` is false, and closes the record.
// A read error ends the reader.
template <typename Use>
void ForEachGroup(const Reading& reading, std::span<Line> lines, Use use) {
    ReadStatus read = ReadStatus::kOk;
    do {
        read = ReadGroup(reading.unit, lines);
    } while (read == ReadStatus::kOk && use());
    if (read == ReadStatus::kError) Fail(reading, "File read error.");
    CloseRecord(reading.record);
}

// A fixed real field: its first column, counted from 1, its width, and the decimals that it has without a point.
struct RealField {
    std::size_t column;
    std::size_t width;
    int decimals;
};

// Reads one value after the other, up to the first that is no number.
bool ReadColumns(const Line& line, std::span<const RealField> fields, std::span<double> values) noexcept;

// Reads free-form numbers of a line from a part of it. A line that fails is reported.
inline bool ReadNumbers(const Reading& reading, const Line& line, std::string_view part,
                        std::span<double> values) noexcept {
    if (VecTableSupport::ReadFreeForm(part, values) == ReadStatus::kOk) return true;
    SkipBadEphemPoint(reading.name, line.Text());
    return false;
}

// The integer in columns of a line, or `otherwise` where they hold none.
std::int32_t IntegerOr(std::string_view field, std::int32_t otherwise) noexcept;

// The time of a date text for Date_In. A text that is no date is reported as a bad line, with `badText` and under
// `reportedName`: false.
bool ReadTime(std::string_view date, std::string_view reportedName, std::string_view badText, double& ds50UTC) noexcept;

inline constexpr double kKilometersPerMeter = 0.001;

// The day of the count since 1950 that is day 0 of the two DCE formats: 1969-12-31.
inline constexpr double kDceDayZero = 7305.0;

// A point of position and velocity.
inline VecTabPoint MakePoint(double ds50UTC, std::span<const double, 6> state,
                             double kilometersPerUnit = 1.0) noexcept {
    VecTabPoint point;
    point.ds50UTC = ds50UTC;
    for (std::size_t i = 0; i < 3; ++i) {
        point.pos[i] = state[i] * kilometersPerUnit;
        point.vel[i] = state[i + 3] * kilometersPerUnit;
    }
    return point;
}

// A point of seconds from an epoch, in days since 1950, position and velocity.
inline VecTabPoint MakePoint(double epoch, const TimedValues& values, double kilometersPerUnit) noexcept {
    const double time = values[0] / VecTableSupport::kSecondsPerDay + epoch;
    return MakePoint(time, std::span(values).subspan<1>(), kilometersPerUnit);
}

// The satellite number that the first five characters of the file's name are, or kUnknownSatNum.
std::int32_t SatNumOfFileName(std::string_view filePath) noexcept;

// The code of the frame that a field names, in any letter case: a field of three characters as decks name it, any other
// field by its first five characters as the universal format does. kUnknownFrame for any other word.
VECTABLE_MODULE std::int32_t Coord(std::string_view text) noexcept;

}  // namespace VecTableCardReading
