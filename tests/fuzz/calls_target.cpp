// Any calls of creation and query, with any numbers.
#include <vectable/host.h>
#include <vectable/vectable.h>

#include <array>
#include <cstring>
#include <vector>

#include "targets.h"

namespace {

// Takes values from the input as long as there are any; zeros behind its end.
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

void Query(Input& input, uint8_t call) {
    std::array<double, 128> all;
    std::array<double, 36> matrix;
    std::array<double, 3> pos, vel;
    double time = 0.0, start = 0.0, end = 0.0;
    int32_t revNum = 0;
    const int64_t key = AnyKey(input);
    VecTabStartEndTime(key, &start, &end);
    const auto part = input.Take<uint16_t>();
    const double value = part % 2 == 0 ? start + part / 65535.0 * (end - start) : input.Take<double>();
    if (call % 4 == 0) VecTabXten(key, input.Take<int32_t>() % 5, value, all.data());
    if (call % 4 == 1) VecTabDs50UTCCovMtx(key, value, &time, pos.data(), vel.data(), &revNum, matrix.data());
    if (call % 4 == 2) VecTabMseCovMtx(key, value, &time, pos.data(), vel.data(), &revNum, matrix.data());
    if (call % 4 == 3)
        VecTabGetCovMtx(key, input.Take<int32_t>(), &time, pos.data(), vel.data(), &revNum, matrix.data());
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
        if (call >= 120 && call < 220) Query(input, call);
        if (call >= 220) Manage(input, call);
    }
    VecTabRemoveAllSats();
    return VecTabGetCount();
}
