#include "platform/tavro_factory.h"

#include <cctype>
#include <cstdlib>
#include <string_view>

#include "automation/rpc.h"
#include "platform/objects.h"
#include "strings/strings.h"

namespace platform {
namespace {

using automation::Args;
using automation::AutomationError;
using automation::CallKind;
using automation::ObjectRef;
using automation::Variant;

// The factory's own operations.
constexpr std::string_view kPromptConnection = "PromptConnection";
constexpr std::string_view kOpenConnection = "OpenConnection";
constexpr std::string_view kConnectionIsOpen = "ConnectionIsOpen";
constexpr std::string_view kCloseConnection = "CloseConnection";
// The operations handed on to the session as they come.
constexpr std::string_view kForwarded[] = {"NewObject",   "OpenObjectById", "LoadObjectById",
                                           "ClassHandle", "OpenQuery",      "BeginTrial",
                                           "EndTrial"};
// What the server's login and session objects answer.
constexpr std::string_view kLogin = "Login";
constexpr std::string_view kNamespace = "Namespace";

std::string Environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

ObjectRef ConnectOverRpc(const std::string& address) {
    automation::rpc::ClientOptions options;
    options.peer = kTavroPeerName;
    return automation::rpc::Connect(address, options);
}

std::string& LastFailure() {
    static std::string failure;
    return failure;
}

TavroOps DefaultOps() {
    return TavroOps{[](const std::string&) { return ConnectionFromEnvironment(); }, ConnectOverRpc};
}

bool IsForwarded(std::string_view name) {
    for (std::string_view forwarded : kForwarded) {
        if (strings::EqualNoCase(name, forwarded)) return true;
    }
    return false;
}

bool IsPort(const std::string& text) {
    if (text.empty() || text.size() > 5) return false;
    for (char c : text) {
        if (!std::isdigit(static_cast<unsigned char>(c))) return false;
    }
    return std::stoi(text) <= 65535;
}

class TavroFactory : public automation::Object {
  public:
    Variant Invoke(std::int32_t, CallKind, const Args&) override {
        throw AutomationError(std::string(automation::kErrMemberNotFound));
    }

    Variant InvokeByName(std::string_view name, CallKind, const Args& args) override {
        if (strings::EqualNoCase(name, kPromptConnection)) return PromptConnection(args);
        if (strings::EqualNoCase(name, kOpenConnection)) return OpenConnection(args);
        if (strings::EqualNoCase(name, kConnectionIsOpen)) return ConnectionIsOpen();
        if (strings::EqualNoCase(name, kCloseConnection)) {
            Close();
            return true;
        }
        if (IsForwarded(name)) {
            if (!session_) throw AutomationError("no connection is open");
            return automation::CallByName(session_, name, args);
        }
        throw AutomationError(std::string(automation::kErrMemberNotFound));
    }

    // The session's object results stand as they come, so a call sent ahead stays one.
    ObjectRef InvokeForObject(std::int32_t dispid, std::string_view name, bool byName,
                              CallKind kind, const Args& args, std::string_view iid) override {
        if (!byName || !IsForwarded(name)) {
            return Object::InvokeForObject(dispid, name, byName, kind, args, iid);
        }
        if (!session_) throw AutomationError("no connection is open");
        return automation::CallByNameForObject(session_, name, iid, args);
    }

    bool Implements(std::string_view) const override { return false; }

  private:
    Variant PromptConnection(const Args& args) {
        std::string options = args.empty() ? std::string() : args[0].ToString();
        ConnectionChoice choice = Tavro().promptConnection(options);
        user_ = choice.user;
        password_ = choice.password;
        prompted_ = true;
        return choice.connection;
    }

