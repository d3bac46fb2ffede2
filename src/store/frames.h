// The frames that states can be in: their codes and their names, the one table of both. The library stores the code and
// converts nothing.
#pragma once

#include <vectable/vectable.h>

#include <cstdint>
#include <string_view>

namespace VecTableTypes {

enum CoordSys : std::int32_t {
    kEci = VEC_TAB_FRAME_ECI,
    kJ2k = VEC_TAB_FRAME_J2K,
    kEfg = VEC_TAB_FRAME_EFG,
    kEcr = VEC_TAB_FRAME_ECR,
    kLlh = VEC_TAB_FRAME_LLH,
    kSen = VEC_TAB_FRAME_SEN,
    kHcsrl = VEC_TAB_FRAME_HCSRL,
    kWptrl = VEC_TAB_FRAME_WPTRL,
    kHcsgc = VEC_TAB_FRAME_HCSGC,
    kWptgc = VEC_TAB_FRAME_WPTGC,
    kUnknownFrame = 100,
};

struct Frame {
    std::int32_t code;
    std::string_view name;
};

inline constexpr Frame kFrames[] = {
    {kEci, "ECI"}, {kJ2k, "J2K"},     {kEfg, "EFG"},     {kEcr, "ECR"},     {kLlh, "LLH"},
    {kSen, "SEN"}, {kHcsrl, "hcsrl"}, {kWptrl, "wptrl"}, {kHcsgc, "hcsgc"}, {kWptgc, "wptgc"},
};

// Empty for a code that has none.
constexpr std::string_view FrameName(std::int32_t code) noexcept {
    for (const Frame& frame : kFrames) {
        if (frame.code == code) return frame.name;
    }
    return {};
}

}  // namespace VecTableTypes
