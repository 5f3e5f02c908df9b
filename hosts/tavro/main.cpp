// tavro-host: the stand-in for the Tavro database server. It serves the class dictionary of a
// data directory to the add-in over TCP and lets an operator manage users, namespaces and
// class definitions from the command line.
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "automation/rpc.h"
#include "hosts/tavro/command_line.h"
#include "hosts/tavro/objects/objects.h"
#include "hosts/tavro/store/store.h"
#include "hosts/tavro/xml/class_xml.h"

namespace tavro_cli {

[[noreturn]] void Die(const std::string& text) {
    std::cerr << "tavro-host: " << text << "\n";
    std::exit(1);
}

const std::string& Word(const Options& options, std::size_t index, const char* what) {
    if (index >= options.words.size())
        Die(std::string("missing ") + what + "; see tavro-host --help");
    return options.words[index];
}

std::string DataDir(const Options& options) {
    if (!options.data.empty()) return options.data;
    const char* env = std::getenv("TAVRO_DATA");
    if (env != nullptr && *env) return env;
    Die("no data directory: give --data DIR or set TAVRO_DATA");
}

}  // namespace tavro_cli

namespace {

using namespace tavro_cli;

constexpr const char* kUsage = R"(usage: tavro-host COMMAND ...

  init DIR [--user NAME] [--password-file FILE]
      create a data directory: the database, the namespace USER, the server's own classes
      and one user (default "developer") with the "Development" permission
  serve DIR [--port N] [--bind ADDRESS] [--max-connections N]
      serve DIR on tcp:ADDRESS:N (default 127.0.0.1:48100) until SIGTERM or SIGINT, to at
      most N clients at once (default 256); one server per data directory
  user add NAME [--development] [--password-file FILE]
  user remove NAME
  user grant NAME Development
  user revoke NAME Development
  namespace add NAME [--no-security]
  namespace list
  class list NS [--deleted-since TIME]
      the classes of NS; with --deleted-since, the classes deleted at or after TIME and not
      saved again, each with the command that restores it. TIME is UTC, as history prints
      it: "2026-11-23 15:40:00", 2026-11-23T15:40:00Z or 2026-11-23, or a time ago: -90s,
      -10m, -2h, -1d
  class show NS NAME
  class history NS NAME
  class restore NS NAME [VERSION]
      bring back a version that history lists; without VERSION the newest one (for a
      deleted class, the definition it had when it was deleted)
  class load NS FILE
      store the class of a class XML file in NS, replacing the class of that name (which
      goes to the history); the checks of every write apply
  class dump NS DIR
      write every class of NS as DIR/NAME.xml (class XML, mode 0600), each file whole
  history prune NS|--all --keep N
      keep the newest N (1 or more) history versions of each class of NS or of every
      namespace and remove the older ones

Commands after init and serve find the data directory in --data DIR or $TAVRO_DATA.
A password is read from the first line of FILE ("-" for standard input) or asked for on
the terminal. Every command takes --help; tavro-host --version gives the version.
)";

bool TakeValue(int argc, char** argv, int& i, const std::string& flag, std::string& value) {
    if (argv[i] != flag) return false;
    if (i + 1 >= argc) Die(flag + " needs a value");
    value = argv[++i];
    return true;
}

Options ParseOptions(int argc, char** argv) {
    Options options;
    std::string port, maxConnections;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (arg == "--help" || arg == "-h") {
            options.help = true;
        } else if (arg == "--development") {
            options.development = true;
        } else if (arg == "--no-security") {
            options.noSecurity = true;
        } else if (arg == "--all") {
            options.all = true;
        } else if (TakeValue(argc, argv, i, "--data", options.data) ||
                   TakeValue(argc, argv, i, "--user", options.user) ||
                   TakeValue(argc, argv, i, "--password-file", options.passwordFile) ||
                   TakeValue(argc, argv, i, "--bind", options.bind) ||
                   TakeValue(argc, argv, i, "--port", port) ||
                   TakeValue(argc, argv, i, "--deleted-since", options.deletedSince) ||
                   TakeValue(argc, argv, i, "--keep", options.keep) ||
                   TakeValue(argc, argv, i, "--max-connections", maxConnections)) {
            continue;
        } else if (arg.size() > 1 && arg[0] == '-') {
            Die("unknown option " + arg);
        } else {
            options.words.push_back(arg);
        }
    }
    if (!port.empty()) {
        try {
            options.port = std::stoi(port);
        } catch (const std::exception&) {
            Die("bad port " + port);
        }
        if (options.port < 0 || options.port > 65535) Die("bad port " + port);
    }
    if (!maxConnections.empty()) {
        int count = 0;
        try {
            count = std::stoi(maxConnections);
        } catch (const std::exception&) {
        }
        if (count < 1) Die("bad number of connections " + maxConnections);
        options.maxConnections = static_cast<std::size_t>(count);
    }
    return options;
}

std::string ReadLine(std::istream& in) {
    std::string line;
    std::getline(in, line);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

std::string PromptHidden(const std::string& prompt) {
    std::cerr << prompt << std::flush;
    termios saved{};
    bool terminal = tcgetattr(STDIN_FILENO, &saved) == 0;
    if (terminal) {
        termios quiet = saved;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSANOW, &quiet);
    }
    std::string line = ReadLine(std::cin);
    if (terminal) tcsetattr(STDIN_FILENO, TCSANOW, &saved);
    std::cerr << "\n";
    return line;
}

