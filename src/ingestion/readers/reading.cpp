#include "ingestion/readers/reading.h"

#include "support/dates.h"
#include "support/text.h"
#include "support/trace_log.h"

namespace VecTableCardReading {

using VecTableSupport::FixedText;

void Fail(const Reading& reading, std::string_view message) noexcept {
    VecTableSupport::TextBuilder<128> text;
    text.Add("*** ").Add(reading.name).Add(": ").Add(message).Add(" ***");
    VecTableSupport::TraceLogError(text.Written());
    reading.status = 2;
}

void FailOnLine(const Reading& reading, const Line& line, std::string_view message) noexcept {
    VecTableSupport::TraceLogError(line.Text());
    Fail(reading, message);
}

void SkipBadEphemPoint(std::string_view readerName, std::string_view badText) noexcept {
    if (!VecTableSupport::TraceIsWanted(VecTableSupport::kTraceError)) return;
    VecTableSupport::TextBuilder<128> text;
    text.Add("*** ").Add(readerName).Add(" : Bad ephemeris data. ***");
    VecTableSupport::TraceLogSkippedLine(text.Written(), badText);
}

bool SkipLines(InputUnit& unit, int count) noexcept {
    std::string_view line;
    while (count > 0 && unit.NextLine(line) == ReadStatus::kOk) --count;
    return count == 0;
}

ReadStatus ReadGroup(InputUnit& unit, std::span<Line> lines) noexcept {
    for (Line& line : lines) {
        const ReadStatus read = unit.ReadLine(line);
        if (read != ReadStatus::kOk) return read;
    }
    return ReadStatus::kOk;
}

void CloseRecord(VecTabRecord& record) noexcept {
    if (record.numOfPts >= 1) record.epochDs50UTC = record.points[1].ds50UTC;
}

bool ReadColumns(const Line& line, std::span<const RealField> fields, std::span<double> values) noexcept {
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const auto [column, width, decimals] = fields[i];
        const ReadStatus read = VecTableSupport::ReadRealField(line.Columns(column, width), decimals, values[i]);
        if (read != ReadStatus::kOk) return false;
    }
    return true;
}

std::int32_t IntegerOr(std::string_view field, std::int32_t otherwise) noexcept {
    std::int32_t value = otherwise;
    VecTableSupport::ReadIntegerField(field, value);
    return value;
}

bool ReadTime(std::string_view date, std::string_view reportedName, std::string_view badText,
              double& ds50UTC) noexcept {
    ds50UTC = VecTableSupport::Date_In(date);
    if (ds50UTC > 0.0) return true;
    SkipBadEphemPoint(reportedName, badText);
    return false;
}

std::int32_t SatNumOfFileName(std::string_view filePath) noexcept {
    const std::string_view name = filePath.substr(filePath.find_last_of("\\/") + 1);
    return IntegerOr(name.substr(0, 5), kUnknownSatNum);
}

std::int32_t Coord(std::string_view text) noexcept {
    using VecTableTypes::Frame;
    const auto word = VecTableSupport::ToLowerCase(FixedText<5>(text));
    if (text.size() == 3) return FrameCode(&Frame::deck, word.Trimmed());
    return FrameCode(&Frame::universal, word.View());
}

}  // namespace VecTableCardReading
