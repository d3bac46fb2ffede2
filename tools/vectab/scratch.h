// Files that do not outlive the program, and the signals that end it.
#pragma once

#include <atomic>
#include <csignal>
#include <string>
#include <sys/types.h>

namespace Vectab {

// From now on a signal that ends the program removes its scratch files first. Signals that are ignored stay so.
void RemoveScratchFilesOnSignals();

// Keeps such signals, as long as it lives, from the thread that makes it; from threads that are started meanwhile, for
// ever.
class SignalHold {
  public:
    SignalHold() noexcept;
    ~SignalHold();
    SignalHold(const SignalHold&) = delete;
    SignalHold& operator=(const SignalHold&) = delete;

  private:
    sigset_t before_;
};

// A new file, open for writing, that is removed at the end of its scope.
class ScratchFile {
  public:
    // The head of its path; a number follows. A failure, which names `name`, when it cannot be made.
    ScratchFile(const std::string& head, mode_t mode, const std::string& name);
    ~ScratchFile();
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    const std::string& Path() const noexcept { return path_; }
    int Descriptor() const noexcept { return descriptor_; }

    // False, with errno, when what was written is lost.
    bool Close() noexcept;

    // The file has got its place: nothing is to be removed.
    void Keep() noexcept;

  private:
    std::string path_;
    int descriptor_ = -1;
    std::atomic<const char*>* place_ = nullptr;  // where signals find the path
};

}  // namespace Vectab
