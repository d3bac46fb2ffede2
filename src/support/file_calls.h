// Calls of the system on open files, in the form in which the library needs them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "support/module.h"

namespace VecTableSupport {

// Writes all bytes: 0, or the error number of the system. A pipe that nobody reads gives EPIPE, a file beyond the limit
// of the process EFBIG, and neither a signal.
VECTABLE_MODULE std::int32_t WriteBytes(int descriptor, std::string_view bytes) noexcept;

// Whether the path leads to the file that is open.
bool IsOpenAs(const std::string& path, int descriptor) noexcept;

// Locks a file that is open for writing: 0, EAGAIN when another process has it locked, or another error number where
// the file system has no locks.
std::int32_t LockFile(int descriptor) noexcept;

// Close a file, if it is open, and forget its descriptor.
VECTABLE_MODULE void CloseFile(int& descriptor) noexcept;
void CloseLocked(int& descriptor) noexcept;

}  // namespace VecTableSupport
