// tavro-host: the stand-in for the Tavro database server. It serves the class dictionary of a
// data directory to the add-in over TCP and lets an operator manage users, namespaces and
// class definitions from the command line.
#include <fcntl.h>
#include <sys/file.h>
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
#include "hosts/tavro/objects/objects.h"
#include "hosts/tavro/store/store.h"
#include "hosts/tavro/xml/class_xml.h"

namespace {

constexpr int kDefaultPort = 48100;
constexpr const char* kDefaultBind = "127.0.0.1";

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
  class list NS
  class show NS NAME
  class history NS NAME
  class restore NS NAME [VERSION]

Commands after init and serve find the data directory in --data DIR or $TAVRO_DATA.
A password is read from the first line of FILE ("-" for standard input) or asked for on
the terminal. Every command takes --help.
)";

struct Options {
    std::vector<std::string> words;  // the command and its positional arguments
    std::string data;
    std::string user = "developer";
    std::string passwordFile;
    std::string bind = kDefaultBind;
    int port = kDefaultPort;
    std::size_t maxConnections = automation::rpc::ServerOptions{}.maxConnections;
    bool development = false;
    bool noSecurity = false;
    bool help = false;
};

[[noreturn]] void Die(const std::string& text) {
    std::cerr << "tavro-host: " << text << "\n";
    std::exit(1);
}

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
        } else if (TakeValue(argc, argv, i, "--data", options.data) ||
                   TakeValue(argc, argv, i, "--user", options.user) ||
                   TakeValue(argc, argv, i, "--password-file", options.passwordFile) ||
                   TakeValue(argc, argv, i, "--bind", options.bind) ||
                   TakeValue(argc, argv, i, "--port", port) ||
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

const tavro::Actor kOperator{"operator", true};

automation::rpc::Server* gServer = nullptr;

void StopServing(int) {
    if (gServer != nullptr) gServer->Stop();
}

// Holds the data directory's serve lock for as long as the process lives: a second server
// would hand out the same definitions for editing.
void LockForServing(const std::string& dir) {
    std::string path = dir + "/serve.lock";
    int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) Die("cannot open " + path + ": " + std::strerror(errno));
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        char pid[32] = "";
        ssize_t n = read(fd, pid, sizeof pid - 1);
        std::string who =
            n > 0 ? " (process " + std::string(pid, static_cast<std::size_t>(n)) + ")" : "";
        Die("another tavro-host serves " + dir + who + "; stop it first");
    }
    // The process number only helps the message above: a failure to write it is no matter.
    std::string self = std::to_string(getpid());
    if (ftruncate(fd, 0) == 0) {
        [[maybe_unused]] ssize_t n = write(fd, self.data(), self.size());
    }
}

int Serve(const Options& options) {
    std::string dir = Word(options, 1, "data directory");
    tavro::OpenStore(dir);  // refuse to serve a directory that was never initialised
    LockForServing(dir);
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

int ClassCommand(const Options& options) {
    const std::string& verb = Word(options, 1, "class command");
    const std::string& ns = Word(options, 2, "namespace");
    auto store = tavro::OpenStore(DataDir(options));
    if (!tavro::NamespaceExists(*store, ns)) Die("no namespace " + ns);
    if (verb == "list") {
        for (const tavro::SummaryRow& row : tavro::SummaryOf(*store, ns))
            std::cout << row.name << "\n";
        return 0;
    }
    const std::string& name = Word(options, 3, "class name");
    if (verb == "show") {
        tavro::ClassDef def;
        if (!tavro::LoadClass(*store, ns, name, def))
            Die("class " + name + " does not exist in " + ns);
        std::cout << tavro::RenderClassXml(def);
    } else if (verb == "history") {
        for (const tavro::HistoryEntry& entry : tavro::ClassHistory(*store, ns, name)) {
            std::cout << entry.version << "\tsaved " << entry.savedAt << " by " << entry.savedBy
                      << "\t" << entry.reason << " " << entry.replacedAt << " by "
                      << entry.replacedBy << "\n";
        }
    } else if (verb == "restore") {
        int version = options.words.size() > 4 ? std::atoi(options.words[4].c_str()) : 0;
        if (options.words.size() > 4 && version <= 0) Die("bad version " + options.words[4]);
        tavro::RestoreClass(*store, ns, name, version, kOperator);
    } else {
        Die("unknown class command " + verb);
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
    Die("unknown command " + command + "; see tavro-host --help");
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(ParseOptions(argc, argv));
    } catch (const std::exception& error) {
        Die(error.what());
    }
}
