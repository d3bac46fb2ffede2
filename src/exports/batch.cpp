// The calls that give many states.
#include "evaluation/batch.h"

#include <vectable/batch.h>

#include "exports/boundary.h"
#include "support/text.h"
#include "support/trace_log.h"

using namespace VecTableDllExports;

namespace {

constexpr int64_t kRefused = -1;

// Whether the arrays of the answers can be told by 64-bit offsets.
bool IsCountable(int64_t numKeys, int64_t numTimes) noexcept {
    int64_t requests, bytes;
    return !__builtin_mul_overflow(numKeys, numTimes, &requests) &&
           !__builtin_mul_overflow(requests, int64_t{VecTableTypes::kCovTerms * sizeof(double)}, &bytes);
}

int64_t Answer(std::string_view call, const VecTableDllVarsUtils::BatchRequests& requests,
               const VecTableDllVarsUtils::BatchAnswers& answers) noexcept {
    if (requests.numKeys < 0 || requests.numTimes < 0) {
        LogCall(call, "Negative count.");
        return kRefused;
    }
    if (!IsCountable(requests.numKeys, requests.pairs ? 1 : requests.numTimes)) {
        LogCall(call, "Too many requests.");
        return kRefused;
    }
    const int64_t count = requests.Count();
    if (count == 0) return 0;
    if (NullArgument(call, requests.satKeys, requests.ds50UTCs, answers.states)) return kRefused;
    const int64_t without = AnswerBatch(requests, answers);
    if (without > 0) {
        VecTableSupport::TextBuilder<128> text;
        text.Add(call).Add(": ").AddInteger(without).Add(" of ").AddInteger(count).Add(" requests have no state.");
        VecTableSupport::TraceLogInfo(text.Written());
    }
    return without;
}

}  // namespace

int64_t VecBatchPairs(int64_t count, const int64_t* satKeys, const double* ds50UTCs, double* states, double* covs,
                      int32_t* revNums, uint8_t* outcomes) {
    return Answer("VecBatchPairs", {count, satKeys, count, ds50UTCs, true}, {states, covs, revNums, outcomes});
}

int64_t VecBatchGrid(int64_t numKeys, const int64_t* satKeys, int64_t numTimes, const double* ds50UTCs, double* states,
                     double* covs, int32_t* revNums, uint8_t* outcomes) {
    return Answer("VecBatchGrid", {numKeys, satKeys, numTimes, ds50UTCs, false}, {states, covs, revNums, outcomes});
}
