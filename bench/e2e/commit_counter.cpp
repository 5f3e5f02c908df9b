// Preloaded into a program (LD_PRELOAD), counts the commits of every SQLite connection the
// program opens and prints the count on standard error when the program exits, so that the
// commits of a real tavro-host can be set beside its file syncs (count_syncs.sh).
#include <sqlite3.h>

#include <atomic>
#include <cstdio>

namespace {

std::atomic<unsigned long long> gCommits{0};

int CountCommit(void*) {
    ++gCommits;
    return 0;  // let the commit go on
}

int WatchCommits(sqlite3* db, char**, const sqlite3_api_routines*) {
    sqlite3_commit_hook(db, CountCommit, nullptr);
    return SQLITE_OK;
}

struct Counter {
    Counter() { sqlite3_auto_extension(reinterpret_cast<void (*)()>(WatchCommits)); }
    ~Counter() { std::fprintf(stderr, "sqlite commits: %llu\n", gCommits.load()); }
};

Counter gCounter;

}  // namespace
