#include "support/output.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "support/descriptors.h"
#include "support/text.h"

namespace VecTableSupport {
namespace {

constexpr std::size_t kBufferSize = 131072;
constexpr mode_t kNewFileMode = 0666;  // less what the process masks
constexpr mode_t kPrivateFileMode = 0600;

constinit std::atomic<bool> isOneOpen{false};

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

// The path that symbolic links lead to, so that a rename replaces the file and not a link to it. The file itself need not
// be there.
std::string WithoutLinks(std::string path) {
    constexpr int kMostLinks = 40;  // as the system follows
    std::array<char, PATH_MAX> target;
    for (int links = 0; links < kMostLinks; ++links) {
        const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
        if (length < 0) break;
        const std::string_view leadsTo(target.data(), static_cast<std::size_t>(length));
        if (leadsTo.starts_with('/')) path.clear();
        path.erase(path.rfind('/') + 1);
        path += leadsTo;
    }
    return path;
}

// False for what /proc calls a link: its text need not be a path.
bool IsSameFile(const std::string& path, const struct stat& file) noexcept {
    struct stat found;
    return ::stat(path.c_str(), &found) == 0 && found.st_dev == file.st_dev && found.st_ino == file.st_ino;
}

// A name in the folder of the target that is new at every call, however many are left over from processes that were
// killed.
std::string NameBeside(const std::string& target) {
    constexpr std::size_t kLongestHead = 200;  // of the file's name, so that the system takes the whole
    static constinit std::atomic<unsigned> count{0};
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    const std::size_t folder = target.rfind('/') + 1;
    std::string name = target.substr(0, folder + kLongestHead);
    for (const long part : {static_cast<long>(::getpid()), now.tv_sec, now.tv_nsec, static_cast<long>(++count)}) {
        name += '.' + std::to_string(part);
    }
    return name + ".tmp";
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

OutputUnit::~OutputUnit() {
    Abandon();
}

std::int32_t OutputUnit::Open(std::string_view filePath, OutputAction action) {
    if (isOneOpen.exchange(true)) return EBUSY;
    isOpen_ = true;
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
    descriptor_ = OpenDescriptor(targetPath_.c_str(), O_WRONLY | O_NONBLOCK);
    if (descriptor_ < 0) return errno == ENOENT ? OpenBeside(nullptr, action) : errno;
    struct stat properties;
    if (::fstat(descriptor_, &properties) != 0) return errno;
    if (S_ISREG(properties.st_mode)) return OpenBeside(&properties, action);
    ::fcntl(descriptor_, F_SETFL, ::fcntl(descriptor_, F_GETFL) & ~O_NONBLOCK);
    return 0;
}

// Opens a new file in the folder of the target. In the place of an old one nobody else may read it before it has the old
// owner, and only with that owner it has the old mode.
std::int32_t OutputUnit::OpenBeside(const struct stat* old, OutputAction action) {
    const std::string path = WithoutLinks(targetPath_);
    if (old != nullptr && !IsSameFile(path, *old)) return OpenInPlace(old, action);
    targetPath_ = path;
    int beside = -1;
    do {
        besidePath_ = NameBeside(targetPath_);
        beside = OpenDescriptor(besidePath_.c_str(), O_WRONLY | O_CREAT | O_EXCL,
                                old == nullptr ? kNewFileMode : kPrivateFileMode);
    } while (beside < 0 && errno == EEXIST);
    if (beside < 0) {
        besidePath_.clear();
        return OpenInPlace(old, action);
    }
    TakeDescriptor(beside);
    if (old == nullptr) return 0;
    if (::fchown(beside, old->st_uid, old->st_gid) == 0) ::fchmod(beside, old->st_mode & 07777);
    if (action == OutputAction::kReplace || CopyOldContent()) return 0;
    ::unlink(besidePath_.c_str());
    besidePath_.clear();
    error_ = 0;
    used_ = 0;
    return OpenInPlace(old, action);
}

std::int32_t OutputUnit::OpenInPlace(const struct stat* old, OutputAction action) noexcept {
    const bool append = action == OutputAction::kAppend;
    TakeDescriptor(
        OpenDescriptor(targetPath_.c_str(), O_WRONLY | O_CREAT | (append ? O_APPEND : O_TRUNC), kNewFileMode));
    if (descriptor_ < 0) return errno;
    if (append && old != nullptr) oldLength_ = old->st_size;
    endangersOldFile_ = old != nullptr;
    return 0;
}

// False when the old file cannot be read, or not be written again.
bool OutputUnit::CopyOldContent() noexcept {
    const int old = OpenDescriptor(targetPath_.c_str(), O_RDONLY);
    if (old < 0) return false;
    ssize_t count = 0;
    do {
        if (used_ == kBufferSize) Flush();
        count = ::read(old, buffer_.get() + used_, kBufferSize - used_);
        if (count > 0) used_ += static_cast<std::size_t>(count);
    } while (error_ == 0 && (count > 0 || (count < 0 && errno == EINTR)));
    ::close(old);
    return count == 0 && error_ == 0;
}

void OutputUnit::TakeDescriptor(int descriptor) noexcept {
    const int error = errno;
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = descriptor;
    errno = error;
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
    if (::close(std::exchange(descriptor_, -1)) != 0) Fail(errno);
    if (error_ == 0 && !besidePath_.empty() && ::rename(besidePath_.c_str(), targetPath_.c_str()) != 0) Fail(errno);
    const std::int32_t error = error_;
    if (error == 0) besidePath_.clear();
    Abandon();
    return error;
}

// Leaves an earlier file as it was.
void OutputUnit::Abandon() noexcept {
    if (descriptor_ >= 0 && oldLength_ >= 0) static_cast<void>(::ftruncate(descriptor_, oldLength_));
    TakeDescriptor(-1);
    if (!besidePath_.empty()) ::unlink(besidePath_.c_str());
    Release();
}

void OutputUnit::Release() noexcept {
    if (isOpen_) isOneOpen = false;
    isOpen_ = false;
    besidePath_.clear();
    oldLength_ = -1;
    endangersOldFile_ = false;
    error_ = 0;
    used_ = 0;
}

std::int32_t FileOpen(std::int32_t /*unitNumber*/, std::string_view filePath, OutputAction action, OutputUnit& unit) {
    return unit.Open(filePath, action);
}

}  // namespace VecTableSupport
