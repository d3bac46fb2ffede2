// The evaluation of tables, written for one request and for many alike: a compiler that sees that there is one leaves out
// what serves many.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>

#include "evaluation/hermite_kernel.h"
#include "store/record_types.h"
#include "support/dates.h"

namespace VecTableProcessing {

using VecTableTypes::VecTabRecord;

inline constexpr double kSameTime = 1e-12;  // days
inline constexpr double kSpacingLimit =
    VEC_TAB_GAP_MINUTES / VecTableSupport::kMinutesPerDay;  // days, mean over the stencil
inline constexpr double kEndTolerance = 0.0005;             // s

// A table under evaluation. Points are counted from 1. Table{} is none; Table as it stands costs a block of them nothing.
struct Table {
    const VecTabPoint* points;
    std::size_t count;
    VecTableTypes::TimeSpan span;

    Table() noexcept = default;
    explicit Table(const VecTabRecord& record) noexcept {
        const auto all = record.points.All();
        points = all.data();
        count = all.size();
        span = record.points.Span();
        if (static_cast<std::size_t>(record.numOfPts) != count) [[unlikely]]
            CutTo(record.numOfPts);
    }

    const VecTabPoint& operator[](std::size_t number) const noexcept { return points[number - 1]; }

    // Whether a time lies within the table; no NaN does. The comparisons are those that a NaN does not upset.
    bool Holds(double t) const noexcept {
        return std::isgreaterequal(t, span.firstTime) && std::islessequal(t, span.lastTime);
    }

