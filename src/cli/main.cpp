// corvansil-cli: the command line, the real connections, and a password asked for only when
// there is a terminal to ask on.
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>

#include "cli/cli.h"
#include "install/install.h"
#include "platform/rose_attach.h"
#include "platform/tavro_factory.h"

namespace {

// Asks for the server password on the terminal, without echo, when nothing else gave one.
void AskPasswordWhenInteractive(const cli::Options& options) {
    if (!options.passwordFile.empty() || std::getenv("TAVRO_PASSWORD")) return;
    if (!::isatty(STDIN_FILENO) || !::isatty(STDERR_FILENO)) return;
    std::cerr << "Tavro password: " << std::flush;
    termios saved{};
    bool quiet = ::tcgetattr(STDIN_FILENO, &saved) == 0;
    if (quiet) {
        termios silent = saved;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        ::tcsetattr(STDIN_FILENO, TCSANOW, &silent);
    }
    std::string password;
    std::getline(std::cin, password);
    if (quiet) ::tcsetattr(STDIN_FILENO, TCSANOW, &saved);
    std::cerr << "\n";
    ::setenv("TAVRO_PASSWORD", password.c_str(), 1);
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    cli::ParseResult parsed = cli::ParseArguments(args);
    if (!parsed.ok) {
        std::cerr << cli::UsageErrorText(parsed);
        return cli::kExitUnreachable;
    }
    if (parsed.options.version) {
        std::cout << "corvansil-cli " << install::ProgramVersion << "\n";
        return cli::kExitOk;
    }
    if (parsed.options.help) {
        std::cout << cli::CommandHelp(parsed.options.command);
        return cli::kExitOk;
    }
    AskPasswordWhenInteractive(parsed.options);
    platform::InstallTavroFactory();
    platform::InstallRoseAttach();
    bool live = ::isatty(STDOUT_FILENO) != 0;
    return cli::RunCommand(parsed.options, std::cout, std::cerr, live);
}
