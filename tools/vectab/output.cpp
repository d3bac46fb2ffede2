#include "output.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "failure.h"

namespace Vectab {
namespace {

constexpr std::size_t kBufferSize = 65536;

// Whether the file is where standard output goes, as /dev/stdout is.
bool IsStandardOutput(const struct stat& file) noexcept {
    struct stat standard;
    return ::fstat(STDOUT_FILENO, &standard) == 0 && standard.st_dev == file.st_dev && standard.st_ino == file.st_ino;
}

}  // namespace

void WriteAll(int descriptor, std::string_view text, const std::string& name) {
    while (!text.empty()) {
        const ssize_t count = ::write(descriptor, text.data(), text.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) FailToWrite(name, errno);
        text.remove_prefix(static_cast<std::size_t>(count));
    }
}

void RefuseInput(const std::string& output, const std::string& input) {
    std::error_code error;
    if (!std::filesystem::equivalent(output, input, error) || error) return;
    throw Failure(output + ": is one of the inputs, which must not be written over", kExitUsage);
}

Output::Output() : descriptor_(STDOUT_FILENO), name_("standard output") {}

Output::Output(const std::string& path) : Output() {
    if (path == "-") return;
    name_ = path;
    struct stat old;
    const bool exists = ::stat(path.c_str(), &old) == 0;
    if (exists && IsStandardOutput(old)) return;
    if (exists && !S_ISREG(old.st_mode)) {
        descriptor_ = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
        if (descriptor_ < 0) Fail();
        return;
    }
    if (exists && ::access(path.c_str(), W_OK) != 0) Fail();
    CreateBeside(path, exists ? old.st_mode & 07777U : 0666U);
    if (exists) ::fchmod(descriptor_, old.st_mode & 07777U);
}

Output::~Output() {
    if (!beside_ && descriptor_ > STDERR_FILENO) ::close(descriptor_);
}

// Its name is short, since that of the target may be as long as a name can be.
void Output::CreateBeside(const std::string& path, mode_t mode) {
    std::error_code error;
    target_ = std::filesystem::weakly_canonical(path, error).string();
    if (error) FailToWrite(name_, error.value());
    beside_.emplace(target_.substr(0, target_.rfind('/') + 1) + ".vectab-", mode, name_);
    descriptor_ = beside_->Descriptor();
}

void Output::Write(std::string_view text) {
    pending_ += text;
    if (pending_.size() >= kBufferSize) Flush();
}

void Output::Finish() {
    Flush();
    const int descriptor = std::exchange(descriptor_, -1);
    if (!beside_) {
        if (::close(descriptor) != 0) Fail();
        return;
    }
    if (::fsync(descriptor) != 0) Fail();
    if (!beside_->Close()) Fail();  // some file systems tell of a full disk only here
    if (::rename(beside_->Path().c_str(), target_.c_str()) != 0) Fail();
    beside_->Keep();
}

void Output::Flush() {
    WriteAll(descriptor_, pending_, name_);
    pending_.clear();
}

void Output::Fail() const {
    FailToWrite(name_, errno);
}

}  // namespace Vectab
