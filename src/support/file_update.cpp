#include "support/file_update.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <ctime>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "support/descriptors.h"
#include "support/file_access.h"
#include "support/file_calls.h"
#include "support/platform/files.h"

namespace VecTableSupport {
namespace {

constexpr mode_t kNewFileMode = 0666;  // less what the process masks
constexpr int kMostTries = 6000;       // with the pause: half a minute
constexpr timespec kPause{.tv_sec = 0, .tv_nsec = 5'000'000};

// Whether a directory refuses new files and renames, which says nothing against writing to a file that is there.
bool IsRefusal(std::int32_t error) noexcept {
    constexpr std::array kRefusals{EACCES, EPERM, EROFS, EBUSY, EXDEV};
    return std::ranges::find(kRefusals, error) != kRefusals.end();
}

std::string DirectoryOf(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1) + '.';
}

// The path that symbolic links lead to, so that a rename replaces the file and not a link to it. The file itself need
// not be there. A link in /proc stays.
std::string WithoutLinks(std::string path) {
    constexpr int kMostLinks = 40;  // as the system follows
    std::array<char, PATH_MAX> target;
    for (int links = 0; links < kMostLinks; ++links) {
        const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
        if (length < 0 || IsInProc(DirectoryOf(path))) break;
        const std::string_view leadsTo(target.data(), static_cast<std::size_t>(length));
        if (leadsTo.starts_with('/')) path.clear();
        path.erase(path.rfind('/') + 1);
        path += leadsTo;
    }
    return path;
}

bool IsLink(const std::string& path) noexcept {
    struct stat properties;
    return ::lstat(path.c_str(), &properties) == 0 && S_ISLNK(properties.st_mode);
}

bool IsRegular(int file) noexcept {
    struct stat properties;
    return ::fstat(file, &properties) == 0 && S_ISREG(properties.st_mode);
}

std::int32_t Sync(int file) noexcept {
    return ::fsync(file) == 0 ? 0 : errno;
}

// Copies to where the other file stands.
std::int32_t Copy(int from, off_t first, off_t length, int to, std::span<char> room) noexcept {
    while (length > 0) {
        const ssize_t count =
            ::pread(from, room.data(), std::min(room.size(), static_cast<std::size_t>(length)), first);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return count < 0 ? errno : EIO;
        const std::int32_t code = WriteBytes(to, {room.data(), static_cast<std::size_t>(count)});
        if (code != 0) return code;
        first += count;
        length -= count;
    }
    return 0;
}

// A pipe without a reader is refused rather than waited for.
int OpenForWriting(const std::string& path) noexcept {
    struct stat properties;
    if (::stat(path.c_str(), &properties) == 0 && S_ISREG(properties.st_mode)) {
        const int file = OpenDescriptor(path.c_str(), O_RDWR | O_NONBLOCK);
        if (file >= 0 || errno != EACCES) return file;
    }
    return OpenDescriptor(path.c_str(), O_WRONLY | O_NONBLOCK);
}

// A descriptor of what the process has open itself under the number that ends the path, or -1: what the host writes
// there before and after goes on at one position with what is written here.
int DuplicateOfNamed(const std::string& path) noexcept {
    int number = -1;
    std::from_chars(path.data() + path.rfind('/') + 1, path.data() + path.size(), number);
    const bool isWritable = (::fcntl(number, F_GETFL) & O_ACCMODE) != O_RDONLY;
    return isWritable && IsRegular(number) && IsOpenAs(path, number) ? DuplicateDescriptor(number) : -1;
}

}  // namespace

std::int32_t FileUpdate::Open(const std::string& path, OutputAction action) {
    action_ = action;
    way_ = Way::kBeside;
    path_ = WithoutLinks(path);
    const bool isLinkInProc = IsLink(path_);
    if (isLinkInProc) target_ = DuplicateOfNamed(path_);
    if (target_ >= 0) way_ = Way::kStream;
    const std::int32_t code = target_ < 0 ? OpenTarget() : 0;
    if (code == 0 && way_ == Way::kStream && action_ == OutputAction::kReplaceWhole) return ESPIPE;
    if (code != 0 || way_ == Way::kStream) return code;
    const std::int32_t refusal = isLinkInProc ? EXDEV : OpenBeside();
    return IsRefusal(refusal) && action_ != OutputAction::kReplaceWhole ? OpenInPlace() : refusal;
}

// Opening the file first shows what it is and that it may be written; there need be none. A process that has it locked
// may give its name to another one.
std::int32_t FileUpdate::OpenTarget() noexcept {
    oldLength_ = -1;
    for (int tries = 0; tries < kMostTries; ++tries) {
        target_ = OpenForWriting(path_);
        if (target_ < 0) return errno == ENOENT ? 0 : errno;
        if (!IsRegular(target_)) {
            ::fcntl(target_, F_SETFL, ::fcntl(target_, F_GETFL) & ~O_NONBLOCK);
            way_ = Way::kStream;
            return 0;
        }
        const bool isLocked = LockFile(target_) == EAGAIN;
        if (!isLocked && IsOpenAs(path_, target_)) {
            oldLength_ = ::lseek(target_, 0, SEEK_END);
            return 0;
        }
        CloseLocked(target_);
        if (isLocked) ::nanosleep(&kPause, nullptr);
    }
    return EBUSY;
}

