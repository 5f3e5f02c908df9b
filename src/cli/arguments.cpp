// The command line: one command word, then options and class names or patterns.
#include <algorithm>
#include <cctype>
#include <sstream>
#include <string_view>

#include "cli/cli.h"
#include "strings/strings.h"

namespace cli {

namespace {

struct CommandInfo {
    Command command;
    const char* word;
    const char* summary;
};

constexpr CommandInfo kCommands[] = {
    {Command::Export, "export", "write model classes into the server's class dictionary"},
    {Command::Import, "import", "create or re-initialise model classes from server classes"},
    {Command::Datatypes, "datatypes",
     "load the server's '%' datatype classes into \"Tavro System Classes\""},
    {Command::System, "system",
     "load the server's '%' system classes into \"Tavro System Classes\""},
};

constexpr const char* kConnectionHelp =
    "Connection:\n"
    "  --server HOST:PORT:NAMESPACE  the Tavro server (else TAVRO_CONNECTION)\n"
    "  --user NAME                   the server user (else TAVRO_USER)\n"
    "  --password-file FILE          first line is the password, '-' reads standard input\n"
    "                                (else TAVRO_PASSWORD; asked for only on a terminal)\n"
    "  --rose-socket PATH            rose-host's socket (else CORVANSIL_ROSE_SOCKET, else\n"
    "                                ${XDG_RUNTIME_DIR:-/tmp}/corvansil-$UID/rose.sock)\n";

constexpr const char* kExitHelp =
    "Exit status: 0 every class went through, 1 a class failed or the run stopped, 2 bad\n"
    "usage or a side that could not be reached. Ctrl-C (SIGINT) or SIGTERM stops the run\n"
    "at its next step: nothing further is written, the classes left deleted on the server\n"
    "are named with the command that restores each, the report is written, and the status\n"
    "is 1. A second Ctrl-C ends the program at once.\n";

// Command words are taken in any letter case, as the add-in's own command line takes them.
const CommandInfo* FindCommand(const std::string& word) {
    for (const CommandInfo& info : kCommands) {
        if (strings::EqualNoCase(word, info.word)) return &info;
    }
    return nullptr;
}

bool IsHelpWord(const std::string& arg) {
    return arg == "--help" || arg == "-h" || strings::EqualNoCase(arg, "help");
}

bool TakesClasses(Command command) {
    return command == Command::Export || command == Command::Import;
}

// Options that take a value, and where the value goes.
std::string* ValueOption(const std::string& arg, Options& options) {
    if (arg == "--report") return &options.reportFile;
    if (arg == "--server") return &options.server;
    if (arg == "--user") return &options.user;
    if (arg == "--password-file") return &options.passwordFile;
    if (arg == "--rose-socket") return &options.roseSocket;
    return nullptr;
}

// Flags, and which commands accept them.
bool* FlagOption(const std::string& arg, Options& options) {
    bool transfer = TakesClasses(options.command);
    if (arg == "--all" && transfer) return &options.all;
    if (arg == "--dry-run" && transfer) return &options.dryRun;
    if (arg == "--keep-existing" && transfer) return &options.keepExisting;
    if (arg == "--no-diagram" && options.command == Command::Import) return &options.noDiagram;
    if (arg == "--include-datatype" && options.command == Command::Import) {
        return &options.includeDatatype;
    }
    if (arg == "--include-system" && options.command == Command::Import) {
        return &options.includeSystem;
    }
    return nullptr;
}

// `command` is the command the arguments were given for, whose usage follows the message.
ParseResult Fail(const std::string& message, Command command = Command::None) {
    ParseResult result;
    result.message = message;
    result.options.command = command;
    return result;
}

}  // namespace

const char* CommandWord(Command command) {
    for (const CommandInfo& info : kCommands) {
        if (info.command == command) return info.word;
    }
    return "";
}

ParseResult ParseArguments(const std::vector<std::string>& args) {
    ParseResult result;
    Options& options = result.options;
    if (args.empty()) return Fail("no command given");
    if (args[0] == "--version" && args.size() == 1) {
        options.version = true;
        result.ok = true;
        return result;
    }
    if (IsHelpWord(args[0])) {
        // "help" alone, or "help COMMAND" for the help of that command.
        if (args.size() > 2) return Fail("help takes one command word at most");
        options.help = true;
        if (args.size() == 2) {
            const CommandInfo* info = FindCommand(args[1]);
            if (!info) return Fail("unknown command '" + args[1] + "'");
            options.command = info->command;
        }
        result.ok = true;
        return result;
    }
    const CommandInfo* info = FindCommand(args[0]);
    if (!info) return Fail("unknown command '" + args[0] + "'");
    options.command = info->command;

    for (std::size_t i = 1; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--help" || arg == "-h") {
            options.help = true;
            continue;
        }
        if (std::string* value = ValueOption(arg, options)) {
            if (i + 1 >= args.size()) return Fail(arg + " needs a value", options.command);
            *value = args[++i];
            if (value->empty()) return Fail(arg + " needs a value", options.command);
            continue;
        }
        if (bool* flag = FlagOption(arg, options)) {
            *flag = true;
            continue;
        }
        if (arg.size() > 1 && arg[0] == '-') {
            return Fail("unknown option '" + arg + "' for " + info->word, options.command);
        }
        if (!TakesClasses(options.command)) {
            return Fail(std::string(info->word) + " takes no class names", options.command);
        }
        options.patterns.push_back(arg);
    }
    if (options.help) {
        result.ok = true;
        return result;
    }
    if (TakesClasses(options.command) && !options.all && options.patterns.empty()) {
        return Fail(std::string(info->word) + " needs class names, patterns or --all",
                    options.command);
    }
    if (options.all && !options.patterns.empty()) {
        return Fail("--all and class names exclude each other", options.command);
    }
    result.ok = true;
    return result;
}

