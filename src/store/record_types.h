// The data that the library stands on: points, records, nodes of the search tree, objects that direct-memory keys name.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <span>
#include <string_view>

#include "store/frames.h"
#include "support/fixed_text.h"
#include "support/module.h"

namespace VecTableTypes {

using VecTableSupport::FixedText;

inline constexpr std::size_t kCovTerms = VEC_TAB_COV_TERMS;

// Term 2 of the covariance of a table's points with this value says that term 1 is a scalar of its own and that there
// is no covariance.
inline constexpr double kScalarMark = VEC_TAB_SCALAR_MARK;

using PathText = FixedText<VEC_TAB_PATH_LENGTH>;
using SatName = FixedText<VEC_TAB_SAT_NAME_LENGTH>;
using EphemName = FixedText<VEC_TAB_EPHEM_NAME_LENGTH>;

// One state vector.
struct VecTabPoint {
    double ds50UTC = 0.0;                 // days since 1950, UTC
    std::array<double, 3> pos{};          // km, in the frame of the record
    std::array<double, 3> vel{};          // km/s, same frame
    std::int32_t revNum = 0;              // revolution number
    std::array<double, kCovTerms> cov{};  // lower triangle of a 6 x 6 covariance, row by row: (1,1), (2,1), (2,2), ...
};

inline constexpr VecTabPoint kDefaultPoint{};

// What a request asks of a table first: its ends, and how fast its points come.
struct TimeSpan {
    double firstTime;     // days since 1950, UTC
    double lastTime;      // same
    double pointsPerDay;  // mean; 0 for a single time, and where the division might overflow: a search starts from it
};

inline TimeSpan SpanOver(double firstTime, double lastTime, std::uint32_t steps) noexcept {
    constexpr double kFarthest = 1e300, kShortest = 1e-290;  // days
    const bool divides =
        steps > 0 && firstTime > -kFarthest && lastTime < kFarthest && lastTime - firstTime > kShortest;
    return {firstTime, lastTime, divides ? steps / (lastTime - firstTime) : 0.0};
}

inline TimeSpan SpanOf(std::span<const VecTabPoint> points) noexcept {
    if (points.empty()) return {};
    return SpanOver(points.front().ds50UTC, points.back().ds50UTC, static_cast<std::uint32_t>(points.size() - 1));
}

// The array of points that a record owns. Its capacity moves in the steps that its user asks for, and memory follows
// the points: what lies between them and the capacity are default points, which take none.
class VECTABLE_MODULE PointArray {
  public:
    PointArray() noexcept = default;
    PointArray(const PointArray& other);
    PointArray& operator=(const PointArray&) = delete;
    PointArray(PointArray&& other) noexcept;
    PointArray& operator=(PointArray&& other) noexcept;
    ~PointArray();

    bool IsAllocated() const noexcept { return capacity_ > 0; }
    std::size_t Capacity() const noexcept { return capacity_; }

    // Adds default points up to the capacity given.
    void Grow(std::size_t capacity) noexcept { capacity_ = static_cast<std::uint32_t>(capacity); }

    // The place of the point after those that are there: its time is set, the rest is for the caller to write. The
    // capacity is for the caller to grow. On std::bad_alloc the array is as it was.
    VecTabPoint& Append(double ds50UTC) {
        if (made_ == reserved_) Reserve();
        span_ = SpanOver(made_ == 0 ? ds50UTC : span_.firstTime, ds50UTC, made_);
        points_[made_].ds50UTC = ds50UTC;
        return points_[made_++];
    }

    // Forgets the points after the first `count`. The capacity stays.
    void CutTo(std::size_t count) noexcept {
        if (count < made_) [[unlikely]]
            Forget(made_ - count);
    }

    // Sets the capacity to the number of points, and hands the rest of the memory back.
    void Trim() noexcept;

    void Free() noexcept;

    // Points are counted from 1, up to the capacity.
    const VecTabPoint& operator[](std::size_t number) const noexcept {
        return number <= made_ ? points_[number - 1] : kDefaultPoint;
    }

    // The covariance of a point that is there, to be changed.
    std::array<double, kCovTerms>& ChangeCovariance(std::size_t number) noexcept { return points_[number - 1].cov; }

