#include "store/record_types.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

#include "support/text.h"

namespace VecTableTypes {

namespace {

// Growth moves points by realloc, which for a large array moves pages and not bytes.
static_assert(std::is_trivially_copyable_v<VecTabPoint>);

// Memory for points, with the content of the old memory that it replaces; null when there is none.
VecTabPoint* Reserve(VecTabPoint* old, std::size_t points) noexcept {
    constexpr std::size_t kMost = std::numeric_limits<std::ptrdiff_t>::max() / sizeof(VecTabPoint);
    return points > kMost ? nullptr : static_cast<VecTabPoint*>(std::realloc(old, points * sizeof(VecTabPoint)));
}

}  // namespace

PointArray::PointArray(const PointArray& other) {
    if (!other.IsAllocated()) return;
    points_ = Reserve(nullptr, other.capacity_);
    if (points_ == nullptr) throw std::bad_alloc();
    std::memcpy(static_cast<void*>(points_), other.points_, other.capacity_ * sizeof(VecTabPoint));
    capacity_ = reserved_ = other.capacity_;
}

PointArray::PointArray(PointArray&& other) noexcept
    : points_(std::exchange(other.points_, nullptr)),
      capacity_(std::exchange(other.capacity_, 0)),
      reserved_(std::exchange(other.reserved_, 0)) {}

PointArray& PointArray::operator=(PointArray&& other) noexcept {
    std::swap(points_, other.points_);
    std::swap(capacity_, other.capacity_);
    std::swap(reserved_, other.reserved_);
    return *this;
}

PointArray::~PointArray() {
    Free();
}

void PointArray::Grow(std::size_t capacity) {
    if (capacity > reserved_) {
        const std::size_t wanted = std::max(capacity, reserved_ + reserved_ / 2);
        VecTabPoint* grown = Reserve(points_, wanted);
        if (grown == nullptr) throw std::bad_alloc();
        points_ = grown;
        reserved_ = wanted;
    }
    // The default point is zero in every field.
    std::memset(static_cast<void*>(points_ + capacity_), 0, (capacity - capacity_) * sizeof(VecTabPoint));
    capacity_ = capacity;
}

void PointArray::Trim(std::size_t capacity) noexcept {
    void* trimmed = std::realloc(points_, capacity * sizeof(VecTabPoint));
    if (trimmed != nullptr) {
        points_ = static_cast<VecTabPoint*>(trimmed);
        reserved_ = capacity;
    }
    capacity_ = capacity;
}

void PointArray::Free() noexcept {
    std::free(points_);
    points_ = nullptr;
    capacity_ = reserved_ = 0;
}

void FreeVecTabRecord(VecTabRecord& record) noexcept {
    record.points.Free();
}

bool VecTabElsetType(std::int32_t code) noexcept {
    return code == kVecTabElsetType;
}

FixedText<32> FieldsToStr(const VecTabRecord& record) noexcept {
    return FieldsToStr(IdentityOf(record));
}

FixedText<32> FieldsToStr(const Identity& identity) noexcept {
    VecTableSupport::TextBuilder<32> text;
    text.AddDigits(identity.satNum, 9).AddInteger(identity.coordSys, 2).AddFixed(identity.epochDs50UTC, 16, 9);
    return text.Text();
}

}  // namespace VecTableTypes
