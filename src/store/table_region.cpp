#include "store/table_region.h"

#include <algorithm>
#include <cstdint>
#include <new>

namespace VecTableTypes {
namespace {

using VecTableSupport::MakeUsable;

constexpr std::size_t kSmallRegion = kLargePage;
constexpr std::size_t kFirstOpened = kMebibyte;  // of a small region
constexpr std::size_t kInLarge = kLargePage / kPage;
constexpr std::size_t kHead = RoundUp(sizeof(Region), kUnit);

std::size_t OffsetOf(const Block& block) noexcept {
    return static_cast<std::size_t>(block.start - block.region->Start());
}

}  // namespace

Region* MapRegion(std::size_t size, std::size_t opened) noexcept {
    const std::size_t least = RoundUp(kHead + size, kPage);
    std::size_t length = opened == 0 && least <= kSmallRegion ? kSmallRegion : kRegion;
    void* place = nullptr;
    while ((place = VecTableSupport::Reserve(length, false)) == nullptr) {
        if (length <= least) return nullptr;
        length = std::max(length / 2, least);
    }
    const bool isLarge = length > kSmallRegion && reinterpret_cast<std::uintptr_t>(place) % kLargePage == 0;
    VecTableSupport::AdviseLarge(place, length, isLarge);
    const std::size_t usual = std::max({least, opened, isLarge ? kLargePage : kFirstOpened});
    std::size_t usable = std::min(RoundUp(usual, isLarge ? kLargePage : kPage), length);
    if (!MakeUsable(place, usable) && !MakeUsable(place, usable = least)) {
        VecTableSupport::UnmapPages(place, length);
        return nullptr;
    }
    auto* region = new (place) Region;
    region->length = length;
    region->opened = usable;
    region->pageBits = isLarge ? kLargePageBits : kPageBits;
    region->takesLarge = isLarge;
    region->first = {region->Start() + kHead, usable - kHead, region};
    return region;
}

void UnmapRegion(Region* region) noexcept {
    VecTableSupport::UnmapPages(region, region->length);
}

std::size_t Open(Region& region, std::size_t least, std::size_t opened) noexcept {
    const std::size_t closed = region.length - region.opened;
    if (closed < least) return 0;
    std::byte* place = region.Start() + region.opened;
    std::size_t size = std::min(RoundUp(std::max(least, opened), region.Page()), closed);
    if (!MakeUsable(place, size) && !MakeUsable(place, size = std::min(RoundUp(least, kPage), closed))) return 0;
    region.opened += size;
    return size;
}

Pages WholePages(const Block& block) noexcept {
    const Region& region = *block.region;
    const std::size_t first = (OffsetOf(block) + region.Page() - 1) >> region.pageBits;
    return {first, std::max(first, (OffsetOf(block) + block.size) >> region.pageBits)};
}

Pages PagesUnder(const Block& block) noexcept {
    const Region& region = *block.region;
    const std::size_t end = (OffsetOf(block) + block.size + region.Page() - 1) >> region.pageBits;
    Pages pages = {OffsetOf(block) >> region.pageBits, end};
    if (region.isSplit && region.takesLarge) {
        const Pages large = {(end - 1) / kInLarge * kInLarge, RoundUp(end, kInLarge)};
        if (CountTouched(region, large) == 0) pages.end = large.end;
    }
    return pages;
}

std::size_t CountTouched(const Region& region, Pages pages) noexcept {
    const bool* isTouched = region.isTouched.data();
    return static_cast<std::size_t>(std::count(isTouched + pages.first, isTouched + pages.end, true));
}

std::size_t Touch(Region& region, Pages pages) noexcept {
    const std::size_t fresh = pages.Count() - CountTouched(region, pages);
    std::fill_n(region.isTouched.data() + pages.first, pages.Count(), true);
    return fresh << region.pageBits;
}

std::size_t Untouch(Region& region, Pages pages) noexcept {
    const std::size_t touched = CountTouched(region, pages);
    std::fill_n(region.isTouched.data() + pages.first, pages.Count(), false);
    return touched << region.pageBits;
}

void SplitPages(Region& region) noexcept {
    bool* isTouched = region.isTouched.data();
    for (std::size_t i = RoundUp(region.length, kLargePage) / kLargePage; i-- > 0;) {
        std::fill_n(isTouched + i * kInLarge, kInLarge, isTouched[i]);
    }
    region.pageBits = kPageBits;
    region.isSplit = true;
    region.takesLarge = false;
}

void Cut(Block* block, std::size_t size, Block* rest) noexcept {
    *rest = {block->start + size, block->size - size, block->region, block, block->after};
    (rest->after != nullptr ? rest->after->before : block->region->last) = rest;
    block->size = size;
    block->after = rest;
}

void Join(Block* block, const Block* after) noexcept {
    block->size += after->size;
    block->after = after->after;
    (block->after != nullptr ? block->after->before : block->region->last) = block;
}

}  // namespace VecTableTypes
