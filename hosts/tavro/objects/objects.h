// The server's automation objects: what a client reaches by member name. A network client
// first gets a login object; its `Login` opens a session whose object offers the factory
// operations (NewObject, OpenObjectById, LoadObjectById, ClassHandle, OpenQuery). Every
// write checks the session user's "Development" permission on the server side.
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "automation/automation.h"
#include "hosts/tavro/store/store.h"

namespace tavro {

// A session's own connection to the store, bound to the account it logged in with: every use
// checks that this account still exists, so that a removed user's session reads and writes
// nothing more and a new user of the same name does not inherit it.
class SessionStore {
  public:
    Store& operator*() const;
    Store* operator->() const { return &**this; }

    std::unique_ptr<Store> db;
    std::string user;
    std::string account;  // AccountKey at login
};

// What every object of one client session shares: its store, the namespace and the user.
struct Session {
    SessionStore store;
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

// Bytes a network connection may send before it has logged in: a login request and a little.
inline constexpr std::size_t kLoginLimit = 4096;

// Slows down guessing: counts failed logins per user and per client address, and tells how
// long the answer to a failure waits: nothing for the first few, then twice as long each time
// up to a cap. A user's count ends with a successful login; a count without failures for a
// while is forgotten.
class LoginGuard {
  public:
    // The wait before answering this failure; said on stderr when there is one.
    std::chrono::milliseconds Failed(const std::string& user, const std::string& address);
    void Succeeded(const std::string& user);

    struct Count {
        int failures = 0;
        std::chrono::steady_clock::time_point last{};
    };

  private:
    std::mutex mutex_;
    std::map<std::string, Count> users_;
    std::map<std::string, Count> addresses_;
};

// The root object of a network connection: `Login(namespace, user, password)` gives the
// session object. The password is checked off the serving thread (a deferred call), and the
// connection counts as logged in once it succeeds. `peer` is the client's address as the
// server names it; without a `guard` the object has one of its own.
automation::ObjectRef NewLoginObject(const std::string& dataDir, const std::string& peer = "",
                                     std::shared_ptr<LoginGuard> guard = nullptr);

}  // namespace tavro
