#include "store/record_types.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

#include "store/table_memory.h"
#include "support/text.h"

namespace VecTableTypes {
namespace {

// Points are moved as bytes.
static_assert(std::is_trivially_copyable_v<VecTabPoint>);

constexpr std::size_t Bytes(std::size_t points) noexcept {
    return points * sizeof(VecTabPoint);
}

}  // namespace

PointArray::PointArray(const PointArray& other)
    : span_(other.span_), made_(other.made_), capacity_(other.capacity_), reserved_(made_) {
    if (made_ == 0) return;
    points_ = static_cast<VecTabPoint*>(TakeTableMemory(Bytes(made_)));
    if (points_ == nullptr) throw std::bad_alloc();
    std::memcpy(static_cast<void*>(points_), other.points_, Bytes(made_));
}

PointArray::PointArray(PointArray&& other) noexcept {
    *this = std::move(other);
}

PointArray& PointArray::operator=(PointArray&& other) noexcept {
    std::swap(points_, other.points_);
    std::swap(span_, other.span_);
    std::swap(made_, other.made_);
    std::swap(capacity_, other.capacity_);
    std::swap(reserved_, other.reserved_);
    return *this;
}

PointArray::~PointArray() {
    Free();
}

// In steps of a tenth, of which little is idle; a long table, whose idle memory costs nothing, in steps of a half.
void PointArray::Reserve() {
    constexpr std::size_t kFewest = 8;
    const std::size_t share = Bytes(reserved_) < kLongTable ? 10 : 2;
    const std::size_t wanted = reserved_ + std::max(reserved_ / share, kFewest);
    void* memory =
        points_ == nullptr ? TakeTableMemory(Bytes(wanted)) : ResizeTableMemory(points_, Bytes(made_), Bytes(wanted));
    if (memory == nullptr) throw std::bad_alloc();
    points_ = static_cast<VecTabPoint*>(memory);
    reserved_ = static_cast<std::uint32_t>(wanted);
}

void PointArray::Forget(std::size_t count) noexcept {
    made_ -= static_cast<std::uint32_t>(count);
    span_ = SpanOf(All());
}

void PointArray::Trim() noexcept {
    capacity_ = made_;
    if (reserved_ == made_) return;
    void* trimmed = ResizeTableMemory(points_, Bytes(made_), Bytes(made_));
    if (trimmed == nullptr) return;
    points_ = static_cast<VecTabPoint*>(trimmed);
    reserved_ = made_;
}

void PointArray::Free() noexcept {
    ReleaseTableMemory(points_);
    points_ = nullptr;
    made_ = capacity_ = reserved_ = 0;
}

void* VecTabRecord::operator new(std::size_t size, std::align_val_t /*alignment*/,
                                 const std::nothrow_t& /*noThrow*/) noexcept {
    return TakeTableMemory(size);
}

void* VecTabRecord::operator new(std::size_t size, std::align_val_t /*alignment*/) {
    void* record = TakeTableMemory(size);
    if (record == nullptr) throw std::bad_alloc();
    return record;
}

void VecTabRecord::operator delete(void* record, std::align_val_t /*alignment*/) noexcept {
    ReleaseTableMemory(record);
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
