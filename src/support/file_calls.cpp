#include "support/file_calls.h"

#include <cerrno>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace VecTableSupport {
namespace {

// Keeps the signals of a failing write from the process for the length of it.
class WriteSignalHold {
  public:
    WriteSignalHold() noexcept {
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
    WriteSignalHold(const WriteSignalHold&) = delete;
    WriteSignalHold& operator=(const WriteSignalHold&) = delete;
    ~WriteSignalHold() {
        const int error = errno;
        constexpr timespec kNoWait{};
        ::sigtimedwait(&raised_, nullptr, &kNoWait);
        ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
        errno = error;
    }

  private:
    sigset_t raised_;  // by the write, when they are pending after it
    sigset_t before_;
};

// The lock belongs to the open file and not to the process, which may well have the same file open a second time.
int SetLock(int descriptor, short type) noexcept {
    struct flock whole {};
    whole.l_type = type;
    return ::fcntl(descriptor, F_OFD_SETLK, &whole);
}

}  // namespace

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
