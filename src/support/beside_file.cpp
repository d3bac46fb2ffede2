#include "support/beside_file.h"

#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "support/descriptors.h"
#include "support/file_calls.h"

namespace VecTableSupport {
namespace {

constexpr int kMostNumbers = 1000;

// A name in the directory of the file. Numbers are taken up again, so that files left over are found without a search.
std::string NameBeside(const std::string& path, int number) {
    constexpr std::size_t kLongestHead = 100;  // of the file's name, so that every file system takes the whole
    const std::size_t directory = path.rfind('/') + 1;
    return path.substr(0, directory + kLongestHead) + ".vectable-" + std::to_string(number) + ".tmp";
}

// Whether there was a file of that name. A second name of the file that it was to replace is left over too.
bool RemoveLeftOver(const std::string& path) noexcept {
    struct stat properties;
    if (::lstat(path.c_str(), &properties) != 0) return false;
    if (!S_ISREG(properties.st_mode)) return true;
    int file = OpenDescriptor(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOFOLLOW);
    const bool isAbandoned = file >= 0 && LockFile(file) == 0 && IsOpenAs(path, file);
    if (isAbandoned || properties.st_nlink > 1) ::unlink(path.c_str());
    CloseLocked(file);
    return true;
}

void RemoveLeftOvers(const std::string& path) {
    for (int number = 1; number < kMostNumbers && RemoveLeftOver(NameBeside(path, number)); ++number) continue;
}

}  // namespace

std::int32_t BesideFile::Make(const std::string& path, mode_t mode) {
    RemoveLeftOvers(path);
    for (int number = 1; number < kMostNumbers; ++number) {
        std::string name = NameBeside(path, number);
        descriptor_ = OpenDescriptor(name.c_str(), O_RDWR | O_CREAT | O_EXCL, mode);
        if (descriptor_ < 0 && errno != EEXIST) return errno;
        if (descriptor_ >= 0 && LockFile(descriptor_) != EAGAIN && IsOpenAs(name, descriptor_)) {
            path_ = std::move(name);
            return 0;
        }
        CloseLocked(descriptor_);  // another process took it for one left over
    }
    return EEXIST;
}

std::int32_t BesideFile::TakeName(const std::string& path, bool replaces) noexcept {
    if (!IsOpenAs(path_, descriptor_)) return ENOENT;  // another host took it for one left over: locks do not reach it
    if (!replaces) {
        const std::int32_t code = ::link(path_.c_str(), path.c_str()) == 0 ? 0 : errno;
        if (code == 0 || IsOpenAs(path, descriptor_)) return 0;  // a server may tell of its own first answer
        if (code == EEXIST) return EEXIST;                       // other errors: a file system without hard links
    }
    if (::rename(path_.c_str(), path.c_str()) != 0) return errno;
    path_.clear();
    return 0;
}

void BesideFile::Remove() noexcept {
    if (!path_.empty() && IsOpenAs(path_, descriptor_)) ::unlink(path_.c_str());
    path_.clear();
    CloseLocked(descriptor_);
}

}  // namespace VecTableSupport