std::string UsageText() {
    std::ostringstream text;
    text << "usage: corvansil-cli COMMAND [OPTIONS] [CLASS...]\n\n"
            "Moves class definitions between the model served by rose-host and the class\n"
            "dictionary of a Tavro server, without a window.\n\nCommands:\n";
    for (const CommandInfo& info : kCommands) {
        text << "  " << info.word << std::string(11 - std::string(info.word).size(), ' ')
             << info.summary << "\n";
    }
    text << "\nCommand words may be written in any letter case. 'corvansil-cli help COMMAND'\n"
            "tells more; 'corvansil-cli --version' gives the version.\n\n"
         << kExitHelp;
    return text.str();
}

std::string CommandHelp(Command command) {
    std::ostringstream text;
    switch (command) {
        case Command::None:
            return UsageText();
        case Command::Export:
            text << "usage: corvansil-cli export [OPTIONS] (--all | CLASS...)\n\n"
                    "Writes the named model classes into the server's class dictionary. CLASS\n"
                    "is a server class name (Shop.Customer) or a pattern with '*' and '?'\n"
                    "(Shop.*), matched against the model's classes; letter case counts.\n\n"
                    "  --all            every class of the model\n"
                    "  --keep-existing  skip classes the server already has instead of\n"
                    "                   replacing them\n"
                    "  --dry-run        run the export against a server session that keeps\n"
                    "                   nothing, and say per class whether it would be created,\n"
                    "                   replaced, skipped or fail and, for a replaced class,\n"
                    "                   which members would be added, changed or dropped; the\n"
                    "                   exit status is the one the run would have\n";
            break;
        case Command::Import:
            text << "usage: corvansil-cli import [OPTIONS] (--all | CLASS...)\n\n"
                    "Creates or re-initialises model classes from the named server classes.\n"
                    "CLASS is a server class name or a pattern with '*' and '?', matched\n"
                    "against the server's class list; letter case counts.\n\n"
                    "  --all               every class of the server's list\n"
                    "  --keep-existing     skip classes the model already has instead of\n"
                    "                      re-initialising them\n"
                    "  --no-diagram        do not draw new classes on the active class diagram\n"
                    "  --include-datatype  list the server's datatype classes too\n"
                    "  --include-system    list the server's '%' system classes too\n"
                    "  --dry-run           run the import against a copy of the model that is\n"
                    "                      thrown away, and say per class whether it would be\n"
                    "                      created, replaced, skipped or fail and, for a\n"
                    "                      replaced class, which members would be added,\n"
                    "                      changed or dropped; the exit status is the one the\n"
                    "                      run would have\n";
            break;
        case Command::Datatypes:
        case Command::System:
            text << "usage: corvansil-cli " << CommandWord(command) << " [OPTIONS]\n\n"
                 << "Loads every '%' " << (command == Command::Datatypes ? "datatype" : "system")
                 << " class of the server into the model's category\n"
                    "\"Tavro System Classes\" as an empty class; classes already there are\n"
                    "left alone.\n";
            break;
    }
    text << "  --report FILE    write the outcome of every class and member as JSON\n\n"
         << kConnectionHelp << "\n"
         << kExitHelp;
    return text.str();
}

std::string UsageErrorText(const ParseResult& parsed) {
    return "corvansil-cli: " + parsed.message + "\n\n" + CommandHelp(parsed.options.command);
}

}  // namespace cli
