#include "support/trace_log.h"

#include <vectable/host.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <new>
#include <type_traits>
#include <unistd.h>

#include "support/descriptors.h"
#include "support/file_calls.h"
#include "support/guarded.h"
#include "support/platform/cancellation.h"
#include "support/text.h"

namespace VecTableSupport {
namespace {

constexpr std::size_t kLongestText = 2016;
constexpr std::size_t kLongestPlace = 560;  // a path, a line number and what stands around them
constexpr std::size_t kMostKept = 8;

// Where entries go. At the start errors go to standard error, if it is open, and information goes nowhere.
struct TraceLog {
    Mutex mutex;
    // The last level that is taken. Relaxed: it only saves work, and the lock decides where an entry goes.
    std::atomic<std::int32_t> wanted{0};
    TraceSink sink GUARDED_BY(mutex) = nullptr;
    void* context GUARDED_BY(mutex) = nullptr;
    KnownDescriptor file GUARDED_BY(mutex);  // none when entries go to a sink, or nowhere
    bool ownsFile GUARDED_BY(mutex) = false;
};

// Nothing destroys it: other threads may still log while the process ends.
static_assert(std::is_trivially_destructible_v<TraceLog>);
constinit TraceLog traceLog;

constinit thread_local bool isInSink = false;  // and so the thread has the lock already
constinit thread_local std::int32_t currentKind = VEC_HOST_ENTRY_OTHER;
constinit thread_local const ReadingPlace* currentPlace = nullptr;
constinit thread_local EntryKeeper* currentKeeper = nullptr;
constinit thread_local EntryCapture* currentCapture = nullptr;

class SCOPED_GUARD LogHold {
  public:
    LogHold() noexcept ACQUIRES(traceLog.mutex) NOT_ANALYSED { HoldTraceLog(); }
    ~LogHold() RELEASES() NOT_ANALYSED { ReleaseTraceLog(); }
    LogHold(const LogHold&) = delete;
    LogHold& operator=(const LogHold&) = delete;

