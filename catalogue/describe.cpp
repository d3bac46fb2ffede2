#include "catalogue/describe.h"

#include <algorithm>
#include <string_view>

#include "support/text.h"

namespace VecTableCatalogue {
namespace {

template <std::size_t N>
void CopyText(std::string_view text, char (&to)[N]) noexcept {
    const std::size_t length = std::min(text.size(), N - 1);
    std::copy_n(text.data(), length, to);
    std::fill(to + length, to + N, '\0');
}

bool IsSameInAnyCase(std::string_view a, std::string_view b) noexcept {
    const auto upper = [](char c) { return VecTableSupport::ToUpperCase(c); };
    return std::ranges::equal(a, b, {}, upper, upper);
}

}  // namespace

VecCatRow Describe(const Row& row) noexcept {
    const RowRecord& record = *row.record;
    VecCatRow described{};
    described.satNum = record.satNum;
    described.frame = record.frame;
    described.covAxes = record.covAxes;
    described.numPts = record.numPts;
    described.numCovPts = record.numCovs;
    described.badLines = record.badLines;
    described.startDs50UTC = row.span.firstTime;
    described.endDs50UTC = row.span.lastTime;
    CopyText(record.Text(RowText::kName), described.name);
    CopyText(record.Text(RowText::kIdentifier), described.identifier);
    CopyText(record.Text(RowText::kFormat), described.format);
    CopyText(record.Text(RowText::kPath), described.path);
    return described;
}

bool Fits(const Row& row, const VecCatQuery& query) noexcept {
    if (!row.IsThere()) return false;
    const RowRecord& record = *row.record;
    const auto fits = [&](const char* wanted, RowText which) {
        return wanted == nullptr || IsSameInAnyCase(record.Text(which), wanted);
    };
    return (query.satNum == nullptr || *query.satNum == record.satNum) && fits(query.name, RowText::kName) &&
           fits(query.identifier, RowText::kIdentifier) &&
           (query.path == nullptr || record.Text(RowText::kPath) == query.path);
}

void CopyPoints(const Row& row, std::int64_t first, std::int64_t count, const PointArrays& to) noexcept {
    for (std::int64_t i = 0; i < count; ++i) {
        const StatePoint& point = row.points[first + i];
        if (to.ds50UTCs != nullptr) to.ds50UTCs[i] = point.ds50UTC;
        if (to.states != nullptr) std::ranges::copy(point.vel, std::ranges::copy(point.pos, to.states + 6 * i).out);
        if (to.revNums != nullptr) to.revNums[i] = point.revNum;
        if (to.covs != nullptr)
            std::ranges::copy(row.Layout().CovarianceOf(point), to.covs + std::ptrdiff_t{VecTableTypes::kCovTerms} * i);
    }
}

}  // namespace VecTableCatalogue
