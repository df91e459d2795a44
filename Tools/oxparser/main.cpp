#include <signal.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <string>

#include "CommandLine.h"
#include "Console.h"
#include "ExitStatus.h"
#include "Output.h"

namespace {

/// The status after the last results have left the program. Without a reader it ends as other
/// filters do, by the signal, unless it was started with that signal ignored.
int finishOutput(int status, Output& output, Console& console, const struct sigaction& pipeAction) {
    output.flush();
    if (!output.failed() || status >= eSignalBase) {
        return status;
    }
    if (output.error() == EPIPE) {
        ::sigaction(SIGPIPE, &pipeAction, nullptr);
        ::raise(SIGPIPE);
    }
    console.complain("cannot write to standard output: " +
                     std::string(std::strerror(output.error())));
    return eFailed;
}

}  // namespace

int main(int count, char** arguments) {
    // Before anything else: see Output.
    Output output;
    struct sigaction ignore = {};
    struct sigaction pipeAction;
    ignore.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, &ignore, &pipeAction);

    Console console;
    int status = eFailed;
    try {
        status = runCommandLine(count, arguments, output, console);
    } catch (const std::exception& error) {
        console.complain(error.what());
    }
    return finishOutput(status, output, console, pipeAction);
}
