#include "support/descriptors.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace VecTableSupport {
namespace {

constexpr int kFirstOwn = STDERR_FILENO + 1;

}  // namespace

int OpenDescriptor(const char* path, int flags, mode_t newFileMode) noexcept {
    const int opened = ::open(path, flags | O_CLOEXEC | O_NOCTTY, newFileMode);
    if (opened < 0 || opened >= kFirstOwn) return opened;
    const int moved = DuplicateDescriptor(opened);
    const int error = errno;
    ::close(opened);
    errno = error;
    return moved;
}

int DuplicateDescriptor(int descriptor) noexcept {
    return ::fcntl(descriptor, F_DUPFD_CLOEXEC, kFirstOwn);
}

}  // namespace VecTableSupport
