#include "source.h"

#include <vectable/host.h>
#include <vectable/vectable.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <unistd.h>

#include "failure.h"
#include "output.h"

namespace Vectab {
namespace {

constexpr const char* kCopy = "a copy of standard input";

// The path as the library must be given it to open the file of exactly this name.
std::string LibraryPath(const std::string& path) {
    if (::access(path.c_str(), R_OK) != 0) throw Failure(path + ": " + std::strerror(errno));
    std::string given = path.starts_with(' ') ? "./" + path : path;
    if (given.ends_with(' ')) throw Failure(path + ": a path must not end in a blank");
    if (const std::string why = WhyTooLong(given); !why.empty()) throw Failure(why);
    return given;
}

void CopyStandardInput(int descriptor) {
    std::array<char, 65536> piece;
    for (;;) {
        const ssize_t count = ::read(STDIN_FILENO, piece.data(), piece.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) throw Failure(std::string("standard input: ") + std::strerror(errno));
        if (count == 0) return;
        WriteAll(descriptor, {piece.data(), static_cast<std::size_t>(count)}, kCopy);
    }
}

}  // namespace

Source::Source(const std::string& name) : name_(name == "-" ? "standard input" : name) {
    if (name != "-") {
        path_ = LibraryPath(name);
        return;
    }
    // The first letters are no satellite number.
    copy_.emplace((std::filesystem::temp_directory_path() / "vectab-").string(), 0600, kCopy);
    path_ = copy_->Path();
    CopyStandardInput(copy_->Descriptor());
    if (!copy_->Close()) FailToWrite(kCopy, errno);
}

std::string WhyTooLong(const std::string& path) {
    if (path.size() <= VEC_TAB_PATH_LENGTH) return {};
    return path + ": a path must not be longer than " + std::to_string(VEC_TAB_PATH_LENGTH) + " characters";
}

std::vector<ListedFile> ListedFiles(const std::string& path) {
    std::vector<ListedFile> files;
    std::int32_t count = 0;
    VecHostFindListed(path.c_str(), &count);
    std::array<char, VEC_HOST_LIST_LINE_LENGTH> text;
    std::int64_t line = 0;
    for (std::int32_t length = 0; (length = VecHostTakeListed(text.data(), text.size(), &line)) >= 0;) {
        files.push_back({std::string(text.data(), static_cast<std::size_t>(length)), line});
    }
    return files;
}

}  // namespace Vectab
