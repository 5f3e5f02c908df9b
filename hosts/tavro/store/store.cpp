#include "hosts/tavro/store/store.h"

#include <ctime>
#include <filesystem>

#include "hosts/tavro/store/store_internal.h"

namespace tavro {

namespace si = store_internal;

namespace {

// Definitions are kept as their XML text, which holds every part of a class; the columns
// beside it are what the class query reads without parsing each definition.
constexpr const char* kSchema = R"(
CREATE TABLE IF NOT EXISTS meta (key TEXT PRIMARY KEY, value TEXT NOT NULL);
CREATE TABLE IF NOT EXISTS namespaces (
    name TEXT PRIMARY KEY COLLATE NOCASE,
    security INTEGER NOT NULL DEFAULT 1);
CREATE TABLE IF NOT EXISTS users (
    name TEXT PRIMARY KEY COLLATE NOCASE,
    hash TEXT NOT NULL,
    development INTEGER NOT NULL);
CREATE TABLE IF NOT EXISTS classes (
    namespace TEXT NOT NULL COLLATE NOCASE,
    name TEXT NOT NULL COLLATE NOCASE,
    super TEXT NOT NULL,
    class_type TEXT NOT NULL,
    hidden INTEGER NOT NULL,
    final INTEGER NOT NULL,
    sql_table_name TEXT NOT NULL,
    xml TEXT NOT NULL,
    saved_at TEXT NOT NULL,
    saved_by TEXT NOT NULL,
    PRIMARY KEY (namespace, name));
CREATE TABLE IF NOT EXISTS history (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    namespace TEXT NOT NULL COLLATE NOCASE,
    name TEXT NOT NULL COLLATE NOCASE,
    xml TEXT NOT NULL,
    saved_at TEXT NOT NULL,
    saved_by TEXT NOT NULL,
    replaced_at TEXT NOT NULL,
    replaced_by TEXT NOT NULL,
    reason TEXT NOT NULL);
CREATE INDEX IF NOT EXISTS history_by_class ON history (namespace, name, id);
)";

std::string DatabasePath(const std::string& dir) {
    return (std::filesystem::path(dir) / kDatabaseFile).string();
}

sqlite3* OpenDatabase(const std::string& path, int flags) {
    sqlite3* db = nullptr;
    int rc = sqlite3_open_v2(path.c_str(), &db, flags | SQLITE_OPEN_FULLMUTEX, nullptr);
    if (rc != SQLITE_OK) {
        std::string text = db ? sqlite3_errmsg(db) : sqlite3_errstr(rc);
        sqlite3_close(db);
        throw StoreError("cannot open " + path + ": " + text);
    }
    // Another session's write waits for the lock rather than failing at once.
    sqlite3_busy_timeout(db, 30000);
    return db;
}

void Configure(Store& store) {
    si::Exec(store, "PRAGMA journal_mode=WAL");
    // A committed definition must survive a power cut, not only a killed process.
    si::Exec(store, "PRAGMA synchronous=FULL");
}

bool IsInitialised(Store& store) {
    si::Statement query(store, "SELECT count(*) FROM sqlite_master WHERE name = 'meta'");
    if (!query.Step() || query.Int(0) == 0) return false;
    si::Statement version(store, "SELECT count(*) FROM meta WHERE key = 'version'");
    return version.Step() && version.Int(0) > 0;
}

}  // namespace

Store::~Store() { sqlite3_close(db_); }

void BeginTrial(Store& store) { store.trial_ = true; }

void EndTrial(Store& store) {
    store.trial_ = false;
    if (sqlite3_get_autocommit(store.db()) != 0) return;  // nothing was written
    si::Exec(store, "ROLLBACK");
}

