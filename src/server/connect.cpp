#include "platform/objects.h"
#include "platform/platform.h"
#include "server/members.h"
#include "server/server.h"

namespace server {

namespace f = members::factory;
namespace classes = members::classes;
namespace u = members::utility;
using automation::CallByName;
using automation::ObjectRef;

ObjectRef ServerFactory;
std::string ServerNamespace;
std::string ConnectionNamespace;

namespace {

// The namespace is everything after the connection string's second ':' (further ':' included);
// a string with fewer than two has none.
std::string NamespaceOfConnection(const std::string& connection) {
    std::size_t first = connection.find(':');
    if (first == std::string::npos) return "";
    std::size_t second = connection.find(':', first + 1);
    if (second == std::string::npos) return "";
    return connection.substr(second + 1);
}

bool ConnectionIsOpen() {
    return ServerFactory && CallByName(ServerFactory, f::kConnectionIsOpen).ToBool();
}

ObjectRef UtilityClassHandle() {
    return CallByName(ServerFactory, f::kClassHandle, {classes::kUtility}).ToObject();
}

// The steps of ConnectToServer that may raise; the caller turns any error into False.
bool OpenServerConnection(std::string& nameSpace) {
    // A connection still open is reused as it is: no dialog, no second permission check.
    if (ConnectionIsOpen()) return true;

    ServerFactory = platform::CreateObject(f::kProgId);
    std::string connection =
        CallByName(ServerFactory, f::kPromptConnection, {f::kPromptOptions}).ToString();
    if (connection.empty()) return false;
    if (!CallByName(ServerFactory, f::kOpenConnection, {connection}).ToBool()) return false;

    if (!HasDevelopmentPermission()) {
        platform::MessageBox("No 'Development' Security Permission", platform::Buttons::Ok);
        CallByName(ServerFactory, f::kCloseConnection);
        return false;
    }
    nameSpace = NamespaceOfConnection(connection);
    ConnectionNamespace = nameSpace;
    return true;
}

}  // namespace

bool ConnectToServer(std::string& nameSpace) {
    try {
        if (OpenServerConnection(nameSpace)) return true;
    } catch (const std::exception&) {
        // Any error is a failed connection; the caller asks whether to retry.
    }
    nameSpace.clear();
    return false;
}

bool HasDevelopmentPermission() {
    // A server that does not report the security feature, or cannot say, enforces nothing.
    if (!ServerSupportsFeature(u::kFeatureSecurity)) return true;
    return CallByName(UtilityClassHandle(), u::kHasSecurityPermission).ToBool();
}

bool ServerSupportsFeature(const std::string& feature) {
    try {
        return CallByName(UtilityClassHandle(), u::kSupportFeature, {feature}).ToBool();
    } catch (const std::exception&) {
        return false;
    }
}

bool ClassDefinitionExists(const std::string& className) {
    try {
        ObjectRef definition =
            CallByName(ServerFactory, f::kLoadObjectById, {classes::kClassDefinition, className})
                .ToObject();
        CallByName(definition, members::stored::kSysClose);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace server
