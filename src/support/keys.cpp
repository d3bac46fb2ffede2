#include "support/keys.h"

#include <cmath>
#include <limits>

#include "support/dates.h"
#include "support/finite.h"

namespace VecTableSupport {
namespace {

constexpr std::int64_t kSatelliteWeight = 10'000'000'000;
constexpr std::int64_t kLargestSatNum = 922'337'202;  // the largest whose keys fit
constexpr std::int64_t kEpochModulus = 999'999'937;   // the largest prime below 10^9
constexpr double kFarthestEpoch = 1e9;                // days
constexpr double kMillisecondsPerDay = 1000.0 * kSecondsPerDay;

std::int64_t HeadOf(std::int32_t satNum) noexcept {
    return std::int64_t{satNum} % (kLargestSatNum + 1) * kSatelliteWeight;
}

}  // namespace

std::int64_t CreateSatKey(std::int32_t satNum, std::int32_t elementType, double ds50UTC) noexcept {
    if (!IsFinite(ds50UTC) || std::fabs(ds50UTC) > kFarthestEpoch) return kNoKey;
    const auto milliseconds = static_cast<std::int64_t>(std::round(ds50UTC * kMillisecondsPerDay));
    const std::int64_t epoch = (milliseconds % kEpochModulus + kEpochModulus) % kEpochModulus;
    const std::int64_t tail = epoch * 10 + elementType;
    return satNum < 0 ? HeadOf(satNum) - tail : HeadOf(satNum) + tail;
}

std::int64_t CreateSatKey(std::int32_t satNum, std::int32_t elementType, std::string_view dateText) noexcept {
    const double ds50UTC = EpochTextToDs50(dateText);
    return ds50UTC > 0.0 ? CreateSatKey(satNum, elementType, ds50UTC) : kNoKey;
}

KeyRange TreeKeysOf(std::int32_t satNum) noexcept {
    constexpr std::int64_t kLongestTail = kSatelliteWeight - 1;
    const std::int64_t head = HeadOf(satNum);
    return satNum < 0 ? KeyRange{head - kLongestTail, head} : KeyRange{head, head + kLongestTail};
}

std::int64_t NextSatKey(std::int64_t key) noexcept {
    constexpr std::int64_t kStep = 10;
    if (key >= 0) return key > std::numeric_limits<std::int64_t>::max() - kStep ? key % kStep : key + kStep;
    return key < std::numeric_limits<std::int64_t>::min() + kStep ? key % kStep : key - kStep;
}

}  // namespace VecTableSupport
