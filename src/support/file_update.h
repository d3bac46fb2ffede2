// New content for a file, which takes the place of the old content whole or not at all.
//
// It is written beside the file, when it is appended after a copy of the old content, and renamed over it: whatever
// fails, the end of the process and a power cut too, the file is the old one or the whole new one.
//
// Where no file can be made or renamed in the directory, the new text is written in place, after the old one. When it
// is on the disk it is copied to the start, and the rest is cut off. So at every moment the file holds the old text or
// the new one whole, beside parts of the other; a failure before the old text is touched cuts the file back.
//
// What is no regular file, and what the process itself has open for writing (/dev/stdout), is written like a pipe.
//
// Processes take turns by a lock on the file.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <sys/types.h>

#include "support/beside_file.h"

namespace VecTableSupport {

enum class OutputAction : std::int32_t {
    kReplace = 0,
    kAppend = 2,
    kReplaceWhole = 3,  // never in place: others may have the old file mapped
};

// Results are 0 or the error number of the system. `room` is what copies go through.
class FileUpdate {
  public:
    FileUpdate() noexcept = default;
    FileUpdate(const FileUpdate&) = delete;
    FileUpdate& operator=(const FileUpdate&) = delete;
    ~FileUpdate() { Abandon(); }

    // EBUSY when another process has the file locked for half a minute.
    VECTABLE_MODULE std::int32_t Open(const std::string& path, OutputAction action);

    // Copies the text that the new one is to follow. The first thing after an open.
    std::int32_t CopyOld(std::span<char> room) noexcept;

    // Where the new text is to be written.
    int Descriptor() const noexcept { return way_ == Way::kBeside ? beside_.Descriptor() : target_; }

    // EEXIST when the text was to be appended where there was no file, and now there is one: it has to be opened again.
    VECTABLE_MODULE std::int32_t Commit(std::span<char> room) noexcept;

    // Leaves the file as it was, or as a commit made it.
    VECTABLE_MODULE void Abandon() noexcept;

    // Whether a file that was there is written in place; good until the next one is opened.
    bool IsInPlace() const noexcept { return way_ == Way::kInPlace && oldLength_ >= 0; }

  private:
    enum class Way : std::int8_t { kBeside, kInPlace, kStream };

    std::int32_t OpenTarget() noexcept;
    std::int32_t OpenBeside();
    std::int32_t OpenInPlace() noexcept;
    std::int32_t CommitBeside(std::span<char> room) noexcept;
    std::int32_t CommitInPlace(std::span<char> room) noexcept;
    std::int32_t MoveToStart(off_t length, std::span<char> room) noexcept;
    std::int32_t SyncDirectory() const noexcept;
    void CutBack() const noexcept;
    bool Appends() const noexcept { return action_ == OutputAction::kAppend; }
    off_t OldLength() const noexcept { return std::max<off_t>(oldLength_, 0); }

    OutputAction action_ = OutputAction::kReplace;
    Way way_ = Way::kBeside;
    bool isCutBack_ = false;  // when it is abandoned
    std::string path_;
    int target_ = -1;
    off_t oldLength_ = -1;  // -1 when there was no regular file
    BesideFile beside_;
    int directory_ = -1;
};

}  // namespace VecTableSupport
