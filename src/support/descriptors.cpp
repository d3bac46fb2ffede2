#include "support/descriptors.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
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

KnownDescriptor::KnownDescriptor(int descriptor) noexcept {
    if (Identify(descriptor, identity_)) descriptor_ = descriptor;
}

int KnownDescriptor::Number() const noexcept {
    Identity now;
    return descriptor_ >= 0 && Identify(descriptor_, now) && now == identity_ ? descriptor_ : -1;
}

bool KnownDescriptor::Identify(int descriptor, Identity& identity) noexcept {
    struct stat properties;
    const int flags = ::fcntl(descriptor, F_GETFL);
    if (flags < 0 || ::fstat(descriptor, &properties) != 0) return false;
    identity = {properties.st_dev, properties.st_ino, flags & O_ACCMODE};
    return true;
}

}  // namespace VecTableSupport
