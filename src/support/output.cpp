#include "support/output.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/text.h"

namespace VecTableSupport {
namespace {

constexpr std::size_t kBufferSize = 131072;
constexpr std::int32_t kUnitNumbers = 100;
constexpr int kOpenFlags = O_WRONLY | O_CLOEXEC | O_NOCTTY;
constexpr mode_t kNewFileMode = 0666;  // less what the process masks

constinit std::array<std::atomic<bool>, kUnitNumbers> unitsInUse{};

// Keeps the signal of a broken pipe from the process for the length of a write.
class PipeSignalHold {
  public:
    PipeSignalHold() noexcept {
        ::sigemptyset(&pipeSignal_);
        ::sigaddset(&pipeSignal_, SIGPIPE);
        sigset_t pending;
        ::sigpending(&pending);
        wasPending_ = ::sigismember(&pending, SIGPIPE) == 1;
        ::pthread_sigmask(SIG_BLOCK, &pipeSignal_, &before_);
    }
    PipeSignalHold(const PipeSignalHold&) = delete;
    PipeSignalHold& operator=(const PipeSignalHold&) = delete;
    ~PipeSignalHold() {
        const int error = errno;
        constexpr timespec kNoWait{};
        if (!wasPending_) ::sigtimedwait(&pipeSignal_, nullptr, &kNoWait);
        ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
        errno = error;
    }

  private:
    sigset_t pipeSignal_;
    sigset_t before_;
    bool wasPending_;
};

// The path behind symbolic links, so that a rename replaces the file and not a link to it.
std::string RealPath(const std::string& path) {
    std::array<char, PATH_MAX> resolved;
    return ::realpath(path.c_str(), resolved.data()) == nullptr ? path : std::string(resolved.data());
}

}  // namespace

std::int32_t WriteBytes(int descriptor, std::string_view bytes) noexcept {
    const PipeSignalHold hold;
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) return errno;
        if (written > 0) bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

std::int32_t OutputUnit::Open(std::int32_t unit, std::string_view filePath, OutputAction action) {
    if (unit_ >= 0 || unit < 0 || unit >= kUnitNumbers) return EBADF;
    if (unitsInUse[static_cast<std::size_t>(unit)].exchange(true)) return EBUSY;
    unit_ = unit;
    targetPath_ = WithoutTrailingBlanks(filePath);
    buffer_ = std::make_unique_for_overwrite<char[]>(kBufferSize);
    std::int32_t code = targetPath_.empty() ? ENOENT : 0;
    if (targetPath_.find('\0') != std::string::npos) code = EINVAL;
    if (code == 0) code = OpenTarget(action);
    if (code != 0) Abandon();
    return code;
}

// Opening the target first shows what it is and that it may be written. A pipe without a reader is refused rather than
// waited for.
std::int32_t OutputUnit::OpenTarget(OutputAction action) {
    const bool append = action == OutputAction::kAppend;
    descriptor_ =
        ::open(targetPath_.c_str(), kOpenFlags | O_NONBLOCK | (append ? O_APPEND | O_CREAT : 0), kNewFileMode);
    if (descriptor_ < 0 && (append || errno != ENOENT)) return errno;

    struct stat properties;
    const bool regular = descriptor_ >= 0 && ::fstat(descriptor_, &properties) == 0 && S_ISREG(properties.st_mode);
    if (!append && (regular || descriptor_ < 0)) return OpenBeside(regular ? &properties : nullptr);
    if (regular) oldLength_ = properties.st_size;
    ::fcntl(descriptor_, F_SETFL, ::fcntl(descriptor_, F_GETFL) & ~O_NONBLOCK);
    return 0;
}

// Opens a new file in the folder of the target; the target itself where that cannot be done. The new file takes owner and
// mode of the old one, if there is one.
std::int32_t OutputUnit::OpenBeside(const struct stat* old) {
    constexpr int kMostAttempts = 100;  // names that a killed process may have left
    targetPath_ = RealPath(targetPath_);
    int beside = -1;
    for (int attempt = 0; beside < 0 && attempt < kMostAttempts; ++attempt) {
        besidePath_ = targetPath_ + "." + std::to_string(::getpid()) + "." + std::to_string(attempt) + ".tmp";
        beside = ::open(besidePath_.c_str(), kOpenFlags | O_CREAT | O_EXCL, kNewFileMode);
        if (beside < 0 && errno != EEXIST) break;
    }
    if (beside < 0) {
        besidePath_.clear();
        beside = ::open(targetPath_.c_str(), kOpenFlags | O_CREAT | O_TRUNC, kNewFileMode);
        if (beside < 0) return errno;
    } else if (old != nullptr) {
        static_cast<void>(::fchown(beside, old->st_uid, old->st_gid));
        ::fchmod(beside, old->st_mode & 07777);
    }
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = beside;
    return 0;
}

void OutputUnit::WriteLine(std::initializer_list<std::string_view> parts) noexcept {
    for (const std::string_view part : parts) WritePart(part);
    Write("\n");
}

void OutputUnit::WritePart(std::string_view part) noexcept {
    for (auto end = part.find('\n'); end != std::string_view::npos; end = part.find('\n')) {
        Write(part.substr(0, end));
        Write(" ");
        part.remove_prefix(end + 1);
    }
    Write(part);
}

void OutputUnit::Write(std::string_view text) noexcept {
    while (!text.empty()) {
        const std::size_t length = std::min(text.size(), kBufferSize - used_);
        std::copy_n(text.data(), length, buffer_.get() + used_);
        used_ += length;
        text.remove_prefix(length);
        if (used_ == kBufferSize) Flush();
    }
}

void OutputUnit::Flush() noexcept {
    if (error_ == 0) Fail(WriteBytes(descriptor_, {buffer_.get(), used_}));
    used_ = 0;
}

void OutputUnit::Fail(std::int32_t error) noexcept {
    if (error_ == 0) error_ = error;
}

std::int32_t OutputUnit::Close() noexcept {
    Flush();
    if (!besidePath_.empty() && error_ == 0 && ::fsync(descriptor_) != 0) Fail(errno);
    if (error_ != 0) {
        const std::int32_t error = error_;
        Abandon();
        return error;
    }
    const int closed = ::close(descriptor_);
    descriptor_ = -1;
    if (closed != 0) Fail(errno);
    if (error_ == 0 && !besidePath_.empty() && ::rename(besidePath_.c_str(), targetPath_.c_str()) != 0) Fail(errno);
    const std::int32_t error = error_;
    if (error == 0) besidePath_.clear();
    Abandon();
    return error;
}

// Leaves an earlier file as it was.
void OutputUnit::Abandon() noexcept {
    if (descriptor_ >= 0) {
        if (oldLength_ >= 0) static_cast<void>(::ftruncate(descriptor_, oldLength_));
        ::close(descriptor_);
    }
    if (!besidePath_.empty()) ::unlink(besidePath_.c_str());
    Release();
}

void OutputUnit::Release() noexcept {
    if (unit_ >= 0) unitsInUse[static_cast<std::size_t>(unit_)] = false;
    unit_ = -1;
    descriptor_ = -1;
    besidePath_.clear();
    oldLength_ = -1;
    error_ = 0;
    used_ = 0;
}

std::int32_t FileOpen(std::int32_t unitNumber, std::string_view filePath, OutputAction action, OutputUnit& unit) {
    return unit.Open(unitNumber, filePath, action);
}

}  // namespace VecTableSupport
