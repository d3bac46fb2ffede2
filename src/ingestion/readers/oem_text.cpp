// OEM: orbit ephemeris message (CCSDS 502.0) in keyword text form, versions 1 to 3.
//
//   CCSDS_OEM_VERS = 2.0               the first line; other keywords of the header follow
//   META_START                         a segment begins:
//   OBJECT_NAME, OBJECT_ID = ...       names of the record and of the satellite
//   CENTER_NAME = EARTH
//   REF_FRAME = ...                    EME2000, ICRF, GCRF; TEME; ITRF and its years
//   TIME_SYSTEM = ...                  UTC, TAI, GPS or TT; of all times of the segment
//   START_TIME, STOP_TIME = ...        all seven are required, in any order; others are passed over
//   META_STOP
//   time x y z vx vy vz [ax ay az]     a state a line, free form without commas; km, km/s
//   COVARIANCE_START                   if any:
//   EPOCH = time                       of the covariance in the next six lines, which rises
//   COV_REF_FRAME = ...                RSW, RTN, TNW or a frame of the same code as REF_FRAME, which it is without this line
//   a ... f                            lower triangle, one number in the first line, six in the last; km^2, km^2/s, km^2/s^2
//   COVARIANCE_STOP
//
// A time is a date text with a "T" between day and time of day. Lines whose first word is COMMENT, and blank ones, may
// stand anywhere. Ends at the end of the file. A line of any other form ends the reading.
#include "ingestion/readers/oem_text.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string>
#include <utility>

#include "evaluation/interpolation.h"
#include "ingestion/oem.h"
#include "ingestion/oem_covariance.h"
#include "ingestion/readers/reading.h"
#include "support/dates.h"
#include "support/text.h"
#include "support/time_scales.h"
#include "support/trace_log.h"

namespace VecTableCardReading {

constexpr Format kOemFormat = {CardType::kOem, "OEM", "VecOemLoadFile",
                               VEC_HOST_HOLDS_VELOCITIES | VEC_HOST_HOLDS_COVARIANCES | VEC_HOST_HOLDS_SEVERAL};

bool IsOemCard(std::string_view line) noexcept {
    return Holds(line, 1, " CCSDS_OEM_VERS");
}

namespace {

using VecTableSupport::IsBlankOrTab;
using VecTableSupport::ReadingPlace;
using VecTableSupport::TextBuilder;
using VecTableSupport::TimeScale;
using VecTableSupport::WithoutOuterBlanks;

// Of a longer line the unit may have dropped the end.
constexpr std::size_t kLongestLine = 4000;

constexpr std::size_t kLongestQuote = 40;

// States that end up to this long before STOP_TIME are taken to be all of them, s.
constexpr double kStopTolerance = 1.0;

// The keywords that a segment must have.
enum Keyword : std::size_t { kObjectName, kObjectId, kCenterName, kRefFrame, kTimeSystem, kStartTime, kStopTime };
constexpr std::array<std::string_view, 7> kKeywords = {"OBJECT_NAME", "OBJECT_ID",  "CENTER_NAME", "REF_FRAME",
                                                       "TIME_SYSTEM", "START_TIME", "STOP_TIME"};

constexpr std::pair<std::string_view, TimeScale> kOtherTimeSystems[] = {
    {"TAI", TimeScale::kTai}, {"GPS", TimeScale::kGps}, {"TT", TimeScale::kTt}};
constexpr std::pair<std::string_view, CovarianceAxes> kSatelliteAxes[] = {
    {"RTN", CovarianceAxes::kRtn}, {"RSW", CovarianceAxes::kRtn}, {"TNW", CovarianceAxes::kTnw}};

bool SameLetters(std::string_view a, std::string_view b) noexcept {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return VecTableSupport::ToUpperCase(x) == VecTableSupport::ToUpperCase(y);
    });
}

template <typename Value, std::size_t N>
Value Find(const std::pair<std::string_view, Value> (&table)[N], std::string_view name, Value otherwise) noexcept {
    for (const auto& [known, value] : table) {
        if (SameLetters(known, name)) return value;
    }
    return otherwise;
}

