#include "source.h"

#include <vectable/vectable.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <unistd.h>

#include "failure.h"
#include "output.h"
#include "text.h"

namespace Vectab {
namespace {

// The path as the library must be given it to open the file of exactly this name.
std::string LibraryPath(const std::string& path) {
    if (::access(path.c_str(), R_OK) != 0) throw Failure(path + ": " + std::strerror(errno));
    std::string given = path.starts_with(' ') ? "./" + path : path;
    if (given.ends_with(' ')) throw Failure(path + ": a path must not end in a blank");
    if (given.size() > VEC_TAB_PATH_LENGTH) {
        throw Failure(path + ": a path must not be longer than " + std::to_string(VEC_TAB_PATH_LENGTH) + " characters");
    }
    return given;
}

void CopyStandardInput(int descriptor) {
    std::array<char, 65536> piece;
    for (;;) {
        const ssize_t count = ::read(STDIN_FILENO, piece.data(), piece.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) throw Failure(std::string("standard input: ") + std::strerror(errno));
        if (count == 0) return;
        WriteAll(descriptor, {piece.data(), static_cast<std::size_t>(count)}, "a copy of standard input");
    }
}

// Whether the line begins with the keyword, in any letter case.
bool BeginsWith(std::string_view line, std::string_view keyword) noexcept {
    const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; };
    return line.size() >= keyword.size() &&
           std::equal(keyword.begin(), keyword.end(), line.begin(), [&](char a, char b) { return a == upper(b); });
}

bool IsFileLine(std::string_view line) noexcept {
    constexpr std::array<std::string_view, 6> kKeywords = {"EPHFIL", "SATFIL",       "EPHINP",
                                                           "VECTAB", "VECTOR_TABLE", "EPHEMFILE"};
    return std::any_of(kKeywords.begin(), kKeywords.end(),
                       [&](std::string_view keyword) { return BeginsWith(line, keyword); });
}

std::string_view WithoutCarriageReturn(std::string_view line) noexcept {
    return line.ends_with('\r') ? line.substr(0, line.size() - 1) : line;
}

}  // namespace

Source::Source(const std::string& name) : name_(name == "-" ? "standard input" : name) {
    if (name != "-") {
        path_ = LibraryPath(name);
        return;
    }
    // The first letters are no satellite number.
    path_ = (std::filesystem::temp_directory_path() / "vectab-XXXXXX").string();
    const int descriptor = ::mkstemp(path_.data());
    if (descriptor < 0) throw Failure(path_ + ": " + std::strerror(errno));
    temporary_ = true;
    try {
        CopyStandardInput(descriptor);
    } catch (...) {
        ::unlink(path_.c_str());
        ::close(descriptor);
        throw;
    }
    ::close(descriptor);
}

Source::~Source() {
    if (temporary_) ::unlink(path_.c_str());
}

bool IsOrbitEphemerisMessage(const std::string& path) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        std::string_view message = WithoutCarriageReturn(line);
        if (message.starts_with(kByteOrderMark)) message.remove_prefix(kByteOrderMark.size());
        message = WithoutOuterBlanks(message);
        if (message.empty() || message.starts_with("COMMENT")) continue;
        return message.starts_with("CCSDS_OEM_VERS") || message.starts_with("<?xml");
    }
    return false;
}

std::vector<ListedFile> ListedFiles(const std::string& path) {
    std::vector<ListedFile> files;
    std::ifstream file(path);
    std::string line;
    for (std::int64_t number = 1; std::getline(file, line); ++number) {
        if (!IsFileLine(line)) continue;
        const std::string_view message = WithoutCarriageReturn(line);
        const auto equals = message.find('=');
        const bool named = equals != std::string_view::npos;
        files.push_back({named ? std::string(WithoutOuterBlanks(message.substr(equals + 1))) : "", number});
    }
    return files;
}

}  // namespace Vectab
