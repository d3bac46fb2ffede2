#include "left_out.h"

#include <vectable/vectable.h>

#include <algorithm>
#include <cmath>
#include <optional>

#include "failure.h"
#include "log_capture.h"

namespace Vectab {
namespace {

constexpr std::int64_t kMostTried = 20000;
constexpr std::int32_t kNeighbours = 2;  // on either side

class TemporaryRecord {
  public:
    explicit TemporaryRecord(const Record& model)
        : key_(VecTabAddSat(model.satNum, model.start, 0.0, 0.0, model.frame)) {
        if (key_ <= 0) throw Failure(LogCapture::Instance().TakeError());
    }
    ~TemporaryRecord() { VecTabRemoveSat(key_); }
    TemporaryRecord(const TemporaryRecord&) = delete;
    TemporaryRecord& operator=(const TemporaryRecord&) = delete;

    void Add(const State& state) const {
        if (VecTabAddSatEphem(key_, state.ds50UTC, state.pos, state.vel, state.revNum) != 0) {
            throw Failure(LogCapture::Instance().TakeError());
        }
    }

    std::optional<State> At(double ds50UTC) const {
        State state;
        double mse;
        if (VecTabDs50UTC(key_, ds50UTC, &mse, state.pos, state.vel, &state.revNum) != 0) return std::nullopt;
        return state;
    }

  private:
    std::int64_t key_;
};

double Distance(const double (&a)[3], const double (&b)[3]) {
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

std::optional<LeftOutError> MeasureAt(const Record& record, std::int32_t number) {
    const TemporaryRecord neighbours(record);
    for (std::int32_t away = -kNeighbours; away <= kNeighbours; ++away) {
        if (away != 0) neighbours.Add(PointOf(record, number + away));
    }
    const State point = PointOf(record, number);
    const std::optional<State> found = neighbours.At(point.ds50UTC);
    if (!found) return std::nullopt;
    return LeftOutError{point.ds50UTC, Distance(found->pos, point.pos) * 1e3, Distance(found->vel, point.vel) * 1e6};
}

}  // namespace

LeftOutErrors MeasureLeftOut(const Record& record) {
    LeftOutErrors errors;
    const std::int64_t inner = std::max(0, record.points - 2 * kNeighbours);
    const std::int64_t tried = std::min(inner, kMostTried);
    errors.measured.reserve(static_cast<std::size_t>(tried));
    for (std::int64_t i = 0; i < tried; ++i) {
        const auto number = static_cast<std::int32_t>(1 + kNeighbours + i * inner / tried);
        if (const std::optional<LeftOutError> error = MeasureAt(record, number)) {
            errors.measured.push_back(*error);
        } else {
            ++errors.refused;
        }
    }
    LogCapture::Instance().Take();  // the refusals are counted
    return errors;
}

}  // namespace Vectab
