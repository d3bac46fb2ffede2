#include "progress.h"

#include <chrono>
#include <cstdio>
#include <unistd.h>

#include "scratch.h"
#include "text.h"

namespace Vectab {
namespace {

// The end of the path, short enough for a line of a terminal, which could not be cleared if it were broken.
std::string ShortName(const std::string& path) {
    constexpr std::size_t kLongest = 48;
    return Printable(path.size() <= kLongest ? path : "..." + path.substr(path.size() - kLongest));
}

}  // namespace

Progress::Progress(const std::string& path) {
    if (::isatty(STDERR_FILENO) == 0) return;
    const SignalHold hold;
    thread_ = std::jthread([this, path](const std::stop_token& stop) { Show(stop, path); });
}

void Progress::Show(const std::stop_token& stop, const std::string& path) {
    const std::string name = ShortName(path);
    std::unique_lock lock(mutex_);
    int seconds = 0;
    while (!wakeUp_.wait_for(lock, stop, std::chrono::seconds(1), [&] { return stop.stop_requested(); })) {
        std::fprintf(stderr, "\rloading %s ... %d s", name.c_str(), ++seconds);
    }
    if (seconds > 0) std::fputs("\r\033[K", stderr);
}

}  // namespace Vectab
