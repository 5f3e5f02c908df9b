// Helpers shared by the store's files: prepared statements, transactions, time stamps.
#pragma once

#include <sqlite3.h>

#include <string>

#include "hosts/tavro/store/store.h"

namespace tavro::store_internal {

// A prepared statement, finalised when it goes out of scope.
class Statement {
  public:
    Statement(Store& store, const char* sql);
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    Statement& Bind(int index, const std::string& text);
    Statement& Bind(int index, int value);
    // Steps once: true while there is a row.
    bool Step();
    void Run();  // steps to the end, for statements without rows
    std::string Text(int column) const;
    int Int(int column) const;

  private:
    sqlite3* db_;
    sqlite3_stmt* stmt_ = nullptr;
};

// BEGIN IMMEDIATE ... COMMIT; rolled back when left without Commit (an exception). In a trial
// store a savepoint of the trial's transaction, released instead of committed.
class Transaction {
  public:
    explicit Transaction(Store& store);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    void Commit();

  private:
    Store& store_;
    bool done_ = false;
    bool savepoint_ = false;
};

void Exec(Store& store, const char* sql);
[[noreturn]] void Fail(Store& store, const std::string& what);

// The current time as "YYYY-MM-DD HH:MM:SS" (UTC).
std::string Now();

// The namespace that holds a class of this name: "%SYS" for names beginning with '%'.
std::string HomeOf(const std::string& ns, const std::string& name);

// Refuses a write the actor may not make, checked inside the write's own transaction.
void RequireWriteAccess(Store& store, const Actor& actor, const std::string& ns,
                        const std::string& className);

// Inserts a class row from `def`; used by saves, restores and the creation of the catalogue.
void InsertClassRow(Store& store, const std::string& ns, const ClassDef& def,
                    const std::string& user);

}  // namespace tavro::store_internal
