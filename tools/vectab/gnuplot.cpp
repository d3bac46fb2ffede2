#include "gnuplot.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <spawn.h>
#include <string_view>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "failure.h"
#include "text.h"

namespace Vectab {
namespace {

[[noreturn]] void Fail(int error) {
    if (error == ENOENT) throw Failure("gnuplot is not installed, and plot needs it");
    throw Failure(std::string("cannot run gnuplot: ") + std::strerror(error));
}

// A file in memory. Whole files, unlike pipes, cannot block two programs that write to each other.
class MemoryFile {
  public:
    explicit MemoryFile(const char* name) : descriptor_(::memfd_create(name, MFD_CLOEXEC)) {
        if (descriptor_ < 0) Fail(errno);
    }
    ~MemoryFile() { ::close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    int Descriptor() const noexcept { return descriptor_; }

    void Fill(std::string_view text) const {
        while (!text.empty()) {
            const ssize_t count = ::write(descriptor_, text.data(), text.size());
            if (count < 0) Fail(errno);
            text.remove_prefix(static_cast<std::size_t>(count));
        }
        ::lseek(descriptor_, 0, SEEK_SET);
    }

    std::string Content() const {
        std::string content;
        std::array<char, 65536> piece;
        ::lseek(descriptor_, 0, SEEK_SET);
        for (ssize_t count = 0; (count = ::read(descriptor_, piece.data(), piece.size())) > 0;) {
            content.append(piece.data(), static_cast<std::size_t>(count));
        }
        return content;
    }

  private:
    int descriptor_;
};

// The exit status of the program, -1 when it was ended by a signal.
int Spawn(const MemoryFile& input, const MemoryFile& output, const MemoryFile& errors) {
    std::string name = "gnuplot";
    std::string defaults = "-d";  // no settings of the user
    std::array<char*, 3> arguments = {name.data(), defaults.data(), nullptr};
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, input.Descriptor(), STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, output.Descriptor(), STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, errors.Descriptor(), STDERR_FILENO);
    pid_t process = 0;
    const int error = ::posix_spawnp(&process, name.c_str(), &actions, nullptr, arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0) Fail(error);

    int state = 0;
    while (::waitpid(process, &state, 0) < 0) {
        if (errno != EINTR) Fail(errno);
    }
    return WIFEXITED(state) ? WEXITSTATUS(state) : -1;
}

}  // namespace

std::string RunGnuplot(const std::string& script) {
    const MemoryFile input("script"), output("picture"), errors("errors");
    input.Fill(script);
    const int exitStatus = Spawn(input, output, errors);
    std::string picture = output.Content();
    if (exitStatus != 0 || picture.empty()) {
        std::string message = errors.Content();
        std::ranges::replace(message, '\n', ' ');
        throw Failure("gnuplot failed: " + std::string(WithoutOuterBlanks(message)));
    }
    return picture;
}

}  // namespace Vectab
