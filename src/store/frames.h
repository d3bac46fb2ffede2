// The frames that states can be in: the one table of their codes, of their names in every format that has any, and of
// what they are. The library stores the code and converts nothing.
#pragma once

#include <vectable/vectable.h>

#include <array>
#include <cstdint>
#include <string_view>

namespace VecTableTypes {

enum CoordSys : std::int32_t {
    kTeme = VEC_TAB_FRAME_ECI,  // true equator and mean equinox of date; ECI to users and files
    kJ2k = VEC_TAB_FRAME_J2K,
    kEcr = VEC_TAB_FRAME_ECR,
    kUnknownFrame = 100,
};

// A name is empty where a format has none.
struct Frame {
    std::int32_t code = kUnknownFrame;
    std::string_view name{};  // to users
    bool rotatesWithEarth = false;
    std::string_view deck{};       // vector ephemeris and simulated observations, in any letter case
    std::string_view universal{};  // in any letter case
    std::string_view v31{};
    std::string_view dotE{};
    std::array<std::string_view, 3> oem{};  // in any letter case; where a frame rotates, its year may follow
};

// In the order in which Dot-E looks for its names.
inline constexpr Frame kFrames[] = {
    {.code = kTeme, .name = "ECI", .deck = "eci", .v31 = "ECI", .dotE = "TEMEOfDate", .oem = {"TEME"}},
    {.code = kEcr, .name = "ECR", .rotatesWithEarth = true, .deck = "ecr", .dotE = "Fixed", .oem = {"ITRF"}},
    {.code = kJ2k, .name = "J2K", .deck = "j2k", .dotE = "ICRF", .oem = {"EME2000", "ICRF", "GCRF"}},
    // Pseudo Earth-fixed: without polar motion.
    {.code = VEC_TAB_FRAME_EFG, .name = "EFG", .rotatesWithEarth = true, .deck = "efg", .v31 = "EFG"},
    {.code = VEC_TAB_FRAME_LLH, .name = "LLH", .rotatesWithEarth = true, .deck = "llh"},
    {.code = VEC_TAB_FRAME_SEN, .name = "SEN", .rotatesWithEarth = true, .deck = "sen"},
    {.code = VEC_TAB_FRAME_HCSRL, .name = "hcsrl", .universal = "hcsrl"},
    {.code = VEC_TAB_FRAME_WPTRL, .name = "wptrl", .universal = "wptrl"},
    {.code = VEC_TAB_FRAME_HCSGC, .name = "hcsgc", .universal = "hcsgc"},
    {.code = VEC_TAB_FRAME_WPTGC, .name = "wptgc", .universal = "wptgc"},
};

// kUnknownFrame with no name for a code that has none.
constexpr Frame FrameOf(std::int32_t code) noexcept {
    for (const Frame& frame : kFrames) {
        if (frame.code == code) return frame;
    }
    return {};
}

// The code of the frame that has the name in a format, given as a member of Frame; or kUnknownFrame.
constexpr std::int32_t FrameCode(std::string_view Frame::*format, std::string_view name) noexcept {
    for (const Frame& frame : kFrames) {
        if (!name.empty() && frame.*format == name) return frame.code;
    }
    return kUnknownFrame;
}

}  // namespace VecTableTypes
