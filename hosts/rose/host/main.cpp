// rose-host: the stand-in for the running modelling tool. `open` and `new` serve one model on
// the host's socket; every other command talks to the host that serves it.
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "automation/rpc.h"
#include "hosts/rose/host/host.h"
#include "platform/rose_socket.h"

namespace {

using automation::AutomationError;

struct Command {
    const char* name;
    const char* usage;
    const char* help;
};

constexpr Command kCommands[] = {
    {"open", "open FILE.mdl [--detach]",
     "serve the model FILE.mdl on the host's socket until `rose-host stop`, SIGTERM or SIGINT;\n"
     "with --detach, serve in the background and return once the socket answers"},
    {"new", "new [--detach]", "serve an empty, never saved model"},
    {"save", "save [FILE]",
     "save the served model to its own file, or to FILE (which it keeps); a file is replaced\n"
     "only by text that reads back as the model, else it stays and the new text is left as\n"
     "FILE.rejected; text that the file's code page cannot hold is refused, naming each\n"
     "element and character, except that a model saved to a new file is written in code\n"
     "page GB18030 (charSet 134), which holds every character, when its own cannot"},
    {"stop", "stop [--save]",
     "end the host, saving the model first with --save (the host stays if the save fails)"},
    {"status", "status", "print the served model's name, file, counts and current diagram"},
    {"select", "select NAME...",
     "select these classes (bare or qualified names) on the current diagram, and only these"},
    {"diagram", "diagram NAME", "make the class diagram NAME (or CATEGORY::NAME) current"},
    {"show", "show", "print the model as an indented tree with its elements' tool properties"},
};

void PrintUsage(std::ostream& out) {
    out << "usage: rose-host COMMAND ...\n\n";
    for (const Command& command : kCommands) {
        std::string help = command.help;
        for (std::size_t at = help.find('\n'); at != std::string::npos;
             at = help.find('\n', at + 1)) {
            help.insert(at + 1, "      ");
        }
        out << "  " << command.usage << "\n      " << help << "\n";
    }
    out << "\nThe socket is $CORVANSIL_ROSE_SOCKET, by default "
           "${XDG_RUNTIME_DIR:-/tmp}/corvansil-$UID/rose.sock.\n"
           "Every command takes --help; rose-host --version gives the version.\n"
           "\nA client's dry run calls the application's BeginTrial, which makes the host serve\n"
           "a copy of the model, and EndTrial (or lets the trial object go), which serves the\n"
           "model again and throws the copy away; save, show and status work on the model.\n";
}

[[noreturn]] void Die(const std::string& text) {
    std::cerr << "rose-host: " << text << "\n";
    std::exit(1);
}

const Command* FindCommand(const std::string& name) {
    for (const Command& command : kCommands) {
        if (name == command.name) return &command;
    }
    return nullptr;
}

struct Options {
    std::string command;
    std::vector<std::string> words;
    bool help = false;
    bool detach = false;
    bool save = false;
};

Options ParseOptions(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (arg == "--help" || arg == "-h") {
            options.help = true;
        } else if (arg == "--detach") {
            options.detach = true;
        } else if (arg == "--save") {
            options.save = true;
        } else if (arg.size() > 1 && arg[0] == '-') {
            Die("unknown option " + arg);
        } else if (options.command.empty()) {
            options.command = arg;
        } else {
            options.words.push_back(arg);
        }
    }
    return options;
}

void Expect(const Options& options, const Command& command, std::size_t least, std::size_t most) {
    if (options.words.size() < least || options.words.size() > most) {
        Die(std::string("usage: rose-host ") + command.usage);
    }
    bool detachable = options.command == "open" || options.command == "new";
    if (options.detach && !detachable) Die("--detach belongs to open and new");
    if (options.save && options.command != "stop") Die("--save belongs to stop");
}

std::string Absolute(const std::string& path) {
    std::error_code error;
    auto absolute = std::filesystem::absolute(path, error);
    return error ? path : absolute.lexically_normal().string();
}

// --- Serving ---

automation::rpc::Server* gServer = nullptr;

extern "C" void OnSignal(int) {
    if (gServer != nullptr) gServer->Stop();
}

void PrintWarnings(const rosehost::Session& session) {
    for (const std::string& warning : session.warnings) {
        std::cerr << "rose-host: warning: " << warning << "\n";
    }
}

void Report(int fd, const std::string& text) {
    if (fd < 0) return;
    ssize_t written = ::write(fd, text.data(), text.size());
    (void)written;  // the parent sees a short message as a failure anyway
    ::close(fd);
}