    // Every failure, from a malformed string to a refused login, is the answer False: the
    // caller only needs to know whether it may go on. Why it failed is kept for a front end
    // that can say more (LastConnectionFailure).
    Variant OpenConnection(const Args& args) {
        Close();
        LastFailure().clear();
        if (args.empty()) return Fail("no connection string was given");
        std::string connection = args[0].ToString();
        ConnectionParts parts;
        if (!SplitConnectionString(connection, parts)) {
            return Fail(MalformedConnectionText(connection));
        }
        // Without a dialog the credentials come from where the dialog's default takes them.
        std::string user = prompted_ ? user_ : Environment("TAVRO_USER");
        std::string password = prompted_ ? password_ : Environment("TAVRO_PASSWORD");
        ObjectRef root;
        try {
            root = Tavro().connectRoot("tcp:" + parts.host + ":" + parts.port);
        } catch (const std::exception& error) {
            return Fail(error.what());
        }
        // The server's own reason follows: it does not say whether the user or the password
        // was wrong, and neither does this text.
        std::string refused = "the Tavro server at " + parts.host + ":" + parts.port +
                              " refused the login of user '" + user + "' to namespace '" +
                              parts.nameSpace + "'";
        try {
            ObjectRef session =
                automation::CallByName(root, kLogin, {parts.nameSpace, user, password}).ToObject();
            if (!session) return Fail(refused);
            root_ = std::move(root);
            session_ = std::move(session);
        } catch (const std::exception& error) {
            return Fail(refused + ": " + error.what());
        }
        return true;
    }

    static Variant Fail(std::string why) {
        LastFailure() = std::move(why);
        return false;
    }

    // One cheap round trip: a server that has gone, or a session it dropped, fails it.
    Variant ConnectionIsOpen() {
        if (!session_) return false;
        try {
            automation::GetByName(session_, kNamespace);
        } catch (const std::exception&) {
            return false;
        }
        return true;
    }

    // Dropping the last proxies of an RPC connection closes it.
    void Close() {
        session_.reset();
        root_.reset();
    }

    ObjectRef root_;
    ObjectRef session_;
    bool prompted_ = false;
    std::string user_;
    std::string password_;
};

}  // namespace

const std::string& LastConnectionFailure() { return LastFailure(); }

void SetLastConnectionFailure(std::string why) { LastFailure() = std::move(why); }

std::string MalformedConnectionText(const std::string& connection) {
    return "the Tavro server address '" + connection + "' is not HOST:PORT:NAMESPACE";
}

TavroOps& Tavro() {
    static TavroOps ops = DefaultOps();
    return ops;
}

void ResetTavro() { Tavro() = DefaultOps(); }

ConnectionChoice ConnectionFromEnvironment() {
    if (std::getenv("TAVRO_CONNECTION") == nullptr) return {};
    return ConnectionChoice{Environment("TAVRO_CONNECTION"), Environment("TAVRO_USER"),
                            Environment("TAVRO_PASSWORD")};
}

bool SplitConnectionString(const std::string& connection, ConnectionParts& parts) {
    std::size_t first = connection.find(':');
    if (first == std::string::npos) return false;
    std::size_t second = connection.find(':', first + 1);
    if (second == std::string::npos) return false;
    ConnectionParts found{connection.substr(0, first),
                          connection.substr(first + 1, second - first - 1),
                          connection.substr(second + 1)};
    if (found.host.empty() || !IsPort(found.port)) return false;
    parts = std::move(found);
    return true;
}

std::string JoinConnectionString(const ConnectionParts& parts) {
    return parts.host + ":" + parts.port + ":" + parts.nameSpace;
}

ObjectRef NewTavroFactory() { return std::make_shared<TavroFactory>(); }

// On Windows the factory is the server's own COM class instead (tavro_factory_win32.cpp); the
// object above is what its stand-in serves there.
#ifndef _WIN32
void InstallTavroFactory() {
    ObjectOps& ops = Objects();
    auto earlier = ops.createObject;
    ops.createObject = [earlier](const std::string& progId) -> ObjectRef {
        if (strings::EqualNoCase(progId, kTavroFactoryProgId)) return NewTavroFactory();
        return earlier(progId);
    };
}
#endif

}  // namespace platform
