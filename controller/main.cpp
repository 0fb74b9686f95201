#include <csignal>
#include <exception>
#include <iostream>

#include "cli/CommandRunner.h"
#include "cli/Options.h"
#include "cli/Watch.h"
#include "serve/Serve.h"
#ifdef _WIN32
#include <io.h>
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace {

// Texts are UTF-8 and tables are redrawn with escape sequences.
void PrepareTerminal() {
#ifdef _WIN32
    SetConsoleOutputCP(CP_UTF8);
    const HANDLE console = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    constexpr DWORD kVirtualTerminal = 0x0004;
    if (GetConsoleMode(console, &mode)) SetConsoleMode(console, mode | kVirtualTerminal);
#else
    std::signal(SIGPIPE, SIG_IGN);
#endif
}

bool IsTerminal() {
#ifdef _WIN32
    return _isatty(1) != 0;
#else
    return isatty(STDOUT_FILENO) != 0;
#endif
}

int Run(const Options& options) {
    if (options.command == Command::Watch) return RunWatch(options, std::cout, IsTerminal());
    if (options.command == Command::Serve) {
        const ServeRequest request{.rigs = options.rigs,
                                   .token = options.token,
                                   .stateFolder = options.stateFolder,
                                   .listen = options.listen,
                                   .hosts = options.hosts,
                                   .newToken = options.newToken,
                                   .seconds = options.seconds};
        return RunServe(request, std::cout, std::cerr) ? kExitGood : kExitRigFailed;
    }
    return RunCommand(options, {std::cin, std::cout, std::cerr, IsTerminal()});
}

// What was printed and did not arrive must not look like success to a script.
int WithOutput(int exitCode) {
    if (std::cout.flush()) return exitCode;
    std::cerr << "quorvel-control: standard output cannot be written" << std::endl;
    return kExitRigFailed;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        PrepareTerminal();
        int exitCode = kExitUsage;
        const auto options = ParseOptions(argc, argv, std::cout, std::cerr, exitCode);
        return WithOutput(options ? Run(*options) : exitCode);
    } catch (const std::exception& failure) {
        std::cerr << "quorvel-control: " << failure.what() << std::endl;
        return kExitRigFailed;
    }
}
