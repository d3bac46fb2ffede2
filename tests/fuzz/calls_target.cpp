// Any calls of creation and query, with any numbers.
#include <vectable/batch.h>
#include <vectable/host.h>
#include <vectable/vectable.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <compare>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "targets.h"

namespace {

// Takes values from the input as long as there are any; zeros after its end.
class Input {
  public:
    Input(const uint8_t* data, size_t size) : next_(data), left_(size) {}

    template <typename Value>
    Value Take() {
        Value value{};
        const size_t length = sizeof value < left_ ? sizeof value : left_;
        std::memcpy(&value, next_, length);
        next_ += length;
        left_ -= length;
        return value;
    }

    bool AtEnd() const { return left_ == 0; }

  private:
    const uint8_t* next_;
    size_t left_;
};

std::vector<int64_t> keys;

// A key that was made, or any number.
int64_t AnyKey(Input& input) {
    const auto pick = input.Take<uint8_t>();
    return pick < 230 && !keys.empty() ? keys[pick % keys.size()] : input.Take<int64_t>();
}

void Create(Input& input, uint8_t call) {
    const auto pos = input.Take<std::array<double, 3>>();
    const auto vel = input.Take<std::array<double, 3>>();
    const int64_t key = AnyKey(input);
    const auto time = input.Take<double>();
    if (call % 4 == 0) {
        keys.push_back(VecTabAddSat(input.Take<int32_t>(), time, pos[0], pos[1], input.Take<int32_t>()));
    } else if (call % 4 == 1) {
        const auto terms = input.Take<std::array<double, 21>>();
        VecTabAddSatEphemCovMtx(key, time, pos.data(), vel.data(), input.Take<int32_t>(), terms.data());
    } else {
        // Rising times from a few bytes, so that tables come about.
        double start = 0.0, end = 0.0;
        VecTabStartEndTime(key, &start, &end);
        VecTabAddSatEphem(key, end + (call + 1) / 3000.0, pos.data(), vel.data(), input.Take<int32_t>());
    }
}

double AnyTime(Input& input, int64_t key) {
    double start = 0.0, end = 0.0;
    VecTabStartEndTime(key, &start, &end);
    const auto part = input.Take<uint16_t>();
    return part % 4 != 0 ? start + part / 65535.0 * (end - start) : input.Take<double>();
}

void Query(Input& input, uint8_t call) {
    double all[128], matrix[36], pos[3], vel[3], time;
    int32_t revNum;
    const int64_t key = AnyKey(input);
    const double value = AnyTime(input, key);
    if (call % 4 == 0) VecTabXten(key, input.Take<int32_t>() % 5, value, all);
    if (call % 4 == 1) VecTabDs50UTCCovMtx(key, value, &time, pos, vel, &revNum, matrix);
    if (call % 4 == 2) VecTabMseCovMtx(key, value, &time, pos, vel, &revNum, matrix);
    if (call % 4 == 3) VecTabGetCovMtx(key, input.Take<int32_t>(), &time, pos, vel, &revNum, matrix);
}

void AskBatch(Input& input) {
    const auto numKeys = input.Take<uint8_t>() % 5U, numTimes = input.Take<uint8_t>() % 70U;
    std::vector<int64_t> asked;
    std::vector<double> times;
    for (unsigned i = 0; i < numKeys; ++i) asked.push_back(AnyKey(input));
    for (unsigned i = 0; i < numTimes; ++i) times.push_back(AnyTime(input, asked.empty() ? 0 : asked.front()));
    if (input.Take<uint8_t>() % 2 == 0)
        std::sort(times.begin(), times.end(), [](double a, double b) { return std::strong_order(a, b) < 0; });
    const size_t count = asked.size() * times.size();
    std::vector<double> states(count * 6), covs(count * 21);
    std::vector<int32_t> revNums(count);
    std::vector<uint8_t> outcomes(count);
    VecBatchGrid(numKeys, asked.data(), numTimes, times.data(), states.data(), covs.data(), revNums.data(),
                 outcomes.data());
    // What the tests compare in full: there is a state where the single call has one.
    for (size_t i = 0; i < count; ++i) {
        double single[128];
        const bool failed = VecTabXten(asked[i / times.size()], 2, times[i % times.size()], single) != 0;
        if (failed != (outcomes[i] != VEC_BATCH_STATE)) std::abort();
    }
    asked.resize(std::min(asked.size(), times.size()));
    VecBatchPairs(static_cast<int64_t>(asked.size()), asked.data(), times.data(), states.data(), nullptr, nullptr,
                  outcomes.data());
    VecBatchGrid(input.Take<int64_t>(), nullptr, input.Take<int64_t>(), nullptr, nullptr, nullptr, nullptr, nullptr);
    VecBatchPairs(input.Take<int64_t>(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
}

void Manage(Input& input, uint8_t call) {
    std::array<char, 512> text{};
    const int64_t key = AnyKey(input);
    std::memcpy(text.data(), &key, sizeof key);
    std::vector<int64_t> listed(static_cast<size_t>(VecTabGetCount()));
    if (call % 8 == 0) VecTabRemoveSat(key);
    if (call % 8 == 1) VecTabSetField(key, input.Take<uint8_t>() % 17, text.data());
    if (call % 8 == 2) VecTabGetField(key, input.Take<uint8_t>() % 17, text.data());
    if (call % 8 == 3) VecTabGetLoaded(input.Take<int32_t>(), listed.data());
    if (call % 8 == 4) VecTabGetSatKey(input.Take<int32_t>());
    if (call % 8 == 5) VecTabFieldsToSatKey(input.Take<int32_t>(), input.Take<std::array<char, 20>>().data());
    if (call % 8 == 6) VecHostSetElsetKeyMode(call % 3 % 2);
    if (call % 8 == 7) VecTabGetLine(key, text.data());
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    VecHostSetTraceSink(nullptr, nullptr);
    Input input(data, size);
    keys.clear();
    while (!input.AtEnd()) {
        const auto call = input.Take<uint8_t>();
        if (call < 120) Create(input, call);
        if (call >= 120 && call < 200) Query(input, call);
        if (call >= 200 && call < 220) AskBatch(input);
        if (call >= 220) Manage(input, call);
    }
    VecTabRemoveAllSats();
    return VecTabGetCount();
}
