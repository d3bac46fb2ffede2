#include "support/output.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <string>

#include "support/file_calls.h"
#include "support/text.h"

namespace VecTableSupport {
namespace {

constexpr std::size_t kBufferSize = 131072;

// Taken by an exchange: of two threads that open at once one is told that a file is open.
constinit std::atomic<bool> isOneOpen{false};

}  // namespace

OutputUnit::~OutputUnit() {
    Release();
}

std::int32_t OutputUnit::Open(std::string_view filePath, OutputAction action) {
    if (isOneOpen.exchange(true)) return EBUSY;
    isOpen_ = true;
    const std::string path(WithoutTrailingBlanks(filePath));
    buffer_ = std::make_unique_for_overwrite<char[]>(kBufferSize);
    std::int32_t code = path.empty() ? ENOENT : 0;
    if (path.find('\0') != std::string::npos) code = EINVAL;
    if (code == 0) code = file_.Open(path, action);
    if (code != 0) {
        Release();
    } else {
        error_ = file_.CopyOld(Room());
    }
    return code;
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
    if (error_ == 0) error_ = WriteBytes(file_.Descriptor(), {buffer_.get(), used_});
    used_ = 0;
}

std::int32_t OutputUnit::Close() noexcept {
    Flush();
    if (error_ == 0) error_ = file_.Commit(Room());
    const std::int32_t error = error_;
    Release();
    return error;
}

void OutputUnit::Release() noexcept {
    file_.Abandon();
    error_ = 0;
    used_ = 0;
    if (isOpen_) isOneOpen = false;
    isOpen_ = false;
}

std::span<char> OutputUnit::Room() noexcept {
    return {buffer_.get(), kBufferSize};
}

void ForgetOpenOutput() noexcept {
    isOneOpen = false;
}

std::int32_t FileOpen(std::int32_t /*unitNumber*/, std::string_view filePath, OutputAction action, OutputUnit& unit) {
    return unit.Open(filePath, action);
}

}  // namespace VecTableSupport