std::int32_t FrameCode(std::string_view name) noexcept {
    for (const VecTableTypes::Frame& frame : VecTableTypes::kFrames) {
        for (const std::string_view known : frame.oem) {
            if (known.empty() || !SameLetters(name.substr(0, known.size()), known)) continue;
            const std::string_view year = name.substr(known.size());
            const bool mayBeYear = year.find_first_not_of("0123456789-") == std::string_view::npos;
            if (year.empty() || (frame.rotatesWithEarth && mayBeYear)) return frame.code;
        }
    }
    return VecTableTypes::kUnknownFrame;
}

bool IsComment(std::string_view line) noexcept {
    constexpr std::string_view kComment = "COMMENT";
    return line.starts_with(kComment) && (line.size() == kComment.size() || IsBlankOrTab(line[kComment.size()]));
}

struct KeyAndValue {
    std::string_view key;
    std::string_view value;
    bool hasValue;
};

KeyAndValue Split(std::string_view line) noexcept {
    const auto equals = line.find('=');
    if (equals == std::string_view::npos) return {line, {}, false};
    return {WithoutOuterBlanks(line.substr(0, equals)), WithoutOuterBlanks(line.substr(equals + 1)), true};
}

// Takes the first word of a text.
std::string_view TakeWord(std::string_view& text) noexcept {
    const auto length = static_cast<std::size_t>(std::find_if(text.begin(), text.end(), IsBlankOrTab) - text.begin());
    const std::string_view word = text.substr(0, length);
    text = WithoutOuterBlanks(text.substr(length));
    return word;
}

using Pieces = std::initializer_list<std::string_view>;

// An entry in the log: what is wrong with the line that is read.
void LogError(Pieces pieces) noexcept {
    TextBuilder<256> text;
    text.Add(kOemCall).Add(": ");
    for (const std::string_view piece : pieces) text.Add(piece);
    VecTableSupport::TraceLogError(text.Written());
}

// Reads one message. What is not of its form ends it with an entry in the log: every step tells whether to go on.
class OemReader {
  public:
    OemReader(InputUnit& unit, const VecTabRecord& pattern, std::vector<VecTabRecord>& records) noexcept
        : unit_(unit), pattern_(pattern), records_(records) {}

    bool Read() {
        std::string_view line;
        ReadStatus read = ReadStatus::kOk;
        while ((read = unit_.NextLine(line)) == ReadStatus::kOk) {
            line = WithoutOuterBlanks(line);
            if (line.empty() || IsComment(line)) continue;
            if (line.size() > kLongestLine) return Fail({"The line is too long."});
            if (!UseLine(line)) return false;
        }
        if (read == ReadStatus::kError) return Fail({"File read error."});
        return End();
    }

  private:
    enum class Section { kStart, kHeader, kMetadata, kStates, kCovariances };

    // A value of the metadata.
    struct Value {
        std::string text;
        std::int64_t line = 0;  // 0 for a keyword that is missing
    };

    static constexpr std::size_t kCovarianceRows = 6;

    static bool Fail(Pieces pieces) noexcept {
        LogError(pieces);
        return false;
    }

    // Ends with the text of the file that is to blame.
    static bool FailQuoting(std::string_view message, std::string_view text) noexcept {
        const std::string_view cut = text.size() > kLongestQuote ? "..." : "";
        return Fail({message, " \"", text.substr(0, kLongestQuote), cut, "\"."});
    }

    // For entries about another line than the one read last.
    ReadingPlace PlaceOf(const std::int64_t& line) const noexcept { return ReadingPlace(path_, &line); }

