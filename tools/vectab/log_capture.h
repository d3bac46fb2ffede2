// What the library's trace log says, kept until it is asked for. Only one thread may use the library meanwhile.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Vectab {

class LogCapture {
  public:
    struct Entry {
        bool error;
        std::string text;
    };

    // From the first call on the library's log goes here.
    static LogCapture& Instance();

    // All entries since the last call. Of very many only the first are kept.
    std::vector<Entry> Take();

    // The last error since the last call.
    std::string TakeError();

  private:
    LogCapture();
    static void Receive(std::int32_t level, const char* text, std::int32_t length, void* context);

    std::vector<Entry> entries_;
};

}  // namespace Vectab
