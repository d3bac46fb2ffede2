// How a command ends early.
#pragma once

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

}  // namespace Vectab
