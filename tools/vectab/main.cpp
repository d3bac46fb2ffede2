// vectab: looks into ephemeris files, prints states from them, converts them, tells and draws what they are good for.
#include <vectable/host.h>
#include <vectable/vectable.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sstream>
#include <string>
#include <unistd.h>

#include "commands.h"
#include "failure.h"
#include "log_capture.h"
#include "output.h"
#include "scratch.h"
#include "text.h"

namespace {

using namespace Vectab;

std::string LibraryInfo() {
    char info[128];
    VecTabGetInfo(info);
    return std::string(WithoutOuterBlanks({info, sizeof info}));
}

// Help and version arrive here as well; they go to standard output.
void Answer(const CLI::App& program, const CLI::ParseError& error) {
    std::ostringstream message;
    program.exit(error, message, message);
    if (error.get_exit_code() != 0) {
        std::string line = error.what();
        std::ranges::replace(line, '\n', ' ');
        throw Failure(std::string(WithoutOuterBlanks(line)) + " (see vectab --help)", kExitUsage);
    }
    Output output;
    output.Write(message.str());
    output.Finish();
}

// A file that is opened in the place of a closed one of the three would get what is meant for that. Reading and writing
// where nothing is fails.
void OccupyStandardDescriptors() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(descriptor, F_GETFD) >= 0) continue;
        const int useless = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        if (::open("/dev/null", useless) != descriptor) std::_Exit(kExitFailure);
    }
}

int Run(int argc, char** argv) {
    CLI::App program(
        "Looks into ephemeris files (tables of satellite states over time), tells what they are good for, and converts "
        "them. Reads CCSDS OEM and fifteen other formats, which it finds out from the content.",
        "vectab");
    int exitStatus = 0;
    program.set_version_flag("--version", LibraryInfo, "Print the version of the library and exit");
    program.set_help_flag("-h,--help", "Print this help and exit");
    program.require_subcommand(1);
    program.footer("\"vectab COMMAND --help\" tells more. Exit status: 0 success, 1 a failure, 2 wrong usage.");
    AddInfo(program, exitStatus);
    AddStates(program, exitStatus);
    AddCheck(program, exitStatus);
    AddConvert(program, exitStatus);
    AddPlot(program, exitStatus);
    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        Answer(program, error);
    }
    return exitStatus;
}

}  // namespace

int main(int argc, char** argv) {
    OccupyStandardDescriptors();
    for (const int signal : {SIGPIPE, SIGXFSZ}) std::signal(signal, SIG_IGN);  // a write tells
    RemoveScratchFilesOnSignals();
    VecHostSetElsetKeyMode(1);  // keeps records apart that share satellite and epoch
    LogCapture::Instance();
    try {
        return Run(argc, argv);
    } catch (const Failure& failure) {
        if (*failure.what() != '\0') Complain(failure.what());
        return failure.ExitStatus();
    } catch (const std::exception& error) {
        Complain(error.what());
        return kExitFailure;
    }
}
