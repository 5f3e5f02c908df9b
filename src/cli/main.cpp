// corvansil-cli: the command line, the real connections, and a password asked for only when
// there is a terminal to ask on.
#include <cstdlib>
#include <iostream>

#include "cli/cli.h"
#include "cli/terminal.h"
#include "install/install.h"
#include "platform/rose_attach.h"
#include "platform/tavro_factory.h"

namespace {

// Asks for the server password on the terminal, without echo, when nothing else gave one.
void AskPasswordWhenInteractive(const cli::Options& options) {
    if (!options.passwordFile.empty() || std::getenv("TAVRO_PASSWORD")) return;
    if (!cli::IsTerminal(0) || !cli::IsTerminal(2)) return;
    std::cerr << "Tavro password: " << std::flush;
    std::string password = cli::ReadLineUnechoed();
    std::cerr << "\n";
    cli::SetEnvironment("TAVRO_PASSWORD", password);
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
    bool live = cli::IsTerminal(1) && cli::PrepareLiveOutput();
    return cli::RunCommand(parsed.options, std::cout, std::cerr, live);
}