    // The points that are there.
    std::span<const VecTabPoint> All() const noexcept { return {points_, made_}; }

    const TimeSpan& Span() const noexcept { return span_; }

  private:
    void Reserve();
    void Forget(std::size_t count) noexcept;

    VecTabPoint* points_ = nullptr;
    TimeSpan span_{};
    std::uint32_t made_ = 0;  // points that are there
    std::uint32_t capacity_ = 0;
    std::uint32_t reserved_ = 0;  // points that the memory has room for
};

inline constexpr std::size_t kCacheLine = 64;

// One stored ephemeris. Points 1 to numOfPts are valid, strictly increasing in time; when there is one, epochDs50UTC is
// the time of the first. satNum, coordSys and epochDs50UTC are the identity of a record. What a request needs comes
// first, on one cache line.
struct alignas(kCacheLine) VecTabRecord {
    PointArray points;
    std::int32_t numOfPts = 0;      // number of valid points
    std::int32_t satNum = 0;        // satellite number
    std::int32_t coordSys = kTeme;  // frame
    std::int32_t coordSysTens =
        0;                      // rest of the type code that a caller gave: the interface keeps it, nothing reads it
    double epochDs50UTC = 0.0;  // days since 1950, UTC
    double ae = 6378.135;       // Earth radius, km; carried and reported only
    double ke = 0.07436691613317341;  // gravity constant, (Earth radii)^1.5 a minute; carried and reported only
    SatName satName;                  // satellite name
    EphemName ephemName;              // name of the ephemeris
    PathText filePath;                // the file that the record came from
    std::string_view format;          // that it was read as, a constant; empty when it came from no file

    const VecTabPoint& LastPoint() const noexcept { return points[static_cast<std::size_t>(numOfPts)]; }

    // Records lie where their points do: on large pages, and what they leave goes back to the system.
    VECTABLE_MODULE static void* operator new(std::size_t size, std::align_val_t alignment);
    static void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t& noThrow) noexcept;
    VECTABLE_MODULE static void operator delete(void* record, std::align_val_t alignment) noexcept;
};
static_assert(offsetof(VecTabRecord, epochDs50UTC) == kCacheLine);

// Releases the points of a record; its other fields stay.
VECTABLE_MODULE void FreeVecTabRecord(VecTabRecord& record) noexcept;

// A node of the search tree, on one cache line. It owns its record and not its children.
struct alignas(kCacheLine) VecTabBinTree {
    std::int64_t satKey = 0;            // the sort key of the tree
    VecTabBinTree* left = nullptr;      // smaller keys
    VecTabBinTree* right = nullptr;     // larger keys
    std::unique_ptr<VecTabRecord> rec;  // absent when the key is a direct-memory key
    std::int32_t seqNum = 0;            // the order of entry into the store
    std::int32_t balance = 0;           // height of the right subtree less that of the left one: -1, 0 or +1
};

// The object that a direct-memory key names.
struct DmaObject {
    std::atomic<std::int64_t> selfAddr{0};         // its own address; 0 when it is not in use
    std::int32_t elsetType = 0;                    // element type, 6 for an object made here
    std::atomic<VecTabRecord*> propData{nullptr};  // the record, owned
    void* dmaLinkA = nullptr;                      // attachments from outside; while one is set the object is kept
    void* dmaLinkB = nullptr;
};

inline constexpr std::int32_t kVecTabElsetType = 6;

VECTABLE_MODULE bool VecTabElsetType(std::int32_t code) noexcept;

// The fields that are the identity of a record.
struct Identity {
    std::int32_t satNum = 0;
    std::int32_t coordSys = 0;
    double epochDs50UTC = 0.0;

    bool operator==(const Identity&) const noexcept = default;
};

inline Identity IdentityOf(const VecTabRecord& record) noexcept {
    return {record.satNum, record.coordSys, record.epochDs50UTC};
}

// The printed identity of a record: columns 1-9 satNum, zero-filled; 10-11 coordSys; 12-27 epochDs50UTC, 9 decimals.
VECTABLE_MODULE FixedText<32> FieldsToStr(const VecTabRecord& record) noexcept;
FixedText<32> FieldsToStr(const Identity& identity) noexcept;

}  // namespace VecTableTypes
