#include "support/files.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "support/descriptors.h"
#include "support/text.h"

namespace VecTableSupport {
namespace {

constexpr std::size_t kBufferSize = 65536;  // a larger one would be mapped from the system for every file
constexpr std::size_t kLongestLine = 4096;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view WithoutCarriageReturn(const char* first, const char* last) noexcept {
    if (first != last && last[-1] == '\r') --last;
    return {first, static_cast<std::size_t>(last - first)};
}

}  // namespace

std::int32_t InputUnit::Open(std::string_view filePath) {
    Close();
    const std::string path(WithoutTrailingBlanks(filePath));
    if (path.find('\0') != std::string::npos) return EINVAL;
    buffer_ = std::make_unique_for_overwrite<char[]>(kBufferSize);
    descriptor_ = OpenDescriptor(path.c_str(), O_RDONLY | O_NONBLOCK);  // a pipe must not block here
    if (descriptor_ < 0) return errno;
    const std::int32_t refusal = Examine();
    if (refusal != 0) Close();
    return refusal;
}

// 0 for a regular file: only such a file can be read twice and comes to an end.
std::int32_t InputUnit::Examine() noexcept {
    struct stat properties;
    if (::fstat(descriptor_, &properties) != 0) return errno;
    const timespec changed = properties.st_ctim;
    version_ = {properties.st_dev, properties.st_ino, properties.st_size, changed.tv_sec, changed.tv_nsec};
    if (S_ISREG(properties.st_mode)) return 0;
    return S_ISDIR(properties.st_mode) ? EISDIR : ESPIPE;
}

void InputUnit::Close() noexcept {
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = -1;
    holdsAll_ = false;
    StartOver();
}

void InputUnit::Rewind() noexcept {
    if (!holdsAll_) ::lseek(descriptor_, 0, SEEK_SET);
    StartOver();
}

void InputUnit::StartOver() noexcept {
    begin_ = 0;
    if (!holdsAll_) end_ = 0;
    atStart_ = true;
    lineNumber_ = 0;
}

// Moves what is not yet handed out to `keptFrom` and reads on after it. A file that the buffer holds from its first
// byte to its last stays there: it is not read from the disk again.
ReadStatus InputUnit::Fill(std::size_t keptFrom) noexcept {
    if (buffer_ == nullptr) return ReadStatus::kError;
    if (holdsAll_) return ReadStatus::kEndOfData;
    const bool fromStart = atStart_ && end_ == 0;
    const std::size_t kept = end_ - begin_;
    std::memmove(buffer_.get() + keptFrom, buffer_.get() + begin_, kept);
    begin_ = keptFrom;
    end_ = keptFrom + kept;
    ssize_t count = 0;
    do {
        count = ::read(descriptor_, buffer_.get() + end_, kBufferSize - end_);
    } while (count < 0 && errno == EINTR);
    if (count < 0) return ReadStatus::kError;
    end_ += static_cast<std::size_t>(count);
    holdsAll_ = fromStart && count == version_.size;
    return count == 0 ? ReadStatus::kEndOfData : ReadStatus::kOk;
}

ReadStatus InputUnit::NextLine(std::string_view& line) noexcept {
    const ReadStatus status = FindLine(line);
    if (status == ReadStatus::kOk) ++lineNumber_;
    if (std::exchange(atStart_, false) && line.starts_with(kByteOrderMark)) line.remove_prefix(kByteOrderMark.size());
    return status;
}

ReadStatus InputUnit::FindLine(std::string_view& line) noexcept {
    std::size_t searched = 0;
    line = {};
    if (buffer_ == nullptr) return ReadStatus::kError;  // no file is open
    for (;;) {
        const char* first = buffer_.get() + begin_;
        if (const void* lineFeed = std::memchr(first + searched, '\n', end_ - begin_ - searched)) {
            const char* end = static_cast<const char*>(lineFeed);
            begin_ += static_cast<std::size_t>(end - first) + 1;
            line = WithoutCarriageReturn(first, end);
            return ReadStatus::kOk;
        }
        searched = end_ - begin_;
        if (searched >= kLongestLine && !holdsAll_) return CutLongLine(line);
        const ReadStatus status = Fill(0);
        if (status == ReadStatus::kEndOfData && searched > 0) {
            line = WithoutCarriageReturn(buffer_.get() + begin_, buffer_.get() + end_);
            begin_ = end_;
            return ReadStatus::kOk;
        }
        if (status != ReadStatus::kOk) return status;
    }
}

ReadStatus InputUnit::ReadBytes(std::span<char> target) noexcept {
    while (end_ - begin_ < target.size()) {
        const ReadStatus status = Fill(0);
        if (status != ReadStatus::kOk) return status;
    }
    std::copy_n(buffer_.get() + begin_, target.size(), target.data());
    begin_ += target.size();
    return ReadStatus::kOk;
}

// Keeps the head of the line at the start of the buffer and reads past the rest.
ReadStatus InputUnit::CutLongLine(std::string_view& line) noexcept {
    std::memmove(buffer_.get(), buffer_.get() + begin_, kLongestLine);
    ReadStatus status = ReadStatus::kOk;
    const void* lineFeed = nullptr;
    while (lineFeed == nullptr && status == ReadStatus::kOk) {
        begin_ = end_;
        status = Fill(kLongestLine);
        lineFeed = std::memchr(buffer_.get() + begin_, '\n', end_ - begin_);
    }
    if (status == ReadStatus::kError) return status;
    if (lineFeed != nullptr) begin_ = static_cast<std::size_t>(static_cast<const char*>(lineFeed) - buffer_.get()) + 1;
    line = {buffer_.get(), kLongestLine};
    return ReadStatus::kOk;
}

std::int32_t FileOpenMt(std::string_view filePath, InputUnit& unit) {
    return unit.Open(filePath);
}

}  // namespace VecTableSupport