// A new file in the place of an old one is private until it has the access of that one.
std::int32_t FileUpdate::OpenBeside() {
    directory_ = OpenDescriptor(DirectoryOf(path_).c_str(), O_RDONLY | O_DIRECTORY);
    if (directory_ < 0 && !IsRefusal(errno)) return errno;
    if (target_ < 0) return beside_.Make(path_, kNewFileMode);
    if (Appends() && (::fcntl(target_, F_GETFL) & O_ACCMODE) == O_WRONLY) return EACCES;  // cannot be copied
    const std::int32_t code = beside_.Make(path_, kPrivateFileMode);
    if (code == 0) CopyAccess(target_, beside_.Descriptor());
    return code;
}

std::int32_t FileUpdate::CopyOld(std::span<char> room) noexcept {
    return way_ == Way::kBeside && Appends() ? Copy(target_, 0, OldLength(), beside_.Descriptor(), room) : 0;
}

std::int32_t FileUpdate::OpenInPlace() noexcept {
    if (target_ < 0) {
        target_ = OpenDescriptor(path_.c_str(), O_RDWR | O_CREAT | O_EXCL, kNewFileMode);
        if (target_ < 0) return errno;
        LockFile(target_);
    }
    way_ = Way::kInPlace;
    isCutBack_ = true;
    return 0;
}

std::int32_t FileUpdate::Commit(std::span<char> room) noexcept {
    switch (way_) {
        case Way::kBeside:
            return CommitBeside(room);
        case Way::kInPlace:
            return CommitInPlace(room);
        case Way::kStream:
            break;
    }
    return ::close(std::exchange(target_, -1)) == 0 ? 0 : errno;
}

// What is appended to no file must not replace one that another process has made meanwhile.
std::int32_t FileUpdate::CommitBeside(std::span<char> room) noexcept {
    std::int32_t code = Sync(beside_.Descriptor());
    if (code != 0) return code;
    code = beside_.TakeName(path_, target_ >= 0 || !Appends());
    if (code == 0) return SyncDirectory();
    if (!IsRefusal(code) || action_ == OutputAction::kReplaceWhole) return code;
    const off_t first = Appends() ? OldLength() : 0;
    const off_t length = ::lseek(beside_.Descriptor(), 0, SEEK_CUR) - first;
    code = OpenInPlace();
    if (code == 0) code = Copy(beside_.Descriptor(), first, length, target_, room);
    return code == 0 ? CommitInPlace(room) : code;
}

std::int32_t FileUpdate::CommitInPlace(std::span<char> room) noexcept {
    const off_t length = ::lseek(target_, 0, SEEK_CUR) - OldLength();
    std::int32_t code = Sync(target_);
    if (code == 0 && !Appends() && OldLength() > 0) code = MoveToStart(length, room);
    if (code == 0) code = SyncDirectory();
    if (code == 0) isCutBack_ = false;
    return code;
}

// A text longer than the old one would overwrite itself: it is copied to the end first.
std::int32_t FileUpdate::MoveToStart(off_t length, std::span<char> room) noexcept {
    off_t first = oldLength_;
    if (length > oldLength_) {
        std::int32_t code = Copy(target_, first, length, target_, room);
        if (code == 0) code = Sync(target_);
        if (code != 0) return code;
        first += length;
    }
    ::lseek(target_, 0, SEEK_SET);
    std::int32_t code = Copy(target_, first, length, target_, room);
    if (::lseek(target_, 0, SEEK_CUR) > 0) isCutBack_ = false;
    if (code == 0) code = Sync(target_);
    if (code == 0 && ::ftruncate(target_, length) != 0) code = errno;
    return code == 0 ? Sync(target_) : code;
}

// Not every file system can do that for a directory, and not every directory may be opened.
std::int32_t FileUpdate::SyncDirectory() const noexcept {
    return directory_ < 0 || ::fsync(directory_) == 0 || errno == EINVAL ? 0 : errno;
}

void FileUpdate::Abandon() noexcept {
    if (std::exchange(isCutBack_, false)) CutBack();
    beside_.Remove();
    if (way_ == Way::kStream) {
        CloseFile(target_);
    } else {
        CloseLocked(target_);
    }
    CloseFile(directory_);
}

void FileUpdate::CutBack() const noexcept {
    if (oldLength_ < 0) {
        ::unlink(path_.c_str());
    } else {
        static_cast<void>(::ftruncate(target_, oldLength_));
    }
}

}  // namespace VecTableSupport
