// A file that is written, standard output or another one. No failure to write goes unnoticed.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

#include "scratch.h"

namespace Vectab {

// Writes all of the text. A failure names `name`; it has no message when the reader of a pipe went away.
void WriteAll(int descriptor, std::string_view text, const std::string& name);

// A failure when the output is the input file.
void RefuseInput(const std::string& output, const std::string& input);

class Output {
  public:
    // Standard output.
    Output();
    // A file, "-" for standard output. It is written beside its place and takes it at the end: until then an earlier
    // file stays as it is, and nothing is left of an output that is not finished. What is no regular file, such as a
    // device, is written in place, and so is the file that standard output goes to.
    explicit Output(const std::string& path);
    ~Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    // For messages.
    const std::string& Name() const noexcept { return name_; }

    void Write(std::string_view text);

    // Writes what is still held back. Nothing is certain before it returns.
    void Finish();

  private:
    void CreateBeside(const std::string& path, mode_t mode);
    void Flush();
    [[noreturn]] void Fail() const;

    int descriptor_ = -1;
    std::string name_;
    std::string target_;                 // with links followed; empty where it is written in place
    std::optional<ScratchFile> beside_;  // the file under way; none where it is written in place
    std::string pending_;
};

}  // namespace Vectab
