#include "samples.h"

#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ostream>

namespace SampleMaking {
namespace {

// The DCE formats count days from here, days since 1950.
constexpr double kDceDayZero = 7305.0;

// Formatted output; every sample is made of it.
template <typename... Values>
std::string Text(const char* format, Values... values) {
    std::array<char, 256> text;
    std::snprintf(text.data(), text.size(), format, values...);
    return text.data();
}

// A line with texts at given columns, counted from 1.
class CardImage {
  public:
    CardImage& At(std::size_t column, const std::string& text) {
        if (line_.size() < column - 1 + text.size()) line_.resize(column - 1 + text.size(), ' ');
        line_.replace(column - 1, text.size(), text);
        return *this;
    }
    const std::string& Line() const { return line_; }

  private:
    std::string line_;
};

std::ostream& operator<<(std::ostream& out, const CardImage& card) {
    return out << card.Line() << '\n';
}

std::string Vector3(const char* format, const Vector& v) {
    return Text(format, v[0], v[1], v[2]);
}

struct TimeOfDay {
    int day, hour, minute;
    double seconds;
};

TimeOfDay TimeOf(const State& state) {
    const int whole = static_cast<int>(state.seconds);
    const int minutes = whole / 60;
    return {kEpochDayOfYear + whole / 86400, whole / 3600 % 24, minutes % 60, state.seconds - 60.0 * minutes};
}

// "YYDDDHHMMSS.SSS"
std::string Date15(const State& state) {
    const TimeOfDay t = TimeOf(state);
    return Text("%02d%03d%02d%02d%06.3f", kEpochYear % 100, t.day, t.hour, t.minute, t.seconds);
}

// "YYYY/MM/DD HH:MM:SS.SSS"
std::string Date23(const State& state) {
    using namespace std::chrono;
    const TimeOfDay t = TimeOf(state);
    const year_month_day date(sys_days(year(kEpochYear) / 1 / 1) + days(t.day - 1));
    return Text("%04d/%02u/%02u %02d:%02d:%06.3f", kEpochYear, static_cast<unsigned>(date.month()),
                static_cast<unsigned>(date.day()), t.hour, t.minute, t.seconds);
}

// "YYYY-MM-DDTHH:MM:SS.SSS"
std::string IsoDate(const State& state) {
    std::string date = Date23(state);
    date[4] = date[7] = '-';
    date[10] = 'T';
    return date;
}

// A diagonal that grows, the rest a tenth of it; positions in km, velocities in km/s.
double GrowingCovariance(int point, int k) {
    int row = 1;
    while (row * (row + 1) / 2 < k) ++row;
    const int column = k - row * (row - 1) / 2;
    return (row == column ? 1.0 : 0.1) * (row > 3 ? 1e-3 : 1.0) * (column > 3 ? 1e-3 : 1.0) * (1.0 + 0.01 * point);
}

// One number in term 1, and in term 2 the mark that says so.
double MarkedScalar(int point, int k) {
    return k == 1 ? 0.5 * point : k == 2 ? 12345.0 : 0.0;
}

void WriteDotE(std::ostream& out, const Sample& sample, const std::vector<State>& states) {
    out << "stk.v.12.0\n\nBEGIN Ephemeris\n\n"
        << "NumberOfEphemerisPoints  " << states.size() << "\n"
        << "ScenarioEpoch            1 Mar 2026 00:00:00.000\n"
        << "CentralBody              Earth\n"
        << "CoordinateSystem         " << (sample.coordSys == 1 ? "TEMEOfDate" : "J2000") << "\n"
        << "DistanceUnit             Kilometers\n\n"
        << (sample.velDigit == 0.0 ? "EphemerisTimePos\n\n" : "EphemerisTimePosVel\n\n");
    for (const State& s : states) {
        out << Text("%.3f", s.seconds) << Vector3(" %.6f %.6f %.6f", s.pos);
        if (sample.velDigit != 0.0) out << Vector3(" %.9f %.9f %.9f", s.vel);
        out << '\n';
    }
    out << "\nend Ephemeris\n";
}

CardImage DeckHeader() {
    return CardImage()
        .At(1, Text("%22.15f", 0.07436691613317341))
        .At(23, Text("%22.15f", 6378.135))
        .At(46, "26060000000.000");
}

void WriteVecEph(std::ostream& out, const Sample& sample, const std::vector<State>& states) {
    out << DeckHeader().At(75, "SP ");
    for (const State& s : states) {
        out << CardImage()
                   .At(18, Vector3("%16.6f%16.6f%16.6f", s.pos))
                   .At(67, Text("%05d", sample.satNum))
                   .At(78, "ECI");
        out << CardImage().At(3, Date15(s)).At(18, Vector3("%16.9f%16.9f%16.9f", s.vel));
    }
}

void WriteSimObs(std::ostream& out, const Sample& sample, const std::vector<State>& states) {
    out << DeckHeader().At(80, "Z");
    for (const State& s : states) {
        out << CardImage().At(2, Text("%05d", sample.satNum)).At(8, Date15(s)).At(23, "      7").At(76, "ECI");
        out << Vector3("%22.14E%22.14E%22.14E\n", s.pos) << Vector3("%22.14E%22.14E%22.14E\n", s.vel);
    }
}

void WriteItc(std::ostream& out, const Sample& sample, const std::vector<State>& states) {
    out << CardImage().At(2, Text("%05d", sample.satNum)).At(52, "2026060000000.000").At(113, "SP");
    int point = 0;
    for (const State& s : states) {
        ++point;
        out << CardImage()
                   .At(4, Date15(s))
                   .At(19, Vector3("%16.6f%16.6f%16.6f", s.pos))
                   .At(67, Vector3("%16.9f%16.9f%16.9f", s.vel));
        for (int k = 1; k <= 21; ++k) out << Text("%16.8E", sample.covariance(point, k)) << (k % 7 == 0 ? "\n" : "");
    }
}

void WriteV31(std::ostream& out, const Sample& sample, const std::vector<State>& states) {
    out << Text("EPHEMERIS FILE FOR SATELLITE %05d\n\n", sample.satNum)
        << CardImage().At(1, "Propagation by two bodies and the oblateness of the Earth").At(66, "ECI") << '\n'
        << std::string(48, '=') << '\n';
    for (const State& s : states) {
        const Vector metersPerSecond{1000.0 * s.vel[0], 1000.0 * s.vel[1], 1000.0 * s.vel[2]};
        out << Date15(s) << Vector3("%19.8f%19.8f%19.8f", s.pos) << Vector3("%19.8f%19.8f%19.8f\n", metersPerSecond);
    }
    out << std::string(48, 'E') << '\n' << std::string(48, 'Z') << '\n';
}

void WriteOwner(std::ostream& out, const Sample& /*sample*/, const std::vector<State>& states) {
    out << "* time, position in km, velocity in km/s, J2000\n";
    for (const State& s : states) {
        out << Date15(s) << Vector3(" %.6f %.6f %.6f", s.pos) << Vector3(" %.9f %.9f %.9f\n", s.vel);
    }
}

void WriteJ2k(std::ostream& out, const Sample& sample, const std::vector<State>& states) {
    out << " SPEPH PREDICTION EPHEMERIS\n";
    for (const State& s : states) {
        const TimeOfDay t = TimeOf(s);
        out << CardImage()
                   .At(3, Text("%05d", sample.satNum))
                   .At(12, Text("%02d %03d %02d %02d %06.3f", kEpochYear % 100, t.day, t.hour, t.minute, t.seconds))
                   .At(32, Vector3("%.6f %.6f %.6f", s.pos) + Vector3(" %.9f %.9f %.9f", s.vel));
    }
}

void WriteEcr(std::ostream& out, const Sample& sample, const std::vector<State>& states) {
    const bool positionOnly = sample.velDigit == 0.0;
    out << "CLASSIFICATION: UNCLASSIFIED\n" << Text("%05d", sample.satNum) << "\n\n\n\n\n\n\n";
    if (positionOnly) {
        out << "YYDDDHHMMSS.SSS      X(KM)          Y(KM)          Z(KM)\n\n";
    } else {
        out << "YYDDDHHMMSS.SSS      X(KM), VX(KM/S)  Y(KM), VY(KM/S)  Z(KM), VZ(KM/S)\n\n\n";
    }
    for (const State& s : states) {
        out << Date15(s) << Vector3(" %15.6f%15.6f%15.6f\n", s.pos);
        if (!positionOnly) out << std::string(15, ' ') << Vector3(" %15.9f%15.9f%15.9f\n", s.vel);
    }
}

void WriteLaunch(std::ostream& out, const Sample& /*sample*/, const std::vector<State>& states) {
    out << "TIME(SEC): TIME   seconds from the start of today; position in m, velocity in m/s, Earth-fixed\n";
    for (int line = 1; line <= 16; ++line) out << "* header line " << line << "\n";
    for (const State& s : states) {
        const Vector meters{1000.0 * s.pos[0], 1000.0 * s.pos[1], 1000.0 * s.pos[2]};
        const Vector metersPerSecond{1000.0 * s.vel[0], 1000.0 * s.vel[1], 1000.0 * s.vel[2]};
        out << Text("%.3f 0 0 0 ", s.seconds) << Vector3("%.3f %.3f %.3f ", meters)
            << Vector3("%.6f %.6f %.6f\n    0 0 0 0 0 COAST\n", metersPerSecond);
    }
}

void WriteDceText(std::ostream& out, const Sample& sample, const std::vector<State>& states) {
    out << Text("%05d\n", sample.satNum);
    int point = 0;
    for (const State& s : states) {
        out << Text("%d 0 0.0 %.12f ", ++point, kEpochDs50UTC - kDceDayZero + s.seconds / 86400.0)
            << Vector3("%.6f %.6f %.6f ", s.pos) << Vector3("%.9f %.9f %.9f 0 0 0 0\n", s.vel);
    }
}

// Big-endian, byte by byte.
template <typename Number>
std::string Bytes(Number number) {
    std::array<unsigned char, sizeof(Number)> bytes;
    std::memcpy(bytes.data(), &number, sizeof number);
    if constexpr (std::endian::native == std::endian::little) std::reverse(bytes.begin(), bytes.end());
    return {bytes.begin(), bytes.end()};
}

void WriteDceBinary(std::ostream& out, const Sample& sample, const std::vector<State>& states) {
    out << std::string(24, ' ') << Bytes<std::int32_t>(sample.satNum) << std::string(76, ' ');
    std::int32_t point = 0;
    for (const State& s : states) {
        out << Bytes<std::int32_t>(++point) << Bytes<std::int32_t>(0) << Bytes(0.0)
            << Bytes(kEpochDs50UTC - kDceDayZero + s.seconds / 86400.0);
        for (const double x : s.pos) out << Bytes(x);
        for (const double v : s.vel) out << Bytes(v);
        for (int unused = 0; unused < 4; ++unused) out << Bytes(0.0);
    }
}

void WriteUniversal(std::ostream& out, const Sample& sample, const std::vector<State>& states) {
    const bool commas = sample.file.find("commas") != std::string::npos;
    out << CardImage()
               .At(1, "VT_UNIVERSAL_VECTABLE_V1.0")
               .At(30, Text("%010d", sample.satNum))
               .At(40, "hcsgc")
               .At(50, commas ? "CSV " : "");
    for (const State& s : states) {
        if (commas) {
            out << Date23(s) << Vector3(",%.6f,%.6f,%.6f", s.pos) << Vector3(",%.9f,%.9f,%.9f\n", s.vel);
        } else {
            out << CardImage()
                       .At(1, Date23(s))
                       .At(28, Vector3("%19.6f %19.6f %19.6f ", s.pos) + Vector3("%19.9f %19.9f %19.9f", s.vel));
        }
    }
}

void WriteEelv(std::ostream& out, const Sample& /*sample*/, const std::vector<State>& states) {
    for (const double part : {1e-3 * kEpochYear, 3.0, 1.0, 0.0, 0.0, 0.0}) {
        out << Text(part == 1e-3 * kEpochYear ? "%.14fE+03   " : "%.14fE+00   ", part);
    }
    out << "\n";
    constexpr double kKilometersPerFoot = 0.0003048;
    const auto feet = [](const Vector& v) {
        return Vector{v[0] / kKilometersPerFoot, v[1] / kKilometersPerFoot, v[2] / kKilometersPerFoot};
    };
    for (const State& s : states) {
        out << Text("%.3f", s.seconds) << Vector3(" %.3f %.3f %.3f", feet(s.pos))
            << Vector3(" %.6f %.6f %.6f\n", feet(s.vel));
    }
}

void WriteLch(std::ostream& out, const Sample& sample, const std::vector<State>& states) {
    out << "CLASSIFICATION:                 UNCLASSIFIED\n\n\n\n\n"
        << CardImage().At(1, "SATELLITE NUMBER").At(44, Text("%05d", sample.satNum)) << "\n\n\n\n";
    int point = 0;
    for (const State& s : states) {
        out << Date15(s) << Vector3("    %.6f %.6f %.6f", s.pos) << Vector3(" %.9f %.9f %.9f", s.vel)
            << Text(" %.3f\n", sample.covariance(++point, 1));
    }
}

void WriteOasys(std::ostream& out, const Sample& sample, const std::vector<State>& states) {
    out << CardImage().At(1, "Ephemeris").At(13, "VERSION: 1")
        << CardImage().At(10, Text("Spacecraft: %05d", sample.satNum));
    for (const State& s : states) {
        out << Date23(s) << Vector3("  %.6f %.6f %.6f", s.pos) << Vector3(" %.9f %.9f %.9f\n", s.vel);
    }
}

// A covariance at the first point, at the eleventh and at the last.
void WriteOem(std::ostream& out, const Sample& sample, const std::vector<State>& states) {
    out << "CCSDS_OEM_VERS = 2.0\nCREATION_DATE  = 2026-02-28T12:00:00\nORIGINATOR     = SAMPLE\n\n"
        << "META_START\nOBJECT_NAME = SAMPLE " << sample.satNum << "\nOBJECT_ID   = 2026-001A\n"
        << "CENTER_NAME = EARTH\nREF_FRAME   = EME2000\nTIME_SYSTEM = UTC\n"
        << "START_TIME  = " << IsoDate(states.front()) << "\nSTOP_TIME   = " << IsoDate(states.back())
        << "\nMETA_STOP\n\n";
    for (const State& s : states) {
        out << IsoDate(s) << Vector3(" %.6f %.6f %.6f", s.pos) << Vector3(" %.9f %.9f %.9f\n", s.vel);
    }
    out << "\nCOVARIANCE_START\n";
    for (const std::size_t index : {std::size_t{0}, std::size_t{10}, states.size() - 1}) {
        out << "EPOCH = " << IsoDate(states[index]) << "\nCOV_REF_FRAME = EME2000\n";
        for (int row = 1, k = 1; row <= 6; ++row) {
            for (int column = 1; column <= row; ++column, ++k) {
                out << Text(column == row ? "%.8E\n" : "%.8E ", sample.covariance(static_cast<int>(index) + 1, k));
            }
        }
    }
    out << "COVARIANCE_STOP\n";
}

}  // namespace

const std::vector<Sample> kSamples = {
    {"10001_leo.e", kLeo, 10001, 1, 1e-6, 1e-9, WriteDotE},
    {"10002_geo.e", kGeo, 10002, 1, 1e-6, 1e-9, WriteDotE},
    {"10003_heo.e", kHeo, 10003, 1, 1e-6, 1e-9, WriteDotE},
    {"10018_position.e", kShortLeo, 10018, 1, 1e-6, 0.0, WriteDotE},
    {"vector_ephemeris.txt", kShortLeo, 10004, 1, 1e-6, 1e-9, WriteVecEph},
    {"simulated_observations.txt", kShortLeo, 10005, 1, 1e-10, 1e-13, WriteSimObs},
    {"itc.txt", kShortLeo, 10006, 1, 1e-6, 1e-9, WriteItc, GrowingCovariance},
    {"v31.txt", kShortLeo, 10007, 1, 1e-8, 1e-11, WriteV31},
    {"10008_owner_operator.txt", kShortLeo, 10008, 2, 1e-6, 1e-9, WriteOwner},
    {"j2k.txt", kShortLeo, 10009, 2, 1e-6, 1e-9, WriteJ2k},
    {"ecr.txt", kShortLeo, 10010, 4, 1e-6, 1e-9, WriteEcr},
    {"ecr_position.txt", kShortLeo, 10011, 4, 1e-6, 0.0, WriteEcr},
    {"launch.txt", kShortLeo, 99999, 4, 1e-6, 1e-9, WriteLaunch},
    {"dce_text.txt", kShortLeo, 10012, 1, 1e-6, 1e-9, WriteDceText},
    {"binary.dce", kShortLeo, 10013, 1, 1e-16, 1e-16, WriteDceBinary},
    {"universal.txt", kShortLeo, 10014, 19, 1e-6, 1e-9, WriteUniversal},
    {"universal_commas.txt", kShortLeo, 10015, 19, 1e-6, 1e-9, WriteUniversal},
    {"eelv.txt", kShortLeo, 99999, 1, 1e-6, 1e-9, WriteEelv},
    {"lch.txt", kShortLeo, 10016, 1, 1e-6, 1e-9, WriteLch, MarkedScalar},
    {"oasys.txt", kShortLeo, 10017, 2, 1e-6, 1e-9, WriteOasys},
    {"message.oem", kShortLeo, 10019, 2, 1e-6, 1e-9, WriteOem, GrowingCovariance},
};

std::vector<State> StatesOf(const Sample& sample) {
    constexpr int kJ2k = 2;
    constexpr int kEarthFixed = 4;
    std::vector<State> states = Propagate(sample.orbit);
    for (State& state : states) {
        if (sample.coordSys == kJ2k) state = MeanOfJ2000(state);
        if (sample.coordSys == kEarthFixed) state = EarthFixed(state);
    }
    return states;
}

}  // namespace SampleMaking
