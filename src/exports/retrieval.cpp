// The calls that give a state.
#include <vectable/vectable.h>

#include <cstddef>
#include <new>

#include "evaluation/query.h"
#include "exports/boundary.h"

using namespace VecTableDllExports;
using VecTableDllVarsUtils::TimeType;
using VecTableTypes::VecTabPoint;

namespace {

constexpr std::size_t kMatrixSize = VEC_TAB_COV_ELEMENTS;
constexpr std::size_t kExtendedSize = VEC_TAB_EXT_LENGTH;

// Memory for a point that is not zeroed first: a query writes the whole of it, and zeroing costs a request a tenth.
class PointRoom {
  public:
    VecTabPoint& Point() noexcept { return *std::launder(reinterpret_cast<VecTabPoint*>(bytes_)); }

  private:
    alignas(VecTabPoint) std::byte bytes_[sizeof(VecTabPoint)];
};

// Where the caller wants a state; the forms without covariance have no matrix.
struct StateOutputs {
    double* time;
    double* pos;
    double* vel;
    int32_t* revNum;
    bool hasMatrix = false;
    double* covMtx = nullptr;

    void Clear() const noexcept {
        VecTableDllExports::Clear(time);
        VecTableDllExports::Clear(pos, 3);
        VecTableDllExports::Clear(vel, 3);
        VecTableDllExports::Clear(revNum);
        VecTableDllExports::Clear(covMtx, kMatrixSize);
    }

    bool AnyNull(std::string_view call) const noexcept {
        return NullArgument(call, time, pos, vel, revNum, hasMatrix ? covMtx : pos);
    }

    void Fill(double outTime, const VecTabPoint& point) const noexcept {
        *time = outTime;
        for (std::size_t i = 0; i < 3; ++i) {
            pos[i] = point.pos[i];
            vel[i] = point.vel[i];
        }
        *revNum = point.revNum;
        if (hasMatrix)
            VecTableDllVarsUtils::To6x6CovMtx(std::span<double, kMatrixSize>(covMtx, kMatrixSize), point.cov);
    }
};

template <bool kWithCovariance>
int32_t RetrievePoint(int64_t satKey, double value, TimeType timeType, const StateOutputs& outputs) noexcept {
    PointRoom room;
    VecTabPoint& point = room.Point();
    double outTime = 0.0;
    const int32_t status = VecTableDllVarsUtils::FindState<kWithCovariance>(satKey, value, timeType, outTime, point);
    if (status == kSuccess) outputs.Fill(outTime, point);
    return status;
}

int32_t Retrieve(std::string_view call, int64_t satKey, double value, TimeType timeType,
                 const StateOutputs& outputs) noexcept {
    int32_t status = kFailure;
    if (!outputs.AnyNull(call)) {
        status = outputs.hasMatrix ? RetrievePoint<true>(satKey, value, timeType, outputs)
                                   : RetrievePoint<false>(satKey, value, timeType, outputs);
    }
    if (status != kSuccess) outputs.Clear();
    return status;
}

}  // namespace

int32_t VecTabGetEphemeris(int64_t satKey, int32_t index, double* ds50UTC, double pos[3], double vel[3],
                           int32_t* revNum) {
    return Retrieve("VecTabGetEphemeris", satKey, index, TimeType::kIndex, {ds50UTC, pos, vel, revNum});
}

int32_t VecTabGetCovMtx(int64_t satKey, int32_t index, double* ds50UTC, double pos[3], double vel[3], int32_t* revNum,
                        double covMtx[kMatrixSize]) {
    return Retrieve("VecTabGetCovMtx", satKey, index, TimeType::kIndex, {ds50UTC, pos, vel, revNum, true, covMtx});
}

int32_t VecTabMse(int64_t satKey, double mse, double* ds50UTC, double pos[3], double vel[3], int32_t* revNum) {
    return Retrieve("VecTabMse", satKey, mse, TimeType::kMse, {ds50UTC, pos, vel, revNum});
}

int32_t VecTabMseCovMtx(int64_t satKey, double mse, double* ds50UTC, double pos[3], double vel[3], int32_t* revNum,
                        double covMtx[kMatrixSize]) {
    return Retrieve("VecTabMseCovMtx", satKey, mse, TimeType::kMse, {ds50UTC, pos, vel, revNum, true, covMtx});
}

int32_t VecTabDs50UTC(int64_t satKey, double ds50UTC, double* mse, double pos[3], double vel[3], int32_t* revNum) {
    return Retrieve("VecTabDs50UTC", satKey, ds50UTC, TimeType::kDs50UTC, {mse, pos, vel, revNum});
}

int32_t VecTabDs50UTCCovMtx(int64_t satKey, double ds50UTC, double* mse, double pos[3], double vel[3], int32_t* revNum,
                            double covMtx[kMatrixSize]) {
    return Retrieve("VecTabDs50UTCCovMtx", satKey, ds50UTC, TimeType::kDs50UTC, {mse, pos, vel, revNum, true, covMtx});
}

int32_t VecTabXten(int64_t satKey, int32_t ephType, double value, double extArr[kExtendedSize]) {
    constexpr std::string_view kCall = "VecTabXten";
    Clear(extArr, kExtendedSize);
    if (NullArgument(kCall, extArr)) return kFailure;
    const auto timeType = static_cast<TimeType>(ephType);
    if (timeType != TimeType::kMse && timeType != TimeType::kDs50UTC && timeType != TimeType::kIndex) {
        LogCall(kCall, "Invalid ephemeris type. Valid values are 1, 2, and 3.");
        return kFailure;
    }
    VecTabPoint point;
    double outTime = 0.0;
    double outMse = 0.0;
    int32_t status = kSuccess;
    VecTableDllVarsUtils::GetEphem(satKey, value, timeType, outTime, point, status,
                                   timeType == TimeType::kIndex ? &outMse : nullptr);
    if (status != kSuccess) return status;

    switch (timeType) {
        case TimeType::kMse:
            extArr[0] = value;
            extArr[1] = outTime;
            break;
        case TimeType::kDs50UTC:
            extArr[0] = outTime;
            extArr[1] = value;
            break;
        case TimeType::kIndex:
            extArr[0] = outMse;
            extArr[1] = outTime;
            break;
    }
    std::copy(point.pos.begin(), point.pos.end(), extArr + 2);
    std::copy(point.vel.begin(), point.vel.end(), extArr + 5);
    extArr[8] = point.revNum;
    std::copy(point.cov.begin(), point.cov.end(), extArr + 9);
    return kSuccess;
}
