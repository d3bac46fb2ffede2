// Reading files through a buffer of the unit's own: a file of any size takes constant memory.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <sys/types.h>
#include <tuple>

#include "support/module.h"
#include "support/number_fields.h"
#include "support/text.h"

namespace VecTableSupport {

// A line in a blank-padded buffer of N characters.
template <std::size_t N>
class LineBuffer {
  public:
    LineBuffer() noexcept { chars_.fill(' '); }

    void Assign(std::string_view line) noexcept {
        const std::size_t length = std::min(line.size(), N);
        std::copy_n(line.data(), length, chars_.data());
        if (length < length_) std::fill(chars_.data() + length, chars_.data() + length_, ' ');
        length_ = length;
    }

    // All N characters.
    std::string_view Text() const noexcept { return {chars_.data(), N}; }

    // The line without its padding.
    std::string_view Used() const noexcept { return {chars_.data(), length_}; }

    // Columns are counted from 1; those after the end of the line are blank.
    std::string_view Columns(std::size_t first, std::size_t width) const noexcept {
        return Text().substr(first - 1, width);
    }

    bool IsCommentOrBlank() const noexcept {
        const std::string_view used = Used();
        return chars_[0] == '*' || std::all_of(used.begin(), used.end(), IsBlankOrTab);
    }

  private:
    std::array<char, N> chars_;
    std::size_t length_ = 0;
};

// What tells a file, and its content at one time, from any other.
struct FileVersion {
    dev_t device = 0;
    ino_t number = 0;
    off_t size = 0;
    std::int64_t seconds = 0;  // of its last change
    std::int64_t nanoseconds = 0;

    friend bool operator<(const FileVersion& a, const FileVersion& b) noexcept {
        const auto all = [](const FileVersion& v) {
            return std::tie(v.device, v.number, v.size, v.seconds, v.nanoseconds);
        };
        return all(a) < all(b);
    }
};

// A file open for reading, closed at the end of its scope. Only regular files are taken: a pipe or a device cannot be
// rewound, and may never end.
class InputUnit {
  public:
    InputUnit() noexcept = default;
    InputUnit(const InputUnit&) = delete;
    InputUnit& operator=(const InputUnit&) = delete;
    ~InputUnit() { Close(); }

    // 0, or the error number of the system. Trailing blanks of the path do not count.
    VECTABLE_MODULE std::int32_t Open(std::string_view filePath);
    VECTABLE_MODULE void Close() noexcept;

    // Back to the first line.
    VECTABLE_MODULE void Rewind() noexcept;

    // The next line without its line end, good until the next reading. A carriage return before a line feed belongs
    // to the line end, and a last line needs none. A UTF-8 byte order mark at the start of the file is no part of the
    // first line. Of a longer line at least 4096 characters are kept.
    VECTABLE_MODULE ReadStatus NextLine(std::string_view& line) noexcept;

    // How many lines were handed out since the file's start. The reference counts on.
    const std::int64_t& LineNumber() const noexcept { return lineNumber_; }

    const FileVersion& Version() const noexcept { return version_; }

    // Exactly as many bytes as the target takes; kEndOfData when the file ends before the last one.
    VECTABLE_MODULE ReadStatus ReadBytes(std::span<char> target) noexcept;

    template <std::size_t N>
    ReadStatus ReadLine(LineBuffer<N>& line) noexcept {
        std::string_view text;
        const ReadStatus status = NextLine(text);
        line.Assign(text);
        return status;
    }

  private:
    std::int32_t Examine() noexcept;
    void StartOver() noexcept;
    ReadStatus Fill(std::size_t keptFrom) noexcept;
    ReadStatus FindLine(std::string_view& line) noexcept;
    ReadStatus CutLongLine(std::string_view& line) noexcept;

    int descriptor_ = -1;
    FileVersion version_;
    bool atStart_ = true;
    std::int64_t lineNumber_ = 0;
    std::unique_ptr<char[]> buffer_;
    std::size_t begin_ = 0;  // the characters read and not yet handed out lie from here
    std::size_t end_ = 0;    // to here
    bool holdsAll_ = false;  // the buffer, of the file
};

// Opens a file for reading: 0, or the error number of the system. Logs nothing.
VECTABLE_MODULE std::int32_t FileOpenMt(std::string_view filePath, InputUnit& unit);

}  // namespace VecTableSupport