// There is no default password: it comes from a file or from the person at the terminal.
std::string ReadPassword(const Options& options) {
    std::string password;
    if (options.passwordFile == "-") {
        password = ReadLine(std::cin);
    } else if (!options.passwordFile.empty()) {
        std::ifstream file(options.passwordFile);
        if (!file) Die("cannot read " + options.passwordFile);
        password = ReadLine(file);
    } else {
        if (!isatty(STDIN_FILENO)) Die("no password: give --password-file");
        password = PromptHidden("password: ");
        if (PromptHidden("password again: ") != password) Die("the passwords differ");
    }
    if (password.empty()) Die("an empty password is not accepted");
    return password;
}

automation::rpc::Server* gServer = nullptr;

void StopServing(int) {
    if (gServer != nullptr) gServer->Stop();
}

int Serve(const Options& options) {
    std::string dir = Word(options, 1, "data directory");
    tavro::OpenStore(dir);            // refuse to serve a directory that was never initialised
    tavro::ServeLock serveLock(dir);  // and one that another tavro-host serves
    automation::rpc::ServerOptions serverOptions;
    serverOptions.loginLimit = tavro::kLoginLimit;
    serverOptions.maxConnections = options.maxConnections;
    auto guard = std::make_shared<tavro::LoginGuard>();
    automation::rpc::Server server(
        [dir, guard](const automation::rpc::ConnectionInfo& info) {
            return tavro::NewLoginObject(dir, info.peer, guard);
        },
        serverOptions);
    server.Listen("tcp:" + options.bind + ":" + std::to_string(options.port));
    gServer = &server;
    struct sigaction action {};
    action.sa_handler = StopServing;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
    std::cout << "tavro-host: serving " << dir << " on " << server.Address() << std::endl;
    server.Run();
    gServer = nullptr;
    std::cout << "tavro-host: stopped" << std::endl;
    return 0;
}

int UserCommand(const Options& options) {
    const std::string& verb = Word(options, 1, "user command");
    const std::string& name = Word(options, 2, "user name");
    auto store = tavro::OpenStore(DataDir(options));
    if (verb == "add") {
        tavro::AddUser(*store, name, ReadPassword(options), options.development);
    } else if (verb == "remove") {
        tavro::RemoveUser(*store, name);
    } else if (verb == "grant" || verb == "revoke") {
        if (Word(options, 3, "permission") != "Development")
            Die("the only permission is Development");
        tavro::SetDevelopment(*store, name, verb == "grant");
    } else {
        Die("unknown user command " + verb);
    }
    return 0;
}

int NamespaceCommand(const Options& options) {
    const std::string& verb = Word(options, 1, "namespace command");
    auto store = tavro::OpenStore(DataDir(options));
    if (verb == "add") {
        tavro::AddNamespace(*store, Word(options, 2, "namespace name"), !options.noSecurity);
    } else if (verb == "list") {
        for (const std::string& name : tavro::ListNamespaces(*store)) std::cout << name << "\n";
    } else {
        Die("unknown namespace command " + verb);
    }
    return 0;
}

// The usage lines of one command and their explanations.
void PrintCommandHelp(const std::string& command) {
    std::string usage = kUsage;
    std::string prefix = "  " + command + " ";
    bool inCommand = false;
    std::cout << "usage: tavro-host\n";
    for (std::size_t start = 0; start < usage.size();) {
        std::size_t end = usage.find('\n', start);
        std::string line = usage.substr(start, end - start);
        start = end == std::string::npos ? usage.size() : end + 1;
        bool explanation = line.rfind("      ", 0) == 0;
        if (!explanation) inCommand = line.rfind(prefix, 0) == 0;
        if (inCommand) std::cout << line << "\n";
    }
    if (command != "init" && command != "serve") {
        std::cout << "\nThe data directory comes from --data DIR or $TAVRO_DATA.\n";
    }
}

int Run(const Options& options) {
    if (options.words.empty()) {
        std::cout << kUsage;
        return options.help ? 0 : 1;
    }
    if (options.help) {
        PrintCommandHelp(options.words[0]);
        return 0;
    }
    const std::string& command = options.words[0];
    if (command == "init") {
        std::string dir = Word(options, 1, "data directory");
        tavro::InitStore(dir, options.user, ReadPassword(options));
        std::cout << "tavro-host: created " << dir << " with namespace USER and user "
                  << options.user << "\n";
        return 0;
    }
    if (command == "serve") return Serve(options);
    if (command == "user") return UserCommand(options);
    if (command == "namespace") return NamespaceCommand(options);
    if (command == "class") return ClassCommand(options);
    if (command == "history") return HistoryCommand(options);
    Die("unknown command " + command + "; see tavro-host --help");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::string(argv[1]) == "--version") {
        std::cout << "tavro-host " << CORVANSIL_VERSION << "\n";
        return 0;
    }
    try {
        return Run(ParseOptions(argc, argv));
    } catch (const std::exception& error) {
        Die(error.what());
    }
}
