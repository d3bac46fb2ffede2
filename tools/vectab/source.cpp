#include "source.h"

#include <vectable/vectable.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <unistd.h>

#include "failure.h"
#include "lines.h"
#include "output.h"
#include "text.h"

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

bool IsOrbitEphemerisMessage(const std::string& path) {
    Lines lines(path);
    for (std::string_view line; lines.Next(line);) {
        line = WithoutOuterBlanks(line);
        if (line.empty() || line.starts_with("COMMENT")) continue;
        return line.starts_with("CCSDS_OEM_VERS") || line.starts_with("<?xml");
    }
    return false;
}

std::vector<ListedFile> ListedFiles(const std::string& path) {
    std::vector<ListedFile> files;
    Lines lines(path);
    std::int64_t number = 0;
    for (std::string_view line; lines.Next(line);) {
        ++number;
        if (!IsFileLine(line)) continue;
        const auto equals = line.find('=');
        const bool named = equals != std::string_view::npos;
        files.push_back({named ? std::string(WithoutOuterBlanks(line.substr(equals + 1))) : "", number});
    }
    return files;
}

}  // namespace Vectab
