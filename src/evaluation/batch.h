// Many requests by time at once.
//
// Threads: as single requests. The gate is entered for a block of requests at a time.
#pragma once

#include <cstdint>

namespace VecTableDllVarsUtils {

// The requests: record satKeys[i] at ds50UTCs[j], for all i and j, at i * numTimes + j; or, where `pairs`, only for i =
// j, numKeys and numTimes being the same. Times in days since 1950, UTC.
struct BatchRequests {
    std::int64_t numKeys;
    const std::int64_t* satKeys;
    std::int64_t numTimes;
    const double* ds50UTCs;
    bool pairs;

    std::int64_t Count() const noexcept { return pairs ? numKeys : numKeys * numTimes; }
};

// Where the answers go: km and km/s, terms of the covariance in packed order. All but `states` may be null.
struct BatchAnswers {
    double* states;
    double* covs;
    std::int32_t* revNums;
    std::uint8_t* outcomes;  // VEC_BATCH_...
};

// The number of requests without a state. Their state and covariance are NaN, their revolution number is 0.
std::int64_t AnswerBatch(const BatchRequests& requests, const BatchAnswers& answers) noexcept;

}  // namespace VecTableDllVarsUtils
