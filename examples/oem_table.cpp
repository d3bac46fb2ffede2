// Brings in tables that the library does not read itself: orbit ephemeris messages (CCSDS OEM) in their text form.
// Every segment of the file becomes a record, built point by point. The satellites are numbered 1, 2, ...
//
//     oem_table FILE.oem [TIME]      TIME as in the file: 2026-03-01T00:10:00 or 2026-060T00:10:00
//
// Prints a line for each segment, then its state at TIME, or at its middle, and the diagonal of the covariance when the
// segment has one. The times printed are days since 1950, UTC. Segments that do not reach TIME say so.
#include <vectable/vectable.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr double kEarthRadius = 6378.135;          // km
constexpr double kGravityConstant = 0.0743669161;  // (Earth radii)^1.5 a minute

struct Point {
    double time;
    std::array<double, 3> pos;
    std::array<double, 3> vel;
};

struct Covariance {
    double time;
    std::array<double, 21> terms;
};

struct Segment {
    std::string object;
    std::string frame;
    std::vector<Point> points;
    std::vector<Covariance> covariances;
};

[[noreturn]] void Fail(const std::string& words) {
    throw std::runtime_error(words);
}

std::string_view Trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

double Number(std::string_view text) {
    const char* first = text.data() + (text.starts_with('+') ? 1 : 0);
    const char* last = text.data() + text.size();
    double value = 0.0;
    const auto [end, error] = std::from_chars(first, last, value);
    if (error != std::errc{} || end != last || !std::isfinite(value)) Fail("bad number " + std::string(text));
    return value;
}

std::vector<double> Numbers(const std::string& line) {
    std::istringstream in(line);
    std::vector<double> numbers;
    for (std::string word; in >> word;) numbers.push_back(Number(word));
    return numbers;
}

// Whether a text has digits where the form has them, and nothing but a fraction behind it.
bool HasForm(std::string_view text, std::string_view form) {
    constexpr std::string_view kDigits = "0123456789";
    if (text.size() < form.size()) return false;
    for (std::size_t i = 0; i < form.size(); ++i) {
        if (form[i] == '0' ? (text[i] < '0' || text[i] > '9') : text[i] != form[i]) return false;
    }
    text.remove_prefix(form.size());
    return text.empty() || (text[0] == '.' && text.find_first_not_of(kDigits, 1) == std::string_view::npos);
}

int Digits(std::string_view text, std::size_t first, std::size_t count) {
    int value = 0;
    for (const char digit : text.substr(first, count)) value = 10 * value + (digit - '0');
    return value;
}

std::optional<std::chrono::sys_days> Day(std::string_view text, bool isCalendar) {
    using namespace std::chrono;
    const year y(Digits(text, 0, 4));
    if (isCalendar) {
        const year_month_day date(y, month(static_cast<unsigned>(Digits(text, 5, 2))),
                                  day(static_cast<unsigned>(Digits(text, 8, 2))));
        if (!date.ok()) return std::nullopt;
        return sys_days(date);
    }
    const int number = Digits(text, 5, 3);
    if (number < 1 || number > (y.is_leap() ? 366 : 365)) return std::nullopt;
    return sys_days(y / January / 1) + days(number - 1);
}

// Days since 1950: day 1.0 is 1950-01-01 00:00. A leap second has no number of its own, and is refused.
double Days(std::string_view text) {
    using namespace std::chrono;
    const std::string_view date = text.ends_with('Z') ? text.substr(0, text.size() - 1) : text;
    const bool isCalendar = HasForm(date, "0000-00-00T00:00:00");
    if (!isCalendar && !HasForm(date, "0000-000T00:00:00")) Fail("bad date " + std::string(text));

    const std::optional<sys_days> day = Day(date, isCalendar);
    const std::string_view clock = date.substr(isCalendar ? 11 : 9);
    const int hour = Digits(clock, 0, 2);
    const int minute = Digits(clock, 3, 2);
    const double second = Number(clock.substr(6));
    if (!day || hour > 23 || minute > 59 || second >= 60.0) Fail("bad date " + std::string(text));
    const auto wholeDays = (*day - sys_days(year(1950) / January / 1)).count() + 1;
    return static_cast<double>(wholeDays) + (3600 * hour + 60 * minute + second) / 86400.0;
}

// The library converts nothing, and neither does this program: EME2000 and ICRF lie less than a metre apart in low
// orbits. TOD has no code: it counts from the true equinox, up to half a kilometre from the mean equinox of code 1.
int32_t FrameCode(const std::string& frame) {
    if (frame == "EME2000" || frame == "ICRF") return 2;
    if (frame == "TEME") return 1;
    if (frame.starts_with("ITRF")) return 4;
    Fail("REF_FRAME '" + frame + "' has no code");
}

