// Builds the records of an orbit ephemeris message from what a grammar finds in the file, whichever form that has.
//
// For each segment, in this order: StartSegment; AddMetadata for every keyword, EndMetadata; AddState; for each
// covariance StartCovariance, SetAxes if need be, and its terms; EndSegment. A step that is refused is false, with an
// entry in the log that says which line and why.
#pragma once

#include <array>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "ingestion/oem_covariance.h"
#include "support/dates.h"
#include "support/time_scales.h"
#include "support/trace_log.h"

namespace VecTableCardReading {

// Logs what is wrong with the line that is read; false.
bool RefuseOem(std::initializer_list<std::string_view> pieces) noexcept;

// Ends with the text of the file that is to blame.
bool RefuseOemText(std::string_view message, std::string_view text) noexcept;

class OemSegments {
  public:
    // Records have the other fields of `pattern`. `line` counts the lines read.
    OemSegments(const VecTableTypes::VecTabRecord& pattern, const std::int64_t& line,
                std::vector<VecTableTypes::VecTabRecord>& records) noexcept
        : pattern_(pattern), line_(line), records_(records) {}

    void StartSegment();
    bool AddMetadata(std::string_view keyword, std::string_view value);
    bool EndMetadata();

    struct Time {
        std::string_view text;
        double ds50UTC = 0.0;
    };
    bool ReadTime(std::string_view text, Time& time) const noexcept {
        time = {text, TimeOf(text)};
        return time.ds50UTC > 0.0 || RefuseOemText("No time:", text);
    }

    // Position and velocity, km and km/s.
    bool AddState(const Time& time, std::span<const double, 6> state);

    bool StartCovariance(std::string_view time);
    bool SetAxes(std::string_view name) noexcept;
    std::span<double> Terms() noexcept { return given_.back().terms; }

    bool EndSegment();

    // For a message that is refused as a whole and not for a line.
    bool RefuseFile(std::string_view message) const noexcept;

  private:
    // The keywords that a segment must have.
    enum Keyword : std::size_t { kObjectName, kObjectId, kCenterName, kRefFrame, kTimeSystem, kStartTime, kStopTime };
    static constexpr std::array<std::string_view, 7> kKeywords = {
        "OBJECT_NAME", "OBJECT_ID", "CENTER_NAME", "REF_FRAME", "TIME_SYSTEM", "START_TIME", "STOP_TIME"};

    struct Value {
        std::string text;
        std::int64_t line = 0;  // 0 for a keyword that is missing
    };

    // For entries about another line than the one read last.
    VecTableSupport::ReadingPlace PlaceOf(const std::int64_t& line) const noexcept {
        return VecTableSupport::ReadingPlace(path_, &line);
    }

    bool Refuse(Keyword keyword, std::string_view allowed) const noexcept;
    bool UseTimes();
    double TimeOf(std::string_view text) const noexcept {
        return text.find('T') == std::string_view::npos ? 0.0 : VecTableSupport::TimeOfText(text, timeScale_);
    }
    bool RotateToStates(GivenCovariance& given) const noexcept;
    void LogSegment() const noexcept;
    void LogSpan(std::string_view noun, std::int64_t count, double start, double end) const noexcept;

    const VecTableTypes::VecTabRecord& pattern_;
    const std::int64_t& line_;
    const std::string_view path_ = pattern_.filePath.Trimmed();
    const VecTableSupport::ReadingPlace place_{path_, &line_};
    std::vector<VecTableTypes::VecTabRecord>& records_;
    // Of the segment that is being read:
    std::array<Value, kKeywords.size()> metadata_;
    std::int64_t frameEpochLine_ = 0;  // 0 without one
    VecTableSupport::TimeScale timeScale_ = VecTableSupport::TimeScale::kUtc;
    double stopTime_ = 0.0;  // days since 1950, UTC
    std::vector<GivenCovariance> given_;
};

}  // namespace VecTableCardReading
