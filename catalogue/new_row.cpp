#include "catalogue/new_row.h"

#include <algorithm>
#include <bit>
#include <new>
#include <utility>

#include "store/table_memory.h"

namespace VecTableCatalogue {

using VecTableTypes::kCovTerms;
using VecTableTypes::VecTabPoint;

std::size_t RecordSize(const RowFacts& facts) noexcept {
    std::size_t size = sizeof(RowRecord);
    for (const std::string_view text : facts.texts) size += text.size();
    return (size + alignof(RowRecord) - 1) / alignof(RowRecord) * alignof(RowRecord);
}

RowRecord& WriteRecord(const RowFacts& facts, std::int64_t numPts, std::int64_t numCovs, std::byte* to) noexcept {
    auto& record = *new (to) RowRecord;
    record.satNum = facts.satNum;
    record.frame = facts.frame;
    record.covAxes = facts.covAxes;
    record.numPts = numPts;
    record.numCovs = numCovs;
    record.badLines = facts.badLines;
    std::size_t used = sizeof(RowRecord);
    for (std::size_t i = 0; i < kRowTexts; ++i) {
        const std::string_view text = facts.texts[i];
        std::copy_n(text.data(), text.size(), reinterpret_cast<char*>(to) + used);
        record.Place(static_cast<RowText>(i), static_cast<std::int64_t>(used), text.size());
        used += text.size();
    }
    std::fill(to + used, to + RecordSize(facts), std::byte{0});
    return record;
}

RowFacts FactsOf(const RowRecord& record) noexcept {
    RowFacts facts{record.satNum, record.frame, record.covAxes, record.badLines, {}};
    for (std::size_t i = 0; i < kRowTexts; ++i) facts.texts[i] = record.Text(static_cast<RowText>(i));
    return facts;
}

NewRow::NewRow(const RowFacts& facts, std::size_t numPts, std::size_t numCovs) {
    const std::size_t covariances = numPts * sizeof(StatePoint);
    const std::size_t record = covariances + numCovs * sizeof(Covariance);
    auto* memory = static_cast<std::byte*>(VecTableTypes::TakeTableMemory(record + RecordSize(facts)));
    if (memory == nullptr) throw std::bad_alloc();
    points_ = reinterpret_cast<StatePoint*>(memory);
    covariances_ = reinterpret_cast<Covariance*>(memory + covariances);
    row_.memory = memory;
    row_.points = points_;
    row_.covariances = covariances_;
    row_.numPts = static_cast<std::uint32_t>(numPts);
    row_.numCovs = static_cast<std::uint32_t>(numCovs);
    record_ =
        &WriteRecord(facts, static_cast<std::int64_t>(numPts), static_cast<std::int64_t>(numCovs), memory + record);
    row_.record = record_;
}

NewRow::NewRow(NewRow&& other) noexcept
    : row_(std::exchange(other.row_, {})),
      record_(other.record_),
      points_(other.points_),
      covariances_(other.covariances_),
      made_(other.made_),
      madeCovs_(other.madeCovs_) {}

NewRow::~NewRow() {
    VecTableTypes::ReleaseTableMemory(row_.memory);
}

void NewRow::Add(double ds50UTC, std::span<const double, 3> pos, std::span<const double, 3> vel, std::int32_t revNum,
                 std::span<const double, kCovTerms> cov) noexcept {
    auto& point = *new (points_ + made_++) StatePoint;
    point.ds50UTC = ds50UTC;
    std::ranges::copy(pos, point.pos.begin());
    std::ranges::copy(vel, point.vel.begin());
    point.revNum = revNum;
    if (!IsCovariance(cov)) return;
    point.covariance = madeCovs_;
    std::ranges::copy(cov, (new (covariances_ + madeCovs_++) Covariance)->begin());
}

const Row& NewRow::Finished() noexcept {
    row_.span = VecTableTypes::SpanOver(points_[0].ds50UTC, points_[made_ - 1].ds50UTC, made_ - 1);
    return row_;
}

bool IsCovariance(std::span<const double, kCovTerms> cov) noexcept {
    return std::ranges::any_of(cov, [](double term) { return std::bit_cast<std::uint64_t>(term) != 0; });
}

NewRow RowOf(const RowFacts& facts, std::span<const VecTabPoint> points) {
    const auto withCov =
        std::ranges::count_if(points, [](const VecTabPoint& point) { return IsCovariance(point.cov); });
    NewRow row(facts, points.size(), static_cast<std::size_t>(withCov));
    for (const VecTabPoint& point : points) row.Add(point.ds50UTC, point.pos, point.vel, point.revNum, point.cov);
    return row;
}

}  // namespace VecTableCatalogue