class Reader {
  public:
    explicit Reader(std::istream& in) : in_(in) {}

    std::vector<Segment> Segments() {
        try {
            ReadAll();
        } catch (const std::runtime_error& failure) {
            Fail("line " + std::to_string(lineNumber_) + ": " + failure.what());
        }
        return std::move(segments_);
    }

  private:
    void ReadAll() {
        if (!Next() || key_ != "CCSDS_OEM_VERS") Fail("no orbit ephemeris message");
        while (Next()) {
            if (key_ == "META_START") {
                ReadMetadata();
            } else if (key_ == "COVARIANCE_START" && !segments_.empty()) {
                ReadCovariances();
            } else if (!segments_.empty()) {
                ReadPoint();
            } else if (value_.empty()) {
                Fail("no META_START before this line");
            }
        }
        if (in_.bad()) Fail("cannot be read on");
        if (segments_.empty()) Fail("no segment");
        CheckLastSegment();
    }

    // Goes to the next line that says something: to its key and value, or to a key alone.
    bool Next() {
        do {
            if (!std::getline(in_, line_)) return false;
            ++lineNumber_;
            const std::size_t equals = line_.find('=');
            key_ = Trimmed(std::string_view(line_).substr(0, equals));
            value_ = equals == std::string::npos ? "" : Trimmed(std::string_view(line_).substr(equals + 1));
        } while (key_.empty() || key_ == "COMMENT" || key_.starts_with("COMMENT "));
        return true;
    }

    void NextBefore(const char* stop) {
        if (!Next()) Fail(std::string("the file ends before ") + stop);
    }

    void ReadMetadata() {
        if (!segments_.empty()) CheckLastSegment();
        Segment segment;
        std::string center;
        std::string timeSystem;
        for (NextBefore("META_STOP"); key_ != "META_STOP"; NextBefore("META_STOP")) {
            if (key_ == "OBJECT_NAME") segment.object = value_;
            if (key_ == "CENTER_NAME") center = value_;
            if (key_ == "REF_FRAME") segment.frame = value_;
            if (key_ == "TIME_SYSTEM") timeSystem = value_;
        }
        if (center != "EARTH" && center != "Earth") Fail("CENTER_NAME must be EARTH, not '" + center + "'");
        if (timeSystem != "UTC") Fail("TIME_SYSTEM must be UTC, not '" + timeSystem + "'");
        FrameCode(segment.frame);
        segments_.push_back(std::move(segment));
    }

    // Accelerations behind the velocity are read, and left: a table has no place for them.
    void ReadPoint() {
        std::vector<Point>& points = segments_.back().points;
        const std::size_t blank = std::min(key_.find_first_of(" \t"), key_.size());
        const double time = Days(key_.substr(0, blank));
        const std::vector<double> n = Numbers(key_.substr(blank));
        if (n.size() != 6 && n.size() != 9) Fail("a state has 6 numbers, or 9 with its acceleration");
        // The library would drop such a point without a word.
        if (!points.empty() && time <= points.back().time) Fail("a time that is not later than the last one");
        points.push_back({time, {n[0], n[1], n[2]}, {n[3], n[4], n[5]}});
    }

    void ReadCovariances() {
        NextBefore("COVARIANCE_STOP");
        while (key_ != "COVARIANCE_STOP") {
            if (key_ != "EPOCH") Fail("no EPOCH before the rows of a covariance");
            ReadCovariance();
            NextBefore("COVARIANCE_STOP");
        }
    }

    void ReadCovariance() {
        Segment& segment = segments_.back();
        Covariance covariance{Days(value_), {}};
        std::string frame = segment.frame;
        NextBefore("the rows of a covariance");
        if (key_ == "COV_REF_FRAME") {
            frame = value_;
            NextBefore("the rows of a covariance");
        }
        auto* term = covariance.terms.data();
        for (std::size_t row = 1; row <= 6; ++row) {
            if (row > 1) NextBefore("the rows of a covariance");
            if (key_ == "COVARIANCE_STOP" || key_ == "EPOCH") Fail("a covariance has 6 rows");
            const std::vector<double> numbers = Numbers(line_);
            if (numbers.size() != row)
                Fail("row " + std::to_string(row) + " of a covariance has " + std::to_string(row) + " numbers");
            term = std::ranges::copy(numbers, term).out;
        }
        if (frame == segment.frame) {
            segment.covariances.push_back(covariance);
        } else {
            std::fprintf(stderr, "line %d: covariance in frame %s left out\n", lineNumber_, frame.c_str());
        }
    }

