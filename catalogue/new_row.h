// Making rows.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "catalogue/row.h"
#include "store/record_types.h"

namespace VecTableCatalogue {

// What a row says of itself.
struct RowFacts {
    std::int32_t satNum = 0;
    std::int32_t frame = 0;
    std::int32_t covAxes = 0;
    std::int64_t badLines = 0;
    std::array<std::string_view, kRowTexts> texts{};

    std::string_view& Text(RowText which) noexcept { return texts[static_cast<std::size_t>(which)]; }
};

// Bytes of a row's record with its texts.
std::size_t RecordSize(const RowFacts& facts) noexcept;

// Writes the record of a row, and its texts after it, to memory of that size.
RowRecord& WriteRecord(const RowFacts& facts, std::int64_t numPts, std::int64_t numCovs, std::byte* to) noexcept;

// The facts of a row that is there; the texts are its own.
RowFacts FactsOf(const RowRecord& record) noexcept;

// A row while its points are written. Points, covariances, record and texts lie in one piece of memory.
class NewRow {
  public:
    // std::bad_alloc when there is no memory.
    NewRow(const RowFacts& facts, std::size_t numPts, std::size_t numCovs);
    NewRow(NewRow&& other) noexcept;
    NewRow& operator=(NewRow&&) = delete;
    ~NewRow();

    // Adds a point. The terms of a covariance are left out where all of them are zeros.
    void Add(double ds50UTC, std::span<const double, 3> pos, std::span<const double, 3> vel, std::int32_t revNum,
             std::span<const double, VecTableTypes::kCovTerms> cov) noexcept;

    void SetBadLines(std::int64_t count) noexcept { record_->badLines = count; }

    // With all its points; the caller owns it then.
    const Row& Finished() noexcept;
    void Release() noexcept { row_ = {}; }

  private:
    Row row_;
    RowRecord* record_ = nullptr;
    StatePoint* points_ = nullptr;
    Covariance* covariances_ = nullptr;
    std::uint32_t made_ = 0;
    std::uint32_t madeCovs_ = 0;
};

// Whether a covariance is stored: not where all bits of its terms are zero.
bool IsCovariance(std::span<const double, VecTableTypes::kCovTerms> cov) noexcept;

// A row of the points of a record. Its facts come from the caller.
NewRow RowOf(const RowFacts& facts, std::span<const VecTableTypes::VecTabPoint> points);

}  // namespace VecTableCatalogue
