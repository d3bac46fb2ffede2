#include "ingestion/oem_segments.h"

#include <algorithm>
#include <utility>

#include "evaluation/interpolation.h"
#include "ingestion/readers/reading.h"
#include "support/text.h"

namespace VecTableCardReading {
namespace {

using VecTableSupport::ReadingPlace;
using VecTableSupport::TextBuilder;
using VecTableSupport::TimeScale;

constexpr std::size_t kLongestQuote = 40;

// States that end up to this long before STOP_TIME are taken to be all of them, s.
constexpr double kStopTolerance = 1.0;

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

std::int32_t CodeOfFrame(std::string_view name) noexcept {
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

}  // namespace

bool RefuseOem(std::initializer_list<std::string_view> pieces) noexcept {
    TextBuilder<256> text;
    text.Add(kOemFormat.reader).Add(": ");
    for (const std::string_view piece : pieces) text.Add(piece);
    VecTableSupport::TraceLogError(text.Written());
    return false;
}

bool RefuseOemText(std::string_view message, std::string_view text) noexcept {
    const std::string_view cut = text.size() > kLongestQuote ? "..." : "";
    return RefuseOem({message, " \"", text.substr(0, kLongestQuote), cut, "\"."});
}

void OemSegments::StartSegment() {
    metadata_ = {};
    frameEpochLine_ = 0;
    given_.clear();
    records_.push_back(pattern_);
}

bool OemSegments::AddMetadata(std::string_view keyword, std::string_view value) {
    if (keyword == "REF_FRAME_EPOCH") frameEpochLine_ = line_;
    for (std::size_t k = 0; k < kKeywords.size(); ++k) {
        if (kKeywords[k] != keyword) continue;
        if (metadata_[k].line != 0) return RefuseOem({keyword, " stands twice in a segment."});
        if (!value.empty()) metadata_[k] = {std::string(value), line_};
    }
    return true;
}

bool OemSegments::EndMetadata() {
    for (std::size_t k = 0; k < kKeywords.size(); ++k) {
        if (metadata_[k].line == 0) return RefuseOem({kKeywords[k], " is missing."});
    }
    VecTabRecord& record = records_.back();
    record.ephemName = VecTableTypes::EphemName(metadata_[kObjectName].text);
    record.satName = VecTableTypes::SatName(metadata_[kObjectId].text);
    if (!SameLetters(metadata_[kCenterName].text, "EARTH")) return Refuse(kCenterName, "EARTH");
    record.coordSys = CodeOfFrame(metadata_[kRefFrame].text);
    if (record.coordSys == VecTableTypes::kUnknownFrame) return Refuse(kRefFrame, "EME2000, ICRF, GCRF, TEME or ITRF");
    if (record.coordSys == VecTableTypes::kTeme && frameEpochLine_ != 0) {
        const ReadingPlace place = PlaceOf(frameEpochLine_);
        return RefuseOem({"TEME is read of date, not of a REF_FRAME_EPOCH."});
    }
    return UseTimes();
}

bool OemSegments::UseTimes() {
    const std::string_view system = metadata_[kTimeSystem].text;
    timeScale_ = Find(kOtherTimeSystems, system, TimeScale::kUtc);
    if (timeScale_ == TimeScale::kUtc && !SameLetters(system, "UTC")) return Refuse(kTimeSystem, "UTC, TAI, GPS or TT");
    for (const Keyword k : {kStartTime, kStopTime}) {
        stopTime_ = TimeOf(metadata_[k].text);
        if (!(stopTime_ > 0.0)) return Refuse(k, "a time");
    }
    return true;
}

bool OemSegments::Refuse(Keyword keyword, std::string_view allowed) const noexcept {
    const auto& [text, line] = metadata_[keyword];
    const ReadingPlace place = PlaceOf(line);
    TextBuilder<128> message;
    message.Add(kKeywords[keyword]).Add(" must be ").Add(allowed).Add(", not");
    return RefuseOemText(message.Written(), text);
}

bool OemSegments::AddState(const Time& time, std::span<const double, 6> state) {
    VecTabRecord& record = records_.back();
    if (record.numOfPts > 0 && !(time.ds50UTC > record.LastPoint().ds50UTC)) {
        return RefuseOemText("The times of the states must rise:", time.text);
    }
    *AddPointAt(time.ds50UTC, record) = MakePoint(time.ds50UTC, state);
    return true;
}

bool OemSegments::StartCovariance(std::string_view time) {
    Time read;
    if (!ReadTime(time, read)) return false;
    if (!given_.empty() && !(read.ds50UTC > given_.back().ds50UTC)) {
        return RefuseOemText("The times of the covariances must rise:", time);
    }
    given_.push_back({read.ds50UTC, CovarianceAxes::kOfStates, line_, {}});
    return true;
}

bool OemSegments::SetAxes(std::string_view name) noexcept {
    CovarianceAxes& axes = given_.back().axes;
    axes = Find(kSatelliteAxes, name, CovarianceAxes::kOfStates);
    if (axes != CovarianceAxes::kOfStates || CodeOfFrame(name) == records_.back().coordSys) return true;
    return RefuseOemText("COV_REF_FRAME must be RSW, RTN, TNW or the frame of the states, not", name);
}

bool OemSegments::EndSegment() {
    VecTabRecord& record = records_.back();
    if (record.numOfPts == 0) return RefuseOem({"The segment has no states."});
    TrimVecTablePts(record);
    for (GivenCovariance& given : given_) {
        const ReadingPlace place = PlaceOf(given.line);
        if (!RotateToStates(given)) return RefuseOem({"The states do not tell the axes of this covariance."});
    }
    SpreadOverPoints(given_, record);
    LogSegment();
    return true;
}

bool OemSegments::RefuseFile(std::string_view message) const noexcept {
    const ReadingPlace wholeFile(path_);
    return RefuseOem({message});
}

bool OemSegments::RotateToStates(GivenCovariance& given) const noexcept {
    const VecTabRecord& record = records_.back();
    if (given.axes == CovarianceAxes::kOfStates) return true;
    if (given.ds50UTC < record.points[1].ds50UTC || given.ds50UTC > record.LastPoint().ds50UTC) return false;
    VecTabPoint state;
    return VecTableProcessing::InterpolateEP(record, VecTableSupport::Utc2Tai(given.ds50UTC), state) == 0 &&
           RotateToFrameOf(state, record.coordSys, given);
}

void OemSegments::LogSegment() const noexcept {
    const ReadingPlace wholeFile(path_);
    const VecTabRecord& record = records_.back();
    const double lacking = (stopTime_ - record.LastPoint().ds50UTC) * VecTableSupport::kSecondsPerDay;
    if (lacking > kStopTolerance) {
        const ReadingPlace place = PlaceOf(metadata_[kStopTime].line);
        RefuseOem({"The states end before STOP_TIME. The file may be cut."});
    }
    LogSpan("states", record.numOfPts, record.points[1].ds50UTC, record.LastPoint().ds50UTC);
    if (given_.empty()) return;
    LogSpan("covariances", static_cast<std::int64_t>(given_.size()), given_.front().ds50UTC, given_.back().ds50UTC);
}

void OemSegments::LogSpan(std::string_view noun, std::int64_t count, double start, double end) const noexcept {
    TextBuilder<128> text;
    text.Add(kOemFormat.reader).Add(": Segment ").AddInteger(static_cast<std::int64_t>(records_.size()));
    text.Add(": ").Add(noun).Add(" = ").AddInteger(count);
    text.Add(", Start = ").Add(VecTableSupport::Ds50ToDate15(start).View());
    text.Add(", End = ").Add(VecTableSupport::Ds50ToDate15(end).View());
    VecTableSupport::TraceLogInfo(text.Written());
}

}  // namespace VecTableCardReading
