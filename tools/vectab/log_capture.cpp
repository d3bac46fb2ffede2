#include "log_capture.h"

#include <vectable/host.h>
#include <vectable/vectable.h>

#include <utility>

#include "text.h"

namespace Vectab {
namespace {

constexpr std::size_t kMostEntries = 10000;
constexpr std::string_view kMessageCall = "VecOemLoadFile: ";  // no word for a user of the tool

// A line without data, although Dot-E has it in another letter case.
constexpr std::string_view kEndInCapitals = "END Ephemeris";

}  // namespace

LogCapture& LogCapture::Instance() {
    static LogCapture capture;
    return capture;
}

LogCapture::LogCapture() {
    VecHostSetTraceSink(Receive, this);
}

void LogCapture::Receive(std::int32_t level, const char* text, std::int32_t length, void* context) {
    const std::string_view message(text, static_cast<std::size_t>(length));
    static_cast<LogCapture*>(context)->Add(level == VEC_HOST_TRACE_ERROR, WithoutOuterBlanks(message));
}

void LogCapture::Add(bool error, std::string_view text) {
    const std::int32_t kind = VecHostEntryKind();
    if (kind == VEC_HOST_ENTRY_SKIPS_LINE) return;  // the line follows
    char path[VEC_TAB_PATH_LENGTH];
    std::int64_t line = 0;
    VecHostReadingLine(path, &line);
    if (text.starts_with(kMessageCall)) text.remove_prefix(kMessageCall.size());
    const bool badLine = kind == VEC_HOST_ENTRY_SKIPPED_LINE;
    Entry entry{error, badLine, std::string(text), std::string(WithoutOuterBlanks({path, sizeof path})), line};
    if (badLine) {
        entry.error = text != kEndInCapitals;
        badLines_[entry.path] += entry.error ? 1 : 0;
        entry.text.insert(0, "bad line: ");
    }
    const std::size_t most = entry.error ? kMostEntries : kMostEntries / 2;  // a long list must not crowd errors out
    if (entries_.size() < most) entries_.push_back(std::move(entry));
}

std::vector<LogCapture::Entry> LogCapture::Take() {
    return std::exchange(entries_, {});
}

std::string LogCapture::TakeError() {
    std::string message;
    for (Entry& entry : Take()) {
        if (entry.error) message = std::move(entry.text);
    }
    return message;
}

std::size_t LogCapture::BadLines(const std::string& path) const {
    const auto found = badLines_.find(path);
    return found == badLines_.end() ? 0 : found->second;
}

}  // namespace Vectab
