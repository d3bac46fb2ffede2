// What the library's trace log says, kept until it is asked for. Only one thread may use the library meanwhile.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Vectab {

class LogCapture {
  public:
    struct Entry {
        bool error;
        bool badLine;  // tells of a line that was passed over
        std::string text;
        std::string path;   // of the file that was being read; empty for none
        std::int64_t line;  // the one read last, from 1; 0 for none
    };

    // From the first call on the library's log goes here.
    static LogCapture& Instance();

    // All entries since the last call. Of very many only the first are kept.
    std::vector<Entry> Take();

    // The last error since the last call.
    std::string TakeError();

    // How many lines of a file the library could not use, of all its loads so far.
    std::size_t BadLines(const std::string& path) const;

  private:
    LogCapture();
    static void Receive(std::int32_t level, const char* text, std::int32_t length, void* context);
    void Add(bool error, std::string_view text);

    std::vector<Entry> entries_;
    std::map<std::string, std::size_t> badLines_;
};

}  // namespace Vectab
