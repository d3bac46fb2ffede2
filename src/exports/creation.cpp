// The calls that build an ephemeris without a file.
#include <vectable/vectable.h>

#include "exports/boundary.h"
#include "ingestion/point_assembly.h"
#include "store/record_lookup.h"
#include "support/keys.h"

using namespace VecTableDllExports;
using VecTableTypes::kCovTerms;

namespace {

// `covTerms` is null when the point has no covariance.
int32_t AddPoint(std::string_view call, int64_t satKey, double ds50UTC, const double* pos, const double* vel,
                 int32_t revNum, const double* covTerms) noexcept {
    return Guarded(call, kFailure, [&] {
        const VecTableTree::StoredRecord record(satKey);
        if (!record) return kFailure;
        VecTableTypes::VecTabPoint point;
        point.ds50UTC = ds50UTC;
        std::copy_n(pos, 3, point.pos.begin());
        std::copy_n(vel, 3, point.vel.begin());
        point.revNum = revNum;
        const bool covariance =
            covTerms != nullptr && std::any_of(covTerms, covTerms + kCovTerms, [](double term) { return term != 0.0; });
        VecTableCardReading::AddOneEpPoint(point, *record, covariance ? covTerms : nullptr);
        return kSuccess;
    });
}

}  // namespace

int64_t VecTabAddSat(int32_t satNum, double epochDs50UTC, double ae, double ke, int32_t typeCode) {
    return Guarded("VecTabAddSat", VecTableSupport::kNoKey,
                   [&] { return VecTableCardReading::CreateNewSatEntry(satNum, epochDs50UTC, ae, ke, typeCode); });
}

int32_t VecTabAddSatEphem(int64_t satKey, double ds50UTC, const double pos[3], const double vel[3], int32_t revNum) {
    constexpr std::string_view kCall = "VecTabAddSatEphem";
    if (NullArgument(kCall, pos, vel)) return kFailure;
    return AddPoint(kCall, satKey, ds50UTC, pos, vel, revNum, nullptr);
}

int32_t VecTabAddSatEphemCovMtx(int64_t satKey, double ds50UTC, const double pos[3], const double vel[3],
                                int32_t revNum, const double covTerms[21]) {
    constexpr std::string_view kCall = "VecTabAddSatEphemCovMtx";
    if (NullArgument(kCall, pos, vel, covTerms)) return kFailure;
    return AddPoint(kCall, satKey, ds50UTC, pos, vel, revNum, covTerms);
}

int32_t VecTabAddSatEphemExt(int64_t satKey, double ds50UTC, const double pos[3], const double vel[3], int32_t revNum,
                             const double covTerms[21]) {
    constexpr std::string_view kCall = "VecTabAddSatEphemExt";
    if (NullArgument(kCall, pos, vel, covTerms)) return kFailure;
    return AddPoint(kCall, satKey, ds50UTC, pos, vel, revNum, covTerms);
}
