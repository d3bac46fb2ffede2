#include "evaluation/interpolation.h"

#include "evaluation/evaluator.h"
#include "support/finite.h"
#include "support/time_scales.h"

namespace VecTableProcessing {

std::int32_t InterpolateEP(const VecTabRecord& record, double timeTai, VecTabPoint& point) noexcept {
    using VecTableSupport::IsFinite, VecTableSupport::Quieted, VecTableSupport::Tai2Utc;
    const double t = IsFinite(timeTai) ? Tai2Utc(timeTai) : Quieted(timeTai);
    const Table table(record);
    Evaluator<false> evaluator;
    auto refusal = Refusal::kOutside;
    if (table.count < kStencilPoints || !IsOutside(table, t)) refusal = evaluator.Evaluate<true>(table, t, t, point);
    if (refusal == Refusal::kNone) return 0;
    LogRefusal(refusal, evaluator.LastGap());
    point = VecTabPoint{};
    return 2;
}

std::int32_t UpdateRev(const VecTabPoint& point, const VecTabPoint& refPoint, std::int32_t refRev) noexcept {
    std::int64_t revolution = refRev;
    if (CrossesBetween(point, refPoint)) {
        revolution += point.ds50UTC - refPoint.ds50UTC < 0.0 ? -1 : 1;
    }
    if (revolution < 0 || revolution >= kRevolutionModulus) [[unlikely]] {
        revolution %= kRevolutionModulus;
        if (revolution < 0) revolution += kRevolutionModulus;
    }
    return static_cast<std::int32_t>(revolution);
}

}  // namespace VecTableProcessing
