// A row of a catalogue: one table, which nobody changes once it is there.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

#include "evaluation/table.h"
#include "store/record_types.h"

namespace VecTableCatalogue {

using VecTableTypes::kCacheLine;
using Covariance = std::array<double, VecTableTypes::kCovTerms>;  // lower triangle, row by row

// A state on a cache line of its own.
struct alignas(kCacheLine) StatePoint {
    static constexpr std::uint32_t kNoCovariance = std::numeric_limits<std::uint32_t>::max();

    double ds50UTC = 0.0;                      // days since 1950, UTC
    std::array<double, 3> pos{};               // km, in the frame of the row
    std::array<double, 3> vel{};               // km/s, same frame
    std::int32_t revNum = 0;                   // revolution number
    std::uint32_t covariance = kNoCovariance;  // its place among the covariances of the row
};
static_assert(sizeof(StatePoint) == kCacheLine);

// Points and covariances of a row, as an evaluation reads them.
struct CompactLayout {
    using Point = StatePoint;

    const Covariance* covariances = nullptr;
    std::uint32_t numCovs = 0;

    // Zeros for a point without one; in a snapshot, whose bytes may be anything, also for one that is not there.
    const Covariance& CovarianceOf(const Point& point) const noexcept {
        static constexpr Covariance kNone{};
        return point.covariance < numCovs ? covariances[point.covariance] : kNone;
    }
    VecTableTypes::VecTabPoint ToState(const Point& point) const noexcept {
        return {point.ds50UTC, point.pos, point.vel, point.revNum, CovarianceOf(point)};
    }
};

enum class RowText : std::size_t { kName, kIdentifier, kPath, kFormat, kOriginator, kCreationDate };
inline constexpr std::size_t kRowTexts = 6;

// What a row says of itself. It stands before its texts, in memory and in a snapshot alike: a text is found from the
// place of the record.
struct RowRecord {
    std::int32_t satNum = 0;
    std::int32_t frame = 0;
    std::int32_t covAxes = 0;
    std::int32_t reserved = 0;
    std::int64_t numPts = 0;
    std::int64_t numCovs = 0;  // points with covariance
    std::int64_t badLines = 0;
    std::array<std::int64_t, kRowTexts> textOffsets{};  // bytes from the start of this record
    std::array<std::int64_t, kRowTexts> textLengths{};

    // Where a text stands: after the record, counted from its start.
    void Place(RowText which, std::int64_t offset, std::size_t length) noexcept {
        textOffsets[static_cast<std::size_t>(which)] = offset;
        textLengths[static_cast<std::size_t>(which)] = static_cast<std::int64_t>(length);
    }

    std::string_view Text(RowText which) const noexcept {
        const auto i = static_cast<std::size_t>(which);
        return {reinterpret_cast<const char*>(this) + textOffsets[i], static_cast<std::size_t>(textLengths[i])};
    }
};

// Where a request finds a row, on a cache line. A default one is no row.
struct alignas(kCacheLine) Row {
    const StatePoint* points = nullptr;
    VecTableTypes::TimeSpan span{};
    const Covariance* covariances = nullptr;
    std::uint32_t numPts = 0;
    std::uint32_t numCovs = 0;
    const RowRecord* record = nullptr;
    void* memory = nullptr;  // of all of it, from the heap of tables; null where it lies in a snapshot

    bool IsThere() const noexcept { return record != nullptr; }

    CompactLayout Layout() const noexcept { return {covariances, numCovs}; }
    VecTableProcessing::Table<CompactLayout> AsTable() const noexcept { return {points, numPts, span, Layout()}; }
};
static_assert(sizeof(Row) == kCacheLine);

}  // namespace VecTableCatalogue
