#include "records.h"

#include <vectable/host.h>
#include <vectable/oem.h>
#include <vectable/vectable.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <string_view>
#include <sys/stat.h>

#include "failure.h"
#include "log_capture.h"
#include "progress.h"
#include "text.h"
#include "times.h"

namespace Vectab {
namespace {

template <std::size_t N>
std::string TextOf(const char (&array)[N]) {
    return std::string(WithoutOuterBlanks({array, N}));
}

// The number that a text is, or none.
std::optional<std::int32_t> NumberOf(std::string_view text) noexcept {
    std::int32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return number;
}

Record Describe(std::int64_t key) {
    Record record{};
    char satName[VEC_TAB_SAT_NAME_LENGTH], ephemName[VEC_TAB_EPHEM_NAME_LENGTH], filePath[VEC_TAB_PATH_LENGTH];
    char format[VEC_HOST_FORMAT_LENGTH];
    double epoch, ae, ke, pos[3], vel[3];
    record.key = key;
    if (VecTabGetAllFields(key, &record.satNum, satName, ephemName, &epoch, &ae, &ke, pos, vel, &record.frame,
                           &record.points, filePath) != 0 ||
        VecTabStartEndTime(key, &record.start, &record.end) != 0 || VecHostGetFormat(key, format) != 0) {
        throw Failure(LogCapture::Instance().TakeError());
    }
    record.satName = Printable(TextOf(satName));
    record.name = TextOf(ephemName).empty() ? record.satName : Printable(TextOf(ephemName));
    record.file = TextOf(filePath);
    record.format = TextOf(format);
    // An OEM has no satellite number, but may have written one as OBJECT_ID.
    if (record.format == kOemFormat) record.satNum = NumberOf(record.satName).value_or(record.satNum);
    record.badLines = LogCapture::Instance().BadLines(record.file);
    return record;
}

// Why a listed file gave no record; empty when the library can open it.
std::string WhyNotOpened(const std::string& path) {
    struct stat properties;
    if (path.empty()) return "no file is named";
    if (std::string why = WhyTooLong(path); !why.empty()) return why;
    if (::stat(path.c_str(), &properties) != 0) return path + ": " + std::strerror(errno);
    if (S_ISDIR(properties.st_mode)) return path + ": " + std::strerror(EISDIR);
    return S_ISREG(properties.st_mode) ? "" : path + ": not a regular file";
}

// Orbit ephemeris messages have a call of their own in the library.
bool IsOrbitEphemerisMessage(const std::string& path) {
    char format[VEC_HOST_FORMAT_LENGTH];
    std::int32_t holds = 0;
    return VecHostGetFileFormat(path.c_str(), format, &holds) == 0 && TextOf(format) == kOemFormat;
}

std::int32_t LoadMessage(const std::string& path) {
    std::int32_t count = 0;
    return VecOemLoadFile(path.c_str(), VEC_TAB_UNKNOWN_SAT_NUM, nullptr, 0, &count);
}

// 0, VEC_TAB_FAILURE or the error number of the system.
std::int32_t LoadAny(const std::string& path) {
    return IsOrbitEphemerisMessage(path) ? LoadMessage(path) : VecTabLoadFile(path.c_str());
}

}  // namespace

double Record::SpanSeconds() const noexcept {
    return (end - start) * kSecondsPerDay;
}

StoredKeys::~StoredKeys() {
    for (const std::int64_t key : keys_) VecTabRemoveSat(key);
}

std::vector<std::int64_t> StoredKeys::TakeLoaded() {
    std::vector<std::int64_t> loaded;
    std::array<std::int64_t, 64> some;
    for (std::int32_t count = 0; (count = VecHostTakeKeys(some.data(), some.size())) > 0;) {
        loaded.insert(loaded.end(), some.begin(), some.begin() + count);
    }
    keys_.insert(keys_.end(), loaded.begin(), loaded.end());
    return loaded;
}

LoadedFile::LoadedFile(const std::string& name, bool verbose) : source_(name) {
    {
        const Progress progress(name);
        Load();
        LoadListed();
    }
    PassOnLog(verbose);
    LeaveOutCut();
    TellMissing();
    for (Record& record : records_) {
        record.number = static_cast<std::size_t>(&record - records_.data()) + 1;
        record.file = source_.Shown(record.file);
    }
    if (records_.empty()) {
        throw Failure(name + (complete_ ? ": no ephemeris found" : ": an ephemeris could not be read"));
    }
    if (!complete_) Complain(name + ": not all of it could be read");
}

void LoadedFile::Load() {
    const std::int32_t status = LoadAny(source_.Path());
    if (status == ESPIPE) throw Failure(Name() + ": not a regular file");
    if (status != 0 && status != VEC_TAB_FAILURE) throw Failure(Name() + ": " + std::strerror(status));
    complete_ = status == 0;
    DescribeLoaded();
    listed_ = ListedFiles(source_.Path());
}

// The library follows lists, and passes orbit ephemeris messages over.
void LoadedFile::LoadListed() {
    const std::unordered_set<std::string> loaded = Files();
    for (const ListedFile& file : listed_) {
        if (loaded.contains(file.path) || !WhyTooLong(file.path).empty()) continue;
        if (!IsOrbitEphemerisMessage(file.path)) continue;
        if (LoadMessage(file.path) != 0) complete_ = false;
        DescribeLoaded();
    }
}

void LoadedFile::DescribeLoaded() {
    for (const std::int64_t key : keys_.TakeLoaded()) records_.push_back(Describe(key));
}

std::unordered_set<std::string> LoadedFile::Files() const {
    std::unordered_set<std::string> files;
    for (const Record& record : records_) files.insert(record.file);
    return files;
}

// Of a path that is too long for it the library opens the head, which is another file.
void LoadedFile::LeaveOutCut() {
    std::unordered_set<std::string> cut;
    for (const ListedFile& file : listed_) {
        if (WhyTooLong(file.path).empty()) continue;
        cut.emplace(WithoutOuterBlanks(std::string_view(file.path).substr(0, VEC_TAB_PATH_LENGTH)));
    }
    if (!cut.empty()) std::erase_if(records_, [&](const Record& record) { return cut.contains(record.file); });
}

void LoadedFile::TellMissing() {
    const std::unordered_set<std::string> loaded = Files();
    for (const ListedFile& file : listed_) {
        if (loaded.contains(file.path)) continue;
        const std::string why = WhyNotOpened(file.path);
        Complain(Name() + ":" + std::to_string(file.line) + ": " +
                 (why.empty() ? file.path + ": no ephemeris found" : why));
        complete_ = false;
    }
}

void LoadedFile::PassOnLog(bool verbose) {
    constexpr std::size_t kMostShown = 10;
    std::size_t errors = 0;
    for (const LogCapture::Entry& entry : LogCapture::Instance().Take()) {
        if (entry.error) ++errors;
        if (entry.error && !entry.badLine) complete_ = false;
        if (!verbose && (!entry.error || errors > kMostShown)) continue;
        std::string place = entry.path.empty() ? Name() : source_.Shown(entry.path);
        if (entry.error && entry.line > 0) place += ":" + std::to_string(entry.line);
        Complain(place + ": " + entry.text);
    }
    if (!verbose && errors > kMostShown) Complain(Name() + ": further entries in the log, see info --verbose");
}

std::string LoadedFile::Label(const Record& record) const {
    return records_.size() == 1 ? Name() : Name() + " record " + std::to_string(record.number);
}

std::string LoadedFile::WhatThereIs() const {
    constexpr std::size_t kMostShown = 20;
    std::string message = Name() + " holds " + Counted(records_.size(), "record") + ", of the satellite" +
                          (records_.size() == 1 ? " " : "s ");
    for (std::size_t i = 0; i < std::min(records_.size(), kMostShown); ++i) {
        message += (i == 0 ? "" : ", ") + std::to_string(records_[i].satNum);
    }
    return message + (records_.size() > kMostShown ? ", ..." : "");
}

int ForEachFile(const std::vector<std::string>& names, bool verbose,
                const std::function<void(const LoadedFile&)>& work) {
    int exitStatus = 0;
    for (const std::string& name : names) {
        std::optional<LoadedFile> file;
        try {
            file.emplace(name, verbose);
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

bool Choice::Fits(const Record& record) const noexcept {
    return satNum.value_or(record.satNum) == record.satNum && number.value_or(record.number) == record.number;
}

const Record& Choose(const LoadedFile& file, const Choice& choice) {
    const auto fits = [&](const Record& record) { return choice.Fits(record); };
    const std::vector<Record>& records = file.Records();
    const auto first = std::find_if(records.begin(), records.end(), fits);
    if (first == records.end()) throw Failure(file.WhatThereIs() + ": none is the one asked for", kExitUsage);
    if (std::none_of(first + 1, records.end(), fits)) return *first;
    throw Failure(
        file.WhatThereIs() + (choice.satNum ? ": choose one with --record" : ": choose one with --sat or --record"),
        kExitUsage);
}

std::string FrameName(std::int32_t frame) {
    char name[VEC_HOST_FRAME_NAME_LENGTH];
    VecHostFrameName(frame, name);
    const std::string message = TextOf(name);
    return message.empty() ? "code " + std::to_string(frame) : message;
}

bool IsCartesian(std::int32_t frame) noexcept {
    return frame != VEC_TAB_FRAME_LLH;
}

}  // namespace Vectab
