#include "ingestion/point_assembly.h"

#include <algorithm>
#include <cmath>

namespace VecTableCardReading {
namespace {

constexpr std::size_t kCapacityStep = 1000;  // points

}  // namespace

VecTabPoint* AddPointAt(double ds50UTC, VecTabRecord& record) {
    const auto count = static_cast<std::size_t>(std::max(record.numOfPts, 0));
    VecTabPoint* added = nullptr;
    if (count == 0 || std::isgreater(ds50UTC, record.points[count].ds50UTC)) {
        record.points.CutTo(count);
        added = &record.points.Append(ds50UTC);
        if (count == 0) record.epochDs50UTC = ds50UTC;
        record.numOfPts = static_cast<std::int32_t>(count) + 1;
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

void TrimVecTablePts(VecTabRecord& record) noexcept {
    if (record.numOfPts < 1) return;
    record.points.CutTo(static_cast<std::size_t>(record.numOfPts));
    record.points.Trim();
}

}  // namespace VecTableCardReading
