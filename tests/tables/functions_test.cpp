// Functions of texts and numbers, a row of tests/data/tables/functions.txt a call: its name, its arguments, and what it
// gives. An underscore is a blank. Numbers that come out are written as short as they can be read back.
#include <charconv>
#include <functional>
#include <map>

#include "evaluation/interpolation.h"
#include "helpers/log_capture.h"
#include "helpers/tables.h"
#include "ingestion/formats.h"
#include "ingestion/readers/reading.h"
#include "support/dates.h"
#include "support/keys.h"
#include "support/text.h"
#include "support/time_scales.h"

using namespace VecTableCardReading;
using namespace VecTableSupport;

namespace {

template <typename Number>
std::string Text(Number number) {
    std::array<char, 32> text;
    return {text.data(), std::to_chars(text.begin(), text.end(), number).ptr};
}

std::string Underscored(std::string_view text) {
    std::string result(text);
    std::replace(result.begin(), result.end(), ' ', '_');
    return result;
}

std::int32_t Integer(const std::string& cell) {
    return static_cast<std::int32_t>(std::stoll(cell));
}

// The value that was read; what fails leaves it alone.
template <typename Number>
std::string Read(ReadStatus status, Number value) {
    if (status == ReadStatus::kOk) return Text(value);
    return value == Number(-99) ? "error" : "changed";
}

// "57=.;80=Z" is a line with these texts at these columns.
std::string LineOf(const std::string& cell) {
    std::string line(512, ' ');
    std::istringstream pieces(cell);
    for (std::string piece; std::getline(pieces, piece, ';');) {
        const std::size_t mark = piece.find('=');
        line.replace(std::stoul(piece) - 1, piece.size() - mark - 1, piece.substr(mark + 1));
    }
    return line;
}

std::string TypeOfCard(const Row& row) {
    const CardType type = VecTabCardType(LineOf(row[1]));
    const bool isList = type == CardType::kFileLine || type == CardType::kNameLine;
    return BeginsListLine(LineOf(row[1])) || !isList ? Text(static_cast<int>(type)) : "begins no list line";
}

std::string FreeForm(const Row& row) {
    std::array<double, 3> values{-99, -99, -99};
    const ReadStatus status = ReadFreeForm(row[1], values);
    std::string result = status == ReadStatus::kOk ? "ok" : status == ReadStatus::kError ? "error" : "end";
    for (const double value : values) result += ' ' + Text(value);
    return result;
}

std::string Revolution(const Row& row) {
    const std::vector<double> z =
        Numbers(row[1]);  // of the point, of the one counted from; speed; seconds between them
    const VecTableTypes::VecTabPoint point{0.0, {0, 0, z[0]}, {0, 0, z[2]}, 0, {}};
    const VecTableTypes::VecTabPoint reference{z[3] / 86400.0, {0, 0, z[1]}, {}, 0, {}};
    return Text(VecTableProcessing::UpdateRev(point, reference, Integer(row[2])));
}

// Of a table whose points stand at these minutes, at a time so many seconds after the first of them. What fails clears
// the point and has its words in the log.
std::string Interpolated(const Row& row) {
    constexpr double kStart = 27819.0;
    VecTableTypes::VecTabRecord record;
    for (const double minutes : Numbers(row[1])) {
        const double time = kStart + minutes / 1440.0;
        record.points.Append(time) = {time, {}, {}, 7, {}};
        ++record.numOfPts;
    }
    LogCapture log;
    VecTableTypes::VecTabPoint point{1.0, {}, {}, 77, {}};
    point.cov[20] = 1.0;
    const double tai = Utc2Tai(kStart + std::stod(row[2]) / 86400.0);
    const bool failed = VecTableProcessing::InterpolateEP(record, tai, point) != 0;
    const bool isClear = point.cov[20] == 0.0 && (point.ds50UTC == 0.0) == failed && point.revNum == (failed ? 0 : 7);
    const std::vector<std::string> told = log.Take();
    if (!isClear || told.size() != (failed ? 1 : 0)) return "left over";
    return failed ? Underscored(told.front()) : "state";
}

std::string Identity(const Row& row) {
    VecTableTypes::VecTabRecord record;
    record.satNum = Integer(row[1]);
    record.coordSys = Integer(row[2]);
    record.epochDs50UTC = std::stod(row[3]);
    return Underscored(FieldsToStr(record).View());
}

const std::map<std::string, std::function<std::string(const Row&)>> kFunctions = {
    {"Card", TypeOfCard},
    {"FreeForm", FreeForm},
    {"Revolution", Revolution},
    {"Identity", Identity},
    {"Interpolated", Interpolated},
    {"IntegerField",
     [](const Row& row) {
         std::int32_t value = -99;
         const ReadStatus status = ReadIntegerField(WithBlanks(row[1]), value);
         return Read(status, value);
     }},
    {"RealField",
     [](const Row& row) {
         double value = -99;
         const ReadStatus status = ReadRealField(WithBlanks(row[1]), Integer(row[2]), value);
         return Read(status, value);
     }},
    {"NumberIn", [](const Row& row) { return Text(StrToInt(WithBlanks(row[1]))); }},
    {"ValueIn", [](const Row& row) { return std::string(GetInputFileName(WithBlanks(row[1]))); }},
    {"Integer", [](const Row& row) { return Underscored(IntegerText(std::stoll(row[1]), std::stoul(row[2])).View()); }},
    {"Digits", [](const Row& row) { return Underscored(DigitsText(std::stoll(row[1]), std::stoul(row[2])).View()); }},
    {"Fixed",
     [](const Row& row) {
         return Underscored(FixedNotationText(std::stod(row[1]), std::stoul(row[2]), Integer(row[3])).View());
     }},
    {"Built", [](const Row& row) { return std::string(TextBuilder<8>().Add(row[1]).Add(row[2]).Written()); }},
    {"DotDce", [](const Row& row) { return std::string(FileIsDotDCE(row[1]) ? "yes" : "no"); }},
    {"Frame", [](const Row& row) { return Text(Coord(WithBlanks(row[1]))); }},
    {"TreeKey", [](const Row& row) { return Text(CreateSatKey(Integer(row[1]), 6, std::stod(row[2]))); }},
    {"NextKey", [](const Row& row) { return Text(NextSatKey(std::stoll(row[1]))); }},
    {"DayOfYear",
     [](const Row& row) {
         const std::vector<double> date = Numbers(row[1]);
         return Text(MmDd2Jul(static_cast<int>(date[0]), static_cast<int>(date[1]), static_cast<int>(date[2])));
     }},
    {"Time",
     [](const Row& row) {
         const std::vector<double> parts = Numbers(row[1]);  // day of the year, hour, minute, seconds, year
         const auto part = [&](std::size_t i) { return static_cast<std::int32_t>(parts[i]); };
         return Text(TComps2UTC(part(0), part(1), part(2), row.size() > 3 ? std::stod(row[2]) : parts[3], part(4)));
     }},
    {"DayCount",
     [](const Row& row) {
         double time = -99;
         ClockA(std::stod(row[1]), Integer(row[2]), time);
         return Text(time);
     }},
    {"DateText", [](const Row& row) { return std::string(Ds50ToDate15(std::stod(row[1])).View()); }},
};

}  // namespace

TEST(Functions, GiveWhatTheirRowsSay) {
    for (const Row& row : ReadTable("functions.txt")) {
        EXPECT_EQ(kFunctions.at(row[0])(row), row.back()) << testing::PrintToString(row);
    }
}
