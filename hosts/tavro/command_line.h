// What the tavro-host commands share: the parsed command line and its helpers.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "automation/rpc.h"
#include "hosts/tavro/store/store.h"

namespace tavro_cli {

inline constexpr int kDefaultPort = 48100;
inline constexpr const char* kDefaultBind = "127.0.0.1";

struct Options {
    std::vector<std::string> words;  // the command and its positional arguments
    std::string data;
    std::string user = "developer";
    std::string passwordFile;
    std::string bind = kDefaultBind;
    int port = kDefaultPort;
    std::size_t maxConnections = automation::rpc::ServerOptions{}.maxConnections;
    std::string deletedSince;  // class list: as given, "" when not
    std::string keep;          // history prune: as given
    bool development = false;
    bool noSecurity = false;
    bool all = false;  // history prune: every namespace
    bool help = false;
};

// Writes "tavro-host: TEXT" to standard error and exits with status 1.
[[noreturn]] void Die(const std::string& text);
// Positional argument `index`, or an exit naming `what` is missing.
const std::string& Word(const Options& options, std::size_t index, const char* what);
// The data directory of commands after init and serve: --data DIR or $TAVRO_DATA.
std::string DataDir(const Options& options);

// The command line works on the data directory with the file system's permission.
inline const tavro::Actor kOperator{"operator", true};

// `class ...` and `history ...`; each returns the exit status.
int ClassCommand(const Options& options);
int HistoryCommand(const Options& options);

}  // namespace tavro_cli