    bool UseLine(std::string_view line) {
        switch (section_) {
            case Section::kStart:
                return UseFirstLine(line);
            case Section::kHeader:
                if (line == "META_START") return StartSegment();
                return Split(line).hasValue || FailQuoting("No keyword of a header:", line);
            case Section::kMetadata:
                return line == "META_STOP" ? UseMetadata() : UseMetadataLine(Split(line));
            case Section::kStates:
                return VecTableSupport::IsDigit(line.front()) ? UseState(line) : UseMark(line);
            case Section::kCovariances:
                return UseCovarianceLine(line);
        }
        return false;
    }

    bool UseFirstLine(std::string_view line) noexcept {
        if (line.front() == '<') return Fail({"The XML form of messages is not read, only the text form (KVN)."});
        const KeyAndValue version = Split(line);
        if (version.key != "CCSDS_OEM_VERS") return Fail({"No orbit ephemeris message: no CCSDS_OEM_VERS."});
        const bool known = !version.value.empty() && version.value[0] >= '1' && version.value[0] <= '3' &&
                           version.value.substr(1, 1).find_first_not_of('.') == std::string_view::npos;
        section_ = Section::kHeader;
        return known || FailQuoting("Only the versions 1 to 3 are read, not", version.value);
    }

    bool StartSegment() {
        section_ = Section::kMetadata;
        metadata_ = {};
        frameEpochLine_ = 0;
        given_.clear();
        records_.push_back(pattern_);
        return true;
    }

    bool UseMetadataLine(KeyAndValue line) {
        if (!line.hasValue) return FailQuoting("No keyword of the metadata:", line.key);
        if (line.key == "REF_FRAME_EPOCH") frameEpochLine_ = unit_.LineNumber();
        for (std::size_t k = 0; k < kKeywords.size(); ++k) {
            if (kKeywords[k] != line.key) continue;
            if (metadata_[k].line != 0) return Fail({line.key, " stands twice in a segment."});
            if (!line.value.empty()) metadata_[k] = {std::string(line.value), unit_.LineNumber()};
        }
        return true;
    }

    bool UseMetadata() {
        for (std::size_t k = 0; k < kKeywords.size(); ++k) {
            if (metadata_[k].line == 0) return Fail({kKeywords[k], " is missing."});
        }
        VecTabRecord& record = records_.back();
        record.ephemName = VecTableTypes::EphemName(metadata_[kObjectName].text);
        record.satName = VecTableTypes::SatName(metadata_[kObjectId].text);
        if (!SameLetters(metadata_[kCenterName].text, "EARTH")) return Refuse(kCenterName, "EARTH");
        record.coordSys = FrameCode(metadata_[kRefFrame].text);
        if (record.coordSys == VecTableTypes::kUnknownFrame) {
            return Refuse(kRefFrame, "EME2000, ICRF, GCRF, TEME or ITRF");
        }
        if (record.coordSys == VecTableTypes::kTeme && frameEpochLine_ != 0) {
            const ReadingPlace place = PlaceOf(frameEpochLine_);
            return Fail({"TEME is read of date, not of a REF_FRAME_EPOCH."});
        }
        return UseTimes();
    }

    bool UseTimes() {
        const std::string_view system = metadata_[kTimeSystem].text;
        timeScale_ = Find(kOtherTimeSystems, system, TimeScale::kUtc);
        if (timeScale_ == TimeScale::kUtc && !SameLetters(system, "UTC"))
            return Refuse(kTimeSystem, "UTC, TAI, GPS or TT");
        for (const Keyword k : {kStartTime, kStopTime}) {
            if (!ReadTime(metadata_[k].text, stopTime_)) return Refuse(k, "a time");
        }
        section_ = Section::kStates;
        return true;
    }

    bool Refuse(Keyword keyword, std::string_view allowed) const noexcept {
        const auto& [text, line] = metadata_[keyword];
        const ReadingPlace place = PlaceOf(line);
        TextBuilder<128> message;
        message.Add(kKeywords[keyword]).Add(" must be ").Add(allowed).Add(", not");
        return FailQuoting(message.Written(), text);
    }

    bool ReadTime(std::string_view text, double& ds50UTC) const noexcept {
        ds50UTC = text.find('T') == std::string_view::npos ? 0.0 : VecTableSupport::TimeOfText(text, timeScale_);
        return ds50UTC > 0.0;
    }

