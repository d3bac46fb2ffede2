#include "records.h"

#include <vectable/vectable.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <unistd.h>

#include "failure.h"
#include "log_capture.h"
#include "progress.h"
#include "text.h"
#include "times.h"

namespace Vectab {
namespace {

constexpr std::size_t kLongestPath = 512;
constexpr std::int32_t kLatLonHeight = 15;
constexpr std::int32_t kSouthEastNorth = 16;

template <std::size_t N>
std::string TextOf(const char (&array)[N]) {
    return Printable(WithoutOuterBlanks({array, N}));
}

// The path as the library must be given it to open the file of exactly this name.
std::string LibraryPath(const std::string& path) {
    if (::access(path.c_str(), R_OK) != 0) throw Failure(path + ": " + std::strerror(errno));
    std::string given = path.starts_with(' ') ? "./" + path : path;
    if (given.ends_with(' ')) throw Failure(path + ": a path must not end in a blank");
    if (given.size() > kLongestPath) throw Failure(path + ": a path must not be longer than 512 characters");
    return given;
}

void PassOnLog(const std::string& path, bool verbose) {
    constexpr std::size_t kMostShown = 10;
    std::size_t errors = 0;
    for (const LogCapture::Entry& entry : LogCapture::Instance().Take()) {
        if (entry.error) ++errors;
        if (verbose || (entry.error && errors <= kMostShown)) Complain(path + ": " + entry.text);
    }
    if (!verbose && errors > kMostShown) Complain(path + ": further entries in the log, see info --verbose");
}

Record Describe(std::int64_t key) {
    Record record{};
    char satName[8], ephemName[128], filePath[512];
    double epoch, ae, ke, pos[3], vel[3];
    record.key = key;
    if (VecTabGetAllFields(key, &record.satNum, satName, ephemName, &epoch, &ae, &ke, pos, vel, &record.frame,
                           &record.points, filePath) != 0 ||
        VecTabStartEndTime(key, &record.start, &record.end) != 0) {
        throw Failure(LogCapture::Instance().TakeError());
    }
    record.name = TextOf(ephemName).empty() ? TextOf(satName) : TextOf(ephemName);
    record.file = TextOf(filePath);
    return record;
}

std::vector<Record> DescribeAll() {
    std::vector<std::int64_t> keys(static_cast<std::size_t>(VecTabGetCount()));
    if (keys.empty()) return {};
    constexpr std::int32_t kByEntry = 2;
    VecTabGetLoaded(kByEntry, keys.data());
    std::vector<Record> records;
    records.reserve(keys.size());
    std::transform(keys.begin(), keys.end(), std::back_inserter(records), Describe);
    return records;
}

std::string WhatThereIs(const std::vector<Record>& records) {
    constexpr std::size_t kMostShown = 20;
    std::string words;
    for (std::size_t i = 0; i < std::min(records.size(), kMostShown); ++i) {
        words += (i == 0 ? "" : ", ") + std::to_string(records[i].satNum);
    }
    return words + (records.size() > kMostShown ? ", ..." : "");
}

}  // namespace

double Record::SpanSeconds() const noexcept {
    return (end - start) * kSecondsPerDay;
}

LoadedFile::LoadedFile(const std::string& path, bool verbose) : path_(path) {
    const std::string given = LibraryPath(path);
    std::int32_t status = 0;
    {
        const Progress progress(path);
        status = VecTabLoadFile(given.c_str());
    }
    PassOnLog(path, verbose);
    constexpr std::int32_t kReadFailure = 2;  // other numbers are those of the system
    if (status == ESPIPE) throw Failure(path + ": not a regular file");
    if (status != 0 && status != kReadFailure) throw Failure(path + ": " + std::strerror(status));
    records_ = DescribeAll();
    complete_ = status == 0;
    if (records_.empty()) {
        throw Failure(path + (complete_ ? ": no ephemeris found" : ": an ephemeris could not be read"));
    }
    if (!complete_) Complain(path + ": not all of it could be read");
}

LoadedFile::~LoadedFile() {
    VecTabRemoveAllSats();
}

int ForEachFile(const std::vector<std::string>& paths, bool verbose,
                const std::function<void(const LoadedFile&)>& work) {
    int exitStatus = 0;
    for (const std::string& path : paths) {
        std::optional<LoadedFile> file;
        try {
            file.emplace(path, verbose);
        } catch (const Failure& failure) {
            Complain(failure.what());
            exitStatus = kExitFailure;
            continue;
        }
        work(*file);
        if (!file->Complete()) exitStatus = kExitFailure;
    }
    return exitStatus;
}

const Record& Choose(const LoadedFile& file, const Choice& choice) {
    const std::vector<Record>& records = file.Records();
    std::vector<const Record*> fitting;
    for (std::size_t i = 0; i < records.size(); ++i) {
        const bool satellite = !choice.satNum || *choice.satNum == records[i].satNum;
        if (satellite && choice.number.value_or(i + 1) == i + 1) fitting.push_back(&records[i]);
    }
    if (fitting.size() == 1) return *fitting.front();
    const std::string held = file.Path() + " holds " + Counted(records.size(), "record") + ", of the satellite" +
                             (records.size() == 1 ? " " : "s ") + WhatThereIs(records);
    if (fitting.empty()) throw Failure(held + ": none is the one asked for", kExitUsage);
    throw Failure(held + (choice.satNum ? ": choose one with --record" : ": choose one with --sat or --record"),
                  kExitUsage);
}

State PointOf(const Record& record, std::int32_t number) {
    State state;
    if (VecTabGetEphemeris(record.key, number, &state.ds50UTC, state.pos, state.vel, &state.revNum) != 0) {
        throw Failure(LogCapture::Instance().TakeError());
    }
    return state;
}

std::string FrameName(std::int32_t frame) {
    switch (frame) {
        case 1:
            return "ECI";
        case 2:
            return "J2K";
        case 3:
            return "EFG";
        case 4:
            return "ECR";
        case kLatLonHeight:
            return "LLH";
        case kSouthEastNorth:
            return "SEN";
        case 17:
            return "hcsrl";
        case 18:
            return "wptrl";
        case 19:
            return "hcsgc";
        case 20:
            return "wptgc";
        default:
            return "code " + std::to_string(frame);
    }
}

bool IsCartesian(std::int32_t frame) noexcept {
    return frame != kLatLonHeight;
}

}  // namespace Vectab
