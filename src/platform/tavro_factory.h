// The server's client-side connection factory, "TavroActiveX.Factory", as this platform offers
// it. The factory asks for a connection through a dialog, connects to tavro-host over the RPC
// transport, logs in to the chosen namespace and then forwards the object operations to the
// session it got. It answers by member name only:
//
//   PromptConnection(options) -> string     the connection string, "" when cancelled
//   OpenConnection(conn) -> Boolean         "HOST:PORT:NAMESPACE"; False on any failure
//   ConnectionIsOpen -> Boolean             False once the server has gone
//   CloseConnection -> Boolean
//   NewObject, OpenObjectById, LoadObjectById, ClassHandle, OpenQuery   forwarded to the session
//   BeginTrial, EndTrial                forwarded too: a dry run's session whose writes are
//                                       checked and then rolled back
//
// The connection string keeps the namespace after its second ':', which is where the add-in
// reads it.
#pragma once

#include <functional>
#include <string>

#include "automation/automation.h"

namespace platform {

inline constexpr const char* kTavroFactoryProgId = "TavroActiveX.Factory";
// How the errors of the connection name the other end ("... closed the connection").
inline constexpr const char* kTavroPeerName = "the Tavro server (tavro-host)";

// What the connection dialog collected. `connection` "" means the user cancelled.
struct ConnectionChoice {
    std::string connection;
    std::string user;
    std::string password;
};

struct TavroOps {
    // Shows the connection dialog; `options` is passed through unchanged from the caller.
    std::function<ConnectionChoice(const std::string& options)> promptConnection;
    // The root (login) object of the server at an RPC address "tcp:HOST:PORT"; raises
    // AutomationError when nothing answers there.
    std::function<automation::ObjectRef(const std::string& address)> connectRoot;
};

// The table in force. The default dialog answers from the environment (below) and the default
// root connects over the RPC transport.
TavroOps& Tavro();
void ResetTavro();

// The dialog's answer without a display: TAVRO_CONNECTION, TAVRO_USER and TAVRO_PASSWORD;
// a cancelled dialog when TAVRO_CONNECTION is unset.
ConnectionChoice ConnectionFromEnvironment();

// The three parts of a connection string "HOST:PORT:NAMESPACE"; false when the string has not
// that shape (a namespace may itself hold ':').
struct ConnectionParts {
    std::string host;
    std::string port;
    std::string nameSpace;
};
bool SplitConnectionString(const std::string& connection, ConnectionParts& parts);
// The string that names `parts`.
std::string JoinConnectionString(const ConnectionParts& parts);

// Why the last OpenConnection of any factory answered False, in words for the user: a malformed
// string, no server or a busy one (the transport's own text), or a refused login with the
// server's reason. "" after one that succeeded.
const std::string& LastConnectionFailure();
// Sets that text, for a factory of another process whose reason is learnt from it afterwards.
void SetLastConnectionFailure(std::string why);
// The text for a connection string that is not "HOST:PORT:NAMESPACE".
std::string MalformedConnectionText(const std::string& connection);

// A new factory object, not connected.
automation::ObjectRef NewTavroFactory();

// Makes platform::CreateObject("TavroActiveX.Factory") give NewTavroFactory(); every other
// progId goes on to whatever was installed before.
void InstallTavroFactory();

}  // namespace platform
