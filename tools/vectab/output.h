// A file that is written, standard output or another one. No failure to write goes unnoticed.
#pragma once

#include <string>
#include <string_view>

namespace Vectab {

class Output {
  public:
    // Standard output.
    Output();
    // Creates the file, or replaces what it holds.
    explicit Output(const std::string& path);
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void Write(std::string_view text);

    // Writes what is still held back. Nothing is certain before it returns.
    void Finish();

  private:
    void Flush();
    [[noreturn]] void Fail() const;

    int descriptor_;
    std::string name_;
    std::string pending_;
};

}  // namespace Vectab