  private:
    const CancellationHold cancellation_;
};

[[gnu::constructor]] void TakeStandardError() noexcept NOT_ANALYSED {
    traceLog.file = KnownDescriptor(STDERR_FILENO);
    if (traceLog.file.Number() >= 0) traceLog.wanted = kTraceError;
}

void SendTo(TraceSink sink, void* context, KnownDescriptor file) noexcept NEEDS(traceLog.mutex) {
    if (traceLog.ownsFile && traceLog.file.Number() >= 0) ::close(traceLog.file.Number());
    traceLog.sink = sink;
    traceLog.context = context;
    traceLog.file = file;
    traceLog.ownsFile = file.Number() >= 0;
    traceLog.wanted = sink != nullptr || traceLog.ownsFile ? kTraceInfo : 0;
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

// "path:line: ", or less of it.
TextBuilder<kLongestPlace> PlacePrefix() noexcept {
    TextBuilder<kLongestPlace> prefix;
    if (currentPlace == nullptr) return prefix;
    prefix.Add(currentPlace->Path());
    if (currentPlace->Line() > 0) prefix.Add(":").AddInteger(currentPlace->Line());
    prefix.Add(": ");
    return prefix;
}

// The length of the character in UTF-8 at the head of a text; 0 for a control character and for a byte of no character.
std::size_t PrintableLength(std::string_view text) noexcept {
    constexpr std::array<unsigned, 5> kFirst = {0, ' ', 0xA0, 0x800, 0x10000};  // that prints, of so many bytes
    constexpr unsigned kDelete = 0x7F;
    const auto byte = [&](std::size_t i) { return static_cast<unsigned>(static_cast<unsigned char>(text[i])); };
    const unsigned lead = byte(0);
    if (lead < 0x80) return lead < kFirst[1] || lead == kDelete ? 0 : 1;
    if (lead < 0xC0 || lead > 0xF4) return 0;
    const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (length > text.size()) return 0;
    unsigned code = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return 0;
        code = code << 6 | (byte(i) & 0x3F);
    }
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    return code < kFirst[length] || isSurrogate || code > 0x10FFFF ? 0 : length;
}

// One write for the whole line, so that lines of other processes on the same file do not cut it. What comes out of a
// file must neither steer a terminal nor forge a line.
void WriteLine(int file, std::int32_t level, std::string_view text) noexcept {
    TextBuilder<32 + kLongestPlace + kLongestText> line, shown;
    line.Add(LinePrefix(level).View()).Add(PlacePrefix().Written());
    line.Add(WithoutTrailingBlanks(text).substr(0, kLongestText));
    for (std::string_view rest = line.Written(); !rest.empty();) {
        const std::size_t length = PrintableLength(rest);
        shown.Add(length == 0 ? "?" : rest.substr(0, length));
        rest.remove_prefix(length == 0 ? 1 : length);
    }
    WriteBytes(file, shown.Add("\n").Written());
}

// A sink written in C++ may throw; the work that logs goes on.
void CallSink(std::int32_t level, std::int32_t kind, std::string_view text) noexcept NEEDS(traceLog.mutex) {
    isInSink = true;
    currentKind = kind;
    try {
        traceLog.sink(level, text.data(), static_cast<std::int32_t>(text.size()), traceLog.context);
    } catch (...) {
    }
    isInSink = false;
    currentKind = VEC_HOST_ENTRY_OTHER;
}

void Trace(std::int32_t level, std::string_view text, std::int32_t kind = VEC_HOST_ENTRY_OTHER) noexcept {
    if (currentCapture != nullptr) return currentCapture->Add(level, kind, text);
    if (!TraceIsWanted(level) || isInSink) return;
    if (currentKeeper != nullptr) currentKeeper->Add(level, kind, text);
    const LogHold hold;
    if (traceLog.sink != nullptr) return CallSink(level, kind, text);
    const int file = traceLog.file.Number();
    if (file >= 0) WriteLine(file, level, text);
}

}  // namespace

bool TraceIsWanted(std::int32_t level) noexcept {
    return currentCapture != nullptr || level <= traceLog.wanted.load(std::memory_order_relaxed);
}

void TraceLogError(std::string_view text) noexcept {
    Trace(kTraceError, text);
}

void TraceLogInfo(std::string_view text) noexcept {
    Trace(kTraceInfo, text);
}

void TraceLogSkippedLine(std::string_view report, std::string_view line) noexcept {
    Trace(kTraceError, report, VEC_HOST_ENTRY_SKIPS_LINE);
    Trace(kTraceError, line, VEC_HOST_ENTRY_SKIPPED_LINE);
}

std::int32_t TraceEntryKind() noexcept {
    return currentKind;
}

void SetTraceSink(TraceSink sink, void* context) noexcept {
    const LogHold hold;
    SendTo(sink, context, {});
}

std::int32_t TraceToFile(const char* path) noexcept {
    if (path == nullptr) return EINVAL;
    const CancellationHold cancellation;
    const int file = OpenDescriptor(path, O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK, 0666);
    if (file < 0) return errno;
    const LogHold hold;
    SendTo(nullptr, nullptr, KnownDescriptor(file));
    return 0;
}

void HoldTraceLog() noexcept NOT_ANALYSED {
    if (!isInSink) traceLog.mutex.lock();
}

void ReleaseTraceLog() noexcept NOT_ANALYSED {
    if (!isInSink) traceLog.mutex.unlock();
}

ReadingPlace::ReadingPlace(std::string_view path, const std::int64_t* line) noexcept
    : path_(path), line_(line), outer_(currentPlace) {
    currentPlace = this;
}

ReadingPlace::~ReadingPlace() {
    currentPlace = outer_;
}

const ReadingPlace* ReadingPlace::Current() noexcept {
    return currentPlace;
}

EntryCapture::EntryCapture(bool keeps) noexcept : keeps_(keeps) {
    currentCapture = this;
}

EntryCapture::~EntryCapture() {
    currentCapture = nullptr;
}

void EntryCapture::Add(std::int32_t level, std::int32_t kind, std::string_view text) noexcept {
    skippedLines_ += kind == VEC_HOST_ENTRY_SKIPS_LINE ? 1 : 0;
    std::int32_t& kept = kept_[level == kTraceError ? 0 : 1];
    if (!keeps_ || kept == VEC_HOST_MOST_KEPT) return;
    try {
        const bool hasPlace = currentPlace != nullptr;
        entries_.push_back({level, hasPlace ? currentPlace->Line() : 0,
                            std::string(hasPlace ? currentPlace->Path() : std::string_view()), std::string(text)});
        ++kept;
    } catch (const std::bad_alloc&) {
        return;
    }
}

void TraceCaptured(const EntryCapture::Entry& entry) noexcept {
    const ReadingPlace place(entry.path, &entry.line);
    Trace(entry.level, entry.text);
}

EntryKeeper::EntryKeeper() noexcept {
    currentKeeper = this;
}

EntryKeeper::~EntryKeeper() {
    currentKeeper = nullptr;
}

void EntryKeeper::Add(std::int32_t level, std::int32_t kind, std::string_view text) noexcept {
    hasAll_ = hasAll_ && entries_.size() < kMostKept;
    if (!hasAll_) return;
    try {
        entries_.push_back({level, kind, currentPlace == nullptr ? 0 : currentPlace->Line(), std::string(text)});
    } catch (const std::bad_alloc&) {
        hasAll_ = false;
    }
}

void EntryKeeper::Repeat(const std::vector<Entry>& entries, std::string_view path) noexcept {
    for (const Entry& entry : entries) {
        const ReadingPlace place(path, &entry.line);
        Trace(entry.level, entry.text, entry.kind);
    }
}

}  // namespace VecTableSupport
