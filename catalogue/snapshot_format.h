// A snapshot as it stands in a file: a header, then four sections, each on pages of its own, in the byte order of the
// machine. docs/formats.md has the layout in words.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "catalogue/row.h"

namespace VecTableCatalogue {

inline constexpr std::size_t kSnapshotPage = 4096;
inline constexpr std::array<char, 8> kSnapshotMagic = {'\x89', 'V', 'E', 'C', 'C', 'A', 'T', '\n'};
inline constexpr std::uint32_t kSnapshotVersion = 1;
inline constexpr std::uint32_t kSnapshotByteOrder = 0x01020304;

enum class Section : std::size_t { kRows, kRecords, kPoints, kCovariances };
inline constexpr std::size_t kSections = 4;

struct SnapshotSection {
    std::uint64_t offset = 0;  // bytes from the start of the file, on a page
    std::uint64_t size = 0;    // bytes
    std::uint64_t sum = 0;     // CRC-32 of these bytes
};

struct SnapshotHeader {
    std::array<char, 8> magic = kSnapshotMagic;
    std::uint32_t byteOrder = kSnapshotByteOrder;
    std::uint32_t version = kSnapshotVersion;
    std::uint64_t fileSize = 0;
    std::array<SnapshotSection, kSections> sections{};
    std::uint64_t sum = 0;  // CRC-32 of what stands before it

    const SnapshotSection& operator[](Section section) const noexcept {
        return sections[static_cast<std::size_t>(section)];
    }
};
static_assert(sizeof(SnapshotHeader) == 128);

// A row number's place in the section of rows.
struct SnapshotRow {
    static constexpr std::uint64_t kNoRow = UINT64_MAX;

    std::uint64_t record = kNoRow;  // bytes from the start of the section of records; kNoRow where there is no row
    std::uint64_t firstPoint = 0;   // counted in the section of points
    std::uint64_t firstCov = 0;     // counted in the section of covariances
    std::uint32_t numPts = 0;       // 1 or more
    std::uint32_t numCovs = 0;      // points with covariance
    double startDs50UTC = 0.0;      // of the first point
    double endDs50UTC = 0.0;        // of the last point
    std::array<std::uint64_t, 2> reserved{};
};
static_assert(sizeof(SnapshotRow) == 64);
static_assert(sizeof(RowRecord) == 136 && sizeof(StatePoint) == 64 && sizeof(Covariance) == 168);

}  // namespace VecTableCatalogue
