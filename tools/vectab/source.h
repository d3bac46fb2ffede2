// A file to load, and the files that it names.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "scratch.h"

namespace Vectab {

// A file named on the command line. "-" is standard input, which is copied to a temporary file, since the library reads
// a file twice.
class Source {
  public:
    // A failure when there is no such file, or no path that the library can be given.
    explicit Source(const std::string& name);

    // For messages.
    const std::string& Name() const noexcept { return name_; }

    // For the library to open.
    const std::string& Path() const noexcept { return path_; }

    // A path of the library's as the user knows it.
    std::string Shown(const std::string& path) const { return path == path_ ? name_ : path; }

  private:
    std::string name_;
    std::string path_;
    std::optional<ScratchFile> copy_;  // of standard input
};

// The message about a path that is too long for the library; empty when it is not.
std::string WhyTooLong(const std::string& path);

struct ListedFile {
    std::string path;
    std::int64_t line;  // of the list, from 1
};

// The files that the list lines of a file name, whatever they are.
std::vector<ListedFile> ListedFiles(const std::string& path);

}  // namespace Vectab
