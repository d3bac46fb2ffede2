#include "evaluation/interpolation.h"

#include "evaluation/evaluator.h"
#include "support/dates.h"
#include "support/finite.h"
#include "support/text.h"
#include "support/time_scales.h"
#include "support/trace_log.h"

namespace VecTableProcessing {

using VecTableSupport::TextBuilder;

std::int32_t InterpolateEP(const VecTabRecord& record, double timeTai, VecTabPoint& point) noexcept {
    using VecTableSupport::IsFinite, VecTableSupport::Quieted, VecTableSupport::Tai2Utc;
    const double t = IsFinite(timeTai) ? Tai2Utc(timeTai) : Quieted(timeTai);
    const RecordTable table = TableOf(record);
    Evaluator<RecordLayout, false> evaluator;
    auto outcome = Outcome::kOutside;
    if (table.count < kStencilPoints || !IsOutside(table.span, t)) {
        outcome = evaluator.Evaluate<true>(table, t, t, point);
    }
    if (outcome == Outcome::kState) return 0;
    LogEvaluation(outcome, evaluator.LastGap());
    point = VecTabPoint{};
    return 2;
}

std::int32_t UpdateRev(const VecTabPoint& point, const VecTabPoint& refPoint, std::int32_t refRev) noexcept {
    return CountFrom(refPoint, refRev, point);
}

void LogEvaluation(Outcome outcome, const Gap& gap) noexcept {
    TextBuilder<103> text;
    text.Add("InterpolateEP: ");
    switch (outcome) {
        case Outcome::kNoPoints:
            text.Add("Buffer not initialized.");
            break;
        case Outcome::kOutside:
            text.Add("Request time out of ephemeris range.");
            break;
        case Outcome::kTooFew:
            text.Add("Can not interpolate with less than ").AddInteger(kStencilPoints).Add(" ephemeris data points");
            break;
        case Outcome::kGap:
            text.Add("Data points too far apart due to spacing or data gap. (");
            text.Add(VecTableSupport::Ds50ToDate15(gap.start).View()).Add(", ");
            text.Add(VecTableSupport::Ds50ToDate15(gap.end).View()).Add(")");
            break;
        default:
            return;
    }
    VecTableSupport::TraceLogError(text.Written());
}

}  // namespace VecTableProcessing