// Listens on the socket and serves until stopped. `reportFd` (when not -1) hears "ok" once the
// socket listens, or why it cannot.
int Serve(rosehost::Session& session, int reportFd) {
    std::string address = platform::RoseSocketAddress();
    automation::rpc::Server* self = nullptr;
    automation::rpc::Server server([&](const automation::rpc::ConnectionInfo&) {
        return rosehost::ControlObject(session, [&self] { self->Stop(); });
    });
    self = &server;
    std::string unsafe =
        platform::CheckSocketDirectory(platform::RoseSocketPath(), /*create=*/true);
    if (!unsafe.empty()) {
        Report(reportFd, unsafe);
        Die(unsafe);
    }
    try {
        server.Listen(address);
    } catch (const AutomationError& e) {
        std::string why = "cannot serve on " + platform::RoseSocketPath() + ": " + e.Description();
        Report(reportFd, why);
        Die(why);
    }
    gServer = &server;
    std::signal(SIGTERM, OnSignal);
    std::signal(SIGINT, OnSignal);
    std::signal(SIGPIPE, SIG_IGN);
    if (reportFd < 0) PrintWarnings(session);
    Report(reportFd, "ok");
    if (reportFd >= 0) {
        // Detached: let go of the caller's terminal or pipe, so that `$(rose-host open ...)`
        // returns once the parent does.
        std::FILE* out = std::freopen("/dev/null", "w", stdout);
        std::FILE* err = std::freopen("/dev/null", "w", stderr);
        (void)out;
        (void)err;
    }
    server.Run();
    gServer = nullptr;
    return 0;
}

// Forks a child that serves; returns in the parent once the child's socket answers.
int ServeDetached(rosehost::Session& session) {
    int fds[2];
    if (::pipe(fds) != 0) Die("cannot create a pipe");
    pid_t pid = ::fork();
    if (pid < 0) Die("cannot fork");
    if (pid == 0) {
        ::close(fds[0]);
        ::setsid();
        std::FILE* null = std::freopen("/dev/null", "r", stdin);
        (void)null;
        int code = Serve(session, fds[1]);
        std::exit(code);
    }
    ::close(fds[1]);
    std::string message;
    char buffer[512];
    pollfd wait{fds[0], POLLIN, 0};
    // Bounded: a child that neither listens nor fails within this time is reported.
    while (::poll(&wait, 1, 30000) > 0) {
        ssize_t n = ::read(fds[0], buffer, sizeof buffer);
        if (n <= 0) break;
        message.append(buffer, static_cast<std::size_t>(n));
    }
    ::close(fds[0]);
    if (message != "ok") {
        ::waitpid(pid, nullptr, WNOHANG);
        Die(message.empty() ? "the host did not start" : message);
    }
    try {
        automation::rpc::Connect(platform::RoseSocketAddress());
    } catch (const AutomationError& e) {
        Die("the host started but its socket does not answer: " + e.Description());
    }
    PrintWarnings(session);
    std::cout << pid << "\n";
    return 0;
}

// --- Talking to the host ---

automation::ObjectRef Attach() {
    std::string unsafe =
        platform::CheckSocketDirectory(platform::RoseSocketPath(), /*create=*/false);
    if (!unsafe.empty()) Die(unsafe);
    try {
        return automation::rpc::Connect(platform::RoseSocketAddress());
    } catch (const AutomationError& e) {
        Die("no rose-host is running on " + platform::RoseSocketPath() + " (" + e.Description() +
            ")");
    }
}

automation::Variant Control(const std::string& member, const automation::Args& args = {}) {
    automation::ObjectRef host = Attach();
    try {
        return automation::CallByName(host, member, args);
    } catch (const AutomationError& e) {
        Die(e.Description());
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::string(argv[1]) == "--version") {
        std::cout << "rose-host " << CORVANSIL_VERSION << "\n";
        return 0;
    }
    Options options = ParseOptions(argc, argv);
    if (options.command.empty()) {
        PrintUsage(options.help ? std::cout : std::cerr);
        return options.help ? 0 : 2;
    }
    const Command* command = FindCommand(options.command);
    if (command == nullptr) Die("unknown command " + options.command + " (see rose-host --help)");
    if (options.help) {
        std::cout << "usage: rose-host " << command->usage << "\n\n" << command->help << "\n";
        return 0;
    }
    const std::string& name = options.command;

    if (name == "open" || name == "new") {
        Expect(options, *command, name == "open" ? 1 : 0, name == "open" ? 1 : 0);
        rosehost::Session session;
        if (name == "open") {
            std::string error = rosehost::OpenSession(session, Absolute(options.words[0]));
            if (!error.empty()) Die(error);
        } else {
            rosehost::NewSession(session);
        }
        return options.detach ? ServeDetached(session) : Serve(session, -1);
    }
    if (name == "save") {
        Expect(options, *command, 0, 1);
        std::string path = options.words.empty() ? "" : Absolute(options.words[0]);
        std::string saved = Control("Save", {path}).ToString();
        std::cout << "saved " << saved << "\n";
        return 0;
    }
    if (name == "stop") {
        Expect(options, *command, 0, 0);
        Control("Stop", {options.save});
        return 0;
    }
    if (name == "status" || name == "show") {
        Expect(options, *command, 0, 0);
        std::string text = Control(name == "status" ? "Status" : "Show").ToString();
        std::cout << text << (text.empty() || text.back() != '\n' ? "\n" : "");
        return 0;
    }
    if (name == "select") {
        Expect(options, *command, 1, 1000);
        automation::Args names(options.words.begin(), options.words.end());
        Control("Select", names);
        return 0;
    }
    Expect(options, *command, 1, 1);  // diagram
    Control("Diagram", {options.words[0]});
    return 0;
}