namespace store_internal {

Statement::Statement(Store& store, const char* sql) : db_(store.db()) {
    if (sqlite3_prepare_v2(db_, sql, -1, &stmt_, nullptr) != SQLITE_OK) Fail(store, "prepare");
}

Statement::~Statement() { sqlite3_finalize(stmt_); }

Statement& Statement::Bind(int index, const std::string& text) {
    sqlite3_bind_text(stmt_, index, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
    return *this;
}

Statement& Statement::Bind(int index, int value) {
    sqlite3_bind_int(stmt_, index, value);
    return *this;
}

bool Statement::Step() {
    int rc = sqlite3_step(stmt_);
    if (rc == SQLITE_ROW) return true;
    if (rc == SQLITE_DONE) return false;
    throw StoreError(std::string("database error: ") + sqlite3_errmsg(db_));
}

void Statement::Run() {
    while (Step()) {
    }
}

std::string Statement::Text(int column) const {
    const unsigned char* text = sqlite3_column_text(stmt_, column);
    if (text == nullptr) return "";
    return std::string(reinterpret_cast<const char*>(text),
                       static_cast<std::size_t>(sqlite3_column_bytes(stmt_, column)));
}

int Statement::Int(int column) const { return sqlite3_column_int(stmt_, column); }

Transaction::Transaction(Store& store) : store_(store), savepoint_(store.InTrial()) {
    if (!savepoint_) {
        Exec(store_, "BEGIN IMMEDIATE");
        return;
    }
    if (sqlite3_get_autocommit(store_.db()) != 0) Exec(store_, "BEGIN IMMEDIATE");
    Exec(store_, "SAVEPOINT trial_write");
}

Transaction::~Transaction() {
    if (done_) return;
    const char* undo = savepoint_ ? "ROLLBACK TO trial_write; RELEASE trial_write" : "ROLLBACK";
    sqlite3_exec(store_.db(), undo, nullptr, nullptr, nullptr);
}

void Transaction::Commit() {
    Exec(store_, savepoint_ ? "RELEASE trial_write" : "COMMIT");
    done_ = true;
}

void Exec(Store& store, const char* sql) {
    char* error = nullptr;
    if (sqlite3_exec(store.db(), sql, nullptr, nullptr, &error) == SQLITE_OK) return;
    std::string text = error ? error : "unknown error";
    sqlite3_free(error);
    throw StoreError("database error: " + text);
}

void Fail(Store& store, const std::string& what) {
    throw StoreError("database error (" + what + "): " + sqlite3_errmsg(store.db()));
}

std::string Now() {
    std::time_t now = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&now, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
    return text;
}

std::string HomeOf(const std::string& ns, const std::string& name) {
    if (!name.empty() && name[0] == '%') return kSystemNamespace;
    return ns;
}

}  // namespace store_internal

void InitStore(const std::string& dir, const std::string& user, const std::string& password,
               HashCost cost) {
    if (user.empty()) throw StoreError("a user name is needed");
    if (password.empty()) throw StoreError("an empty password is not accepted");
    std::error_code ec;
    std::filesystem::create_directories(dir, ec);
    if (ec) throw StoreError("cannot create " + dir + ": " + ec.message());
    Store store(OpenDatabase(DatabasePath(dir), SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE));
    Configure(store);
    if (IsInitialised(store)) throw StoreError(dir + " already holds a database");
    // One transaction: a creation stopped half-way leaves a database that init may fill again.
    si::Transaction transaction(store);
    si::Exec(store, kSchema);
    si::Statement(store, "INSERT INTO namespaces (name) VALUES (?)")
        .Bind(1, std::string(kSystemNamespace))
        .Run();
    si::Statement(store, "INSERT INTO namespaces (name) VALUES (?)")
        .Bind(1, std::string(kDefaultNamespace))
        .Run();
    for (const ClassDef& def : SystemCatalogue()) {
        si::InsertClassRow(store, kSystemNamespace, def, "system");
    }
    AddUser(store, user, password, /*development=*/true, cost);
    si::Statement(store, "INSERT INTO meta (key, value) VALUES ('version', '1')").Run();
    transaction.Commit();
    // The database holds the password hashes: only its owner reads it.
    std::filesystem::permissions(
        DatabasePath(dir), std::filesystem::perms::owner_read | std::filesystem::perms::owner_write,
        std::filesystem::perm_options::replace, ec);
}

std::unique_ptr<Store> OpenStore(const std::string& dir) {
    std::string path = DatabasePath(dir);
    if (!std::filesystem::exists(path))
        throw StoreError(dir + " holds no database; run tavro-host init first");
    auto store = std::make_unique<Store>(OpenDatabase(path, SQLITE_OPEN_READWRITE));
    Configure(*store);
    if (!IsInitialised(*store))
        throw StoreError(dir + " holds no initialised database; run tavro-host init again");
    return store;
}

void AddNamespace(Store& store, const std::string& name, bool security) {
    if (!IsValidMemberName(name) || name[0] == '%')
        throw StoreError("bad namespace name '" + name + "'");
    si::Transaction transaction(store);
    if (NamespaceExists(store, name)) throw StoreError("namespace " + name + " already exists");
    si::Statement insert(store, "INSERT INTO namespaces (name, security) VALUES (?, ?)");
    insert.Bind(1, name).Bind(2, security ? 1 : 0).Run();
    transaction.Commit();
}

bool NamespaceExists(Store& store, const std::string& name) {
    si::Statement query(store, "SELECT count(*) FROM namespaces WHERE name = ?");
    query.Bind(1, name);
    return query.Step() && query.Int(0) > 0;
}

bool NamespaceEnforcesSecurity(Store& store, const std::string& name) {
    si::Statement query(store, "SELECT security FROM namespaces WHERE name = ?");
    query.Bind(1, name);
    return !query.Step() || query.Int(0) != 0;
}

std::vector<std::string> ListNamespaces(Store& store) {
    std::vector<std::string> names;
    si::Statement query(store, "SELECT name FROM namespaces WHERE name <> '%SYS' ORDER BY name");
    while (query.Step()) names.push_back(query.Text(0));
    return names;
}

}  // namespace tavro
