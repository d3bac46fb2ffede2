#include "ingestion/point_assembly.h"

#include <algorithm>
#include <utility>

#include "store/record_lookup.h"
#include "support/text.h"
#include "support/trace_log.h"

namespace VecTableCardReading {
namespace {

constexpr std::size_t kCapacityStep = 1000;  // points

}  // namespace

VecTabPoint* AddPointAt(double ds50UTC, VecTabRecord& record) {
    const auto count = static_cast<std::size_t>(record.numOfPts);
    VecTabPoint* added = nullptr;
    if (count == 0 || ds50UTC > record.points[count].ds50UTC) {
        added = &record.points.Append(count, ds50UTC);
        if (count == 0) record.epochDs50UTC = ds50UTC;
        ++record.numOfPts;
    }
    if (count >= record.points.Capacity()) record.points.Grow(record.points.Capacity() + kCapacityStep);
    return added;
}

void AddOneEpPoint(const VecTabPoint& point, VecTabRecord& record, const double* covTerms) {
    VecTabPoint* added = AddPointAt(point.ds50UTC, record);
    if (added == nullptr) return;
    *added = point;
    if (covTerms != nullptr) std::copy_n(covTerms, added->cov.size(), added->cov.begin());
}

void SkipBadEphemPoint(std::string_view readerName, std::string_view badText) noexcept {
    VecTableSupport::TextBuilder<128> text;
    text.Add("*** ").Add(readerName).Add(" : Bad ephemeris data. ***");
    VecTableSupport::TraceLogError(text.Written());
    VecTableSupport::TraceLogError(badText);
}

void TrimVecTablePts(VecTabRecord& record) noexcept {
    if (record.numOfPts >= 1) record.points.Trim(static_cast<std::size_t>(record.numOfPts));
}

std::int64_t CreateNewSatEntry(std::int32_t satNum, double epochDs50UTC, double ae, double ke, std::int32_t typeCode) {
    VecTabRecord record;
    record.satNum = satNum;
    record.epochDs50UTC = epochDs50UTC;
    record.ae = ae;
    record.ke = ke;
    record.coordSys = typeCode % 10;
    record.coordSysTens = typeCode - record.coordSys;
    return VecTableTree::AddRecToMem(std::move(record));
}

}  // namespace VecTableCardReading
