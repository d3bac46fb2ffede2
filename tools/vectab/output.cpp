#include "output.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "failure.h"

namespace Vectab {
namespace {

constexpr std::size_t kBufferSize = 65536;

}  // namespace

Output::Output() : descriptor_(STDOUT_FILENO), name_("standard output") {}

Output::Output(const std::string& path)
    : descriptor_(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)), name_(path) {
    if (descriptor_ < 0) Fail();
}

Output::~Output() {
    if (descriptor_ > STDERR_FILENO) ::close(descriptor_);
}

void Output::Write(std::string_view text) {
    pending_ += text;
    if (pending_.size() >= kBufferSize) Flush();
}

void Output::Finish() {
    Flush();
    const int descriptor = descriptor_;
    descriptor_ = -1;
    if (::close(descriptor) != 0) Fail();  // some file systems tell of a full disk only here
}

void Output::Flush() {
    std::string_view rest = pending_;
    while (!rest.empty()) {
        const ssize_t count = ::write(descriptor_, rest.data(), rest.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) Fail();
        rest.remove_prefix(static_cast<std::size_t>(count));
    }
    pending_.clear();
}

// A reader that has seen enough is told nothing.
void Output::Fail() const {
    throw Failure(errno == EPIPE ? "" : "cannot write " + name_ + ": " + std::strerror(errno));
}

}  // namespace Vectab
