#include "support/trace_log.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <mutex>
#include <type_traits>
#include <unistd.h>

#include "support/cancellation.h"
#include "support/descriptors.h"
#include "support/output.h"
#include "support/text.h"

namespace VecTableSupport {
namespace {

// Where entries go. At the start errors go to standard error, as it is when the library is loaded, and information goes
// nowhere.
struct TraceLog {
    std::recursive_mutex mutex;  // a sink may replace itself
    bool busy = false;           // an entry that a sink makes itself is dropped
    TraceSink sink = nullptr;
    void* context = nullptr;
    int file = -1;  // -1 when entries go to a sink, or nowhere
    bool informationToFile = false;
};

// Nothing destroys it: other threads may still log while the process ends.
static_assert(std::is_trivially_destructible_v<TraceLog>);
constinit TraceLog traceLog;

// A descriptor of its own: a host may close standard error, and the next file that it opens has the same number.
[[gnu::constructor]] void KeepStandardError() noexcept {
    traceLog.file = DuplicateDescriptor(STDERR_FILENO);
}

void CloseFile() noexcept {
    if (traceLog.file >= 0) ::close(traceLog.file);
    traceLog.file = -1;
}

// "2026-01-31T12:00:00.000Z ERROR " or the same with INFO.
FixedText<31> LinePrefix(std::int32_t level) noexcept {
    using namespace std::chrono;
    const auto now = time_point_cast<milliseconds>(system_clock::now());
    const auto today = floor<days>(now);
    const year_month_day date(today);
    const hh_mm_ss time(now - today);
    TextBuilder<31> prefix;
    prefix.AddDigits(static_cast<int>(date.year()), 4).Add("-").AddDigits(static_cast<unsigned>(date.month()), 2);
    prefix.Add("-").AddDigits(static_cast<unsigned>(date.day()), 2).Add("T").AddDigits(time.hours().count(), 2);
    prefix.Add(":").AddDigits(time.minutes().count(), 2).Add(":").AddDigits(time.seconds().count(), 2);
    prefix.Add(".").AddDigits(time.subseconds().count(), 3).Add(level == kTraceError ? "Z ERROR " : "Z INFO  ");
    return prefix.Text();
}

// One write for the whole line, so that lines of other processes on the same file do not cut it.
void WriteLine(int file, std::int32_t level, std::string_view text) noexcept {
    constexpr std::size_t kLongestText = 2048;
    TextBuilder<kLongestText> line;
    line.Add(LinePrefix(level).View()).Add(WithoutTrailingBlanks(text).substr(0, kLongestText - 32)).Add("\n");
    WriteBytes(file, line.Written());
}

// A sink written in C++ may throw; the work that logs goes on.
void CallSink(std::int32_t level, std::string_view text) noexcept {
    try {
        traceLog.sink(level, text.data(), static_cast<std::int32_t>(text.size()), traceLog.context);
    } catch (...) {
        return;
    }
}

void Trace(std::int32_t level, std::string_view text) noexcept {
    const CancellationHold hold;
    const std::lock_guard lock(traceLog.mutex);
    if (traceLog.busy) return;
    traceLog.busy = true;
    if (traceLog.sink != nullptr) {
        CallSink(level, text);
    } else if (traceLog.file >= 0 && (level == kTraceError || traceLog.informationToFile)) {
        WriteLine(traceLog.file, level, text);
    }
    traceLog.busy = false;
}

}  // namespace

void TraceLogError(std::string_view text) noexcept {
    Trace(kTraceError, text);
}

void TraceLogInfo(std::string_view text) noexcept {
    Trace(kTraceInfo, text);
}

void SetTraceSink(TraceSink sink, void* context) noexcept {
    const CancellationHold hold;
    const std::lock_guard lock(traceLog.mutex);
    CloseFile();
    traceLog.sink = sink;
    traceLog.context = context;
}

std::int32_t TraceToFile(const char* path) noexcept {
    if (path == nullptr) return EINVAL;
    const CancellationHold hold;
    const int file = OpenDescriptor(path, O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK, 0666);
    if (file < 0) return errno;
    const std::lock_guard lock(traceLog.mutex);
    CloseFile();
    traceLog.sink = nullptr;
    traceLog.file = file;
    traceLog.informationToFile = true;
    return 0;
}

}  // namespace VecTableSupport
