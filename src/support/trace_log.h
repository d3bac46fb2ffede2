// The trace log: one for the process, two levels. An entry is the text as given, trailing blanks included. Logging
// never fails and never stops the work; entries of several threads never mix.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/module.h"

namespace VecTableSupport {

inline constexpr std::int32_t kTraceError = 1;
inline constexpr std::int32_t kTraceInfo = 2;

using TraceSink = void (*)(std::int32_t level, const char* text, std::int32_t length, void* context);

// Whether anybody takes entries of this level. An entry that many calls may cause is built only then; no lock is taken.
VECTABLE_MODULE bool TraceIsWanted(std::int32_t level) noexcept;

VECTABLE_MODULE void TraceLogError(std::string_view text) noexcept;
VECTABLE_MODULE void TraceLogInfo(std::string_view text) noexcept;

// Tells, in two entries, that a line of a file is passed over, and which.
void TraceLogSkippedLine(std::string_view report, std::string_view line) noexcept;

// Of the entry that the sink of the calling thread has got, VEC_HOST_ENTRY_...
std::int32_t TraceEntryKind() noexcept;

// Entries go to the sink from now on, or nowhere when it is null. On return the old sink is not called again.
void SetTraceSink(TraceSink sink, void* context) noexcept;

// Entries are appended to a file from now on. 0, or the error number of the system; the log is then as it was.
std::int32_t TraceToFile(const char* path) noexcept;

// Between these the log stays as it is, and entries of other threads wait. Inside a sink they do nothing, as the thread
// holds the log already.
void HoldTraceLog() noexcept;
void ReleaseTraceLog() noexcept;

// What the calling thread reads, for the length of a scope: the entries made in it tell of that file and line. In a
// scope within another one the inner counts.
class ReadingPlace {
  public:
    // The line is looked at when an entry is made. None for entries that are about the whole file.
    explicit ReadingPlace(std::string_view path, const std::int64_t* line = nullptr) noexcept;
    ~ReadingPlace();
    ReadingPlace(const ReadingPlace&) = delete;
    ReadingPlace& operator=(const ReadingPlace&) = delete;

    // Null when the thread reads nothing.
    static const ReadingPlace* Current() noexcept;

    std::string_view Path() const noexcept { return path_; }
    std::int64_t Line() const noexcept { return line_ == nullptr ? 0 : *line_; }  // from 1; 0 for none

  private:
    std::string_view path_;
    const std::int64_t* line_;
    const ReadingPlace* outer_;
};

// Takes what the calling thread logs in a scope, which so does not reach the log. One scope a thread.
class EntryCapture {
  public:
    struct Entry {
        std::int32_t level;
        std::int64_t line;  // of the file at `path`; 0 for none
        std::string path;
        std::string text;
    };

    // `keeps`: the texts too, and not only how many lines of a file were passed over.
    VECTABLE_MODULE explicit EntryCapture(bool keeps) noexcept;
    VECTABLE_MODULE ~EntryCapture();
    EntryCapture(const EntryCapture&) = delete;
    EntryCapture& operator=(const EntryCapture&) = delete;

    void Add(std::int32_t level, std::int32_t kind, std::string_view text) noexcept;

    // Of a level the first VEC_HOST_MOST_KEPT, as far as there is memory.
    std::vector<Entry> Take() noexcept { return std::move(entries_); }
    std::int64_t SkippedLines() const noexcept { return skippedLines_; }

  private:
    bool keeps_;
    std::vector<Entry> entries_;
    std::array<std::int32_t, 2> kept_{};  // errors, information
    std::int64_t skippedLines_ = 0;
};

// Logs a captured entry, as one of its file and line.
VECTABLE_MODULE void TraceCaptured(const EntryCapture::Entry& entry) noexcept;

// Keeps what the calling thread logs in a scope, to log the same again. One scope a thread.
class EntryKeeper {
  public:
    struct Entry {
        std::int32_t level;
        std::int32_t kind;
        std::int64_t line;
        std::string text;
    };

    EntryKeeper() noexcept;
    ~EntryKeeper();
    EntryKeeper(const EntryKeeper&) = delete;
    EntryKeeper& operator=(const EntryKeeper&) = delete;

    void Add(std::int32_t level, std::int32_t kind, std::string_view text) noexcept;

    // False when there were more than a few entries, which are not kept.
    bool HasAll() const noexcept { return hasAll_; }
    std::vector<Entry> Take() noexcept { return std::move(entries_); }

    // Logs kept entries again, as those of a file.
    static void Repeat(const std::vector<Entry>& entries, std::string_view path) noexcept;

  private:
    std::vector<Entry> entries_;
    bool hasAll_ = true;
};

}  // namespace VecTableSupport
