// What the library asks of files beyond POSIX.
#pragma once

#include <csignal>
#include <string>

namespace VecTableSupport {

// Keeps the signals of a failing write from the process for the length of it.
class WriteSignalHold {
  public:
    WriteSignalHold() noexcept;
    WriteSignalHold(const WriteSignalHold&) = delete;
    WriteSignalHold& operator=(const WriteSignalHold&) = delete;
    ~WriteSignalHold();

  private:
    sigset_t raised_;  // by the write, when they are pending after it
    sigset_t before_;
};

// Sets a lock of the type on a file, or takes it off. It belongs to the open file and not to the process, which may
// well have the same file open a second time. 0, or -1 with errno.
int SetLock(int descriptor, short type) noexcept;

// Whether the directory lies in /proc, where the text of a link need not be a path.
bool IsInProc(const std::string& directory) noexcept;

// The list of access of a file, beside its rights.
bool HasAccessList(int file) noexcept;

// Copies it, also that there is none: new files of some directories have one.
bool CopyAccessList(int from, int to) noexcept;

}  // namespace VecTableSupport
