// The server's automation objects: what a client reaches by member name. A network client
// first gets a login object; its `Login` opens a session whose object offers the factory
// operations (NewObject, OpenObjectById, LoadObjectById, ClassHandle, OpenQuery). Every
// write checks the session user's "Development" permission on the server side.
#pragma once

#include <memory>
#include <string>

#include "automation/automation.h"
#include "hosts/tavro/store/store.h"

namespace tavro {

// What every object of one client session shares: its own connection to the store, the
// namespace and the user.
struct Session {
    std::unique_ptr<Store> store;
    std::string ns;
    std::string user;
};
using SessionRef = std::shared_ptr<Session>;

// Opens a session on the data directory after checking the password. Raises
// AutomationError("access denied: ...") for an unknown user, a wrong password or a
// namespace that does not exist.
SessionRef OpenSession(const std::string& dataDir, const std::string& ns, const std::string& user,
                       const std::string& password);

// The session object with the factory operations.
automation::ObjectRef NewSessionObject(SessionRef session);

// The root object of a network connection: `Login(namespace, user, password)` gives the
// session object.
automation::ObjectRef NewLoginObject(const std::string& dataDir);

}  // namespace tavro
