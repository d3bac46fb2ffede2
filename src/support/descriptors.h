// Descriptors of open files. The library's own are never 0, 1 or 2: a host may have closed its standard streams, and
// what it writes to them must not end up in a file of the library.
#pragma once

#include <sys/types.h>

#include "support/module.h"

namespace VecTableSupport {

// Opens a file, closed on exec and never the terminal of the process. The descriptor, or -1 with errno set.
VECTABLE_MODULE int OpenDescriptor(const char* path, int flags, mode_t newFileMode = 0) noexcept;

// Another descriptor of the same open file, or -1 with errno set.
int DuplicateDescriptor(int descriptor) noexcept;

// A descriptor that is kept for long. A host may close it with all its others, and the next file that it opens has the
// same number: nothing of the library may go there.
class KnownDescriptor {
  public:
    constexpr KnownDescriptor() noexcept = default;
    explicit KnownDescriptor(int descriptor) noexcept;

    // The descriptor as long as it stands for the same file; -1 from then on, and for none.
    int Number() const noexcept;

  private:
    // The access mode too: the number of a removed log may be that of the next file, but data are rarely open for
    // writing only.
    struct Identity {
        dev_t device = 0;
        ino_t number = 0;
        int accessMode = 0;
        friend bool operator==(const Identity&, const Identity&) noexcept = default;
    };
    static bool Identify(int descriptor, Identity& identity) noexcept;

    int descriptor_ = -1;
    Identity identity_;
};

}  // namespace VecTableSupport
