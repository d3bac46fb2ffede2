#include "log_capture.h"

#include <vectable/host.h>
#include <vectable/vectable.h>

#include <utility>

#include "text.h"

namespace Vectab {
namespace {

constexpr std::size_t kMostEntries = 10000;
constexpr std::string_view kEndMark = "END Ephemeris";  // which real files have, and the format in another letter case
constexpr std::string_view kMessageCall = "VecOemLoadFile: ";  // which a user of the tool does not call
constexpr std::string_view kBadLine = "Bad ephemeris data";    // the next entry is the line

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
    char path[VEC_TAB_PATH_LENGTH];
    std::int64_t line = 0;
    VecHostReadingLine(path, &line);
    if (text.starts_with(kMessageCall)) text.remove_prefix(kMessageCall.size());
    Entry entry{error, false, std::string(text), std::string(WithoutOuterBlanks({path, sizeof path})), line};
    if (std::exchange(badLineFollows_, false)) {
        const bool harmless = text == kEndMark;
        badLines_[entry.path] += harmless ? 0 : 1;
        entry.error = !harmless;
        entry.badLine = true;
        entry.text.insert(0, "bad line: ");
    } else if (text.find(kBadLine) != std::string_view::npos) {
        badLineFollows_ = true;
        return;
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