    // Reads all numbers of a line. False when there are more than fit or one is none.
    static bool ReadNumbers(std::string_view text, std::span<double> numbers, std::size_t& count) noexcept {
        if (text.find(',') != std::string_view::npos) return FailQuoting("A comma has no place in", text);
        VecTableSupport::FreeFormScanner scanner(text);
        double further = 0.0;
        ReadStatus read = ReadStatus::kOk;
        count = 0;
        while ((read = scanner.Next(count < numbers.size() ? numbers[count] : further)) == ReadStatus::kOk) ++count;
        return read == ReadStatus::kEndOfData || FailQuoting("No number:", BadWord(text));
    }

    static std::string_view BadWord(std::string_view text) noexcept {
        double number = 0.0;
        std::string_view word;
        do {
            word = TakeWord(text);
        } while (VecTableSupport::ReadFreeForm(word, {&number, 1}) == ReadStatus::kOk);
        return word;
    }

    bool UseState(std::string_view line) {
        const std::string_view date = TakeWord(line);
        double time = 0.0;
        if (!ReadTime(date, time)) return FailQuoting("No time:", date);
        std::array<double, 9> numbers;  // position, velocity and acceleration
        std::size_t count = 0;
        if (!ReadNumbers(line, numbers, count)) return false;
        if (count != 6 && count != 9) return Fail({"A state has 6 numbers, or 9 with the acceleration."});
        VecTabRecord& record = records_.back();
        if (record.numOfPts > 0 && !(time > record.LastPoint().ds50UTC)) {
            return FailQuoting("The times of the states must rise:", date);
        }
        AddOneEpPoint(MakePoint(time, std::span(numbers).first<6>()), record);
        return true;
    }

    bool UseMark(std::string_view line) {
        if (line == "META_START") return CloseSegment() && StartSegment();
        if (line != "COVARIANCE_START") return FailQuoting("No state, and no start of metadata or covariances:", line);
        section_ = Section::kCovariances;
        rowsToCome_ = 0;
        return true;
    }

    bool UseCovarianceLine(std::string_view line) {
        const KeyAndValue given = Split(line);
        if (rowsToCome_ == kCovarianceRows && given.key == "COV_REF_FRAME") return UseAxes(given.value);
        if (rowsToCome_ > 0) return UseRow(line);
        if (given.key == "EPOCH") return StartCovariance(given.value);
        if (line != "COVARIANCE_STOP") return FailQuoting("EPOCH or COVARIANCE_STOP must come here, not", line);
        section_ = Section::kStates;
        return true;
    }

    bool StartCovariance(std::string_view date) {
        GivenCovariance given;
        given.line = unit_.LineNumber();
        if (!ReadTime(date, given.ds50UTC)) return FailQuoting("No time:", date);
        if (!given_.empty() && !(given.ds50UTC > given_.back().ds50UTC)) {
            return FailQuoting("The times of the covariances must rise:", date);
        }
        given_.push_back(given);
        rowsToCome_ = kCovarianceRows;
        return true;
    }

    bool UseAxes(std::string_view name) noexcept {
        given_.back().axes = Find(kSatelliteAxes, name, CovarianceAxes::kOfStates);
        if (given_.back().axes != CovarianceAxes::kOfStates || FrameCode(name) == records_.back().coordSys) return true;
        return FailQuoting("COV_REF_FRAME must be RSW, RTN, TNW or the frame of the states, not", name);
    }

    bool UseRow(std::string_view line) noexcept {
        const std::size_t row = kCovarianceRows - rowsToCome_;
        std::size_t count = 0;
        const std::span terms = std::span(given_.back().terms).subspan(row * (row + 1) / 2, row + 1);
        if (!ReadNumbers(line, terms, count)) return false;
        if (count != row + 1) {
            const auto number = VecTableSupport::IntegerText(static_cast<std::int64_t>(row) + 1, 0);
            return Fail({"Row ", number.View(), " of a covariance must have ", number.View(), " numbers."});
        }
        --rowsToCome_;
        return true;
    }

