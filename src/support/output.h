// Writing files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

#include "support/module.h"

struct stat;

namespace VecTableSupport {

// Writes all bytes: 0, or the error number of the system. A pipe that nobody reads gives EPIPE and no signal.
std::int32_t WriteBytes(int descriptor, std::string_view bytes) noexcept;

enum class OutputAction : std::int32_t {
    kReplace = 0,
    kAppend = 2,
};

// A text file open for writing. One at a time can be open.
//
// A file is written beside its target, an appended one after a copy of the old content, and renamed over it at the close.
// So a failure at any point, the end of the process too, leaves the earlier file as it was. Where the target is no regular
// file, or no file can be made beside it, it is written in place; a regular file that is appended to in place is cut back
// to its old length when a write failed.
class OutputUnit {
  public:
    OutputUnit() noexcept = default;
    OutputUnit(const OutputUnit&) = delete;
    OutputUnit& operator=(const OutputUnit&) = delete;
    VECTABLE_MODULE ~OutputUnit();

    // 0, or the error number of the system; EBUSY when another file is open.
    VECTABLE_MODULE std::int32_t Open(std::string_view filePath, OutputAction action);

    // Whether a failure may cost a regular file that is there already: no file could be made beside it.
    bool EndangersOldFile() const noexcept { return endangersOldFile_; }

    // Writes a line, given in parts. A line feed inside it is written as a blank. Failures are kept for the close.
    VECTABLE_MODULE void WriteLine(std::initializer_list<std::string_view> parts) noexcept;

    // 0, or the error number of the first failure.
    VECTABLE_MODULE std::int32_t Close() noexcept;

  private:
    std::int32_t OpenTarget(OutputAction action);
    std::int32_t OpenBeside(const struct stat* old, OutputAction action);
    std::int32_t OpenInPlace(const struct stat* old, OutputAction action) noexcept;
    bool CopyOldContent() noexcept;
    void TakeDescriptor(int descriptor) noexcept;
    void WritePart(std::string_view part) noexcept;
    void Write(std::string_view text) noexcept;
    void Flush() noexcept;
    void Fail(std::int32_t error) noexcept;
    void Abandon() noexcept;
    void Release() noexcept;

    bool isOpen_ = false;
    int descriptor_ = -1;
    std::string targetPath_;
    std::string besidePath_;       // empty when the target itself is written
    std::int64_t oldLength_ = -1;  // of a regular file that is appended to in place
    bool endangersOldFile_ = false;
    std::int32_t error_ = 0;
    std::unique_ptr<char[]> buffer_;
    std::size_t used_ = 0;
};

// Opens a file for writing text: 0, or the error number of the system. Logs nothing. The interface fixes the unit number;
// as one file can be open, it says nothing.
VECTABLE_MODULE std::int32_t FileOpen(std::int32_t unitNumber, std::string_view filePath, OutputAction action,
                                      OutputUnit& unit);

}  // namespace VecTableSupport
