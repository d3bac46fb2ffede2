#include "support/platform/files.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <ctime>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <sys/xattr.h>

namespace VecTableSupport {
namespace {

constexpr const char* kAccessList = "system.posix_acl_access";

}  // namespace

WriteSignalHold::WriteSignalHold() noexcept {
    sigset_t signals, pending;
    ::sigemptyset(&signals);
    ::sigemptyset(&raised_);
    ::sigpending(&pending);
    for (const int signal : {SIGPIPE, SIGXFSZ}) {
        ::sigaddset(&signals, signal);
        if (::sigismember(&pending, signal) == 0) ::sigaddset(&raised_, signal);
    }
    ::pthread_sigmask(SIG_BLOCK, &signals, &before_);
}

WriteSignalHold::~WriteSignalHold() {
    const int error = errno;
    constexpr timespec kNoWait{};
    ::sigtimedwait(&raised_, nullptr, &kNoWait);
    ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    errno = error;
}

int SetLock(int descriptor, short type) noexcept {
    struct flock whole {};
    whole.l_type = type;
    return ::fcntl(descriptor, F_OFD_SETLK, &whole);
}

bool IsInProc(const std::string& directory) noexcept {
    struct statfs properties;
    return ::statfs(directory.c_str(), &properties) == 0 && properties.f_type == PROC_SUPER_MAGIC;
}

bool HasAccessList(int file) noexcept {
    return ::fgetxattr(file, kAccessList, nullptr, 0) >= 0;
}

bool CopyAccessList(int from, int to) noexcept {
    constexpr std::size_t kLongest = 4096;
    std::array<char, kLongest> list;
    const ssize_t length = ::fgetxattr(from, kAccessList, list.data(), list.size());
    if (length >= 0) return ::fsetxattr(to, kAccessList, list.data(), static_cast<std::size_t>(length), 0) == 0;
    return !HasAccessList(from) && (::fremovexattr(to, kAccessList) == 0 || !HasAccessList(to));
}

}  // namespace VecTableSupport
