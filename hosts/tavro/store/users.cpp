#include <sodium.h>

#include "hosts/tavro/store/store.h"
#include "hosts/tavro/store/store_internal.h"

namespace tavro {

namespace si = store_internal;

namespace {

void RequireSodium() {
    if (sodium_init() < 0) throw StoreError("the password library cannot start");
}

std::string HashPassword(const std::string& password, HashCost cost) {
    RequireSodium();
    unsigned long long ops = crypto_pwhash_OPSLIMIT_INTERACTIVE;
    std::size_t mem = crypto_pwhash_MEMLIMIT_INTERACTIVE;
    if (cost == HashCost::Minimal) {
        ops = crypto_pwhash_OPSLIMIT_MIN;
        mem = crypto_pwhash_MEMLIMIT_MIN;
    }
    char hash[crypto_pwhash_STRBYTES];
    if (crypto_pwhash_str(hash, password.data(), password.size(), ops, mem) != 0) {
        throw StoreError("out of memory while hashing the password");
    }
    return hash;
}

// A hash of the interactive cost, for checking passwords where no user has one.
const std::string& StandInHash() {
    static const std::string hash = HashPassword("stand-in", HashCost::Interactive);
    return hash;
}

bool UserExists(Store& store, const std::string& name) {
    si::Statement query(store, "SELECT count(*) FROM users WHERE name = ?");
    query.Bind(1, name);
    return query.Step() && query.Int(0) > 0;
}

}  // namespace

void AddUser(Store& store, const std::string& name, const std::string& password, bool development,
             HashCost cost) {
    if (!IsValidMemberName(name)) throw StoreError("bad user name '" + name + "'");
    if (password.empty()) throw StoreError("an empty password is not accepted");
    std::string hash = HashPassword(password, cost);
    if (UserExists(store, name)) throw StoreError("user " + name + " already exists");
    si::Statement insert(store, "INSERT INTO users (name, hash, development) VALUES (?, ?, ?)");
    insert.Bind(1, name).Bind(2, hash).Bind(3, development ? 1 : 0).Run();
}

void RemoveUser(Store& store, const std::string& name) {
    if (!UserExists(store, name)) throw StoreError("no user " + name);
    si::Statement(store, "DELETE FROM users WHERE name = ?").Bind(1, name).Run();
}

void SetDevelopment(Store& store, const std::string& name, bool development) {
    if (!UserExists(store, name)) throw StoreError("no user " + name);
    si::Statement update(store, "UPDATE users SET development = ? WHERE name = ?");
    update.Bind(1, development ? 1 : 0).Bind(2, name).Run();
}

bool CheckPassword(Store& store, const std::string& name, const std::string& password) {
    RequireSodium();
    std::string hash = AccountKey(store, name);
    bool known = !hash.empty();
    if (!known) {
        si::Statement other(store, "SELECT hash FROM users ORDER BY rowid LIMIT 1");
        hash = other.Step() ? other.Text(0) : StandInHash();
    }
    bool match = crypto_pwhash_str_verify(hash.c_str(), password.data(), password.size()) == 0;
    return known && match;
}

std::string AccountKey(Store& store, const std::string& name) {
    si::Statement query(store, "SELECT hash FROM users WHERE name = ?");
    query.Bind(1, name);
    return query.Step() ? query.Text(0) : "";
}

bool HasDevelopment(Store& store, const std::string& name) {
    si::Statement query(store, "SELECT development FROM users WHERE name = ?");
    query.Bind(1, name);
    return query.Step() && query.Int(0) != 0;
}

}  // namespace tavro
