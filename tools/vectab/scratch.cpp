#include "scratch.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>
#include <utility>

#include "failure.h"

namespace Vectab {
namespace {

constexpr std::array<int, 5> kEndingSignals = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGXCPU};

// The paths of all that there are: a copy of standard input and an output.
constinit std::array<std::atomic<const char*>, 4> scratchPaths{};
static_assert(std::atomic<const char*>::is_always_lock_free);

sigset_t EndingSignals() noexcept {
    sigset_t signals;
    ::sigemptyset(&signals);
    for (const int signal : kEndingSignals) ::sigaddset(&signals, signal);
    return signals;
}

// Ends the program by the signal, as whoever waits for it expects, when the handler is left.
void RemoveAndEnd(int signal) {
    for (const auto& place : scratchPaths) {
        if (const char* path = place.load()) ::unlink(path);
    }
    ::signal(signal, SIG_DFL);
    ::raise(signal);
}

}  // namespace

void RemoveScratchFilesOnSignals() {
    struct sigaction action = {};
    action.sa_handler = RemoveAndEnd;
    action.sa_mask = EndingSignals();
    for (const int signal : kEndingSignals) {
        struct sigaction before;
        ::sigaction(signal, nullptr, &before);
        if (before.sa_handler != SIG_IGN) ::sigaction(signal, &action, nullptr);
    }
}

SignalHold::SignalHold() noexcept {
    const sigset_t signals = EndingSignals();
    ::pthread_sigmask(SIG_BLOCK, &signals, &before_);
}

SignalHold::~SignalHold() {
    ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

ScratchFile::ScratchFile(const std::string& head, mode_t mode, const std::string& name) {
    const SignalHold hold;
    for (int attempt = 0; descriptor_ < 0; ++attempt) {
        path_ = head + std::to_string(::getpid()) + "-" + std::to_string(attempt);
        descriptor_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (descriptor_ < 0 && errno != EEXIST) FailToWrite(name, errno);
    }
    place_ = std::find_if(scratchPaths.begin(), scratchPaths.end(),
                          [](const auto& place) { return place.load() == nullptr; });
    *place_ = path_.c_str();
}

ScratchFile::~ScratchFile() {
    Close();
    if (place_->load() != nullptr) ::unlink(path_.c_str());
    Keep();
}

bool ScratchFile::Close() noexcept {
    const int descriptor = std::exchange(descriptor_, -1);
    return descriptor < 0 || ::close(descriptor) == 0;
}

void ScratchFile::Keep() noexcept {
    *place_ = nullptr;
}

}  // namespace Vectab
