// Writing text files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <span>
#include <string_view>

#include "support/file_update.h"
#include "support/module.h"

namespace VecTableSupport {

// A text file open for writing. One at a time can be open. What is there is lost by no failure: see file_update.h.
class OutputUnit {
  public:
    OutputUnit() noexcept = default;
    OutputUnit(const OutputUnit&) = delete;
    OutputUnit& operator=(const OutputUnit&) = delete;
    VECTABLE_MODULE ~OutputUnit();

    // 0, or the error number of the system; EBUSY when another file is open, or another process is writing this one.
    VECTABLE_MODULE std::int32_t Open(std::string_view filePath, OutputAction action);

    // Writes a line, given in parts. A line feed inside it is written as a blank. Failures are kept for the close.
    VECTABLE_MODULE void WriteLine(std::initializer_list<std::string_view> parts) noexcept;

    // 0, or the error number of the first failure; EEXIST when another process has made the file meanwhile, and what
    // was to be appended has to be written again.
    VECTABLE_MODULE std::int32_t Close() noexcept;

    // Whether an earlier file was written in place: no other one could be made beside it. Good until the next open.
    bool WroteInPlace() const noexcept { return file_.IsInPlace(); }

  private:
    void WritePart(std::string_view part) noexcept;
    void Write(std::string_view text) noexcept;
    void Flush() noexcept;
    void Release() noexcept;
    std::span<char> Room() noexcept;

    bool isOpen_ = false;
    FileUpdate file_;
    std::int32_t error_ = 0;
    std::unique_ptr<char[]> buffer_;
    std::size_t used_ = 0;
};

// In the child of a fork: what another thread of the parent was writing is the parent's.
void ForgetOpenOutput() noexcept;

// Opens a file for writing text: 0, or the error number of the system. Logs nothing. The interface fixes the unit
// number; as one file can be open, it says nothing.
VECTABLE_MODULE std::int32_t FileOpen(std::int32_t unitNumber, std::string_view filePath, OutputAction action,
                                      OutputUnit& unit);

}  // namespace VecTableSupport
