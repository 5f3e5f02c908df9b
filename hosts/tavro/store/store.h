// The dictionary store: one SQLite database per data directory holding namespaces, users and
// the class definitions of each namespace, with a history of every definition that a save,
// a delete or a restore replaced. Every write is one transaction, so a host stopped at any
// moment finds each definition as it was before the write or as the write left it.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "hosts/tavro/xml/dictionary.h"

struct sqlite3;

namespace tavro {

// Raised for every refusal and failure of the store; the text is meant for the user.
class StoreError : public std::runtime_error {
  public:
    explicit StoreError(const std::string& text) : std::runtime_error(text) {}
};

inline constexpr const char* kSystemNamespace = "%SYS";
inline constexpr const char* kDefaultNamespace = "USER";
inline constexpr const char* kDatabaseFile = "tavro.db";

// One open connection to a data directory's database. Each client session has its own, so
// several clients read and write at once; SQLite serialises the writes.
class Store {
  public:
    explicit Store(sqlite3* db) : db_(db) {}
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;
    sqlite3* db() const { return db_; }
    // A trial store checks and performs every write but keeps none of them (BeginTrial).
    bool InTrial() const { return trial_; }

  private:
    friend void BeginTrial(Store& store);
    friend void EndTrial(Store& store);
    sqlite3* db_;
    bool trial_ = false;
};

// A trial: from here on every write of this store runs its checks and its statements in a
// savepoint of one transaction that is never committed, so that later reads of the same store
// see the writes and no other store does. The transaction begins (BEGIN IMMEDIATE, the write
// lock of the database) with the first write and holds that lock until EndTrial, which rolls
// everything back, history included. Closing the store rolls back too.
void BeginTrial(Store& store);
void EndTrial(Store& store);

// How much work a password hash costs. Interactive is for real users; Minimal only keeps
// tests fast and is never chosen by the command line.
enum class HashCost { Interactive, Minimal };

// Who writes. A session's user must hold "Development"; the operator works on the data
// directory from the command line, with the file system's permission.
struct Actor {
    std::string user;
    bool isOperator = false;
};

// Creates the data directory's database: the schema, the namespace USER, the server's own
// classes and one user with "Development". Refuses a directory that already has a database.
void InitStore(const std::string& dir, const std::string& user, const std::string& password,
               HashCost cost = HashCost::Interactive);
// Opens the database of an initialised data directory.
std::unique_ptr<Store> OpenStore(const std::string& dir);

// Namespaces. "%SYS" holds the server's own classes and is not a namespace clients open.
// A namespace that enforces security lets only users with "Development" change its classes;
// in one that does not, every user may.
void AddNamespace(Store& store, const std::string& name, bool security = true);
bool NamespaceExists(Store& store, const std::string& name);
bool NamespaceEnforcesSecurity(Store& store, const std::string& name);
std::vector<std::string> ListNamespaces(Store& store);

// Users. Passwords are kept only as salted slow hashes.
void AddUser(Store& store, const std::string& name, const std::string& password, bool development,
             HashCost cost = HashCost::Interactive);
void RemoveUser(Store& store, const std::string& name);
void SetDevelopment(Store& store, const std::string& name, bool development);
// For an unknown user the password is still checked, against another account's hash, so that
// the answer takes as long as for a wrong password of a known user.
bool CheckPassword(Store& store, const std::string& name, const std::string& password);
// What tells one account from a later one of the same name (its password hash, whose random
// salt no other account shares); "" when the user does not exist.
std::string AccountKey(Store& store, const std::string& name);
bool HasDevelopment(Store& store, const std::string& name);

// Class definitions, found by name without regard to letter case. Names beginning with '%'
// are the server's own classes, visible from every namespace and read-only for everybody.
bool LoadClass(Store& store, const std::string& ns, const std::string& name, ClassDef& def);
bool ClassExists(Store& store, const std::string& ns, const std::string& name);
// Every class of the namespace, the server's own left out, by name, read at one moment.
std::vector<ClassDef> LoadClasses(Store& store, const std::string& ns);
// Stores `def` under its name. With `replace` false a class of that name must not exist yet;
// with `replace` true an existing definition goes to the history first.
void SaveClass(Store& store, const std::string& ns, const ClassDef& def, const Actor& actor,
               bool replace);
// Stores many definitions in one transaction, replacing those that exist (for loading a
// namespace from files, and for benchmarks).
void SaveClasses(Store& store, const std::string& ns, const std::vector<ClassDef>& defs,
                 const Actor& actor);
// Deletes a class; its definition goes to the history.
void DeleteClass(Store& store, const std::string& ns, const std::string& name, const Actor& actor);

// One row of the class query "Summary".
struct SummaryRow {
    std::string name;
    std::string super;
    bool hidden = false;
    bool datatype = false;
    bool system = false;
    bool final = false;
    bool persistent = false;
    bool serial = false;
    std::string timeChanged;
    std::string sqlTableName;
};
// Every class of the namespace and every server class, sorted by name.
std::vector<SummaryRow> SummaryOf(Store& store, const std::string& ns);

struct HistoryEntry {
    int version = 0;  // 1 for the oldest kept definition of that class
    std::string savedAt, savedBy;
    std::string replacedAt, replacedBy;
    std::string reason;  // "replaced", "deleted" or "restored"
    std::string xml;
};
std::vector<HistoryEntry> ClassHistory(Store& store, const std::string& ns,
                                       const std::string& name);
// Brings back a kept definition (the newest when `version` is 0); the current one, if any,
// goes to the history in the same transaction.
void RestoreClass(Store& store, const std::string& ns, const std::string& name, int version,
                  const Actor& actor);

// A class whose newest history entry is its deletion and which has not been saved again: a
// run cut off between a delete and the save that should follow leaves such a class.
struct DeletedClass {
    std::string name;
    int version = 0;  // its history version that holds the deleted definition
    std::string deletedAt, deletedBy;
};
// The classes of `ns` deleted at or after `since` ("YYYY-MM-DD HH:MM:SS", UTC) that do not
// exist now, by name.
std::vector<DeletedClass> DeletedClassesSince(Store& store, const std::string& ns,
                                              const std::string& since);
// Removes all but the newest `keep` history entries of each class of `ns` ("" for every
// namespace) in one transaction and returns how many went. `keep` must be 1 or more, so a
// deleted class keeps the definition it had.
int PruneHistory(Store& store, const std::string& ns, int keep);

// The database file a store works on; sessions of one data directory share it.
std::string DatabaseFileOf(Store& store);

// Holds the data directory's serve lock for as long as the object lives: one `serve` per data
// directory. The lock is the kernel's (flock), so a server that dies leaves none behind.
class ServeLock {
  public:
    // Raises StoreError naming the process that holds the lock when another one does.
    explicit ServeLock(const std::string& dir);
    ~ServeLock();
    ServeLock(const ServeLock&) = delete;
    ServeLock& operator=(const ServeLock&) = delete;

  private:
    int fd_ = -1;
};
inline constexpr const char* kServeLockFile = "serve.lock";

// Writes `text` to `path` so that a reader finds the old file or the whole new one, never a
// part: a temporary file beside it (mode 0600), flushed to disk, then renamed over it.
void WriteFileAtomically(const std::string& path, const std::string& text);

// The server's own classes, as they are stored in "%SYS" when a data directory is created.
std::vector<ClassDef> SystemCatalogue();

}  // namespace tavro
