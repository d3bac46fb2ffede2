// How a command ends early.
#pragma once

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

namespace Vectab {

inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;

// Leads to one line on standard error, none when the message is empty, and to the exit status.
class Failure : public std::runtime_error {
  public:
    explicit Failure(const std::string& message, int exitStatus = kExitFailure)
        : std::runtime_error(message), exitStatus_(exitStatus) {}

    int ExitStatus() const noexcept { return exitStatus_; }

  private:
    int exitStatus_;
};

// No message when the reader of a pipe went away.
[[noreturn]] inline void FailToWrite(const std::string& name, int error) {
    throw Failure(error == EPIPE ? "" : "cannot write " + name + ": " + std::strerror(error));
}

}  // namespace Vectab
