// Reads files line by line, whatever they are.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace Vectab {

// The lines of a regular file. What is no such file, or cannot be read, has none: a pipe would keep the program waiting, and
// a device may never end.
class Lines {
  public:
    explicit Lines(const std::string& path);
    ~Lines();
    Lines(const Lines&) = delete;
    Lines& operator=(const Lines&) = delete;

    // The next line without its line end, or of a longer one the first kLongest characters; good until the next call. False
    // at the end. A UTF-8 byte order mark is no part of the first line.
    bool Next(std::string_view& line);

    static constexpr std::size_t kLongest = 4096;

  private:
    bool Fill();

    int descriptor_;
    std::array<char, 65536> buffer_;
    std::string_view ahead_;  // read, and not yet handed out
    std::string line_;
    bool first_ = true;
};

}  // namespace Vectab
