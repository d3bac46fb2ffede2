#include "support/file_calls.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "support/platform/files.h"

namespace VecTableSupport {
bool IsOpenAs(const std::string& path, int descriptor) noexcept {
    struct stat named;
    struct stat open;
    return ::stat(path.c_str(), &named) == 0 && ::fstat(descriptor, &open) == 0 && named.st_dev == open.st_dev &&
           named.st_ino == open.st_ino;
}

std::int32_t LockFile(int descriptor) noexcept {
    if (SetLock(descriptor, F_WRLCK) == 0) return 0;
    return errno == EACCES ? EAGAIN : errno;
}

void CloseFile(int& descriptor) noexcept {
    if (descriptor >= 0) ::close(std::exchange(descriptor, -1));
}

// A process that was forked meanwhile keeps the file open, but not its lock.
void CloseLocked(int& descriptor) noexcept {
    if (descriptor >= 0) SetLock(descriptor, F_UNLCK);
    CloseFile(descriptor);
}

std::int32_t WriteBytes(int descriptor, std::string_view bytes) noexcept {
    const WriteSignalHold hold;
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) return errno;
        if (written > 0) bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

}  // namespace VecTableSupport
