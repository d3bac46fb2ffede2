#include "lines.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace Vectab {
namespace {

bool IsRegular(int descriptor) noexcept {
    struct stat properties;
    return ::fstat(descriptor, &properties) == 0 && S_ISREG(properties.st_mode);
}

}  // namespace

Lines::Lines(const std::string& path)
    : descriptor_(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)) {
    if (descriptor_ >= 0 && !IsRegular(descriptor_)) ::close(std::exchange(descriptor_, -1));
}

Lines::~Lines() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

bool Lines::Next(std::string_view& line) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    line_.clear();
    bool any = false;
    for (bool ended = false; !ended && (!ahead_.empty() || Fill());) {
        any = true;
        const std::size_t end = std::min(ahead_.find('\n'), ahead_.size());
        ended = end < ahead_.size();
        line_ += ahead_.substr(0, std::min(end, kLongest - line_.size()));
        ahead_.remove_prefix(ended ? end + 1 : end);
    }
    line = line_;
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (std::exchange(first_, false) && line.starts_with(kByteOrderMark)) line.remove_prefix(kByteOrderMark.size());
    return any;
}

bool Lines::Fill() {
    ssize_t count = 0;
    do {
        count = ::read(descriptor_, buffer_.data(), buffer_.size());
    } while (count < 0 && errno == EINTR);
    ahead_ = {buffer_.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
    return count > 0;
}

}  // namespace Vectab