    void CheckLastSegment() {
        if (segments_.back().points.empty()) Fail("a segment without points");
        std::ranges::sort(segments_.back().covariances, {}, &Covariance::time);
    }

    std::istream& in_;
    std::vector<Segment> segments_;
    std::string line_;
    std::string key_;
    std::string value_;
    int lineNumber_ = 0;
};

// A table in which some points have a covariance and others have none would mix zeros into what it interpolates. So
// every point takes the latest covariance at or before it, and points before the first one take the first. Covariances
// thus change in a step; within two points of it, what is interpolated can leave the range of both.
const Covariance* CovarianceAt(const Segment& segment, double time) {
    const std::vector<Covariance>& all = segment.covariances;
    if (all.empty()) return nullptr;
    const auto later = std::ranges::upper_bound(all, time, {}, &Covariance::time);
    return later == all.begin() ? &all.front() : &*(later - 1);
}

int64_t Store(const Segment& segment, int32_t satNum) {
    const int64_t key =
        VecTabAddSat(satNum, segment.points.front().time, kEarthRadius, kGravityConstant, FrameCode(segment.frame));
    if (key <= 0) Fail("a segment cannot be stored");
    for (const Point& p : segment.points) {
        const Covariance* covariance = CovarianceAt(segment, p.time);
        const int32_t status = covariance == nullptr ? VecTabAddSatEphem(key, p.time, p.pos.data(), p.vel.data(), 0)
                                                     : VecTabAddSatEphemCovMtx(key, p.time, p.pos.data(), p.vel.data(),
                                                                               0, covariance->terms.data());
        if (status != 0) Fail("a point cannot be stored");
    }
    return key;
}

void PrintState(int64_t key, double time, bool hasCovariance) {
    double mse, pos[3], vel[3], covMtx[36];
    int32_t revNum;
    if (VecTabDs50UTCCovMtx(key, time, &mse, pos, vel, &revNum, covMtx) != 0) Fail("no state at the time asked for");
    std::printf("  at %.8f  pos %.6f %.6f %.6f km  vel %.9f %.9f %.9f km/s\n", time, pos[0], pos[1], pos[2], vel[0],
                vel[1], vel[2]);
    if (!hasCovariance) return;
    std::printf("  covariance diagonal");
    for (std::size_t i = 0; i < 6; ++i) std::printf(" %.6e", covMtx[7 * i]);
    std::printf("\n");
}

// Whether there was a state to print.
bool Report(int64_t key, const Segment& segment, std::optional<double> time) {
    int32_t satNum, coordSys, numOfPts;
    double epoch, ae, ke, pos[3], vel[3], start, end;
    char satName[8], ephemName[128], filePath[512];
    if (VecTabGetAllFields(key, &satNum, satName, ephemName, &epoch, &ae, &ke, pos, vel, &coordSys, &numOfPts,
                           filePath) != 0 ||
        VecTabStartEndTime(key, &start, &end) != 0) {
        Fail("a record cannot be found again");
    }
    std::printf("segment %d  object %s  frame %s code %d  points %d  from %.8f to %.8f\n", satNum,
                segment.object.c_str(), segment.frame.c_str(), coordSys, numOfPts, start, end);
    const double asked = time.value_or(start + (end - start) / 2.0);
    if (asked < start || asked > end) {
        std::printf("  does not reach %.8f\n", asked);
        return false;
    }
    PrintState(key, asked, !segment.covariances.empty());
    return true;
}

void Run(const char* path, std::optional<double> time) {
    std::ifstream in(path);
    if (!in) Fail("the file cannot be opened");
    const std::vector<Segment> segments = Reader(in).Segments();
    int states = 0;
    int32_t satNum = 0;
    for (const Segment& segment : segments) states += Report(Store(segment, ++satNum), segment, time) ? 1 : 0;
    if (states == 0) Fail("no segment reaches the time asked for");
    if (VecTabRemoveAllSats() != 0) Fail("the records cannot be removed");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2 && argc != 3) {
        std::fputs("usage: oem_table FILE.oem [TIME]\n", stderr);
        return EXIT_FAILURE;
    }
    try {
        Run(argv[1], argc == 3 ? std::optional(Days(argv[2])) : std::nullopt);
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "oem_table: %s: %s\n", argv[1], failure.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
