// States of rows.
#pragma once

#include <cstdint>

#include "catalogue/versions.h"

namespace VecTableCatalogue {

// Row rows[i] at ds50UTCs[j], for all i and j, at i * numTimes + j; or, where `pairs`, only for i = j, numRows and
// numTimes being the same. `rows` null: row i.
struct Requests {
    std::int64_t numRows;
    const std::int64_t* rows;
    std::int64_t numTimes;
    const double* ds50UTCs;
    bool pairs;

    std::int64_t Count() const noexcept { return pairs ? numRows : numRows * numTimes; }
};

// Where the answers go. What is null is not wanted.
struct Answers {
    double* states;
    double* covs;
    std::int32_t* revNums;
    std::uint8_t* outcomes;
};

// On up to so many threads, 0 for as many as the process may run on. The number of requests without a state.
std::int64_t AnswerRequests(const Version& version, const Requests& requests, const Answers& answers,
                            std::int32_t threads) noexcept;

}  // namespace VecTableCatalogue
