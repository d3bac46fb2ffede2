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
//   COV_REF_FRAME = ...                RSW, RTN, TNW or a frame of the same code as REF_FRAME; that without this line
//   a ... f                            lower triangle, one number in the first line, six in the last; km^2, km^2/s, ...
//   COVARIANCE_STOP
//
// A time is a date text with a "T" between day and time of day. Lines whose first word is COMMENT, and blank ones, may
// stand anywhere. Ends at the end of the file. A line of any other form ends the reading.
#include <algorithm>
#include <array>

#include "ingestion/oem_segments.h"
#include "ingestion/readers/reading.h"
#include "support/text.h"

namespace VecTableCardReading {

constexpr Format kOemFormat = {CardType::kNone, "OEM", "VecOemLoadFile",
                               VEC_HOST_HOLDS_VELOCITIES | VEC_HOST_HOLDS_COVARIANCES | VEC_HOST_HOLDS_SEVERAL,
                               " CCSDS_OEM_VERS"};

namespace {

using VecTableSupport::IsBlankOrTab;
using VecTableSupport::WithoutOuterBlanks;

// Of a longer line the unit may have dropped the end.
constexpr std::size_t kLongestLine = 4000;

constexpr std::size_t kCovarianceRows = 6;

constexpr std::string_view kVersionKeyword = "CCSDS_OEM_VERS";

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

std::string_view BadWord(std::string_view text) noexcept {
    double number = 0.0;
    std::string_view word;
    do {
        word = TakeWord(text);
    } while (VecTableSupport::ReadFreeForm(word, {&number, 1}) == ReadStatus::kOk);
    return word;
}

// Reads all numbers of a line. False when there are more than fit or one is none.
bool ReadAllNumbers(std::string_view text, std::span<double> numbers, std::size_t& count) noexcept {
    if (text.find(',') != std::string_view::npos) return RefuseOemText("A comma has no place in", text);
    VecTableSupport::FreeFormScanner scanner(text);
    double further = 0.0;
    ReadStatus read = ReadStatus::kOk;
    count = 0;
    while ((read = scanner.Next(count < numbers.size() ? numbers[count] : further)) == ReadStatus::kOk) ++count;
    return read == ReadStatus::kEndOfData || RefuseOemText("No number:", BadWord(text));
}

// Reads one message. What is not of its form ends it with an entry in the log: every step tells whether to go on.
class TextReader {
  public:
    TextReader(InputUnit& unit, OemSegments& segments) noexcept : unit_(unit), segments_(segments) {}

    bool Read() {
        std::string_view line;
        ReadStatus read = ReadStatus::kOk;
        while ((read = unit_.NextLine(line)) == ReadStatus::kOk) {
            line = WithoutOuterBlanks(line);
            if (line.empty() || IsComment(line)) continue;
            if (line.size() > kLongestLine) return RefuseOem({"The line is too long."});
            if (!UseLine(line)) return false;
        }
        if (read == ReadStatus::kError) return RefuseOem({"File read error."});
        return End();
    }

  private:
    enum class Section { kStart, kHeader, kMetadata, kStates, kCovariances };

    bool GoOnTo(Section section) noexcept {
        section_ = section;
        return true;
    }

    bool UseLine(std::string_view line) {
        switch (section_) {
            case Section::kStart:
                return UseFirstLine(line);
            case Section::kHeader:
                if (line == "META_START") return StartSegment();
                return Split(line).hasValue || RefuseOemText("No keyword of a header:", line);
            case Section::kMetadata:
                return UseMetadataLine(line);
            case Section::kStates:
                return VecTableSupport::IsDigit(line.front()) ? UseState(line) : UseMark(line);
            case Section::kCovariances:
                return UseCovarianceLine(line);
        }
        return false;
    }