    bool End() {
        switch (section_) {
            case Section::kStart: {
                const ReadingPlace wholeFile(path_);
                return Fail({"No orbit ephemeris message: the file is empty."});
            }
            case Section::kHeader:
                return Fail({"The file ends before META_START."});
            case Section::kMetadata:
                return Fail({"The file ends before META_STOP."});
            case Section::kCovariances:
                return Fail({"The file ends before COVARIANCE_STOP."});
            case Section::kStates:
                return CloseSegment();
        }
        return false;
    }

    bool CloseSegment() {
        VecTabRecord& record = records_.back();
        if (record.numOfPts == 0) return Fail({"The segment has no states."});
        TrimVecTablePts(record);
        for (GivenCovariance& given : given_) {
            const ReadingPlace place = PlaceOf(given.line);
            if (!TurnToFrame(given)) return Fail({"The states do not tell the axes of this covariance."});
        }
        SpreadOverPoints(given_, record);
        LogSegment();
        return true;
    }

    bool TurnToFrame(GivenCovariance& given) const noexcept {
        const VecTabRecord& record = records_.back();
        if (given.axes == CovarianceAxes::kOfStates) return true;
        if (given.ds50UTC < record.points[1].ds50UTC || given.ds50UTC > record.LastPoint().ds50UTC) return false;
        VecTabPoint state;
        return VecTableProcessing::InterpolateEP(record, VecTableSupport::Utc2Tai(given.ds50UTC), state) == 0 &&
               TurnToFrameOf(state, record.coordSys, given);
    }

    void LogSegment() const noexcept {
        const ReadingPlace wholeFile(path_);
        const VecTabRecord& record = records_.back();
        const double lacking = (stopTime_ - record.LastPoint().ds50UTC) * VecTableSupport::kSecondsPerDay;
        if (lacking > kStopTolerance) {
            const ReadingPlace place = PlaceOf(metadata_[kStopTime].line);
            LogError({"The states end before STOP_TIME. The file may be cut."});
        }
        LogSpan("states", record.numOfPts, record.points[1].ds50UTC, record.LastPoint().ds50UTC);
        if (given_.empty()) return;
        LogSpan("covariances", static_cast<std::int64_t>(given_.size()), given_.front().ds50UTC, given_.back().ds50UTC);
    }

    void LogSpan(std::string_view noun, std::int64_t count, double start, double end) const noexcept {
        TextBuilder<128> text;
        text.Add(kOemCall).Add(": Segment ").AddInteger(static_cast<std::int64_t>(records_.size()));
        text.Add(": ").Add(noun).Add(" = ").AddInteger(count);
        text.Add(", Start = ").Add(VecTableSupport::Ds50ToDate15(start).View());
        text.Add(", End = ").Add(VecTableSupport::Ds50ToDate15(end).View());
        VecTableSupport::TraceLogInfo(text.Written());
    }

    InputUnit& unit_;
    const VecTabRecord& pattern_;
    const std::string_view path_ = pattern_.filePath.Trimmed();
    const ReadingPlace place_{path_, &unit_.LineNumber()};
    std::vector<VecTabRecord>& records_;
    Section section_ = Section::kStart;
    // Of the segment that is being read:
    std::array<Value, kKeywords.size()> metadata_;
    std::int64_t frameEpochLine_ = 0;  // 0 without one
    TimeScale timeScale_ = TimeScale::kUtc;
    double stopTime_ = 0.0;  // days since 1950, UTC
    std::vector<GivenCovariance> given_;
    std::size_t rowsToCome_ = 0;  // of the last covariance
};

}  // namespace

bool ReadOem(InputUnit& unit, const VecTabRecord& pattern, std::vector<VecTabRecord>& records) {
    return OemReader(unit, pattern, records).Read();
}

}  // namespace VecTableCardReading
