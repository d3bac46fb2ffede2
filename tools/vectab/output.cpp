#include "output.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include "failure.h"

namespace Vectab {
namespace {

constexpr std::size_t kBufferSize = 65536;

[[noreturn]] void FailToWrite(const std::string& name, int error) {
    throw Failure(error == EPIPE ? "" : "cannot write " + name + ": " + std::strerror(error));
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
    descriptor_ = -1;
    name_ = path;
    std::error_code error;
    target_ = std::filesystem::weakly_canonical(path, error).string();
    if (error) FailToWrite(name_, error.value());
    struct stat old;
    const bool exists = ::stat(target_.c_str(), &old) == 0;
    if (exists && !S_ISREG(old.st_mode)) {
        descriptor_ = ::open(target_.c_str(), O_WRONLY | O_CLOEXEC);
        if (descriptor_ < 0) Fail();
        return;
    }
    if (exists && ::access(target_.c_str(), W_OK) != 0) Fail();
    CreateBeside(exists ? old.st_mode & 07777U : 0666U);
    if (exists) ::fchmod(descriptor_, old.st_mode & 07777U);
}

Output::~Output() {
    if (descriptor_ > STDERR_FILENO) ::close(descriptor_);
    if (!beside_.empty()) ::unlink(beside_.c_str());
}

void Output::CreateBeside(unsigned mode) {
    for (int attempt = 0; descriptor_ < 0; ++attempt) {
        beside_ = target_ + "." + std::to_string(::getpid()) + "-" + std::to_string(attempt);
        descriptor_ = ::open(beside_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (descriptor_ >= 0 || errno == EEXIST) continue;
        beside_.clear();
        Fail();
    }
}

void Output::Write(std::string_view text) {
    pending_ += text;
    if (pending_.size() >= kBufferSize) Flush();
}

void Output::Finish() {
    Flush();
    if (!beside_.empty() && ::fsync(descriptor_) != 0) Fail();
    const int descriptor = descriptor_;
    descriptor_ = -1;
    if (::close(descriptor) != 0) Fail();  // some file systems tell of a full disk only here
    if (beside_.empty()) return;
    if (::rename(beside_.c_str(), target_.c_str()) != 0) Fail();
    beside_.clear();
}

void Output::Flush() {
    WriteAll(descriptor_, pending_, name_);
    pending_.clear();
}

void Output::Fail() const {
    FailToWrite(name_, errno);
}

}  // namespace Vectab
