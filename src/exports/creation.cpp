// The calls that build an ephemeris without a file.
#include <vectable/vectable.h>

#include "exports/boundary.h"
#include "ingestion/point_assembly.h"
#include "store/new_record.h"
#include "store/record_lookup.h"
#include "support/finite.h"
#include "support/keys.h"

using namespace VecTableDllExports;
using VecTableSupport::Quieted;
using VecTableTypes::kCovTerms;

namespace {

bool HasCovariance(const double* covTerms) noexcept {
    return covTerms != nullptr && !std::all_of(covTerms, covTerms + kCovTerms, VecTableSupport::IsZero);
}

// `covTerms` may be null.
int32_t AddPoint(std::string_view call, int64_t satKey, double ds50UTC, const double* pos, const double* vel,
                 int32_t revNum, const double* covTerms) noexcept {
    return Guarded(call, kFailure, [&] {
        const VecTableTree::StoredRecord record(satKey);
        if (!record) return kFailure;
        VecTableTypes::VecTabPoint* point = VecTableCardReading::AddPointAt(Quieted(ds50UTC), *record);
        if (point == nullptr) return kSuccess;
        for (std::size_t i = 0; i < 3; ++i) {
            point->pos[i] = pos[i];
            point->vel[i] = vel[i];
        }
        point->revNum = revNum;
        if (HasCovariance(covTerms)) {
            std::copy_n(covTerms, kCovTerms, point->cov.begin());
        } else {
            point->cov.fill(0.0);
        }
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