  private:
    // For a record whose count a caller of the modules has set back; none when it counts points that are not there.
    void CutTo(std::int32_t numOfPts) noexcept;
};

// A point near the time, as far along the table as the time is along its span. By way of signed numbers: the processor
// has no conversion of unsigned ones.
inline std::size_t GuessPoint(const Table& table, double t) noexcept {
    const double along = (t - table.span.firstTime) * table.span.pointsPerDay;
    if (!(along > 0.0)) return 1;
    const auto last = static_cast<std::int64_t>(table.count - 1);
    return along < static_cast<double>(last) ? static_cast<std::size_t>(static_cast<std::int64_t>(along)) + 1
                                             : table.count;
}

// The first of the four points round a time that lies after `low` points: two on either side, fewer at an end.
inline std::size_t FirstOfStencil(const Table& table, std::size_t low) noexcept {
    const std::size_t start = std::max<std::size_t>(low, 2) - 1;
    return std::min(start + kStencilPoints - 1, table.count) - (kStencilPoints - 1);
}

// The first point of the stencil round the time, as far as the guess tells. For a table of at least a stencil.
inline const VecTabPoint* GuessStencil(const Table& table, double t) noexcept {
    return &table[FirstOfStencil(table, GuessPoint(table, t))];
}

// Asks for all that an evaluation reads of a stencil at once, so that it waits for memory once.
template <bool kWithCovariance>
[[gnu::always_inline]] inline void AskForStencil(const VecTabPoint* first) noexcept {
    const auto* byte = reinterpret_cast<const char*>(first);
    if constexpr (kWithCovariance) {
        constexpr std::size_t kSize = kStencilPoints * sizeof(VecTabPoint);
        for (std::size_t offset = 0; offset < kSize; offset += VecTableTypes::kCacheLine) {
            __builtin_prefetch(byte + offset);
        }
        __builtin_prefetch(byte + kSize - 1);
    } else {
        for (std::size_t i = 0; i < kStencilPoints; ++i, byte += sizeof(VecTabPoint)) {
            __builtin_prefetch(byte);
            __builtin_prefetch(byte + offsetof(VecTabPoint, revNum));
        }
    }
}

// The number of points before the time: from the guess in doubling steps until the time lies between, then by bisection.
// An even table has it within two looks, any table within twice the looks of a bisection.
std::size_t SearchLow(const Table& table, std::size_t guess, double t) noexcept;

// Whether an ascending crossing of the equatorial plane lies between the point and a stored one. States may be NaN.
inline bool CrossesBetween(const VecTabPoint& point, const VecTabPoint& stored) noexcept {
    return std::isgreater(0.0, point.pos[2] * stored.pos[2]) && std::isgreater(point.vel[2], 0.0);
}

inline constexpr std::int32_t kRevolutionModulus = 100000;

// The revolution number of `point`, a time after `low` points, where there may be a crossing or the numbers beside it differ.
std::int32_t CountRevolution(const Table& table, std::size_t low, const VecTabPoint& point) noexcept;

// The revolution number of `point`, a time after `low` points.
inline std::int32_t RevolutionAt(const Table& table, std::size_t low, const VecTabPoint& point) noexcept {
    const VecTabPoint& before = table[std::max<std::size_t>(low, 1)];
    const VecTabPoint& after = table[std::min(low + 1, table.count)];
    const bool settled = before.revNum == after.revNum && before.revNum >= 0 && before.revNum < kRevolutionModulus &&
                         !CrossesBetween(point, before) && !CrossesBetween(point, after);
    return settled ? before.revNum : CountRevolution(table, low, point);
}

// Why there is no state.
enum class Refusal : std::uint8_t { kNone, kNotInitialized, kOutside, kTooFew, kGap };

// Whether a time lies before the table or after it, by more than the tolerance. A NaN does.
bool IsOutside(const Table& table, double t) noexcept;

inline bool IsSameTime(const VecTabPoint& point, double t) noexcept {
    return kSameTime > std::fabs(t - point.ds50UTC);
}

// The first of the points that the time falls on, or null.
inline const VecTabPoint* FindSameTime(std::span<const VecTabPoint> points, double t) noexcept {
    for (const VecTabPoint& point : points) {
        if (IsSameTime(point, t)) return &point;
    }
    return nullptr;
}

// Whether a time falls on a point: on one of the two beside it then, since no other is nearer.
inline bool FallsOnPoint(const Table& table, std::size_t low, double t) noexcept {
    return IsSameTime(table[std::max<std::size_t>(low, 1)], t) || IsSameTime(table[std::min(low + 1, table.count)], t);
}

// The point that a time within the table falls on, or null. For a table of at least a stencil.
const VecTabPoint* FindStoredPoint(const Table& table, double time) noexcept;

// A table with fewer points than a stencil serves only its points. `time` and `t` as for Evaluate.
Refusal TakeStoredPoint(const Table& table, double time, double t, VecTabPoint& point) noexcept;

// The ends of a stencil that is too far apart, days since 1950, UTC.
struct Gap {
    double start = 0.0;
    double end = 0.0;
};

// Logs why there is no state.
void LogRefusal(Refusal refusal, const Gap& gap) noexcept;

inline std::size_t FindLow(const Table& table, double t) noexcept {
    const std::size_t guess = GuessPoint(table, t);
    const bool between = guess < table.count && table[guess].ds50UTC < t && !(table[guess + 1].ds50UTC < t);
    return between ? guess : SearchLow(table, guess, t);
}

// Evaluates tables, one request after the other. `kMany`: what it knows of the last stencil it uses again, and a time is
// first looked for in the interval of the last one and in the next. The points must not change between its requests.
template <bool kMany>
class Evaluator {
  public:
    // The state of the table at a time that is not outside, days since 1950, UTC. `t` is the time after its way to
    // another scale and back, which may have moved it: a stored time gives its point all the same. Without covariance
    // its terms are not written, but for a stored point. A refusal writes nothing.
    template <bool kWithCovariance>
    [[gnu::always_inline]] Refusal Evaluate(const Table& table, double time, double t, VecTabPoint& point) noexcept {
        if (table.count < kStencilPoints) [[unlikely]]
            return TakeStoredPoint(table, time, t, point);
        if (std::islessgreater(time, t)) [[unlikely]] {
            if (const VecTabPoint* stored = FindStoredPoint(table, time)) {
                point = *stored;
                return Refusal::kNone;
            }
            if (IsOutside(table, t)) return Refusal::kOutside;
        }
        const std::size_t low = kMany ? FindLowFromLast(table, t) : FindLow(table, t);
        if constexpr (kMany) {
            points_ = table.points;
            low_ = low;
        }
        const Stencil points(&table[FirstOfStencil(table, low)], kStencilPoints);
        if (FallsOnPoint(table, low, t)) [[unlikely]] {
            point = *FindSameTime(points, t);
            return Refusal::kNone;
        }
        if (!kMany || points.data() != stencil_) {
            stencil_ = points.data();
            tooFarApart_ = (points.back().ds50UTC - points.front().ds50UTC) / 3.0 > kSpacingLimit;
            if (!tooFarApart_) times_.Measure(points);
        }
        if (tooFarApart_) return Refusal::kGap;
        HermiteOverStencil<kWithCovariance>(points, times_, t, point);
        point.revNum = RevolutionAt(table, low, point);
        return Refusal::kNone;
    }

    // Of the last request, where it was refused for it.
    Gap LastGap() const noexcept {
        if (stencil_ == nullptr) return {};
        return {stencil_[0].ds50UTC, stencil_[kStencilPoints - 1].ds50UTC};
    }

  private:
    std::size_t FindLowFromLast(const Table& table, double t) const noexcept {
        if (table.points == points_ && (low_ == 0 || table[low_].ds50UTC < t)) {
            for (const std::size_t low : {low_, low_ + 1}) {
                if (low >= table.count || !(table[low + 1].ds50UTC < t)) return low;
            }
        }
        return FindLow(table, t);
    }

    const VecTabPoint* points_ = nullptr;  // of the last table
    std::size_t low_ = 0;                  // points of it before the last time
    const VecTabPoint* stencil_ = nullptr;
    bool tooFarApart_ = false;
    StencilTimes times_{};
};

}  // namespace VecTableProcessing
