// Tells someone at a terminal that work is going on.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace Vectab {

// From the second second of its life on shows "loading FILE ... N s" on standard error, if that is a terminal, and
// clears the line at its end.
class Progress {
  public:
    explicit Progress(const std::string& path);

  private:
    void Show(const std::stop_token& stop, const std::string& path);

    std::mutex mutex_;
    std::condition_variable_any wakeUp_;
    std::jthread thread_;  // ends before what it uses
};

}  // namespace Vectab
