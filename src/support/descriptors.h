// Descriptors of open files. The library's own are never 0, 1 or 2: a host may have closed its standard streams, and what
// it writes to them must not end up in a file of the library.
#pragma once

#include <sys/types.h>

namespace VecTableSupport {

// Opens a file, closed on exec and never the terminal of the process. The descriptor, or -1 with errno set.
int OpenDescriptor(const char* path, int flags, mode_t newFileMode = 0) noexcept;

// Another descriptor of the same open file, or -1 with errno set.
int DuplicateDescriptor(int descriptor) noexcept;

}  // namespace VecTableSupport
