// How a command ends early.
#pragma once

#include <stdexcept>
#include <string>

namespace Vectab {

inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;

// Leads to one line on standard error, none when the words are empty, and to the exit status.
class Failure : public std::runtime_error {
  public:
    explicit Failure(const std::string& words, int exitStatus = kExitFailure)
        : std::runtime_error(words), exitStatus_(exitStatus) {}

    int ExitStatus() const noexcept { return exitStatus_; }

  private:
    int exitStatus_;
};

}  // namespace Vectab
