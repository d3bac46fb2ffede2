#include "log_capture.h"

#include <vectable/host.h>

#include <string_view>
#include <utility>

#include "text.h"

namespace Vectab {
namespace {

constexpr std::size_t kMostEntries = 10000;

}  // namespace

LogCapture& LogCapture::Instance() {
    static LogCapture capture;
    return capture;
}

LogCapture::LogCapture() {
    VecHostSetTraceSink(Receive, this);
}

void LogCapture::Receive(std::int32_t level, const char* text, std::int32_t length, void* context) {
    auto& entries = static_cast<LogCapture*>(context)->entries_;
    if (entries.size() >= kMostEntries) return;
    const std::string_view words(text, static_cast<std::size_t>(length));
    entries.push_back({level == VEC_HOST_TRACE_ERROR, std::string(WithoutOuterBlanks(words))});
}

std::vector<LogCapture::Entry> LogCapture::Take() {
    return std::exchange(entries_, {});
}

std::string LogCapture::TakeError() {
    std::string words;
    for (Entry& entry : Take()) {
        if (entry.error) words = std::move(entry.text);
    }
    return words;
}

}  // namespace Vectab