    bool UseFirstLine(std::string_view line) noexcept {
        if (line.front() == '<') return RefuseOem({"The XML form of messages is not read, only the text form (KVN)."});
        const KeyAndValue version = Split(line);
        if (version.key != kVersionKeyword) return RefuseOem({"No orbit ephemeris message: no CCSDS_OEM_VERS."});
        const bool known = !version.value.empty() && version.value[0] >= '1' && version.value[0] <= '3' &&
                           version.value.substr(1, 1).find_first_not_of('.') == std::string_view::npos;
        if (!known) return RefuseOemText("Only the versions 1 to 3 are read, not", version.value);
        return GoOnTo(Section::kHeader);
    }

    bool StartSegment() {
        segments_.StartSegment();
        return GoOnTo(Section::kMetadata);
    }

    bool UseMetadataLine(std::string_view line) {
        if (line == "META_STOP") return segments_.EndMetadata() && GoOnTo(Section::kStates);
        const KeyAndValue given = Split(line);
        if (!given.hasValue) return RefuseOemText("No keyword of the metadata:", given.key);
        return segments_.AddMetadata(given.key, given.value);
    }

    bool UseState(std::string_view line) {
        OemSegments::Time time;
        if (!segments_.ReadTime(TakeWord(line), time)) return false;
        std::array<double, 9> numbers;  // position, velocity and acceleration
        std::size_t count = 0;
        if (!ReadAllNumbers(line, numbers, count)) return false;
        if (count != 6 && count != 9) return RefuseOem({"A state has 6 numbers, or 9 with the acceleration."});
        return segments_.AddState(time, std::span(numbers).first<6>());
    }

    bool UseMark(std::string_view line) {
        if (line == "META_START") return segments_.EndSegment() && StartSegment();
        if (line == "COVARIANCE_START") return GoOnTo(Section::kCovariances);
        return RefuseOemText("No state, and no start of metadata or covariances:", line);
    }

    bool UseCovarianceLine(std::string_view line) {
        const KeyAndValue given = Split(line);
        if (rowsToCome_ == kCovarianceRows && given.key == "COV_REF_FRAME") return segments_.SetAxes(given.value);
        if (rowsToCome_ > 0) return UseRow(line);
        if (given.key == "EPOCH") {
            rowsToCome_ = kCovarianceRows;
            return segments_.StartCovariance(given.value);
        }
        if (line == "COVARIANCE_STOP") return GoOnTo(Section::kStates);
        return RefuseOemText("EPOCH or COVARIANCE_STOP must come here, not", line);
    }

    bool UseRow(std::string_view line) noexcept {
        const std::size_t row = kCovarianceRows - rowsToCome_;
        std::size_t count = 0;
        if (!ReadAllNumbers(line, segments_.Terms().subspan(row * (row + 1) / 2, row + 1), count)) return false;
        if (count != row + 1) {
            const auto number = VecTableSupport::IntegerText(static_cast<std::int64_t>(row) + 1, 0);
            return RefuseOem({"Row ", number.View(), " of a covariance must have ", number.View(), " numbers."});
        }
        --rowsToCome_;
        return true;
    }

    bool End() {
        switch (section_) {
            case Section::kStart:
                return segments_.RefuseFile("No orbit ephemeris message: the file is empty.");
            case Section::kHeader:
                return RefuseOem({"The file ends before META_START."});
            case Section::kMetadata:
                return RefuseOem({"The file ends before META_STOP."});
            case Section::kCovariances:
                return RefuseOem({"The file ends before COVARIANCE_STOP."});
            case Section::kStates:
                return segments_.EndSegment();
        }
        return false;
    }

    InputUnit& unit_;
    OemSegments& segments_;
    Section section_ = Section::kStart;
    std::size_t rowsToCome_ = 0;  // of the last covariance
};

}  // namespace

bool IsOemFile(InputUnit& unit) noexcept {
    std::string_view line;
    do {
        if (unit.NextLine(line) != ReadStatus::kOk) return false;
        line = WithoutOuterBlanks(line);
    } while (line.empty() || IsComment(line));
    return line.starts_with(kVersionKeyword) || line.starts_with("<?xml");
}

bool ReadOemText(InputUnit& unit, OemSegments& segments) {
    return TextReader(unit, segments).Read();
}

}  // namespace VecTableCardReading
