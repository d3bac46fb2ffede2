// What rows are.
#pragma once

#include <vectable/catalogue.h>

#include <cstdint>

#include "catalogue/row.h"
#include "catalogue/versions.h"

namespace VecTableCatalogue {

VecCatRow Describe(const Row& row) noexcept;

bool Fits(const Row& row, const VecCatQuery& query) noexcept;

struct PointArrays {
    double* ds50UTCs;
    double* states;
    std::int32_t* revNums;
    double* covs;
};

// All of these points must be there. An array may be null.
void CopyPoints(const Row& row, std::int64_t first, std::int64_t count, const PointArrays& to) noexcept;

}  // namespace VecTableCatalogue
